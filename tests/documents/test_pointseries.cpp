// HKPointSeriesXY: stored points, their ranges and their polyline.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <toviktwo/documents/charts/hkpointseries.h>

#include "doc_test_util.h"

using doctest_util::Printed;

TEST(PointSeries, SuppliesTheXRangeForHorizontalAndTheYRangeForOtherAxes) {
  HKPointSeriesXY series(nullptr, nullptr);
  series.Append(2, -5);
  series.Append(-1, 7);
  series.Append(4, 0);
  for (int pass : {0, 1}) {
    HKMinMax<double> r;
    EXPECT_TRUE(series.FixedAxis(HK_AXIS_BOTTOM, &r, pass));
    EXPECT_EQ(r.minimum, -1.0);
    EXPECT_EQ(r.maximum, 4.0);
    EXPECT_TRUE(series.FixedAxis(HK_AXIS_RIGHT2, &r, pass));
    EXPECT_EQ(r.minimum, -5.0);
    EXPECT_EQ(r.maximum, 7.0);
  }
}

TEST(PointSeries, WithoutPointsNoRange) {
  HKPointSeriesXY series(nullptr, nullptr);
  HKMinMax<double> r;
  r.Set(1, 2);
  EXPECT_FALSE(series.FixedAxis(HK_AXIS_LEFT, &r, 0));
  EXPECT_TRUE(r.empty);
}

TEST(PointSeries, SetResultReplacesThePointsByIndexAndValue) {
  HKPointSeriesXY series(nullptr, nullptr);
  series.Append(9, 9);
  series.SetResult(std::vector<double>{3, 1, 4});
  ASSERT_EQ(series.Points().size(), 3u);
  EXPECT_EQ(series.Points()[2].x, 2.0);
  EXPECT_EQ(series.Points()[2].y, 4.0);
  series.Clear();
  EXPECT_TRUE(series.Points().empty());
}

TEST(PointSeries, DrawsOnePolylineThroughTheMappedPoints) {
  HKAxis x(HK_AXIS_BOTTOM), y(HK_AXIS_LEFT);
  HKSize size{100, 50};
  for (HKAxis* a : {&x, &y}) {
    a->SetInUse(true);
    a->SetShown(true);
    HKSVG_g2 scratch;
    a->SVGChild(size, scratch, 1);
  }
  HKPointSeriesXY series(&x, &y);
  series.SetStroke("red", 3);
  series.Append(0, 0);
  series.Append(10, 10);
  HKSVG_g2 group;
  EXPECT_EQ(series.SVGChild(size, group, 0), 1);
  EXPECT_EQ(Printed(group),
            "<g><polyline fill=\"none\" points=\"1,49.5 99,0.5\" stroke=\"red\" stroke-width=\"3\" />\n</g>");
}

TEST(PointSeries, WithoutAxesNothingIsDrawn) {
  HKPointSeriesXY series(nullptr, nullptr);
  series.Append(1, 1);
  HKSize size{100, 50};
  HKSVG_g2 group;
  series.SVGChild(size, group, 0);
  EXPECT_EQ(group.ChildCount(), 0u);
}
