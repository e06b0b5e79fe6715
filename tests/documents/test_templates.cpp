// Realistic page templates read through the data reader and printed back.
// The expected files (*.printed.html) hold what the printing rules make of
// each template: attributes in name order, void tags as short tags, empty
// generic tags as short tags, the document's doctype followed by a line
// feed, top-level whitespace dropped, and script children framed by the
// script element's own comment lines.
#include <gtest/gtest.h>

#include <list>

#include "doc_test_util.h"

using doctest_util::DataFile;
using doctest_util::FileText;
using doctest_util::Printed;

namespace {
template <typename T>
std::list<T*> AllOf(HKXMLGenericElement& root, const std::string& type) {
  std::list<HKXMLGenericElement*> found;
  root.findObjects(type, found, -1);
  std::list<T*> typed;
  for (HKXMLGenericElement* e : found) {
    if (auto* t = dynamic_cast<T*>(e)) typed.push_back(t);
  }
  return typed;
}
}  // namespace

TEST(Templates, FormPagePrintsAsTheRulesSay) {
  HKHTML_Document2 doc(0);
  HKDataReader reader;
  ASSERT_TRUE(reader.ReadHTMLDocument(DataFile("page_form.html"), doc));
  EXPECT_EQ(Printed(doc), FileText(DataFile("page_form.printed.html")));
}

TEST(Templates, FormPageIsTyped) {
  HKHTML_Document2 doc(0);
  HKDataReader reader;
  ASSERT_TRUE(reader.ReadHTMLDocument(DataFile("page_form.html"), doc));
  HKHTML_html2* html = doc.Html();
  ASSERT_NE(html, nullptr);
  EXPECT_EQ(html->getAttributeText("lang", ""), "en");
  ASSERT_NE(html->theHead(), nullptr);
  EXPECT_EQ(html->ChildCount(), 5u);  // whitespace, head, whitespace, body, whitespace

  auto forms = AllOf<HKHTML_form2>(doc, "form");
  ASSERT_EQ(forms.size(), 1u);
  EXPECT_EQ(forms.front()->method().str(), "POST");
  EXPECT_EQ(forms.front()->action().str(), "/tovikwidget.handler");
  auto inputs = AllOf<HKHTML_input2>(doc, "input");
  ASSERT_EQ(inputs.size(), 3u);
  EXPECT_EQ(inputs.front()->value().str(), "probe 1");
  auto options = AllOf<HKHTML_option2>(doc, "option");
  ASSERT_EQ(options.size(), 2u);
  EXPECT_TRUE(options.front()->selected().AttributeIsSet());
  EXPECT_FALSE(options.back()->selected().AttributeIsSet());
  EXPECT_EQ(AllOf<HKHTML_tr2>(doc, "tr").size(), 3u);
  EXPECT_EQ(AllOf<HKHTML_td2>(doc, "td").size(), 4u);
  auto progress = AllOf<HKHTML_progress2>(doc, "progress");
  ASSERT_EQ(progress.size(), 1u);
  EXPECT_EQ(progress.front()->value()(), 30.0);
  EXPECT_EQ(progress.front()->max()(), 100.0);

  auto styles = AllOf<HKHTML_style2>(doc, "style");
  ASSERT_EQ(styles.size(), 1u);
  std::list<HKXMLComplexElement*> rules;
  styles.front()->findObjects("cssRule", rules, -1);
  EXPECT_EQ(rules.size(), 4u);
  std::list<HKXMLComplexElement*> properties;
  styles.front()->findObjects("cssproperty", properties, -1);
  EXPECT_EQ(properties.size(), 5u);

  auto scripts = AllOf<HKHTML_script2>(doc, "script");
  ASSERT_EQ(scripts.size(), 3u);
  EXPECT_EQ(scripts.front()->src().str(), "/js/tovik.js");
  EXPECT_EQ(scripts.front()->ChildCount(), 0u);
  auto it = std::next(scripts.begin());
  ASSERT_EQ((*it)->ChildCount(), 1u);
  EXPECT_EQ((*it)->Children()[0]->GetTypeName(), "comment");

  // A custom tag stays a generic element.
  std::list<HKXMLGenericElement*> custom;
  doc.findObjects("mywidget", custom, -1);
  ASSERT_EQ(custom.size(), 1u);
  EXPECT_EQ(dynamic_cast<HKHTML_BaseElement2*>(custom.front()), nullptr);
  EXPECT_NE(doc.FindObject("id", "settings"), nullptr);
}

TEST(Templates, ChartPagePrintsAsTheRulesSay) {
  HKHTML_Document2 doc(0);
  HKDataReader reader;
  ASSERT_TRUE(reader.ReadHTMLDocument(DataFile("page_chart.html"), doc));
  const std::string printed = Printed(doc);
  EXPECT_EQ(printed, FileText(DataFile("page_chart.printed.html")));
  // Without a doctype in the template the document's default stays.
  EXPECT_EQ(printed.rfind("<!DOCTYPE html>\n<html>", 0), 0u);
  // A page without scripts reads back to the same text.
  HKHTML_Document2 again(0);
  ASSERT_TRUE(reader.ReadHTMLDocumentFromString(printed, again));
  EXPECT_EQ(Printed(again), printed);
}

TEST(Templates, ChartFrameCanBeFilledFromProgram) {
  HKHTML_Document2 doc(0);
  HKDataReader reader;
  ASSERT_TRUE(reader.ReadHTMLDocument(DataFile("page_chart.html"), doc));
  HKXMLGenericElement* frame = doc.FindObject("id", "chart");
  ASSERT_NE(frame, nullptr);
  HKSVG_Document2 chart("200", "100");
  HKSVG_g2* g = new HKSVG_g2();
  chart.Svg()->PushBackChildElement(static_cast<HKXMLGenericElement*>(g));
  g->PushBackChildElement(static_cast<HKXMLGenericElement*>(new HKSVG_text2(10, 20, "new")));
  frame->replaceInnerChildsBy(new HKHTML_text2(chart.GetBuffer_svg()));
  const std::string printed = Printed(doc);
  EXPECT_NE(printed.find("<div class=\"chartframe\" id=\"chart\"><svg baseProfile=\"full\" height=\"100\""),
            std::string::npos);
  EXPECT_NE(printed.find(">new</text>"), std::string::npos);
}

TEST(Templates, ScriptReadBackGainsAnotherFrame) {
  // Script children print inside the script element's own comment lines;
  // a template that already encloses its script in a comment therefore
  // comes out with both.
  HKHTML_Document2 doc(0);
  HKDataReader reader;
  ASSERT_TRUE(reader.ReadHTMLDocumentFromString("<html><script><!--\nx();\n//--></script></html>", doc));
  EXPECT_EQ(Printed(doc),
            "<!DOCTYPE html>\n<html><script type=\"text/javascript\">\n<!--\n<!--\nx();\n//-->\n//-->\n</script>\n</html>");
}
