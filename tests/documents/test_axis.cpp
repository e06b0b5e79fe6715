// HKAxis: defaults, tick computation, the value transform, room reserved
// around the plot, and what each drawing pass appends.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <toviktwo/documents/charts/hkaxis.h>

#include "doc_test_util.h"

using doctest_util::Printed;

namespace {

// An axis drawn once with pass 1 on a plot of the given size, so that its
// ticks and lengths are computed as in a chart.
void DrawUnder(HKAxis& axis, double width, double height) {
  HKSize size{width, height};
  HKSVG_g2 group;
  axis.SetInUse(true);
  axis.SetShown(true);
  axis.SVGChild(size, group, 1);
}

int CountTag(const std::string& text, const std::string& tag) {
  int n = 0;
  for (auto at = text.find("<" + tag + " "); at != std::string::npos; at = text.find("<" + tag + " ", at + 1))
    ++n;
  return n;
}

}  // namespace

TEST(Axis, DefaultsOfTheConstructor) {
  const HKAxis axis(HK_AXIS_LEFT);
  EXPECT_EQ(axis.Minimum(), 0.0);
  EXPECT_EQ(axis.Maximum(), 10.0);
  EXPECT_FALSE(axis.RangeFixed());
  EXPECT_EQ(axis.Intervals(), 5);
  EXPECT_EQ(axis.MinorTicks(), 4);
  EXPECT_EQ(axis.ScaleKind(), HK_SCALE_LINEAR);
  EXPECT_FALSE(axis.InUse());
  EXPECT_FALSE(axis.Shown());
  EXPECT_TRUE(axis.Grid());
  EXPECT_EQ(axis.Label(), "Label");
  EXPECT_EQ(axis.LabelHeight(), 40.0);
  EXPECT_EQ(axis.FurtherWidth(), 5.0);
  EXPECT_EQ(axis.Offset(), 0.0);
}

TEST(Axis, LabelSpaceDependsOnThePosition) {
  for (int p : {HK_AXIS_LEFT, HK_AXIS_RIGHT, HK_AXIS_LEFT2, HK_AXIS_RIGHT2})
    EXPECT_EQ(HKAxis(p).LabelSpace(), 150.0);
  EXPECT_EQ(HKAxis(HK_AXIS_TOP).LabelSpace(), 100.0);
  EXPECT_EQ(HKAxis(HK_AXIS_BOTTOM).LabelSpace(), 100.0);
  EXPECT_EQ(HKAxis(HK_AXIS_NONE).LabelSpace(), 0.0);
  EXPECT_EQ(HKAxis(7).LabelSpace(), 0.0);
}

TEST(Axis, TicksOfADefaultAxisOverAThousandUnits) {
  HKAxis axis(HK_AXIS_BOTTOM);
  ASSERT_TRUE(axis._calcticks(1000));
  const auto& positions = axis.MajorTickPositions();
  ASSERT_EQ(positions.size(), 7u);
  EXPECT_DOUBLE_EQ(positions.at(0), 10.0);
  EXPECT_NEAR(positions.at(1), 173.33, 0.005);
  EXPECT_NEAR(positions.at(2), 336.67, 0.005);
  EXPECT_DOUBLE_EQ(positions.at(6), 990.0);
  const std::vector<std::string> labels{"0", "1.667", "3.333", "5", "6.667", "8.333", "10"};
  for (int i = 0; i < 7; ++i) EXPECT_EQ(axis.MajorTickLabels().at(i), labels[i]) << i;
  EXPECT_FALSE(axis.Reversed());
  EXPECT_EQ(axis.Length(), 1000.0);
  EXPECT_EQ(axis.InnerMargin(), 10.0);
}

TEST(Axis, MinorTicksDivideEachIntervalEvenly) {
  HKAxis axis(HK_AXIS_BOTTOM);
  axis._calcticks(1000);
  const auto& minor = axis.MinorTickPositions();
  ASSERT_EQ(minor.size(), 6u * 4u);
  const double interval = 980.0 / 6;
  EXPECT_NEAR(minor.at(0), 10 + interval / 5, 1e-9);
  EXPECT_NEAR(minor.at(3), 10 + 4 * interval / 5, 1e-9);
  EXPECT_NEAR(minor.at(4), 10 + interval + interval / 5, 1e-9);
}

TEST(Axis, NegativeLengthReverses) {
  HKAxis axis(HK_AXIS_LEFT);
  ASSERT_TRUE(axis._calcticks(-1000));
  EXPECT_TRUE(axis.Reversed());
  EXPECT_EQ(axis.Length(), 1000.0);
  EXPECT_DOUBLE_EQ(axis.MajorTickPositions().at(0), 990.0);
  EXPECT_DOUBLE_EQ(axis.MajorTickPositions().at(6), 10.0);
  EXPECT_EQ(axis.MajorTickLabels().at(0), "0");
}

