// HKPointCollection: a dataset of a chart.
//
// A dataset draws itself through HKSVGChild, holds the axes it is drawn
// against and names them through GetXAxis and GetYAxis (null here, so a
// subclass decides what the chart sees) and may supply value ranges to the
// chart's recalculation through FixedAxis. It takes application results
// through SetResult in the ten element types of HK_IFRAME_RESULT_TYPES; all
// do nothing here. The chart does not own its datasets: they must outlive
// it.
#pragma once

#include <vector>

#include <toviktwo/documents/charts/hkaxis.h>
#include <toviktwo/documents/charts/hkiframecontent.h>
#include <toviktwo/documents/charts/hksvgchild.h>

class HKPointCollection : public HKSVGChild {
 public:
  HKPointCollection() = default;
  // Keeps the axes for subclasses; the getters here still answer null.
  HKPointCollection(HKAxis* xAxis, HKAxis* yAxis);
  int SVGChild(HKSize& size, HKSVG_BaseElement2& parent, int pass) override = 0;
  ~HKPointCollection() override;
  // The axis of the x values; null here.
  virtual HKAxis* GetXAxis();
  // The axis of the y values; null here.
  virtual HKAxis* GetYAxis();
  // Supplies the range this dataset needs on the axis at `position`, in
  // round `pass` of the recalculation (0 first, 1 once the x ranges are
  // known). Returns whether a range was supplied; here: marks it empty, false.
  virtual bool FixedAxis(int position, HKMinMax<double>* range, int pass);
#define HK_POINTS_DECLARE_SETRESULT(T) virtual void SetResult(const std::vector<T>& values);
  // Takes application results; does nothing here.
  HK_IFRAME_RESULT_TYPES(HK_POINTS_DECLARE_SETRESULT)
#undef HK_POINTS_DECLARE_SETRESULT

 protected:
  HKAxis* _xAxis = nullptr;
  HKAxis* _yAxis = nullptr;
};
