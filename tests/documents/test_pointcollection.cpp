// HKPointCollection and HKIFrameContent: the defaults a subclass starts from.
#include <gtest/gtest.h>

#include <vector>

#include <toviktwo/documents/charts/hkpointcollection.h>

namespace {

class BareDataset : public HKPointCollection {
 public:
  BareDataset() = default;
  BareDataset(HKAxis* x, HKAxis* y) : HKPointCollection(x, y) {}
  HKAxis* HeldX() const { return _xAxis; }
  int SVGChild(HKSize&, HKSVG_BaseElement2&, int) override { return 1; }
};

class BareContent : public HKIFrameContent {};

}  // namespace

TEST(PointCollection, HasNoAxesAndSuppliesNoRange) {
  BareDataset data;
  EXPECT_EQ(data.GetXAxis(), nullptr);
  EXPECT_EQ(data.GetYAxis(), nullptr);
  HKMinMax<double> range;
  range.Set(1, 2);
  EXPECT_FALSE(data.FixedAxis(HK_AXIS_LEFT, &range, 0));
  EXPECT_TRUE(range.empty);
}

TEST(PointCollection, HoldsItsAxesButNamesNoneToTheChart) {
  HKAxis x(HK_AXIS_BOTTOM), y(HK_AXIS_LEFT);
  BareDataset data(&x, &y);
  EXPECT_EQ(data.HeldX(), &x);
  EXPECT_EQ(data.GetXAxis(), nullptr);
  EXPECT_EQ(data.GetYAxis(), nullptr);
}

TEST(PointCollection, SetResultOfEveryTypeIsAccepted) {
  BareDataset data;
#define HK_TEST_SETRESULT(T)             \
  {                                      \
    using V = T;                         \
    data.SetResult(std::vector<V>{V{}}); \
  }
  HK_IFRAME_RESULT_TYPES(HK_TEST_SETRESULT)
#undef HK_TEST_SETRESULT
  EXPECT_EQ(data.GetXAxis(), nullptr);
}

TEST(IFrameContent, SetResultOfEveryTypeDoesNothing) {
  BareContent content;
#define HK_TEST_SETRESULT(T)      \
  {                               \
    using V = T;                  \
    std::vector<V> values{V{}};   \
    content.SetResult(values);    \
    EXPECT_EQ(values.size(), 1u); \
  }
  HK_IFRAME_RESULT_TYPES(HK_TEST_SETRESULT)
#undef HK_TEST_SETRESULT
}

TEST(MinMax, StartsEmptyAndSetMarksItKnown) {
  HKMinMax<double> range;
  EXPECT_TRUE(range.empty);
  range.Set(-1, 4);
  EXPECT_FALSE(range.empty);
  EXPECT_EQ(range.minimum, -1.0);
  EXPECT_EQ(range.maximum, 4.0);
}
