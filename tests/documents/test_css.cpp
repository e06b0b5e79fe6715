// Style attribute and CSS elements.
#include <gtest/gtest.h>

#include "doc_test_util.h"

using doctest_util::Printed;
using doctest_util::PrintedAttribute;
using doctest_util::ReadError;
using doctest_util::RoundTrip;
using doctest_util::ThrownMessage;

// ---- HKCSSProperty ----

TEST(CssProperty, StripsAndCutsAtFirstColon) {
  HKCSSProperty p(" \t color : red ;\r\n", false);
  EXPECT_EQ(p.getProperty(), "color");
  EXPECT_EQ(p.getValue(), "red");
  EXPECT_FALSE(p.isEmpty());
  EXPECT_EQ(p.GetTypeName(), "cssproperty");
  EXPECT_EQ(Printed(p), "color: red;");
  HKCSSProperty url("background:url(a:b)", false);
  EXPECT_EQ(url.getProperty(), "background");
  EXPECT_EQ(url.getValue(), "url(a:b)");
}

TEST(CssProperty, MissingColonAndMissingName) {
  EXPECT_EQ(ThrownMessage([] { HKCSSProperty p("color red", false); }),
            "CSS property not well formed (missing ':').");
  HKCSSProperty nameOnly("width;", true);
  EXPECT_EQ(nameOnly.getProperty(), "width");
  EXPECT_TRUE(nameOnly.isEmpty());
  EXPECT_EQ(Printed(nameOnly), "");
  EXPECT_EQ(ThrownMessage([] { HKCSSProperty p(" : red", false); }), "CSS property must have a name");
  EXPECT_EQ(ThrownMessage([] { HKCSSProperty p(" ; ", true); }), "CSS property must have a name");
}

TEST(CssProperty, AssignmentReplacesValueAndEmptyPrintsNothing) {
  HKCSSProperty p("color:red", false);
  p = std::string("blue");
  EXPECT_EQ(Printed(p), "color: blue;");
  p = std::string();
  EXPECT_TRUE(p.isEmpty());
  EXPECT_EQ(Printed(p), "");
}

TEST(CssProperty, NoChildsPossible) {
  HKCSSProperty p("color:red", false);
  EXPECT_EQ(ThrownMessage([&] { p << new HKXMLGenericText("x"); }), "no childs possible");
}

// ---- HKStyleAttribute (edge cases) ----

TEST(CssStyleAttribute, TwoPropertiesPrintInNameOrderWithoutBlank) {
  HKStyleAttribute style;
  style = std::string("width:1px; color:red");
  EXPECT_EQ(style.Properties().size(), 2u);
  EXPECT_EQ(PrintedAttribute(style), "color: red;width: 1px;");
  HKStyleAttribute same;
  same = "color:red; width:1px";
  EXPECT_EQ(PrintedAttribute(same), "color: red;width: 1px;");
}

TEST(CssStyleAttribute, PieceWithoutColonThrows) {
  HKStyleAttribute style;
  EXPECT_EQ(ThrownMessage([&] { style = std::string("a"); }), "style syntax wrong at: >a< ");
  EXPECT_EQ(ThrownMessage([&] { style = std::string("color:red;  b  ;"); }), "style syntax wrong at: >b< ");
}

TEST(CssStyleAttribute, ValueWithFurtherColonThrows) {
  HKStyleAttribute style;
  EXPECT_EQ(ThrownMessage([&] { style = std::string("background:url(x:y)"); }),
            "style syntax wrong at: >background:url(x:y)< ");
}

TEST(CssStyleAttribute, TrailingSemicolonAddsNothing) {
  HKStyleAttribute style;
  style = std::string("color:red;");
  EXPECT_EQ(style.Properties().size(), 1u);
  style = std::string(" ; ;");
  EXPECT_EQ(style.Properties().size(), 1u);
  EXPECT_EQ(PrintedAttribute(style), "color: red;");
}

TEST(CssStyleAttribute, AssignmentKeepsEarlierProperties) {
  HKStyleAttribute style;
  EXPECT_FALSE(style.AttributeIsSet());
  style = std::string("color:red");
  style = std::string("width:1px");
  EXPECT_EQ(PrintedAttribute(style), "color: red;width: 1px;");
  style += "color: blue";
  EXPECT_EQ(PrintedAttribute(style), "color: blue;width: 1px;");
  style = static_cast<const char*>(nullptr);
  EXPECT_EQ(style.Properties().size(), 2u);
}

