#include <toviktwo/documents/charts/hkfunctionplot.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double kPlotXYTop = 15.0;
constexpr double kSinSinTop = 10.0;
constexpr double kSinSinAmplitude = 10.0;
constexpr double kSinSinPeriod = 10.0;

}  // namespace

HKFunctionPlotXY::HKFunctionPlotXY(HKAxis* xAxis, HKAxis* yAxis) : HKPointCollection(xAxis, yAxis) {}

HKAxis* HKFunctionPlotXY::GetXAxis() { return _xAxis; }

HKAxis* HKFunctionPlotXY::GetYAxis() { return _yAxis; }

double HKFunctionPlotXY::_value(double) { return 0.0; }

bool HKFunctionPlotXY::_answers(int position, int pass) {
  return pass != 0 && position != HK_AXIS_TOP && position != HK_AXIS_BOTTOM;
}

bool HKFunctionPlotXY::FixedAxis(int position, HKMinMax<double>* range, int pass) {
  if (range == nullptr) return false;
  if (!_answers(position, pass)) {
    range->empty = true;
    return false;
  }
  range->Set(0.0, kPlotXYTop);
  return true;
}

int HKFunctionPlotXY::SVGChild(HKSize& size, HKSVG_BaseElement2& parent, int) {
  if (_xAxis == nullptr || _yAxis == nullptr) return 1;
  const double lo = std::min(_xAxis->Minimum(), _xAxis->Maximum());
  const double hi = std::max(_xAxis->Minimum(), _xAxis->Maximum());
  const double step = (hi - lo) / size.width;
  auto* line = new HKSVG_polyline2();
  line->stroke = std::string("black");
  line->stroke_width = std::string("1");
  line->fill = std::string("none");
  // One point per drawing unit. The count is bounded by the width as well,
  // so that an empty range (step 0) or a width of 0 cannot loop for ever.
  const double limit = size.width >= 0 ? std::floor(size.width) + 2 : 0;
  for (double i = 0; i < limit; ++i) {
    const double x = lo + i * step;
    if (!(x <= hi)) break;
    double px = x;
    double py = _value(x);
    _xAxis->Transform(px);
    _yAxis->Transform(py);
    line->points.push_back({px, py});
  }
  parent.PushBackChildElement(static_cast<HKXMLGenericElement*>(line));
  return 1;
}

bool HKFunctionPlot_XX::FixedAxis(int position, HKMinMax<double>* range, int pass) {
  if (range == nullptr) return false;
  if (!_answers(position, pass) || _xAxis == nullptr) {
    range->empty = true;
    return false;
  }
  range->Set(_xAxis->Minimum() * _xAxis->Minimum(), _xAxis->Maximum() * _xAxis->Maximum());
  return true;
}

double HKFunctionPlot_XX::_value(double x) { return x * x; }

bool HKFunctionPlot_SinSin::FixedAxis(int position, HKMinMax<double>* range, int pass) {
  if (range == nullptr) return false;
  if (!_answers(position, pass)) {
    range->empty = true;
    return false;
  }
  range->Set(0.0, kSinSinTop);
  return true;
}

double HKFunctionPlot_SinSin::_value(double x) {
  const double s = std::sin(std::numbers::pi * x / kSinSinPeriod);
  return kSinSinAmplitude * s * s;
}
