// Function plots: values, the ranges they supply, and their polylines.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include <toviktwo/documents/charts/hkfunctionplot.h>

namespace {

// Axes drawn once with pass 1, as the chart does before its datasets.
struct PlotAxes {
  PlotAxes(double width, double height) : size{width, height} {
    for (HKAxis* a : {&x, &y}) {
      a->SetInUse(true);
      a->SetShown(true);
      HKSVG_g2 scratch;
      a->SVGChild(size, scratch, 1);
    }
  }
  HKAxis x{HK_AXIS_BOTTOM};
  HKAxis y{HK_AXIS_LEFT};
  HKSize size;
};

const HKSVG_polyline2* OnlyPolyline(const HKSVG_g2& group) {
  if (group.ChildCount() != 1) return nullptr;
  return dynamic_cast<const HKSVG_polyline2*>(group.Children()[0]);
}

}  // namespace

TEST(FunctionPlot, ValuesOfTheThreeFunctions) {
  HKFunctionPlotXY zero(nullptr, nullptr);
  HKFunctionPlot_XX square(nullptr, nullptr);
  HKFunctionPlot_SinSin wave(nullptr, nullptr);
  EXPECT_EQ(zero._value(3), 0.0);
  EXPECT_EQ(square._value(-3), 9.0);
  EXPECT_NEAR(wave._value(5), 10.0, 1e-12);
  EXPECT_NEAR(wave._value(2.5), 5.0, 1e-12);
  EXPECT_NEAR(wave._value(10), 0.0, 1e-12);
}

TEST(FunctionPlot, RangesAreSuppliedOnlyInTheSecondRoundForVerticalAxes) {
  HKAxis x(HK_AXIS_BOTTOM);
  x.SetRange(-2, 3);
  HKFunctionPlotXY zero(&x, nullptr);
  HKFunctionPlot_XX square(&x, nullptr);
  HKFunctionPlot_SinSin wave(&x, nullptr);
  HKMinMax<double> r;
  EXPECT_TRUE(zero.FixedAxis(HK_AXIS_LEFT, &r, 1));
  EXPECT_FALSE(r.empty);
  EXPECT_EQ(r.minimum, 0.0);
  EXPECT_EQ(r.maximum, 15.0);
  EXPECT_TRUE(wave.FixedAxis(HK_AXIS_RIGHT2, &r, 1));
  EXPECT_EQ(r.maximum, 10.0);
  EXPECT_TRUE(square.FixedAxis(HK_AXIS_RIGHT, &r, 1));
  EXPECT_EQ(r.minimum, 4.0);
  EXPECT_EQ(r.maximum, 9.0);
  for (HKFunctionPlotXY* plot :
       {&zero, static_cast<HKFunctionPlotXY*>(&square), static_cast<HKFunctionPlotXY*>(&wave)}) {
    HKMinMax<double> none;
    none.Set(1, 2);
    EXPECT_FALSE(plot->FixedAxis(HK_AXIS_LEFT, &none, 0));
    EXPECT_TRUE(none.empty);
    none.Set(1, 2);
    EXPECT_FALSE(plot->FixedAxis(HK_AXIS_BOTTOM, &none, 1));
    EXPECT_TRUE(none.empty);
    none.Set(1, 2);
    EXPECT_FALSE(plot->FixedAxis(HK_AXIS_TOP, &none, 1));
    EXPECT_TRUE(none.empty);
  }
}

TEST(FunctionPlot, KeepsItsAxes) {
  HKAxis x(HK_AXIS_BOTTOM), y(HK_AXIS_LEFT);
  HKFunctionPlot_SinSin wave(&x, &y);
  EXPECT_EQ(wave.GetXAxis(), &x);
  EXPECT_EQ(wave.GetYAxis(), &y);
}

TEST(FunctionPlot, OnePointPerDrawingUnitMappedByTheAxes) {
  PlotAxes axes(100, 50);
  HKFunctionPlot_SinSin wave(&axes.x, &axes.y);
  HKSVG_g2 group;
  EXPECT_EQ(wave.SVGChild(axes.size, group, 0), 1);
  const HKSVG_polyline2* line = OnlyPolyline(group);
  ASSERT_NE(line, nullptr);
  const auto& points = line->points();
  ASSERT_GE(points.size(), 100u);
  ASSERT_LE(points.size(), 101u);
  EXPECT_DOUBLE_EQ(points[0].x, 1.0);   // inner margin of 1%
  EXPECT_DOUBLE_EQ(points[0].y, 49.5);  // value 0 at the bottom
  EXPECT_NEAR(points[50].x, 50.0, 1e-9);
  EXPECT_NEAR(points[50].y, 0.5, 1e-9);  // value 10 at the top
  EXPECT_EQ(line->stroke.str(), "black");
  EXPECT_EQ(line->stroke_width.str(), "1");
  EXPECT_EQ(line->fill.str(), "none");
}

TEST(FunctionPlot, DescendingXRangeIsDrawnInAscendingOrder) {
  PlotAxes axes(100, 50);
  axes.x.SetRange(10, 0);
  HKFunctionPlot_XX square(&axes.x, &axes.y);
  HKSVG_g2 group;
  square.SVGChild(axes.size, group, 0);
  const HKSVG_polyline2* line = OnlyPolyline(group);
  ASSERT_NE(line, nullptr);
  ASSERT_GE(line->points().size(), 100u);
  EXPECT_GT(line->points()[0].x, line->points()[1].x);  // 0 lies at the right of a reversed range
}

TEST(FunctionPlot, EmptyRangeOrZeroWidthEndsWithBoundedPoints) {
  PlotAxes axes(100, 50);
  axes.x.SetRange(3, 3);
  HKFunctionPlotXY zero(&axes.x, &axes.y);
  HKSVG_g2 group;
  zero.SVGChild(axes.size, group, 0);
  ASSERT_NE(OnlyPolyline(group), nullptr);
  EXPECT_LE(OnlyPolyline(group)->points().size(), 102u);
  HKSize none{0, 0};
  HKSVG_g2 other;
  zero.SVGChild(none, other, 0);
  ASSERT_NE(OnlyPolyline(other), nullptr);
  EXPECT_LE(OnlyPolyline(other)->points().size(), 2u);
}

TEST(FunctionPlot, WithoutAxesNothingIsDrawn) {
  HKFunctionPlotXY zero(nullptr, nullptr);
  HKSize size{100, 50};
  HKSVG_g2 group;
  EXPECT_EQ(zero.SVGChild(size, group, 0), 1);
  EXPECT_EQ(group.ChildCount(), 0u);
}
