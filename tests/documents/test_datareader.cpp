// The data reader, template reading and the listing helper.
#include <gtest/gtest.h>

#include <memory>

#include "doc_test_util.h"

using doctest_util::DataFile;
using doctest_util::FileText;
using doctest_util::Printed;

// ---- edge cases ----

TEST(DataReaderEdge, MissingFileShowsStreamErrorOnPage) {
  HKHTML_Document2 doc("Page");
  HKDataReader reader;
  EXPECT_FALSE(reader.ReadHTMLDocument(DataFile("does_not_exist.html"), doc, 0));
  EXPECT_EQ(Printed(doc),
            "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\" />\n<title>Page</title>\n</head>\n"
            "<body><pre>error in stream around line 1</pre>\n</body>\n</html>");
}

TEST(DataReaderEdge, ReadReturnsFirstElementOrNull) {
  HKDataReader reader;
  std::string error;
  unsigned long end = 0;
  std::unique_ptr<HKXMLGenericElement> a(reader.Read("  <a/>", 0, end, "xml", error, false));
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->GetTypeName(), "a");
  EXPECT_EQ(a->getParent(), nullptr);
  EXPECT_EQ(error, "");
  EXPECT_EQ(end, 6u);
  std::unique_ptr<HKXMLGenericElement> none(reader.Read("text", 0, end, "xml", error, false));
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(error, "");
  std::istringstream in("  <a/>");
  std::unique_ptr<HKXMLGenericElement> fromStream(reader.Read(in, "html", error));
  ASSERT_NE(fromStream, nullptr);
  EXPECT_EQ(Printed(*fromStream), "<a></a>");
}

TEST(DataReaderEdge, DuplicateDivIsSeparateTree) {
  HKHTML_div2 div("d", false);
  div.setStyle("color:red");
  div.p()->PushBackChildElement(new HKHTML_text2("x"));
  div << new HKHTML_br2();
  HKDataReader reader;
  EXPECT_EQ(reader.DuplicateHTMLElement(nullptr, 0), nullptr);
  std::unique_ptr<HKXMLGenericElement> copy(reader.DuplicateHTMLElement(&div, 0));
  ASSERT_NE(copy, nullptr);
  auto* typed = dynamic_cast<HKHTML_div2*>(copy.get());
  ASSERT_NE(typed, nullptr);
  EXPECT_NE(typed, &div);
  EXPECT_EQ(typed->id().str(), "d");
  EXPECT_EQ(typed->GetWidgetManager(), nullptr);
  EXPECT_EQ(Printed(*typed), Printed(div));
  // The trees share nothing: changing the copy leaves the original alone.
  const std::string before = Printed(div);
  typed->RemoveSubelements();
  typed->setID("other");
  EXPECT_EQ(Printed(div), before);
  EXPECT_EQ(div.ChildCount(), 2u);
}

TEST(DataReaderEdge, TemplateWithoutDoctypeKeepsDefaultDoctype) {
  HKHTML_Document2 doc(0);
  HKDataReader reader;
  EXPECT_TRUE(reader.ReadHTMLDocumentFromString("<html><body>x</body></html>", doc, 0));
  EXPECT_EQ(Printed(doc), "<!DOCTYPE html>\n<html><body>x</body>\n</html>");
  HKHTML_Document2 withDoctype(0);
  EXPECT_TRUE(reader.ReadHTMLDocumentFromString("<!DOCTYPE html5>\n<html></html>", withDoctype, 0));
  EXPECT_EQ(Printed(withDoctype), "<!DOCTYPE html5>\n<html></html>");
}

// ---- further reading forms ----

TEST(DataReader, SingleStepsThroughSeveralObjects) {
  HKDataReader reader;
  std::string error;
  unsigned long end = 0;
  const std::string text = "<a/><b/>";
  std::unique_ptr<HKXMLGenericElement> a(reader.Read(text, 0, end, "xml", error, true));
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->GetTypeName(), "a");
  EXPECT_EQ(end, 4u);
  std::unique_ptr<HKXMLGenericElement> b(reader.Read(text, end, end, "xml", error, true));
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(b->GetTypeName(), "b");
  EXPECT_EQ(end, 8u);
}

