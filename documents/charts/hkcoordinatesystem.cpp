#include <toviktwo/documents/charts/hkcoordinatesystem.h>

#include <cstdio>
#include <locale>
#include <sstream>
#include <utility>

#include <toviktwo/foundation/hkstringtools.h>

namespace {

constexpr double kChartWidth = 1500.0;
constexpr double kDefaultTop = 10.0;
// The caption takes one and a half times its height above the plot.
constexpr double kCaptionRoomFactor = 1.5;
constexpr double kHalf = 0.5;
// The frame's colour, red 179, green 255, blue 26.
constexpr int kFrameRed = 179;
constexpr int kFrameGreen = 255;
constexpr int kFrameBlue = 26;
constexpr int kDataPass = 0;
constexpr int kOverDataPass = 0;
constexpr int kUnderDataPass = 1;
// The axes in the order they are made.
constexpr int kAxisOrder[] = {HK_AXIS_LEFT,   HK_AXIS_LEFT2, HK_AXIS_RIGHT,
                              HK_AXIS_RIGHT2, HK_AXIS_TOP,   HK_AXIS_BOTTOM};

bool hkIsHorizontal(int position) { return position == HK_AXIS_TOP || position == HK_AXIS_BOTTOM; }

std::string hkNumber(double value) {
  std::ostringstream os;
  os.imbue(std::locale::classic());
  os << value;
  return os.str();
}

std::string hkFrameColour() {
  char text[16];
  std::snprintf(text, sizeof text, "#%02x%02x%02x", kFrameRed, kFrameGreen, kFrameBlue);
  return text;
}

template <typename T>
T* hkAppend(HKSVG_BaseElement2& parent, T* child) {
  parent.PushBackChildElement(static_cast<HKXMLGenericElement*>(child));
  return child;
}

// A defs element holding a clip path of that id around a rectangle of that size.
void hkClipPath(HKSVG_BaseElement2& parent, const std::string& id, double width, double height) {
  auto* defs = hkAppend(parent, new HKSVG_defs2());
  auto* clip = hkAppend(*defs, new HKSVG_clipPath2());
  clip->SetID(id);
  hkAppend(*clip, new HKSVG_rect2(width, height));
}

// Scales the picture to `size` when it has positive width and height: the
// view box keeps the drawing's own units.
void hkShowAt(HKSVG_Document2& document, const HKSize& size) {
  if (!(size.width > 0 && size.height > 0)) return;
  document.Svg()->ReplaceAttributeContent("width", hkNumber(size.width));
  document.Svg()->ReplaceAttributeContent("height", hkNumber(size.height));
}

HKSVG_g2* hkClippedGroup(HKSVG_BaseElement2& parent, const std::string& id) {
  auto* group = hkAppend(parent, new HKSVG_g2());
  group->clip_path() = "url(#" + id + ")";
  return group;
}

}  // namespace

HKCoordinateSystem::HKCoordinateSystem(double aspectWidth, double aspectHeight)
    : _height(kChartWidth / aspectWidth * aspectHeight),
      _canvas(_axes),
      _aspectWidth(aspectWidth),
      _aspectHeight(aspectHeight) {
  _width = kChartWidth;
  for (int position : kAxisOrder) _add_axis(new HKAxis(position));
  _plotX = _outer.left;
  _plotY = kCaptionRoomFactor * _captionHeight + _outer.top;
  _plotWidth = _width - _outer.right - _outer.left;
  _plotHeight = _height - _outer.bottom - _plotY;
}

HKCoordinateSystem::~HKCoordinateSystem() {
  for (auto& entry : _axes) delete entry.second;
}

#define HK_CHART_DEFINE_SETRESULT(T)                                          \
  void HKCoordinateSystem::SetResult(std::vector<T>& values) {                \
    for (HKPointCollection * dataset : _datasets) dataset->SetResult(values); \
  }
HK_IFRAME_RESULT_TYPES(HK_CHART_DEFINE_SETRESULT)
#undef HK_CHART_DEFINE_SETRESULT

// ---- content ----

void HKCoordinateSystem::_add_axis(HKAxis* axis) {
  if (axis == nullptr) return;
  auto [it, inserted] = _axes.emplace(axis->Position(), axis);
  if (!inserted && it->second != axis) {
    delete it->second;
    it->second = axis;
  }
}

HKPointCollection* HKCoordinateSystem::AddDataset(HKPointCollection* dataset) {
  if (dataset == nullptr) return nullptr;
  _datasets.insert(dataset);
  for (HKAxis* axis : {dataset->GetXAxis(), dataset->GetYAxis()}) {
    if (axis == nullptr) continue;
    axis->SetInUse(true);
    axis->SetShown(true);
  }
  return dataset;
}

void HKCoordinateSystem::SetCaption(const std::string& caption) { _caption = caption; }

std::string HKCoordinateSystem::SetLabel(const std::string& label, int position) {
  auto it = _axes.find(position);
  if (it == _axes.end()) return std::string();
  return it->second->SetLabel(label);
}

HKAxis* HKCoordinateSystem::Axis(int position) const {
  auto it = _axes.find(position);
  return it == _axes.end() ? nullptr : it->second;
}

std::string HKCoordinateSystem::ClipId() const {
  // The address keeps the ids of several charts on one page apart.
  char text[32];
  std::snprintf(text, sizeof text, "%lu", reinterpret_cast<unsigned long>(this));
  return text;
}

