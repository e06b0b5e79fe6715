// HKCoordinateSystem: construction, datasets, range recalculation, margins,
// the SVG picture and the iframe text.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include <toviktwo/documents/charts/hkcoordinatesystem.h>
#include <toviktwo/documents/charts/hkfunctionplot.h>
#include <toviktwo/documents/charts/hkpointseries.h>
#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/transport/hkxheader.h>

namespace {

// A dataset on given axes that never supplies a range.
class SilentDataset : public HKPointCollection {
 public:
  SilentDataset(HKAxis* x, HKAxis* y) : _x(x), _y(y) {}
  int SVGChild(HKSize&, HKSVG_BaseElement2&, int) override { return 1; }
  HKAxis* GetXAxis() override { return _x; }
  HKAxis* GetYAxis() override { return _y; }
  std::vector<double> received;
  void SetResult(const std::vector<double>& values) override { received = values; }
  using HKPointCollection::SetResult;

 private:
  HKAxis* _x;
  HKAxis* _y;
};

// A dataset answering a fixed range in one round only.
class RangeDataset : public SilentDataset {
 public:
  RangeDataset(HKAxis* x, HKAxis* y, double lo, double hi, int pass)
      : SilentDataset(x, y), _lo(lo), _hi(hi), _pass(pass) {}
  bool FixedAxis(int, HKMinMax<double>* range, int pass) override {
    if (pass != _pass) return HKPointCollection::FixedAxis(0, range, pass);
    range->Set(_lo, _hi);
    return true;
  }

 private:
  double _lo, _hi;
  int _pass;
};

std::string Address(const void* p) {
  char text[32];
  std::snprintf(text, sizeof text, "%lu", reinterpret_cast<unsigned long>(p));
  return text;
}

}  // namespace

TEST(CoordinateSystem, ConstructorMakesSixAxesAndPreliminaryPlotValues) {
  HKCoordinateSystem chart(16, 9);
  EXPECT_EQ(chart.Width(), 1500.0);
  EXPECT_DOUBLE_EQ(chart.Height(), 843.75);
  for (int p : {HK_AXIS_LEFT, HK_AXIS_RIGHT, HK_AXIS_TOP, HK_AXIS_BOTTOM, HK_AXIS_LEFT2, HK_AXIS_RIGHT2}) {
    ASSERT_NE(chart.Axis(p), nullptr) << p;
    EXPECT_EQ(chart.Axis(p)->Position(), p);
  }
  EXPECT_EQ(chart.Axis(HK_AXIS_NONE), nullptr);
  EXPECT_EQ(chart.PlotX(), 5.0);
  EXPECT_EQ(chart.PlotY(), 80.0);
  EXPECT_EQ(chart.PlotWidth(), 1490.0);
  EXPECT_DOUBLE_EQ(chart.PlotHeight(), 843.75 - 5 - 80);
  EXPECT_EQ(chart.Caption(), "TovikFrame-SVG");
  EXPECT_EQ(chart.Canvas().Colour(), "mintcream");
}

TEST(CoordinateSystem, AddAxisReplacesTheAxisOfTheSamePosition) {
  HKCoordinateSystem chart(1, 1);
  auto* replacement = new HKAxis(HK_AXIS_TOP);
  chart._add_axis(replacement);
  EXPECT_EQ(chart.Axis(HK_AXIS_TOP), replacement);
  chart._add_axis(nullptr);
  EXPECT_EQ(chart.Axis(HK_AXIS_TOP), replacement);
}

TEST(CoordinateSystem, AddDatasetMarksItsAxesUsedAndShownAndIgnoresNull) {
  HKCoordinateSystem chart(1, 1);
  SilentDataset data(chart.Axis(HK_AXIS_BOTTOM), nullptr);
  EXPECT_EQ(chart.AddDataset(nullptr), nullptr);
  EXPECT_EQ(chart.AddDataset(&data), &data);
  EXPECT_TRUE(chart.Axis(HK_AXIS_BOTTOM)->InUse());
  EXPECT_TRUE(chart.Axis(HK_AXIS_BOTTOM)->Shown());
  EXPECT_FALSE(chart.Axis(HK_AXIS_LEFT)->InUse());
}

