// Function plots: datasets that draw y = f(x) over the whole range of their
// x axis, one point per drawing unit of the plot's width.
//
// HKFunctionPlotXY draws f(x) = 0 and asks for 0 to 15 on its value axis;
// applications derive from it and override _value (and FixedAxis for their
// own range). HKFunctionPlot_XX draws x squared, HKFunctionPlot_SinSin
// 10 sin²(πx/10). Ranges are supplied only in the second round of the
// recalculation (pass non-zero) and only for vertical axes, so that they can
// depend on the x range. The axes are not owned.
#pragma once

#include <toviktwo/documents/charts/hkpointcollection.h>

class HKFunctionPlotXY : public HKPointCollection {
 public:
  HKFunctionPlotXY(HKAxis* xAxis, HKAxis* yAxis);
  // One polyline point per drawing unit of `size.width`; nothing when an axis is missing.
  int SVGChild(HKSize& size, HKSVG_BaseElement2& parent, int pass) override;
  HKAxis* GetXAxis() override;
  HKAxis* GetYAxis() override;
  // 0 to 15 on a vertical axis in pass 1; empty otherwise.
  bool FixedAxis(int position, HKMinMax<double>* range, int pass) override;
  // The function; 0 here.
  virtual double _value(double x);

 protected:
  // Whether this call of FixedAxis may answer.
  static bool _answers(int position, int pass);
};

class HKFunctionPlot_XX : public HKFunctionPlotXY {
 public:
  using HKFunctionPlotXY::HKFunctionPlotXY;
  // The square of the x axis's minimum to the square of its maximum, as they come.
  bool FixedAxis(int position, HKMinMax<double>* range, int pass) override;
  double _value(double x) override;
};

class HKFunctionPlot_SinSin : public HKFunctionPlotXY {
 public:
  using HKFunctionPlotXY::HKFunctionPlotXY;
  // 0 to 10.
  bool FixedAxis(int position, HKMinMax<double>* range, int pass) override;
  double _value(double x) override;
};