TEST(CssStyleAttribute, IndexCreatesPropertyAndAssignmentSetsIt) {
  HKStyleAttribute style;
  style["color"] = std::string("red");
  EXPECT_EQ(PrintedAttribute(style), "color: red;");
  EXPECT_EQ(&style["color"], &style["color"]);
}

TEST(CssStyleAttribute, EmptyPropertyKeepsAttributeSetAndPrintsEmptyValue) {
  HKHTML_div2 div;
  div.style()["color"];
  EXPECT_TRUE(div.style().AttributeIsSet());
  EXPECT_EQ(Printed(div), "<div style=\"\"></div>");
  div.style()["width"] = std::string("2px");
  EXPECT_EQ(Printed(div), "<div style=\"width: 2px;\"></div>");
}

// ---- rules, media queries, comments ----

TEST(CssRule, ConstructedWithPropertiesPrints) {
  HKCSSRule rule(".a", {"color:red"});
  EXPECT_EQ(Printed(rule), ".a{color: red;}");
  HKCSSRule two("#b p", {"color:red", "", "margin : 0 ;"});
  EXPECT_EQ(two.ChildCount(), 2u);
  EXPECT_EQ(Printed(two), "#b p{color: red;margin: 0;}");
  EXPECT_EQ(two.GetTypeName(), "cssRule");
  EXPECT_TRUE(two.ShortTagPermitted());
}

TEST(CssRule, AcceptsOnlyCssChildren) {
  HKCSSRule rule(".a");
  rule << new HKXMLGenericText("/* c */");
  rule << new HKCSSHTMLComment();
  rule << new HKCSSProperty("x:1", false);
  EXPECT_EQ(Printed(rule), ".a{/* c */<!---->x: 1;}");
  EXPECT_EQ(ThrownMessage([&] { rule << new HKXMLGenericWhitespace(" "); }), "must be an CSS element");
  EXPECT_EQ(ThrownMessage([&] { rule << new HKCSSRule(".b"); }), "must be an CSS element");
}

TEST(CssRule, DtdRequestSwitchesToCssRuleAndBack) {
  HKCSSRule rule(".a");
  EXPECT_EQ(rule.dtdRequest("css"), "cssRule");
  EXPECT_EQ(rule.dtdRequest(""), "css");
}

TEST(CssMediaQuery, PrintsAndChecksChildren) {
  HKCSSMediaQuery media("@media screen");
  media << new HKCSSRule(".a", {"color:red"});
  media << new HKXMLGenericText("/**/");
  EXPECT_EQ(Printed(media), "@media screen{.a{color: red;}/**/}");
  EXPECT_EQ(media.GetTypeName(), "cssmediaquery");
  EXPECT_EQ(ThrownMessage([&] { media << new HKCSSProperty("a:b", false); }), "must be an CSS element");
}

TEST(CssHtmlComment, AcceptsTextOnly) {
  HKCSSHTMLComment comment;
  comment << new HKXMLGenericText("/* x */");
  EXPECT_EQ(Printed(comment), "<!--/* x */-->");
  EXPECT_EQ(comment.GetTypeName(), "csshtmlcomment");
  EXPECT_EQ(ThrownMessage([&] { comment << new HKCSSRule(".a"); }), "child must be text");
}

// ---- reading style sheets ----

TEST(CssReading, StyleSheetRoundTrip) {
  const std::string sheet =
      "<style type=\"text/css\">.a{color:red;}@media screen{.b{width:1px;}}<!--/* x */-->#c,p{margin:0;padding:1px}"
      "</style>";
  EXPECT_EQ(RoundTrip(sheet),
            "<style type=\"text/css\">.a{color: red;}@media screen{.b{width: 1px;}}<!--/* x */-->"
            "#c,p{margin: 0;padding: 1px;}</style>");
}