TEST(CoordinateSystem, SetLabelStoresOnTheAxisAndIgnoresUnknownPositions) {
  HKCoordinateSystem chart(1, 1);
  EXPECT_EQ(chart.SetLabel("volts", HK_AXIS_LEFT), "volts");
  EXPECT_EQ(chart.Axis(HK_AXIS_LEFT)->Label(), "volts");
  EXPECT_EQ(chart.SetLabel("nowhere", 9), "");
  EXPECT_EQ(chart.Axis(9), nullptr);
  chart.SetCaption("Pressure");
  EXPECT_EQ(chart.Caption(), "Pressure");
}

TEST(CoordinateSystem, SetResultReachesEveryDataset) {
  HKCoordinateSystem chart(1, 1);
  SilentDataset a(nullptr, nullptr), b(nullptr, nullptr);
  chart.AddDataset(&a);
  chart.AddDataset(&b);
  std::vector<double> values{1.5, 2.5};
  chart.SetResult(values);
  EXPECT_EQ(a.received, values);
  EXPECT_EQ(b.received, values);
  std::vector<int> ignored{1};
  chart.SetResult(ignored);
  EXPECT_EQ(a.received, values);
}

TEST(CoordinateSystem, DatasetThatAlwaysAnswersEmptyLeavesALeftAxisAtZeroToTen) {
  HKCoordinateSystem chart(1, 1);
  SilentDataset data(chart.Axis(HK_AXIS_BOTTOM), chart.Axis(HK_AXIS_LEFT));
  chart.AddDataset(&data);
  chart._recalculation();
  EXPECT_EQ(chart.Axis(HK_AXIS_LEFT)->Minimum(), 0.0);
  EXPECT_EQ(chart.Axis(HK_AXIS_LEFT)->Maximum(), 10.0);
}

TEST(CoordinateSystem, HorizontalAxisWithoutAnswerGetsZeroToTen) {
  HKCoordinateSystem chart(1, 1);
  HKAxis* x = chart.Axis(HK_AXIS_BOTTOM);
  x->SetRange(2, 3);
  x->SetRangeFixed(false);
  SilentDataset data(x, chart.Axis(HK_AXIS_LEFT));
  chart.AddDataset(&data);
  chart._recalculation();
  EXPECT_EQ(x->Minimum(), 0.0);
  EXPECT_EQ(x->Maximum(), 10.0);
}

TEST(CoordinateSystem, FirstAnswerSetsTheRangeReversedAnswersAreSwappedAndLaterOnesWiden) {
  HKCoordinateSystem chart(1, 1);
  HKAxis* x = chart.Axis(HK_AXIS_BOTTOM);
  HKAxis* y = chart.Axis(HK_AXIS_LEFT);
  RangeDataset a(x, y, 8, 2, 0), b(x, y, 1, 5, 0);
  chart.AddDataset(&a);
  chart.AddDataset(&b);
  chart._recalculation();
  EXPECT_EQ(y->Minimum(), 1.0);
  EXPECT_EQ(y->Maximum(), 8.0);
}

TEST(CoordinateSystem, EqualAnswerIsWidenedByOne) {
  HKCoordinateSystem chart(1, 1);
  RangeDataset a(chart.Axis(HK_AXIS_BOTTOM), chart.Axis(HK_AXIS_LEFT), 4, 4, 0);
  chart.AddDataset(&a);
  chart._recalculation();
  EXPECT_EQ(chart.Axis(HK_AXIS_LEFT)->Minimum(), 4.0);
  EXPECT_EQ(chart.Axis(HK_AXIS_LEFT)->Maximum(), 5.0);
}

TEST(CoordinateSystem, FixedRangeIsLeftAlone) {
  HKCoordinateSystem chart(1, 1);
  chart.Axis(HK_AXIS_LEFT)->SetRange(-3, 3);
  RangeDataset a(chart.Axis(HK_AXIS_BOTTOM), chart.Axis(HK_AXIS_LEFT), 4, 9, 0);
  chart.AddDataset(&a);
  chart._recalculation();
  EXPECT_EQ(chart.Axis(HK_AXIS_LEFT)->Minimum(), -3.0);
  EXPECT_EQ(chart.Axis(HK_AXIS_LEFT)->Maximum(), 3.0);
}

