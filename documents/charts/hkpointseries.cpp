#include <toviktwo/documents/charts/hkpointseries.h>

#include <algorithm>

HKPointSeriesXY::HKPointSeriesXY(HKAxis* xAxis, HKAxis* yAxis) : HKPointCollection(xAxis, yAxis) {}

HKAxis* HKPointSeriesXY::GetXAxis() { return _xAxis; }

HKAxis* HKPointSeriesXY::GetYAxis() { return _yAxis; }

bool HKPointSeriesXY::FixedAxis(int position, HKMinMax<double>* range, int) {
  if (range == nullptr) return false;
  if (_points.empty()) {
    range->empty = true;
    return false;
  }
  const bool horizontal = position == HK_AXIS_TOP || position == HK_AXIS_BOTTOM;
  const auto value = [horizontal](const HKPointXY& p) { return horizontal ? p.x : p.y; };
  double lo = value(_points.front());
  double hi = lo;
  for (const HKPointXY& p : _points) {
    lo = std::min(lo, value(p));
    hi = std::max(hi, value(p));
  }
  range->Set(lo, hi);
  return true;
}

void HKPointSeriesXY::SetResult(const std::vector<double>& values) {
  _points.clear();
  _points.reserve(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) _points.push_back({static_cast<double>(i), values[i]});
}

void HKPointSeriesXY::Append(double x, double y) { _points.push_back({x, y}); }

void HKPointSeriesXY::Clear() { _points.clear(); }

void HKPointSeriesXY::SetStroke(const std::string& colour, double width) {
  _stroke = colour;
  _strokeWidth = width;
}

int HKPointSeriesXY::SVGChild(HKSize&, HKSVG_BaseElement2& parent, int) {
  if (_xAxis == nullptr || _yAxis == nullptr) return 1;
  auto* line = new HKSVG_polyline2();
  line->stroke = _stroke;
  line->Stroke_Width(_strokeWidth, "");
  for (const HKPointXY& p : _points) {
    HKPointXY mapped = p;
    _xAxis->Transform(mapped.x);
    _yAxis->Transform(mapped.y);
    line->points.push_back(mapped);
  }
  parent.PushBackChildElement(static_cast<HKXMLGenericElement*>(line));
  return 1;
}