TEST(DataReader, ErrorsComeBackAsText) {
  HKDataReader reader;
  std::string error;
  unsigned long end = 0;
  EXPECT_EQ(reader.Read("<a><b></a>", 0, end, "xml", error, false), nullptr);
  EXPECT_EQ(error, "wrong closing tag '/a' instead '/b' around line 1");
  HKXMLGenericElement* element = reinterpret_cast<HKXMLGenericElement*>(&error);
  EXPECT_EQ(reader.ReadHTMLElement("<p>x</b>", element), "wrong closing tag '/b' instead '/p' around line 1");
  EXPECT_EQ(element, nullptr);
  EXPECT_EQ(reader.ReadHTMLElement("<p>x</p>", element), "");
  std::unique_ptr<HKXMLGenericElement> owned(element);
  ASSERT_NE(dynamic_cast<HKHTML_p2*>(element), nullptr);
  EXPECT_EQ(Printed(*element), "<p>x</p>");
}

TEST(DataReader, EmptyTextShowsStreamError) {
  HKHTML_Document2 doc(0);
  HKDataReader reader;
  EXPECT_FALSE(reader.ReadHTMLDocumentFromString("", doc, 0));
  EXPECT_EQ(Printed(doc), "<!DOCTYPE html>\n<html><body><pre>error in stream around line 1</pre>\n</body>\n</html>");
}

TEST(DataReader, TopLevelExtrasAreDropped) {
  HKHTML_Document2 doc("Old");
  HKDataReader reader;
  EXPECT_TRUE(reader.ReadHTMLDocumentFromString("<!-- c --> <p>lost</p>\n<html><head></head></html>\ntrailing", doc));
  EXPECT_EQ(Printed(doc), "<!DOCTYPE html>\n<html><head></head>\n</html>");
}

TEST(DataReader, ReadingErrorKeepsDocumentAndShowsMessage) {
  HKHTML_Document2 doc(0);
  HKDataReader reader;
  EXPECT_FALSE(reader.ReadHTMLDocument(DataFile("page_broken.html"), doc));
  EXPECT_EQ(Printed(doc),
            "<!DOCTYPE html>\n<html><body><pre>wrong closing tag '/div' instead '/p' around line 4</pre>\n</body>\n</html>");
}

// ---- listing ----

TEST(FormattedOutput, LinesWithNumbersAndAnchors) {
  std::ostringstream numbers;
  std::ostringstream text;
  formated_output out(numbers, text, true);
  out.streamout("int a;\nint b", "code", false, "", "");
  out.streamout(";", "punct", false, "end", "");
  out.streamout_comment("note");
  out.WriteStreams();
  EXPECT_EQ(numbers.str(),
            "<a href=\"#\" name=\"aroundline1\">1</a><span class=\"toviklinenbr\" >1&nbsp;|&nbsp;</span><br/>\n"
            "<a href=\"#\" name=\"aroundline2\">2</a><span class=\"toviklinenbr\" >2&nbsp;|&nbsp;</span><br/>\n");
  EXPECT_EQ(text.str(),
            "<li>note</li><span class=\"code\" >int a;</span><br/>\n"
            "<span class=\"code\" >int b</span><span class=\"punct\" title=\"end\" >;</span><br/>\n");
}

TEST(FormattedOutput, NumbersLoseLeadingZerosAndBlocksCollect) {
  std::ostringstream numbers;
  std::ostringstream text;
  formated_output out(numbers, text, true);
  for (int i = 0; i < 10; ++i) out.streamout("x\n", "c", false, "", "");
  out.writebuffer();
  out.EmptyBuffer();
  ASSERT_EQ(out.Blocks().size(), 1u);
  EXPECT_NE(out.Blocks()[0].lineNumbers.find("name=\"aroundline10\">10</a>"), std::string::npos);
  EXPECT_EQ(numbers.str(), "");
  out.WriteStreams();
  EXPECT_TRUE(out.Blocks().empty());
  EXPECT_NE(numbers.str().find("aroundline10"), std::string::npos);
  std::ostringstream n2, t2;
  formated_output plain(n2, t2, false);
  plain.streamout("a\n", "c", false, "", "");
  plain.WriteStreams();
  EXPECT_EQ(n2.str(), "");
  EXPECT_EQ(t2.str(), "<span class=\"c\" >a</span><br/>\n");
}