TEST(CoordinateSystem, SecondRoundAsksVerticalAxesOnceTheXRangesAreKnown) {
  HKCoordinateSystem chart(1, 1);
  HKAxis* x = chart.Axis(HK_AXIS_BOTTOM);
  x->SetRange(-2, 3);
  HKFunctionPlot_XX square(x, chart.Axis(HK_AXIS_LEFT));
  chart.AddDataset(&square);
  chart._recalculation();
  EXPECT_EQ(chart.Axis(HK_AXIS_LEFT)->Minimum(), 4.0);
  EXPECT_EQ(chart.Axis(HK_AXIS_LEFT)->Maximum(), 9.0);
}

TEST(CoordinateSystem, SecondRoundWidensARangeFoundInTheFirst) {
  HKCoordinateSystem chart(1, 1);
  HKAxis* x = chart.Axis(HK_AXIS_BOTTOM);
  HKAxis* y = chart.Axis(HK_AXIS_LEFT);
  HKAxis* y2 = chart.Axis(HK_AXIS_RIGHT);
  RangeDataset early(x, y, 20, 30, 0);
  HKFunctionPlotXY flat(x, y);
  HKFunctionPlotXY pending(x, y2);
  chart.AddDataset(&early);
  chart.AddDataset(&flat);
  chart.AddDataset(&pending);
  chart._recalculation();
  EXPECT_EQ(y->Minimum(), 0.0);
  EXPECT_EQ(y->Maximum(), 30.0);
  EXPECT_EQ(y2->Minimum(), 0.0);
  EXPECT_EQ(y2->Maximum(), 15.0);
}

TEST(CoordinateSystem, MarginsMakeRoomForShownAxesAndTheCaption) {
  HKCoordinateSystem chart(16, 9);
  SilentDataset a(chart.Axis(HK_AXIS_BOTTOM), chart.Axis(HK_AXIS_LEFT));
  chart.AddDataset(&a);
  chart._recalculation();
  const double side = 1.1 * 40 + 150, bottom = 1.1 * 40 + 100;
  EXPECT_DOUBLE_EQ(chart.PlotX(), side + 5);
  EXPECT_DOUBLE_EQ(chart.PlotWidth(), 1500 - 5 - (side + 5));
  EXPECT_DOUBLE_EQ(chart.PlotY(), 75 + 5);
  EXPECT_DOUBLE_EQ(chart.PlotHeight(), 843.75 - 5 - 80 - bottom);
}

TEST(CoordinateSystem, TwoLeftAxesStandSideBySide) {
  HKCoordinateSystem chart(16, 9);
  SilentDataset a(chart.Axis(HK_AXIS_BOTTOM), chart.Axis(HK_AXIS_LEFT));
  SilentDataset b(chart.Axis(HK_AXIS_BOTTOM), chart.Axis(HK_AXIS_LEFT2));
  chart.AddDataset(&a);
  chart.AddDataset(&b);
  chart._recalculation();
  const double side = 1.1 * 40 + 150;
  EXPECT_EQ(chart.Axis(HK_AXIS_LEFT)->Offset(), 0.0);
  EXPECT_DOUBLE_EQ(chart.Axis(HK_AXIS_LEFT2)->Offset(), side);
  EXPECT_DOUBLE_EQ(chart.PlotX(), 2 * side + 5);
}