TEST(Axis, OtherScaleKindHasNoTicksAndNoTransform) {
  HKAxis axis(HK_AXIS_BOTTOM);
  axis.SetScaleKind(2);
  EXPECT_FALSE(axis._calcticks(1000));
  EXPECT_TRUE(axis.MajorTickPositions().empty());
  EXPECT_TRUE(axis.MajorTickLabels().empty());
  EXPECT_TRUE(axis.MinorTickPositions().empty());
  double v = 5.0;
  EXPECT_FALSE(axis.Transform(v));
  EXPECT_EQ(v, 5.0);
}

TEST(Axis, TooFewIntervalsGiveNoTicks) {
  HKAxis axis(HK_AXIS_BOTTOM);
  axis.SetIntervals(-3);
  EXPECT_FALSE(axis._calcticks(1000));
  EXPECT_TRUE(axis.MajorTickPositions().empty());
}

TEST(Axis, TransformMapsTheRangeOntoTheInnerLength) {
  HKAxis bottom(HK_AXIS_BOTTOM);
  DrawUnder(bottom, 1000, 500);
  double v = 5.0;
  EXPECT_TRUE(bottom.Transform(v));
  EXPECT_DOUBLE_EQ(v, 500.0);
  HKAxis left(HK_AXIS_LEFT);
  DrawUnder(left, 1000, 500);
  double low = 0.0, high = 10.0;
  EXPECT_TRUE(left.Transform(low));
  EXPECT_TRUE(left.Transform(high));
  EXPECT_DOUBLE_EQ(low, 495.0);  // vertical axes grow upward
  EXPECT_DOUBLE_EQ(high, 5.0);
}

TEST(Axis, TransformBeyondTheMaximumReturnsFalseAndStillWritesThePosition) {
  HKAxis bottom(HK_AXIS_BOTTOM);
  DrawUnder(bottom, 1000, 500);
  double v = 11.0;
  EXPECT_FALSE(bottom.Transform(v));
  EXPECT_DOUBLE_EQ(v, 10 + 980 * 1.1);
  HKAxis left(HK_AXIS_LEFT);
  DrawUnder(left, 1000, 500);
  double w = 11.0;
  EXPECT_FALSE(left.Transform(w));
  EXPECT_DOUBLE_EQ(w, 5 + 490 * (1 - 1.1));
}

TEST(Axis, TransformOnAnAxisThatIsNotDrawnIsFalse) {
  HKAxis axis(HK_AXIS_NONE);
  axis._calcticks(1000);
  double v = 5.0;
  EXPECT_FALSE(axis.Transform(v));
  EXPECT_DOUBLE_EQ(v, 500.0);
}

TEST(Axis, ExtraspaceReservesCaptionAndLabelRoomForAShownAxis) {
  HKMargin margin;
  HKAxis left(HK_AXIS_LEFT), right(HK_AXIS_RIGHT), top(HK_AXIS_TOP), bottom(HK_AXIS_BOTTOM);
  for (HKAxis* a : {&left, &right, &top, &bottom}) {
    a->SetShown(true);
    a->Extraspace(margin);
  }
  EXPECT_DOUBLE_EQ(margin.left, 1.1 * 40 + 150);
  EXPECT_DOUBLE_EQ(margin.right, 1.1 * 40 + 150);
  EXPECT_DOUBLE_EQ(margin.top, 1.1 * 40 + 100);
  EXPECT_DOUBLE_EQ(margin.bottom, 1.1 * 40 + 100);
}

TEST(Axis, AxisNotShownAddsNothingButNotesItsOffset) {
  HKMargin margin{1, 2, 3, 4};
  HKAxis right(HK_AXIS_RIGHT2);
  right.Extraspace(margin);
  EXPECT_EQ(margin.right, 4.0);
  EXPECT_EQ(right.Offset(), 4.0);
}

TEST(Axis, SecondLeftAxisOffsetIsTheFirstOnesMargin) {
  HKMargin margin;
  HKAxis first(HK_AXIS_LEFT), second(HK_AXIS_LEFT2);
  first.SetShown(true);
  second.SetShown(true);
  first.Extraspace(margin);
  second.Extraspace(margin);
  EXPECT_EQ(first.Offset(), 0.0);
  EXPECT_DOUBLE_EQ(second.Offset(), 1.1 * 40 + 150);
  EXPECT_DOUBLE_EQ(margin.left, 2 * (1.1 * 40 + 150));
}

TEST(Axis, AxisNotInUseDrawsNothing) {
  HKAxis axis(HK_AXIS_BOTTOM);
  HKSize size{1000, 500};
  HKSVG_g2 group;
  EXPECT_EQ(axis.SVGChild(size, group, 1), 1);
  EXPECT_EQ(axis.SVGChild(size, group, 0), 1);
  EXPECT_EQ(group.ChildCount(), 0u);
  EXPECT_TRUE(axis.MajorTickPositions().empty());
}

