// SVG elements.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "doc_test_util.h"

using doctest_util::Printed;
using doctest_util::PrintedAttribute;
using doctest_util::ThrownMessage;

TEST(SvgEdge, OnePointPrintsEmpty) {
  HKXMLPointsXYHKAttribute points;
  EXPECT_FALSE(points.AttributeIsSet());
  points.push_back({1, 2});
  EXPECT_TRUE(points.AttributeIsSet());
  EXPECT_EQ(PrintedAttribute(points), "");
  HKSVG_polyline2 line;
  line.points.push_back({1, 2});
  EXPECT_EQ(Printed(line), "<polyline fill=\"none\" points=\"\" stroke=\"black\" stroke-width=\"1\" />");
  line.points.push_back({3.5, 4});
  EXPECT_EQ(Printed(line), "<polyline fill=\"none\" points=\"1,2 3.5,4\" stroke=\"black\" stroke-width=\"1\" />");
}

TEST(SvgEdge, FortyPointsPrintOneLineEnd) {
  HKXMLPointsXYHKAttribute points;
  std::string expected;
  for (int i = 0; i < 40; ++i) {
    points.push_back({static_cast<double>(i), static_cast<double>(2 * i)});
    if (i > 0) expected += (i == 31 ? "\n" : " ");
    expected += std::to_string(i) + "," + std::to_string(2 * i);
  }
  const std::string printed = PrintedAttribute(points);
  EXPECT_EQ(printed, expected);
  EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 1);
  EXPECT_EQ(points().size(), 40u);
}

TEST(SvgEdge, PointsFromTextIsMissing) {
  HKXMLPointsXYHKAttribute points;
  EXPECT_EQ(ThrownMessage([&] { points = std::string("1,2"); }), "@todo function is missing");
  EXPECT_EQ(ThrownMessage([&] { points = "1,2"; }), "@todo function is missing");
}

TEST(SvgEdge, TransformWithBothFlags) {
  HKXMLTransformHKAttribute transform;
  EXPECT_FALSE(transform.AttributeIsSet());
  EXPECT_EQ(PrintedAttribute(transform), "");
  transform.Translate(1, 2);
  transform.Rotate(90);
  EXPECT_EQ(PrintedAttribute(transform), " translate(1,2) rotate(90)");
  transform = std::string("ignored");
  EXPECT_EQ(PrintedAttribute(transform), " translate(1,2) rotate(90)");
}

TEST(SvgEdge, DashedLine) {
  HKSVG_line2 dashed(0, 0, 1, 1, 1);
  EXPECT_EQ(Printed(dashed),
            "<line stroke=\"black\" stroke-dasharray=\"8,8\" stroke-width=\"1\" x1=\"0\" x2=\"1\" y1=\"0\" y2=\"1\" />");
  HKSVG_line2 solid(0, 0, 1, 1, 0);
  EXPECT_EQ(Printed(solid), "<line stroke=\"black\" stroke-width=\"1\" x1=\"0\" x2=\"1\" y1=\"0\" y2=\"1\" />");
  EXPECT_EQ(solid.Content().categories.size(), 3u);
  EXPECT_EQ(solid.Content().further.size(), 2u);
}

TEST(SvgEdge, StrokeWidthWithoutDashKeepsDash) {
  HKSVG_line2 line(0, 0, 1, 1, 1);
  EXPECT_EQ(line.Stroke_Width(2.5, ""), "2.5");
  EXPECT_EQ(line.stroke_dasharray.str(), "8,8");
  EXPECT_EQ(line.stroke_width.str(), "2.5");
  line.Stroke_Width(1, "2,2");
  EXPECT_EQ(line.stroke_dasharray.str(), "2,2");
}

TEST(Svg, GroupTranslationAndLastChild) {
  HKSVG_g2 g;
  EXPECT_EQ(Printed(g), "<g></g>");
  g.Translation(10, 20);
  auto* rect = new HKSVG_rect2(30, 40);
  EXPECT_EQ(g.PushBackChildElement(static_cast<HKXMLGenericElement*>(rect)), rect);
  EXPECT_EQ(g.Last(), rect);
  EXPECT_EQ(Printed(g), "<g transform=\" translate(10,20)\"><rect fill=\"none\" height=\"40\" width=\"30\" x=\"0\" y=\"0\" />\n</g>");
  EXPECT_EQ(g.Content().elements.size(), 17u);
  HKSVG_clipPath2 clip;
  EXPECT_EQ(clip.Content().elements, std::set<std::string>{"text"});
}

TEST(Svg, TextElement) {
  HKSVG_text2 text(5, 6, "label");
  EXPECT_EQ(Printed(text), "<text font-size=\"37\" text-anchor=\"start\" x=\"5\" y=\"6\">label</text>");
  EXPECT_EQ(text.Text_Anchor(""), "start");
  EXPECT_EQ(text.Text_Anchor("middle"), "middle");
  text.transform.Rotate(-90);
  EXPECT_EQ(Printed(text),
            "<text font-size=\"37\" text-anchor=\"middle\" transform=\" rotate(-90)\" x=\"5\" y=\"6\">label</text>");
}

TEST(Svg, DocumentPrints) {
  HKSVG_Document2 doc("400", "300");
  const std::string open =
      "<svg baseProfile=\"full\" height=\"300\" version=\"1.1\" viewBox=\"0 0 400 300\" width=\"400\" "
      "xmlns=\"http://www.w3.org/2000/svg\" xmlns:ev=\"http://www.w3.org/2001/xml-events\" "
      "xmlns:xlink=\"http://www.w3.org/1999/xlink\">";
  const std::string svg = open + "</svg>";
  EXPECT_EQ(doc.GetBuffer(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?><!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.1//EN\" "
            "\"http://www.w3.org/Graphics/SVG/1.1/DTD/svg11.dtd\">\n" +
                svg);
  EXPECT_EQ(doc.GetBuffer_svg(), svg);
  HKSVG_svg2* root = doc.Svg();
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(doc.Svg(), root);
  root->PushBackChildElement(static_cast<HKXMLGenericElement*>(new HKSVG_line2(0, 0, 1, 1, 0)));
  EXPECT_EQ(doc.GetBuffer_svg(),
            open + "<line stroke=\"black\" stroke-width=\"1\" x1=\"0\" x2=\"1\" y1=\"0\" y2=\"1\" />\n</svg>");
  EXPECT_EQ(doc.Children()[0]->GetTypeName(), "procinst");
}

TEST(Svg, SvgIsRecreatedWhenMissing) {
  HKSVG_Document2 doc("10", "20");
  doc.RemoveSubelements();
  HKSVG_svg2* root = doc.Svg();
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->getAttributeText("viewBox", ""), "0 0 10 20");
}

TEST(Svg, IdAndDefs) {
  HKSVG_defs2 defs;
  defs.SetID("d");
  EXPECT_EQ(Printed(defs), "<defs id=\"d\"></defs>");
  HKId id("gen1");
  EXPECT_EQ(PrintedAttribute(id), "gen1");
}
