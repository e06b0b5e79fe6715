// HKPointSeriesXY: a dataset of stored points, drawn as one polyline.
//
// The ready-made dataset for measured values: the application appends
// points (or replaces them all), and the chart's recalculation gets the
// range of the x values for a horizontal axis and that of the y values for
// any other, in both rounds. A series without points supplies no range.
// The axes are not owned. Points are drawn in the order they were appended.
#pragma once

#include <string>
#include <vector>

#include <toviktwo/documents/charts/hkpointcollection.h>

class HKPointSeriesXY : public HKPointCollection {
 public:
  HKPointSeriesXY(HKAxis* xAxis, HKAxis* yAxis);
  // A polyline through all points, mapped by the axes; nothing when an axis is missing.
  int SVGChild(HKSize& size, HKSVG_BaseElement2& parent, int pass) override;
  HKAxis* GetXAxis() override;
  HKAxis* GetYAxis() override;
  // The x range for positions top and bottom, the y range otherwise; empty without points.
  bool FixedAxis(int position, HKMinMax<double>* range, int pass) override;
  // Replaces the points by (0, v0), (1, v1), ...
  void SetResult(const std::vector<double>& values) override;
  using HKPointCollection::SetResult;

  void Append(double x, double y);
  void Clear();
  const std::vector<HKPointXY>& Points() const { return _points; }
  // Stroke colour (default "blue") and width (default 2).
  void SetStroke(const std::string& colour, double width);

 private:
  std::vector<HKPointXY> _points;
  std::string _stroke = "blue";
  double _strokeWidth = 2.0;
};
