#include <toviktwo/documents/charts/hkaxis.h>

#include <locale>
#include <sstream>

namespace {

// Room for tick labels by side.
constexpr double kSideLabelSpace = 150.0;
constexpr double kTopBottomLabelSpace = 100.0;
// Share of the length kept free at both ends of an axis.
constexpr double kInnerMarginDivisor = 100.0;
// Tick labels: significant digits, distance from the edge, and the drop of a
// bottom label below its edge (the default font size, so the label's top
// clears the tick).
constexpr int kLabelPrecision = 4;
constexpr double kLabelDistance = 10.0;
constexpr double kBottomLabelDrop = 37.0;
// What Extraspace reserves beside the label space: the caption's height and a tenth more.
constexpr double kCaptionRoomFactor = 1.1;
// Captions of side axes read upward on the left and downward on the right.
constexpr double kLeftCaptionAngle = -90.0;
constexpr double kRightCaptionAngle = 90.0;

bool hkIsLeft(int position) { return position == HK_AXIS_LEFT || position == HK_AXIS_LEFT2; }
bool hkIsRight(int position) { return position == HK_AXIS_RIGHT || position == HK_AXIS_RIGHT2; }
bool hkIsDrawn(int position) { return position >= HK_AXIS_LEFT && position <= HK_AXIS_RIGHT2; }

std::string hkTickLabel(double value) {
  std::ostringstream os;
  os.imbue(std::locale::classic());
  os.precision(kLabelPrecision);
  os << value;
  return os.str();
}

// Appends `child` to `parent` and hands back the typed child.
template <typename T>
T* hkAppend(HKSVG_BaseElement2& parent, T* child) {
  parent.PushBackChildElement(static_cast<HKXMLGenericElement*>(child));
  return child;
}

HKSVG_line2* hkLine(HKSVG_BaseElement2& parent, double x1, double y1, double x2, double y2, double width,
                    int dashed) {
  HKSVG_line2* line = hkAppend(parent, new HKSVG_line2(x1, y1, x2, y2, dashed));
  line->Stroke_Width(width, "");
  return line;
}

}  // namespace

HKAxis::HKAxis(int position) : _position(position) {
  if (IsVertical()) {
    _labelSpace = kSideLabelSpace;
  } else if (position == HK_AXIS_TOP || position == HK_AXIS_BOTTOM) {
    _labelSpace = kTopBottomLabelSpace;
  } else {
    _labelSpace = 0.0;
  }
}

HKAxis::~HKAxis() = default;

bool HKAxis::IsVertical() const { return hkIsLeft(_position) || hkIsRight(_position); }

void HKAxis::SetRange(double minimum, double maximum) {
  _minimum = minimum;
  _maximum = maximum;
  _rangeFixed = true;
}

void HKAxis::SetTickLengths(double major, double minor) {
  _majorTickLength = major;
  _minorTickLength = minor;
}

void HKAxis::SetLineWidths(double axisLine, double gridAndTicks) {
  _axisLineWidth = axisLine;
  _gridLineWidth = gridAndTicks;
}

const std::string& HKAxis::SetLabel(const std::string& label) {
  _label = label;
  return _label;
}

// ---- ticks and positions ----

bool HKAxis::_calcticks(double length) {
  _reversed = length < 0;
  if (_reversed) length = -length;
  _length = length;
  if (_scaleKind != HK_SCALE_LINEAR) return false;
  const int count = _intervals + 2;
  _majorPositions.clear();
  _majorLabels.clear();
  _minorPositions.clear();
  const double span = _maximum - _minimum;
  _innerMargin = length / kInnerMarginDivisor;
  const double step = span / (count - 1);
  if (count < 1) return false;
  const double usable = length - 2 * _innerMargin;
  int minorIndex = 0;
  for (int i = 0; i < count; ++i) {
    const double position =
        _reversed ? _innerMargin + (1 - i * step / span) * usable : _innerMargin + usable * (i * step) / span;
    _majorPositions[i] = position;
    _majorLabels[i] = hkTickLabel(_minimum + i * step);
    if (i == 0) continue;
    const double previous = _majorPositions[i - 1];
    for (int k = 1; k <= _minorTicks; ++k) {
      _minorPositions[minorIndex++] = previous + k * (position - previous) / (_minorTicks + 1);
    }
  }
  return true;
}

bool HKAxis::Transform(double& v) const {
  if (_scaleKind != HK_SCALE_LINEAR) return false;
  const double usable = _length - 2 * _innerMargin;
  const double share = (v - _minimum) / (_maximum - _minimum);
  v = (_reversed ? usable * (1 - share) : usable * share) + _innerMargin;
  if (v < 0 || !hkIsDrawn(_position)) return false;
  return IsVertical() ? v <= _drawingHeight : v <= _drawingWidth;
}

void HKAxis::Extraspace(HKMargin& margin) {
  double* side = nullptr;
  if (hkIsLeft(_position)) side = &margin.left;
  if (hkIsRight(_position)) side = &margin.right;
  if (_position == HK_AXIS_TOP) side = &margin.top;
  if (_position == HK_AXIS_BOTTOM) side = &margin.bottom;
  if (side == nullptr) return;
  _offset = *side;
  if (_shown) *side = kCaptionRoomFactor * _labelHeight + _labelSpace + *side;
}