// ---- ranges and margins ----

bool HKCoordinateSystem::_askRange(HKAxis* axis, const std::vector<HKPointCollection*>& datasets, int pass) {
  bool answered = false;
  for (HKPointCollection* dataset : datasets) {
    HKMinMax<double> range;
    dataset->FixedAxis(axis->Position(), &range, pass);
    if (range.empty) continue;
    if (range.minimum > range.maximum) std::swap(range.minimum, range.maximum);
    answered = true;
    if (axis->_noRangeYet) {
      axis->_minimum = range.minimum;
      axis->_maximum = range.minimum == range.maximum ? range.minimum + 1.0 : range.maximum;
      axis->_noRangeYet = false;
      continue;
    }
    if (range.minimum < axis->_minimum) axis->_minimum = range.minimum;
    if (range.maximum > axis->_maximum) axis->_maximum = range.maximum;
  }
  return answered;
}

void HKCoordinateSystem::_recalculation() {
  std::map<HKAxis*, std::vector<HKPointCollection*>> users;
  for (HKPointCollection* dataset : _datasets) {
    if (HKAxis* x = dataset->GetXAxis()) users[x].push_back(dataset);
    if (HKAxis* y = dataset->GetYAxis(); y != nullptr && y != dataset->GetXAxis())
      users[y].push_back(dataset);
  }
  bool pending = false;
  for (auto& [position, axis] : _axes) {
    if (axis->_rangeFixed) continue;
    axis->_noRangeYet = true;
    if (_askRange(axis, users[axis], 0)) continue;
    if (hkIsHorizontal(position)) {
      axis->_minimum = 0.0;
      axis->_maximum = kDefaultTop;
    } else {
      pending = true;
    }
  }
  // Second round: value ranges that depend on the x ranges found above.
  if (pending) {
    for (auto& [position, axis] : _axes) {
      if (axis->_rangeFixed || hkIsHorizontal(position)) continue;
      _askRange(axis, users[axis], 1);
    }
  }
  _computeMargins();
}

void HKCoordinateSystem::_computeMargins() {
  HKMargin margin;
  for (auto& entry : _axes) entry.second->Extraspace(margin);
  _plotX = margin.left + _outer.left;
  _plotWidth = _width - _outer.right - _plotX - margin.right;
  _plotY = kCaptionRoomFactor * _captionHeight + _outer.top + margin.top;
  _plotHeight = _height - _outer.bottom - _plotY - margin.bottom;
}

// ---- drawing ----

void HKCoordinateSystem::_SVG(HKSVG_Document2& document) {
  _recalculation();
  HKSVG_svg2* root = document.Svg();
  const std::string id = ClipId();
  hkClipPath(*root, id, _width, _height);
  HKSVG_g2* frame = hkClippedGroup(*root, id);
  hkAppend(*frame, new HKSVG_rect2(_width, _height))->fill = hkFrameColour();
  _drawFrame(*frame);
  _drawPlot(*frame);
}

void HKCoordinateSystem::_drawFrame(HKSVG_BaseElement2& frame) {
  hkAppend(frame, new HKSVG_line2(0, 0, _width, 0, 0));
  hkAppend(frame, new HKSVG_line2(0, 0, 0, _height, 0));
  hkAppend(frame, new HKSVG_line2(0, _height, _width, _height, 0));
  hkAppend(frame, new HKSVG_line2(_width, 0, _width, _height, 0));
  auto* caption = hkAppend(frame, new HKSVG_text2(kHalf * _width, _captionHeight + _outer.top, _caption));
  caption->Text_Anchor("middle");
  caption->font_size = hkNumber(_captionHeight);
}

// The plot area: canvas and grids, the datasets clipped at the plot edge,
// and the axes. The axes' group comes before the datasets' in the document,
// but it is filled last, when the datasets have been drawn.
void HKCoordinateSystem::_drawPlot(HKSVG_BaseElement2& frame) {
  auto* plot = hkAppend(frame, new HKSVG_g2());
  plot->Translation(_plotX, _plotY);
  HKSize size{_plotWidth, _plotHeight};
  _canvas.SVGChild(size, *hkAppend(*plot, new HKSVG_g2()), kUnderDataPass);
  HKSVG_g2* axes = hkAppend(*plot, new HKSVG_g2());
  const std::string plotId = ClipId() + "-plot";
  hkClipPath(*plot, plotId, _plotWidth, _plotHeight);
  HKSVG_g2* data = hkClippedGroup(*plot, plotId);
  for (HKPointCollection* dataset : _datasets) dataset->SVGChild(size, *data, kDataPass);
  for (auto& entry : _axes) entry.second->SVGChild(size, *axes, kOverDataPass);
}

std::string HKCoordinateSystem::SVG(HKSize size) {
  HKSVG_Document2 document(hkNumber(_width), hkNumber(_height));
  _SVG(document);
  hkShowAt(document, size);
  return document.GetBuffer();
}

std::string HKCoordinateSystem::InnerSVG(HKSize size) {
  HKSVG_Document2 document(hkNumber(_width), hkNumber(_height));
  _SVG(document);
  hkShowAt(document, size);
  return document.GetBuffer_svg();
}

bool HKCoordinateSystem::Work_IFrame(HKXHeader&, std::string, std::string& content, std::string& script) {
  content.clear();
  script = Utf8ToJavaScript(InnerSVG(HKSize{}));
  return true;
}
