// The HTML document, script and style elements.
#include <gtest/gtest.h>

#include <typeinfo>

#include "doc_test_util.h"

using doctest_util::Printed;
using doctest_util::ThrownMessage;

TEST(HtmlDocumentEdge, TitledDocumentPrints) {
  HKHTML_Document2 doc("T");
  EXPECT_EQ(Printed(doc),
            "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\" />\n<title>T</title>\n</head>\n</html>");
  doc.p();
  EXPECT_EQ(Printed(doc),
            "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\" />\n<title>T</title>\n</head>\n"
            "<body><p></p>\n</body>\n</html>");
  EXPECT_EQ(doc.GetTypeName(), "HTMLDocument");
}

TEST(HtmlDocumentEdge, DefaultAndEmptyTitle) {
  HKHTML_Document2 doc;
  EXPECT_EQ(Printed(doc), "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\" />\n</head>\n</html>");
  HKHTML_Document2 untitled(std::string(""));
  EXPECT_EQ(Printed(untitled), Printed(doc));
}

TEST(HtmlDocumentEdge, EmptyDocumentPrintsNothing) {
  HKHTML_Document2 doc(0);
  EXPECT_EQ(Printed(doc), "");
  EXPECT_EQ(doc.ChildCount(), 0u);
  doc << new HKXML_Comment2("x");
  EXPECT_EQ(Printed(doc), "<!--x-->");
}

TEST(HtmlDocumentEdge, AddToBodyOnEmptyDocumentCreatesStructure) {
  HKHTML_Document2 doc(0);
  HKXMLGenericElement* added = doc.AddToBody(new HKHTML_hr2());
  ASSERT_NE(added, nullptr);
  EXPECT_EQ(added->GetTypeName(), "hr");
  ASSERT_EQ(doc.ChildCount(), 2u);
  EXPECT_EQ(doc.Children()[0]->GetTypeName(), "HTMLDoctype");
  EXPECT_EQ(doc.Children()[1]->GetTypeName(), "html");
  EXPECT_EQ(Printed(doc), "<!DOCTYPE html>\n<html><body><hr />\n</body>\n</html>");
}

TEST(HtmlDocumentEdge, ScriptPrintsInsideComment) {
  HKHTML_script2 script("", "var a = 1;");
  EXPECT_EQ(Printed(script), "<script type=\"text/javascript\">\n<!--\nvar a = 1;\n//-->\n</script>");
  HKHTML_script2 withSrc("lib.js", "");
  EXPECT_EQ(Printed(withSrc), "<script src=\"lib.js\" type=\"text/javascript\">\n<!--\n\n//-->\n</script>");
}

TEST(HtmlDocumentEdge, JavaScriptHandlerWrap) {
  HKJavaScriptHandler keeps("<script>x</script>", true);
  EXPECT_EQ(Printed(keeps), "<script>x</script>");
  HKJavaScriptHandler wraps("x", true);
  EXPECT_EQ(Printed(wraps), "<script>\n<!--\nx\n//-->\n</script>");
  HKJavaScriptHandler plain("x", false);
  EXPECT_EQ(Printed(plain), "x");
  plain = std::string("y();");
  EXPECT_EQ(Printed(plain), "y();");
  EXPECT_EQ(plain.GetTypeName(), "JavaScript");
}

TEST(HtmlDocumentEdge, EmptyScriptPrintsCommentLines) {
  HKHTML_script2 script;
  EXPECT_EQ(Printed(script), "<script type=\"text/javascript\">\n<!--\n\n//-->\n</script>");
}

TEST(HtmlDocument, HtmlRepairsShape) {
  HKHTML_Document2 doc(0);
  doc << new HKHTML_html2();
  HKHTML_html2* html = doc.Html();
  ASSERT_NE(html, nullptr);
  ASSERT_EQ(doc.ChildCount(), 2u);
  EXPECT_EQ(doc.Children()[0]->GetTypeName(), "HTMLDoctype");
  EXPECT_EQ(doc.Children()[1], html);
  EXPECT_EQ(doc.Html(), html);
  EXPECT_EQ(doc.ChildCount(), 2u);
}

