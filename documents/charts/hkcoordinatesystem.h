// HKCoordinateSystem: a chart drawn on the server as SVG, to be shown in an
// iframe of a page.
//
// A chart owns six axes (left, second left, right, second right, top,
// bottom; see HKAxisPosition) and draws a set of datasets against them.
// Every drawing starts over: _recalculation finds the ranges of axes whose
// range is not fixed from the datasets (FixedAxis, in two rounds, so that
// value ranges may depend on x ranges), reserves room for the shown axes
// around the plot, and _SVG builds the picture: a clipped frame with the
// caption, the plot area with the canvas and grids, the datasets clipped at
// the plot edge, and the axes' ticks, labels, lines and captions.
//
// The labels of a horizontal axis are centred on their ticks, so the last
// one reaches half its width beyond the plot's right edge; without a shown
// right axis the outer margin alone (5 units) cannot hold it. Room is made
// by showing the right axis with a small label space: an axis that no
// dataset uses draws nothing but still reserves its margin.
//
// The drawing is 1500 units wide; its height follows from the aspect given
// to the constructor. Datasets are not owned and must outlive the chart.
// One chart is used by the thread handling its session; no locks.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include <toviktwo/documents/charts/hkaxis.h>
#include <toviktwo/documents/charts/hkcanvas.h>
#include <toviktwo/documents/charts/hkiframecontent.h>
#include <toviktwo/documents/charts/hkpointcollection.h>
#include <toviktwo/documents/svg/hksvg.h>

class HKXHeader;

class HKCoordinateSystem : public HKIFrameContent {
 public:
  // Width 1500, height 1500 / aspectWidth * aspectHeight.
  HKCoordinateSystem(double aspectWidth, double aspectHeight);
  ~HKCoordinateSystem() override;
  HKCoordinateSystem(const HKCoordinateSystem&) = delete;
  HKCoordinateSystem& operator=(const HKCoordinateSystem&) = delete;

#define HK_CHART_DECLARE_SETRESULT(T) void SetResult(std::vector<T>& values) override;
  // Hands the results to every dataset.
  HK_IFRAME_RESULT_TYPES(HK_CHART_DECLARE_SETRESULT)
#undef HK_CHART_DECLARE_SETRESULT

  // ---- drawing ----
  // Ranges of the axes that are not fixed, then the margins and the plot area.
  virtual void _recalculation();
  // Takes ownership; replaces (and destroys) an axis at the same position. Null is ignored.
  virtual void _add_axis(HKAxis* axis);
  // Builds the picture into `document`.
  virtual void _SVG(HKSVG_Document2& document);
  // The whole SVG file. A size with positive width and height scales the
  // picture to it; otherwise it has the chart's own size.
  virtual std::string SVG(HKSize size);
  // The svg element alone, for embedding in a page; sized as in SVG.
  virtual std::string InnerSVG(HKSize size);

  // ---- content ----
  // Adds a dataset (not owned) and marks its axes used and shown; null is ignored. Returns `dataset`.
  virtual HKPointCollection* AddDataset(HKPointCollection* dataset);
  virtual void SetCaption(const std::string& caption);
  // Stores the caption of the axis at `position` and returns it; empty when there is no such axis.
  virtual std::string SetLabel(const std::string& label, int position);
  // The iframe callback of the widget layer: clears `content`, puts the
  // chart's svg element into `script` as JavaScript string text and returns true.
  virtual bool Work_IFrame(HKXHeader& header, std::string name, std::string& content, std::string& script);

  // ---- reading ----
  // The axis at `position`, or null.
  HKAxis* Axis(int position) const;
  double Width() const { return _width; }
  double Height() const { return _height; }
  double AspectWidth() const { return _aspectWidth; }
  double AspectHeight() const { return _aspectHeight; }
  double PlotWidth() const { return _plotWidth; }
  double PlotHeight() const { return _plotHeight; }
  double PlotX() const { return _plotX; }
  double PlotY() const { return _plotY; }
  const HKMargin& OuterMargin() const { return _outer; }
  const std::string& Caption() const { return _caption; }
  double CaptionHeight() const { return _captionHeight; }
  HKCanvas& Canvas() { return _canvas; }
  // The id of the clip path of the whole picture: the chart's address in decimal.
  std::string ClipId() const;

 private:
  // Asks the datasets of `axis` for its range in `pass`; true when one answered.
  bool _askRange(HKAxis* axis, const std::vector<HKPointCollection*>& datasets, int pass);
  void _computeMargins();
  void _drawFrame(HKSVG_BaseElement2& frame);
  void _drawPlot(HKSVG_BaseElement2& frame);

  double _width = 1500.0;
  double _height;
  HKMargin _outer{5.0, 5.0, 5.0, 5.0};
  double _plotWidth;
  double _plotHeight;
  double _plotX;
  double _plotY;
  std::map<int, HKAxis*> _axes;
  HKCanvas _canvas;
  std::set<HKPointCollection*> _datasets;
  std::string _caption = "TovikFrame-SVG";
  double _captionHeight = 50.0;
  double _aspectWidth;
  double _aspectHeight;
};