TEST(Axis, UnderPassDrawsDashedGridLinesOnly) {
  HKAxis axis(HK_AXIS_BOTTOM);
  HKSVG_g2 group;
  axis.SetInUse(true);
  axis.SetShown(true);
  HKSize size{1000, 500};
  axis.SVGChild(size, group, 1);
  const std::string text = Printed(group);
  EXPECT_EQ(CountTag(text, "line"), 7);
  EXPECT_EQ(CountTag(text, "text"), 0);
  EXPECT_NE(
      text.find("<line stroke=\"black\" stroke-dasharray=\"8,8\" stroke-width=\"1\" x1=\"10\" x2=\"10\" "
                "y1=\"0\" y2=\"500\" />"),
      std::string::npos)
      << text;
}

TEST(Axis, OverPassDrawsTicksLabelsMinorTicksLineAndCaption) {
  HKAxis axis(HK_AXIS_BOTTOM);
  DrawUnder(axis, 1000, 500);
  axis.SetLabel("time");
  HKSize size{1000, 500};
  HKSVG_g2 group;
  axis.SVGChild(size, group, 0);
  const std::string text = Printed(group);
  EXPECT_EQ(CountTag(text, "line"), 7 + 24 + 1);
  EXPECT_EQ(CountTag(text, "text"), 7 + 1);
  // A major tick points into the plot, its label sits below the edge.
  EXPECT_NE(text.find("x1=\"10\" x2=\"10\" y1=\"500\" y2=\"488\""), std::string::npos) << text;
  EXPECT_NE(text.find("<text font-size=\"37\" text-anchor=\"middle\" x=\"10\" y=\"547\">0</text>"),
            std::string::npos);
  // The axis line, and the caption at the label space beyond the edge.
  EXPECT_NE(text.find("stroke-width=\"3\" x1=\"0\" x2=\"1000\" y1=\"500\" y2=\"500\""), std::string::npos);
  EXPECT_NE(
      text.find("<g transform=\" translate(500,600)\"><text font-size=\"37\" text-anchor=\"middle\" x=\"0\" "
                "y=\"0\">time</text>"),
      std::string::npos)
      << text;
}

TEST(Axis, OutwardTicksAndSideLabels) {
  HKAxis axis(HK_AXIS_RIGHT);
  axis.SetTickDirection(1);
  DrawUnder(axis, 1000, 500);
  HKSize size{1000, 500};
  HKSVG_g2 group;
  axis.SVGChild(size, group, 0);
  const std::string text = Printed(group);
  EXPECT_NE(text.find("x1=\"1000\" x2=\"1012\" y1=\"495\" y2=\"495\""), std::string::npos) << text;
  EXPECT_NE(text.find("text-anchor=\"start\" x=\"1010\" y=\"495\">0</text>"), std::string::npos) << text;
  EXPECT_NE(text.find("translate(1150,250)"), std::string::npos) << text;
  EXPECT_NE(text.find("transform=\" rotate(90)\""), std::string::npos) << text;
}

TEST(Axis, SecondLeftAxisStandsAtItsOffset) {
  HKMargin margin;
  HKAxis first(HK_AXIS_LEFT), second(HK_AXIS_LEFT2);
  first.SetShown(true);
  second.SetShown(true);
  first.Extraspace(margin);
  second.Extraspace(margin);
  DrawUnder(second, 1000, 500);
  HKSize size{1000, 500};
  HKSVG_g2 group;
  second.SVGChild(size, group, 0);
  const std::string text = Printed(group);
  EXPECT_NE(text.find("x1=\"-194\" x2=\"-182\" y1=\"495\" y2=\"495\""), std::string::npos) << text;
  EXPECT_NE(text.find("text-anchor=\"end\" x=\"-204\" y=\"495\">0</text>"), std::string::npos) << text;
  EXPECT_NE(text.find("translate(-344,250)"), std::string::npos) << text;
  EXPECT_NE(text.find("transform=\" rotate(-90)\""), std::string::npos) << text;
}

TEST(Axis, AxisInUseButNotShownDrawsOnlyLineAndCaption) {
  HKAxis axis(HK_AXIS_TOP);
  axis.SetInUse(true);
  HKSize size{1000, 500};
  HKSVG_g2 under, over;
  axis.SVGChild(size, under, 1);
  axis.SVGChild(size, over, 0);
  EXPECT_EQ(under.ChildCount(), 0u);
  const std::string text = Printed(over);
  EXPECT_EQ(CountTag(text, "line"), 1);
  EXPECT_NE(text.find("translate(500,-100)"), std::string::npos) << text;
}

TEST(Axis, WithoutGridTheUnderPassDrawsTicksAndLabels) {
  HKAxis axis(HK_AXIS_TOP);
  axis.SetGrid(false);
  axis.SetInUse(true);
  axis.SetShown(true);
  HKSize size{1000, 500};
  HKSVG_g2 group;
  axis.SVGChild(size, group, 1);
  const std::string text = Printed(group);
  EXPECT_EQ(CountTag(text, "line"), 7);
  EXPECT_EQ(CountTag(text, "text"), 7);
  EXPECT_NE(text.find("x1=\"10\" x2=\"10\" y1=\"0\" y2=\"12\""), std::string::npos) << text;
  EXPECT_NE(text.find("x=\"10\" y=\"-10\">0</text>"), std::string::npos) << text;
}