TEST(HtmlDocument, HeadGoesInFrontBodyAtTheEnd) {
  HKHTML_html2 html;
  html << new HKHTML_body2();
  HKHTML_head2* head = html.theHead();
  ASSERT_NE(head, nullptr);
  EXPECT_EQ(html.Children()[0], head);
  EXPECT_EQ(html.theHead(), head);
  EXPECT_EQ(html.theBody(), html.Children()[1]);
}

TEST(HtmlDocument, GenericHtmlElementFailsTheCast) {
  HKHTML_Document2 doc(0);
  doc << new HKXMLGenericElement("html", true);
  EXPECT_EQ(doc.Html(), nullptr);
  EXPECT_EQ(doc.AddToBody(new HKHTML_hr2()), nullptr);
  testing::internal::CaptureStderr();
  EXPECT_THROW(doc.p(), std::bad_cast);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "problem....");
}

TEST(HtmlDocument, CreatingOperationsAppendToBody) {
  HKHTML_Document2 doc(0);
  EXPECT_NE(doc.p(), nullptr);
  HKHTML_div2* div = doc.div("main");
  ASSERT_NE(div, nullptr);
  EXPECT_EQ(div->id().str(), "main");
  EXPECT_NE(doc.h2(), nullptr);
  EXPECT_NE(doc.h3(), nullptr);
  EXPECT_NE(doc.hr(), nullptr);
  EXPECT_NE(doc.pre(), nullptr);
  EXPECT_NE(doc.script("s.js", ""), nullptr);
  EXPECT_EQ(Printed(doc),
            "<!DOCTYPE html>\n<html><body><p></p>\n<div id=\"main\"></div>\n<h2></h2>\n<h3></h3>\n<hr />\n<pre></pre>\n"
            "<script src=\"s.js\" type=\"text/javascript\">\n<!--\n\n//-->\n</script>\n</body>\n</html>");
}

TEST(HtmlDocument, AddToHeadAndLanguageInfo) {
  HKHTML_Document2 doc;
  auto* language = new HKHTML_meta2();
  *language << std::string("http-equiv=\"language\"");
  doc.AddToHead(language);
  auto* description = new HKHTML_meta2();
  *description << std::string("name=\"description\"");
  doc.AddToHead(description);
  doc.Html()->addLanguageInfo("de");
  EXPECT_EQ(Printed(doc),
            "<!DOCTYPE html>\n<html lang=\"de\"><head><meta charset=\"utf-8\" />\n"
            "<meta content=\"de\" http-equiv=\"language\" />\n<meta lang=\"de\" name=\"description\" />\n</head>\n</html>");
}

TEST(HtmlDocument, StyleElement) {
  HKHTML_style2 style;
  EXPECT_EQ(style.dtdRequest("html"), "css");
  EXPECT_EQ(style.dtdRequest(""), "html");
  style << new HKCSSRule(".a", {"color:red"});
  style << new HKXMLGenericText("/* c */");
  EXPECT_EQ(Printed(style), "<style type=\"text/css\">.a{color: red;}/* c */</style>");
  EXPECT_EQ(ThrownMessage([&] { style << new HKHTML_div2(); }), "must be an CSS element");
  EXPECT_EQ(ThrownMessage([&] { style << new HKXMLGenericWhitespace("\n"); }), "must be an CSS element");
  HKHTML_style2 sheet("", "body { margin: 0 }\n");
  EXPECT_EQ(Printed(sheet), "<style type=\"text/css\">body { margin: 0 }\n</style>");
  HKHTML_style2 linked("site.css", "");
  EXPECT_EQ(Printed(linked), "<style src=\"site.css\" type=\"text/css\"></style>");
}

TEST(HtmlDocument, MemberAttributesCannotBeRegisteredTwice) {
  HKHTML_script2 script;
  HKXMLStringHKAttribute other;
  bool threwTwo = false;
  try {
    script.ReplaceAttributeContent("src", other);
  } catch (int code) {
    threwTwo = code == 2;
  }
  EXPECT_TRUE(threwTwo);
}

TEST(HtmlDocument, PreprintRunsBeforePrinting) {
  struct Page : HKHTML_Document2 {
    Page() : HKHTML_Document2(0) {}
    void _preprint() const override { ++calls; }
    mutable int calls = 0;
  };
  Page page;
  page.AddToBody(new HKHTML_br2());
  Printed(page);
  EXPECT_EQ(page.calls, 1);
  EXPECT_EQ(page.GetBuffer(), Printed(page));
}