// ---- drawing ----

double HKAxis::_edge() const {
  if (_position == HK_AXIS_LEFT2) return -_offset;
  if (_position == HK_AXIS_RIGHT2) return _offset;
  return 0.0;
}

int HKAxis::SVGChild(HKSize& size, HKSVG_BaseElement2& parent, int pass) {
  _drawingWidth = size.width;
  _drawingHeight = size.height;
  if (!_inUse || !hkIsDrawn(_position)) return 1;
  const bool under = (pass & 1) != 0;
  if (!_shown) {
    if (!under) _drawAxisLineAndCaption(parent);
    return 1;
  }
  // SVG's y grows downward, so a vertical axis is always reversed.
  if (under) _calcticks(IsVertical() ? -_drawingHeight : _drawingWidth);
  _drawMajorTicks(parent, under);
  if (under) return 1;
  _drawMinorTicks(parent);
  _drawAxisLineAndCaption(parent);
  return 1;
}

void HKAxis::_drawMajorTicks(HKSVG_BaseElement2& parent, bool gridPass) {
  const double length = _tickDirection == 0 ? -_majorTickLength : _majorTickLength;
  for (const auto& [index, p] : _majorPositions) {
    if (_grid && gridPass) {
      _drawGridLine(parent, p);
      continue;
    }
    _drawTick(parent, p, length);
    _drawTickLabel(parent, p, _majorLabels[index]);
  }
}

void HKAxis::_drawMinorTicks(HKSVG_BaseElement2& parent) {
  const double length = _tickDirection == 0 ? -_minorTickLength : _minorTickLength;
  for (const auto& entry : _minorPositions) _drawTick(parent, entry.second, length);
}

// A positive length points away from the plot, a negative one into it.
void HKAxis::_drawTick(HKSVG_BaseElement2& parent, double p, double length) {
  const double w = _drawingWidth, h = _drawingHeight, e = _edge();
  if (_position == HK_AXIS_TOP) hkLine(parent, p, 0, p, -length, _gridLineWidth, 0);
  if (_position == HK_AXIS_BOTTOM) hkLine(parent, p, h, p, h + length, _gridLineWidth, 0);
  if (hkIsLeft(_position)) hkLine(parent, e, p, e - length, p, _gridLineWidth, 0);
  if (hkIsRight(_position)) hkLine(parent, w + e, p, w + e + length, p, _gridLineWidth, 0);
}

void HKAxis::_drawTickLabel(HKSVG_BaseElement2& parent, double p, const std::string& text) {
  const double w = _drawingWidth, h = _drawingHeight, e = _edge();
  HKSVG_text2* label = nullptr;
  if (_position == HK_AXIS_TOP) label = new HKSVG_text2(p, -kLabelDistance, text);
  if (_position == HK_AXIS_BOTTOM) label = new HKSVG_text2(p, kLabelDistance + h + kBottomLabelDrop, text);
  if (hkIsRight(_position)) label = new HKSVG_text2(kLabelDistance + w + e, p, text);
  if (hkIsLeft(_position)) label = new HKSVG_text2(e - kLabelDistance, p, text);
  if (label == nullptr) return;
  label->Text_Anchor(hkIsRight(_position) ? "start" : hkIsLeft(_position) ? "end" : "middle");
  hkAppend(parent, label);
}

void HKAxis::_drawGridLine(HKSVG_BaseElement2& parent, double p) {
  if (IsVertical()) {
    hkLine(parent, 0, p, _drawingWidth, p, _gridLineWidth, 1);
  } else {
    hkLine(parent, p, 0, p, _drawingHeight, _gridLineWidth, 1);
  }
}

void HKAxis::_drawAxisLineAndCaption(HKSVG_BaseElement2& parent) {
  const double w = _drawingWidth, h = _drawingHeight, e = _edge();
  auto* caption = new HKSVG_g2();
  auto* text = new HKSVG_text2(0, 0, _label);
  text->Text_Anchor("middle");
  if (hkIsLeft(_position)) {
    hkLine(parent, e, 0, e, h, _axisLineWidth, 0);
    caption->Translation(e - _labelSpace, 0.5 * h);
    text->transform.Rotate(kLeftCaptionAngle);
  } else if (hkIsRight(_position)) {
    hkLine(parent, w + e, 0, w + e, h, _axisLineWidth, 0);
    caption->Translation(w + _labelSpace + e, 0.5 * h);
    text->transform.Rotate(kRightCaptionAngle);
  } else if (_position == HK_AXIS_TOP) {
    hkLine(parent, 0, 0, w, 0, _axisLineWidth, 0);
    caption->Translation(0.5 * w, -_labelSpace);
  } else {
    hkLine(parent, 0, h, w, h, _axisLineWidth, 0);
    caption->Translation(0.5 * w, h + _labelSpace);
  }
  hkAppend(*caption, text);
  hkAppend(parent, caption);
}
