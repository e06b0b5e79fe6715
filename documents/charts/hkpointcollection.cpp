#include <toviktwo/documents/charts/hkpointcollection.h>

HKPointCollection::HKPointCollection(HKAxis* xAxis, HKAxis* yAxis) : _xAxis(xAxis), _yAxis(yAxis) {}

HKPointCollection::~HKPointCollection() = default;

HKAxis* HKPointCollection::GetXAxis() { return nullptr; }

HKAxis* HKPointCollection::GetYAxis() { return nullptr; }

bool HKPointCollection::FixedAxis(int, HKMinMax<double>* range, int) {
  if (range != nullptr) range->empty = true;
  return false;
}

#define HK_POINTS_DEFINE_SETRESULT(T) \
  void HKPointCollection::SetResult(const std::vector<T>&) {}
HK_IFRAME_RESULT_TYPES(HK_POINTS_DEFINE_SETRESULT)
#undef HK_POINTS_DEFINE_SETRESULT
