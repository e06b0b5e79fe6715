// HKAxis: one axis of a chart, at one of six places around the plot.
//
// An axis has a value range (minimum to maximum), works out its ticks for a
// drawing length (_calcticks), maps values to drawing positions (Transform)
// and draws itself in two passes: pass 1 (bit 0 set) computes the ticks and
// draws the grid under the data, pass 0 draws ticks, labels, the axis line
// and the caption over it. Ticks are evenly spaced at a fixed count
// (intervals + 2 major ticks), without rounding of the values, with an inner
// margin of 1% of the length at both ends. Only the linear scale kind (1)
// has ticks and a transform.
//
// Transform is meaningful after the axis has been drawn with pass 1 (which
// stores the length) for the size the data is drawn in; HKCoordinateSystem
// keeps to that order. An axis belongs to one thread at a time.
#pragma once

#include <map>
#include <string>

#include <toviktwo/documents/charts/hksvgchild.h>

// Places of an axis. Any other value is an axis that is not drawn.
enum HKAxisPosition : int {
  HK_AXIS_NONE = 0,
  HK_AXIS_LEFT = 1,
  HK_AXIS_RIGHT = 2,
  HK_AXIS_TOP = 3,
  HK_AXIS_BOTTOM = 4,
  HK_AXIS_LEFT2 = 5,
  HK_AXIS_RIGHT2 = 6,
};

// The linear scale, the only kind with ticks and a transform.
constexpr int HK_SCALE_LINEAR = 1;

class HKCoordinateSystem;

class HKAxis : public HKSVGChild {
 public:
  explicit HKAxis(int position);
  // Draws the layer `pass` asks for (see the header paragraph); returns 1.
  int SVGChild(HKSize& size, HKSVG_BaseElement2& parent, int pass) override;
  ~HKAxis() override;

  // ---- ticks and positions ----
  // Fills the tick maps for a drawing length; a negative length reverses the
  // axis (value growing against the drawing direction). False for a scale
  // kind other than linear (the maps are left as they were) and for fewer
  // than one tick.
  bool _calcticks(double length);
  // Maps a value to a drawing position in place. False (and `v` untouched)
  // for a non-linear scale; false, with the position written, when it lies
  // outside the drawing area.
  bool Transform(double& v) const;
  // Reserves room for this axis on its side of `margin` and remembers the
  // former value of that side as its offset; an axis not shown adds nothing.
  void Extraspace(HKMargin& margin);

  // ---- range ----
  double Minimum() const { return _minimum; }
  double Maximum() const { return _maximum; }
  // Sets the range and fixes it, so that the chart's recalculation keeps it.
  void SetRange(double minimum, double maximum);
  bool RangeFixed() const { return _rangeFixed; }
  void SetRangeFixed(bool fixed) { _rangeFixed = fixed; }

  // ---- appearance ----
  int Position() const { return _position; }
  bool IsVertical() const;
  int Intervals() const { return _intervals; }
  void SetIntervals(int intervals) { _intervals = intervals; }
  int MinorTicks() const { return _minorTicks; }
  void SetMinorTicks(int count) { _minorTicks = count; }
  void SetTickLengths(double major, double minor);
  // 0: ticks point into the plot; non-zero: outward.
  void SetTickDirection(int direction) { _tickDirection = direction; }
  int ScaleKind() const { return _scaleKind; }
  void SetScaleKind(int kind) { _scaleKind = kind; }
  double LabelSpace() const { return _labelSpace; }
  void SetLabelSpace(double space) { _labelSpace = space; }
  double LabelHeight() const { return _labelHeight; }
  bool InUse() const { return _inUse; }
  void SetInUse(bool inUse) { _inUse = inUse; }
  bool Shown() const { return _shown; }
  void SetShown(bool shown) { _shown = shown; }
  bool Grid() const { return _grid; }
  void SetGrid(bool grid) { _grid = grid; }
  void SetLineWidths(double axisLine, double gridAndTicks);
  // Kept for applications; the drawing does not use it.
  double FurtherWidth() const { return _furtherWidth; }
  const std::string& Label() const { return _label; }
  // Stores and returns the caption.
  const std::string& SetLabel(const std::string& label);

  // ---- results of the last drawing ----
  const std::map<int, double>& MajorTickPositions() const { return _majorPositions; }
  const std::map<int, std::string>& MajorTickLabels() const { return _majorLabels; }
  const std::map<int, double>& MinorTickPositions() const { return _minorPositions; }
  bool Reversed() const { return _reversed; }
  double Length() const { return _length; }
  double InnerMargin() const { return _innerMargin; }
  double Offset() const { return _offset; }

 private:
  friend class HKCoordinateSystem;

  // The x of this axis's edge relative to its side: 0, or the offset outward for a second axis.
  double _edge() const;
  void _drawMajorTicks(HKSVG_BaseElement2& parent, bool gridPass);
  void _drawMinorTicks(HKSVG_BaseElement2& parent);
  void _drawTick(HKSVG_BaseElement2& parent, double p, double length);
  void _drawTickLabel(HKSVG_BaseElement2& parent, double p, const std::string& text);
  void _drawGridLine(HKSVG_BaseElement2& parent, double p);
  void _drawAxisLineAndCaption(HKSVG_BaseElement2& parent);

  double _minimum = 0.0;
  double _maximum = 10.0;
  bool _rangeFixed = false;
  int _intervals = 5;
  int _minorTicks = 4;
  double _majorTickLength = 12.0;
  double _minorTickLength = 4.0;
  int _tickDirection = 0;
  int _scaleKind = HK_SCALE_LINEAR;
  int _position;
  double _labelSpace;
  bool _inUse = false;
  bool _shown = false;
  bool _grid = true;
  double _axisLineWidth = 3.0;
  double _gridLineWidth = 1.0;
  // Stored, not used in drawing.
  double _furtherWidth = 5.0;
  std::string _label = "Label";
  double _labelHeight = 40.0;
  std::map<int, double> _majorPositions;
  std::map<int, std::string> _majorLabels;
  std::map<int, double> _minorPositions;
  bool _reversed = false;
  double _length = 0.0;
  double _innerMargin = 0.0;
  double _drawingWidth = 0.0;
  double _drawingHeight = 0.0;
  double _offset = 0.0;
  // Scratch of HKCoordinateSystem::_recalculation.
  bool _noRangeYet = false;
};