TEST(CoordinateSystem, PictureHasTheClippedFrameCaptionAndPlotGroups) {
  HKCoordinateSystem chart(16, 9);
  HKFunctionPlot_SinSin wave(chart.Axis(HK_AXIS_BOTTOM), chart.Axis(HK_AXIS_LEFT));
  chart.AddDataset(&wave);
  const std::string svg = chart.SVG(HKSize{});
  const std::string id = Address(&chart);
  EXPECT_EQ(chart.ClipId(), id);
  EXPECT_EQ(svg.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?><!DOCTYPE svg PUBLIC", 0), 0u)
      << svg.substr(0, 80);
  EXPECT_NE(svg.find("viewBox=\"0 0 1500 843.75\" width=\"1500\""), std::string::npos);
  EXPECT_NE(
      svg.find("<defs><clipPath id=\"" + id + "\"><rect fill=\"none\" height=\"843.75\" width=\"1500\""),
      std::string::npos);
  EXPECT_NE(
      svg.find("<g clip-path=\"url(#" + id + ")\"><rect fill=\"#b3ff1a\" height=\"843.75\" width=\"1500\""),
      std::string::npos);
  EXPECT_NE(
      svg.find("<line stroke=\"black\" stroke-width=\"1\" x1=\"1500\" x2=\"1500\" y1=\"0\" y2=\"843.75\" />"),
      std::string::npos);
  EXPECT_NE(
      svg.find("<text font-size=\"50\" text-anchor=\"middle\" x=\"750\" y=\"55\">TovikFrame-SVG</text>"),
      std::string::npos);
  EXPECT_NE(svg.find("<g transform=\" translate(199,80)\"><g><rect fill=\"mintcream\""), std::string::npos);
  EXPECT_NE(svg.find("<clipPath id=\"" + id + "-plot\">"), std::string::npos);
  EXPECT_NE(svg.find("<g clip-path=\"url(#" + id + "-plot)\"><polyline"), std::string::npos);
}

TEST(CoordinateSystem, AxesGroupStandsBeforeTheDatasetsAndHoldsTheAxisLines) {
  HKCoordinateSystem chart(16, 9);
  HKFunctionPlot_SinSin wave(chart.Axis(HK_AXIS_BOTTOM), chart.Axis(HK_AXIS_LEFT));
  chart.AddDataset(&wave);
  const std::string svg = chart.SVG(HKSize{});
  const auto axisLine = svg.find("stroke-width=\"3\"");
  const auto data = svg.find("<polyline");
  ASSERT_NE(axisLine, std::string::npos);
  ASSERT_NE(data, std::string::npos);
  EXPECT_LT(axisLine, data);
}

TEST(CoordinateSystem, TwoChartsHaveDifferentClipIds) {
  HKCoordinateSystem a(1, 1), b(1, 1);
  EXPECT_NE(a.ClipId(), b.ClipId());
}

TEST(CoordinateSystem, PictureIsRecomputedOnEveryCall) {
  HKCoordinateSystem chart(16, 9);
  HKPointSeriesXY series(chart.Axis(HK_AXIS_BOTTOM), chart.Axis(HK_AXIS_LEFT));
  series.Append(0, 0);
  series.Append(1, 1);
  chart.AddDataset(&series);
  const std::string first = chart.SVG(HKSize{});
  series.Append(2, 4);
  const std::string second = chart.SVG(HKSize{});
  EXPECT_NE(first, second);
  EXPECT_EQ(chart.Axis(HK_AXIS_LEFT)->Maximum(), 4.0);
  EXPECT_EQ(chart.SVG(HKSize{}), second);
}

TEST(CoordinateSystem, GivenSizeScalesThePictureAndKeepsTheViewBox) {
  HKCoordinateSystem chart(16, 9);
  const std::string svg = chart.SVG(HKSize{800, 450});
  EXPECT_NE(svg.find("height=\"450\" version=\"1.1\" viewBox=\"0 0 1500 843.75\" width=\"800\""),
            std::string::npos)
      << svg.substr(0, 400);
}

TEST(CoordinateSystem, InnerSvgIsTheSvgElementAlone) {
  HKCoordinateSystem chart(16, 9);
  const std::string inner = chart.InnerSVG(HKSize{});
  EXPECT_EQ(inner.rfind("<svg ", 0), 0u);
  EXPECT_EQ(inner.find("<?xml"), std::string::npos);
  EXPECT_NE(chart.SVG(HKSize{}).find(inner), std::string::npos);
}

TEST(CoordinateSystem, WorkIFrameClearsTheContentAndGivesTheSvgAsScriptText) {
  HKCoordinateSystem chart(16, 9);
  HKXRequestHeader header(HK_SCHEME_GET, true, HK_PROTO_HTTP);
  std::string content = "old", script;
  EXPECT_TRUE(chart.Work_IFrame(header, "frame", content, script));
  EXPECT_EQ(content, "");
  EXPECT_EQ(script, Utf8ToJavaScript(chart.InnerSVG(HKSize{})));
  EXPECT_NE(script.find("\\\"url(#"), std::string::npos);
  EXPECT_EQ(script.find('\n'), std::string::npos);
}