TEST(CssReading, StyleContentBecomesTypedElements) {
  doctest_util::Parsed p("<style>.a{color:red;}@media print{.b{x:y;}}</style>");
  HKXMLComplexElement* top = p.Read("html");
  ASSERT_EQ(top->ChildCount(), 1u);
  auto* style = dynamic_cast<HKHTML_style2*>(top->Children()[0]);
  ASSERT_NE(style, nullptr);
  ASSERT_EQ(style->ChildCount(), 2u);
  auto* rule = dynamic_cast<HKCSSRule*>(style->Children()[0]);
  ASSERT_NE(rule, nullptr);
  EXPECT_EQ(rule->getSelector(), ".a");
  ASSERT_EQ(rule->ChildCount(), 1u);
  auto* property = dynamic_cast<HKCSSProperty*>(rule->Children()[0]);
  ASSERT_NE(property, nullptr);
  EXPECT_EQ(property->getProperty(), "color");
  EXPECT_EQ(property->getValue(), "red");
  auto* media = dynamic_cast<HKCSSMediaQuery*>(style->Children()[1]);
  ASSERT_NE(media, nullptr);
  EXPECT_EQ(media->getQuery(), "@media print");
  // After "</style>" the grammar is "html" again.
  EXPECT_EQ(p.reader->Splitter().getCurrentDTD(), "html");
}

TEST(CssReading, WhitespaceInStyleSheetIsRefused) {
  EXPECT_EQ(ReadError("<style>\n.a{color:red;}</style>"), "must be an CSS element around line 2");
  EXPECT_EQ(ReadError("<style>.a{ color:red;}</style>"), "must be an CSS element around line 1");
}

TEST(CssReading, UnclosedRuleBeforeEndTagFails) {
  EXPECT_EQ(ReadError("<style>.a{color:red;</style>"), "reading error  around line 1");
}

TEST(CssReading, TagInsideStyleSheetIsRefused) {
  EXPECT_EQ(ReadError("<style><b/></style>"), "must be an CSS element around line 1");
}

TEST(CssReading, PropertyWithoutColonInRuleFails) {
  EXPECT_EQ(ReadError("<style>.a{color;}</style>"),
            "CSS property not well formed (missing ':'). around line 1");
}

TEST(CssReading, GrammarsAreComplete) {
  HKDTD css = HKDTDStandardGrammar("css");
  for (const char* type : {"css_a_whitespace", "css_aa_whitespace", "css_aaa_whitespace", "css_b_closer",
                           "css_c_comment", "css_d_mediaquery", "css_e_rule", "css_f_property", "xmlelement"}) {
    EXPECT_EQ(css.ObjectFactory().count(type), 1u) << type;
  }
  HKDTD cssRule = HKDTDStandardGrammar("cssRule");
  for (const char* type : {"css_a_whitespace", "css_b_closer", "css_c_comment", "css_f_property"}) {
    EXPECT_EQ(cssRule.ObjectFactory().count(type), 1u) << type;
  }
}

TEST(CssReading, StyleAttributeReadFromTemplateIsParsed) {
  doctest_util::Parsed p("<div style=\"width:1px;color:red\"></div>");
  HKXMLComplexElement* top = p.Read("html");
  auto* div = dynamic_cast<HKHTML_div2*>(top->Children()[0]);
  ASSERT_NE(div, nullptr);
  EXPECT_EQ(div->style().Properties().size(), 2u);
  EXPECT_EQ(Printed(*div), "<div style=\"color: red;width: 1px;\"></div>");
  EXPECT_EQ(ReadError("<div style=\"a\"></div>"), "style syntax wrong at: >a<  around line 1");
}

TEST(CssReading, GrammarSwitchesInsideStyleAndBack) {
  doctest_util::Parsed p("<b><style>.a{x:y;}</style></b>");
  HKDTDElementReader& r = *p.reader;
  r.read("html", true);  // <b>
  EXPECT_EQ(r.Splitter().getCurrentDTD(), "html");
  r.read("html", true);  // <style>
  EXPECT_EQ(r.Splitter().getCurrentDTD(), "css");
  r.read("html", true);  // .a{
  EXPECT_EQ(r.Splitter().getCurrentDTD(), "cssRule");
  r.read("html", true);  // x:y;
  r.read("html", true);  // }
  EXPECT_EQ(r.Splitter().getCurrentDTD(), "css");
  r.read("html", true);  // </style>
  EXPECT_EQ(r.Splitter().getCurrentDTD(), "html");
  EXPECT_EQ(r.Splitter().getCurrentElement()->GetTypeName(), "b");
}

TEST(CssProperty, FurtherTextIsKeptAndNotPrinted) {
  HKCSSProperty p("color:red", false);
  EXPECT_EQ(p.getFurther(), "");
  p.setFurther("!important");
  EXPECT_EQ(p.getFurther(), "!important");
  EXPECT_EQ(Printed(p), "color: red;");
}
