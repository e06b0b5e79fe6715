// The character source, the token readers and the grammars.
#include <gtest/gtest.h>

#include <atomic>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "xml_test_util.h"

using xmltest::Parsed;
using xmltest::ReadError;
using xmltest::RoundTrip;

namespace {

// Runs one token reader on a text; returns the content or "<fail>".
std::string Token(HKDTDElementRead& r, std::string text, std::string* rest = nullptr) {
  HKDTDElementReaderString reader(text, 0);
  HKDTDElementRead* got = r.Read(reader);
  if (rest != nullptr) {
    rest->clear();
    while (!reader.eof()) rest->push_back(static_cast<char>(reader.get()));
  }
  return got == nullptr ? std::string("<fail>") : got->GetContent();
}

std::vector<std::string> Types(const HKXMLComplexElement& parent) {
  std::vector<std::string> out;
  for (const HKXMLComplexElement* c : parent.Children()) out.push_back(c->GetTypeName());
  return out;
}

std::vector<std::string> ReaderOrder(HKDTD& dtd) {
  std::vector<std::string> out;
  for (auto& [type, reader] : dtd.Readers()) out.push_back(type);
  return out;
}

}  // namespace

// ---- edge cases of the reader ----

TEST(XmlReader, EdgeAttributesWithAndWithoutValue) {
  std::string text = "<a b=\"1\"c='2' d>";
  HKDTDElementReaderString reader(text, 0);
  HKDTDElementRead_Element element;
  ASSERT_EQ(element.Read(reader), &element);
  EXPECT_EQ(element.GetContent(), "a");
  auto& attrs = reader.Attributes();
  ASSERT_EQ(attrs.size(), 3u);
  auto it = attrs.begin();
  EXPECT_EQ(it->name, "b");
  EXPECT_EQ(it->value, "1");
  EXPECT_FALSE(it->withoutValue);
  ++it;
  EXPECT_EQ(it->name, "c");
  EXPECT_EQ(it->value, "2");
  ++it;
  EXPECT_EQ(it->name, "d");
  EXPECT_EQ(it->value, "");
  EXPECT_TRUE(it->withoutValue);
  EXPECT_TRUE(reader.eof());
}

TEST(XmlReader, EdgeBlanksAroundEqualsFailAllReaders) {
  EXPECT_EQ(ReadError("<a b = \"1\">", "xml"), "reading error  around line 1");
}

TEST(XmlReader, EdgeBlankBeforeEndTagCloserIsIncompleteTag) {
  EXPECT_EQ(ReadError("</a >", "xml"), "incomplete tag '/a' around line 1");
  EXPECT_EQ(ReadError("<a:b>", "xml"), "incomplete tag 'a' around line 1");
  EXPECT_EQ(ReadError("<a", "xml"), "incomplete tag 'a' around line 1");
  EXPECT_EQ(ReadError("<a></a b>", "xml"), "incomplete tag '/a' around line 1");
}

TEST(XmlReader, EdgeSlashInsideTagFails) {
  std::string text = "<a/b>";
  HKDTDElementReaderString reader(text, 0);
  HKDTDElementRead_Element element;
  EXPECT_EQ(element.Read(reader), nullptr);
  EXPECT_EQ(reader.peek(), '<');  // the source is restored
  EXPECT_EQ(ReadError("<a/b>", "xml"), "reading error  around line 1");
}

TEST(XmlReader, EdgeProcessingInstructionContent) {
  HKDTDElementRead_ProcInst pi;
  EXPECT_EQ(Token(pi, "<?xml version=\"1.0\"?>"), "xml version=\"1.0\"");
  Parsed p("<?xml version=\"1.0\"?>");
  HKXMLComplexElement* top = p.Read("xml");
  ASSERT_EQ(top->ChildCount(), 1u);
  auto* node = dynamic_cast<HKXML_ProcInst2*>(top->Children()[0]);
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(node->GetContent(), "xml version=\"1.0\"");
  EXPECT_EQ(Token(pi, "<?a?b?>"), "a?b");
  EXPECT_EQ(Token(pi, "<?never closed"), "<fail>");
}

TEST(XmlReader, EdgeCommentWithThreeDashesIsNotClosed) {
  HKDTDElementRead_Comment comment;
  EXPECT_EQ(Token(comment, "<!-- a --->"), "<fail>");
  EXPECT_EQ(Token(comment, "<!-- a ---> b -->"), " a ---> b ");
  EXPECT_EQ(Token(comment, "<!-- a -->"), " a ");
  EXPECT_EQ(Token(comment, "<!--a---->"), "a--");
  EXPECT_EQ(Token(comment, "<!---->"), "");
  EXPECT_EQ(Token(comment, "<!-x-->"), "<fail>");
  EXPECT_EQ(ReadError("<!-- a --->", "xml"), "reading error  around line 1");
}

TEST(XmlReader, EdgeRunningTextBecomesWordsAndWhitespace) {
  Parsed p("hello world");
  HKXMLComplexElement* top = p.Read("xml");
  ASSERT_EQ(Types(*top), (std::vector<std::string>{"xmltext", "xmlwhitespace", "xmltext"}));
  EXPECT_EQ(dynamic_cast<HKXMLGenericText*>(top->Children()[0])->GetContent(), "hello");
  EXPECT_EQ(dynamic_cast<HKXMLGenericWhitespace*>(top->Children()[1])->GetContent(), " ");
  EXPECT_EQ(dynamic_cast<HKXMLGenericText*>(top->Children()[2])->GetContent(), "world");
}

TEST(XmlReader, EdgeCssPropertyLeavesBraceKeepsSemicolon) {
  HKDTDElementRead_PropertyCSS property;
  std::string rest;
  EXPECT_EQ(Token(property, "color:red}", &rest), "color:red");
  EXPECT_EQ(rest, "}");
  EXPECT_EQ(Token(property, "color:red;", &rest), "color:red;");
  EXPECT_EQ(rest, "");
  EXPECT_EQ(Token(property, "color: red \n\t}", &rest), "color: red");
  EXPECT_EQ(rest, " \n\t}");
  EXPECT_EQ(Token(property, "color:red"), "<fail>");
  EXPECT_EQ(Token(property, "1color:red;"), "<fail>");
}

TEST(XmlReader, EdgeAttributeValueMayHoldAngleAndLineFeed) {
  Parsed p("<a v=\"x>y\nz\" w='say \"hi\"'/>");
  HKXMLComplexElement* top = p.Read("xml");
  auto* a = dynamic_cast<HKXMLGenericElement*>(top->Children()[0]);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->getAttributeText("v", "?"), "x>y\nz");
  EXPECT_EQ(a->getAttributeText("w", "?"), "say \"hi\"");
}

// ---- token readers ----

TEST(XmlReader, WhitespaceAndTextReaders) {
  HKDTDElementRead_WhitespaceText ws;
  HKDTDElementRead_Text text;
  std::string rest;
  EXPECT_EQ(Token(ws, " \t\r\nx", &rest), " \t\r\n");
  EXPECT_EQ(rest, "x");
  EXPECT_EQ(Token(ws, "x "), "<fail>");
  EXPECT_EQ(Token(ws, "\v"), "<fail>");  // vertical tab is no whitespace here
  EXPECT_EQ(Token(text, "a&amp;b<c", &rest), "a&amp;b");
  EXPECT_EQ(rest, "<c");
  EXPECT_EQ(Token(text, "\v\f"), "\v\f");
  EXPECT_EQ(Token(text, "<"), "<fail>");
  EXPECT_EQ(Token(text, " x"), "<fail>");
  EXPECT_EQ(ws.GetTypeName(), "xmlwhitespace");
  EXPECT_EQ(text.GetTypeName(), "xmltext");
}

TEST(XmlReader, DoctypeReader) {
  HKDTDElementRead_Doctype doctype;
  EXPECT_EQ(doctype.GetTypeName(), "htmldoctype");
  EXPECT_EQ(Token(doctype, "<!DOCTYPE html>"), "html");
  EXPECT_EQ(Token(doctype, "<!doctype html>"), "<fail>");
  EXPECT_EQ(Token(doctype, "<!DOCTYPEhtml>"), "<fail>");
  EXPECT_EQ(Token(doctype, "<!DOCTYPE html"), "<fail>");
  EXPECT_EQ(ReadError("<!DOCTYPE html>", "xml"), "reading error  around line 1");
}

TEST(XmlReader, ElementReaderTags) {
  HKDTDElementRead_Element element;
  std::string text = "<a/>";
  HKDTDElementReaderString r1(text, 0);
  ASSERT_NE(element.Read(r1), nullptr);
  EXPECT_EQ(element.GetContent(), "a");
  EXPECT_TRUE(element.NoClosing());
  EXPECT_TRUE(element.hasNoClosingTag());
  EXPECT_FALSE(element.isClosingTag());
  EXPECT_TRUE(element.hasAttributes());

  HKDTDElementRead_Element end;
  EXPECT_EQ(Token(end, "</div>"), "/div");
  EXPECT_TRUE(end.isClosingTag());
  EXPECT_TRUE(end.checkInitialTag("div"));
  EXPECT_FALSE(end.checkInitialTag("di"));
  HKDTDElementRead_Element fresh;
  EXPECT_FALSE(fresh.checkInitialTag(""));  // empty content
  EXPECT_EQ(Token(fresh, "<x-y_z1 >"), "x-y_z1");
  EXPECT_EQ(Token(fresh, "<_a>"), "_a");
  EXPECT_EQ(Token(fresh, "<1a>"), "<fail>");
  EXPECT_EQ(Token(fresh, "< a>"), "<fail>");
  EXPECT_EQ(Token(fresh, "<a b='1>"), "<fail>");  // unterminated value
  EXPECT_EQ(Token(fresh, "<a b=1>"), "<fail>");   // unquoted value
  EXPECT_EQ(Token(fresh, "<a\n\tb='1'\n/>"), "a");
}

TEST(XmlReader, RepeatedAttributeLastWins) {
  Parsed p("<a x='1' x='2'/>");
  auto* a = dynamic_cast<HKXMLGenericElement*>(p.Read("xml")->Children()[0]);
  EXPECT_EQ(a->getAttributeText("x", "?"), "2");
  EXPECT_EQ(p.reader->Attributes().size(), 2u);
}

TEST(XmlReader, CssReaders) {
  HKDTDElementRead_WhitespaceCSS ws;
  EXPECT_EQ(ws.GetTypeName(), "css_a_whitespace");
  EXPECT_EQ(Token(ws, "  x"), "  ");

  HKDTDElementRead_WhitespaceCSSHTMLComment opener;
  std::string rest;
  EXPECT_EQ(Token(opener, "<!--x", &rest), "<!-");
  EXPECT_EQ(rest, "x");  // the fourth character is consumed
  EXPECT_EQ(Token(opener, "<-x", &rest), "<-");
  EXPECT_EQ(rest, "x");
  EXPECT_EQ(Token(opener, "</style>"), "<fail>");
  EXPECT_EQ(Token(opener, "<!-x"), "<fail>");
  EXPECT_EQ(Token(opener, "<!x"), "<fail>");

  HKDTDElementRead_WhitespaceCSSHTMLCommentCloser closer;
  EXPECT_EQ(Token(closer, "-->"), "-->");
  EXPECT_EQ(Token(closer, "->"), "->");
  EXPECT_EQ(Token(closer, "--->"), "<fail>");
  EXPECT_EQ(Token(closer, "-x"), "<fail>");
  EXPECT_TRUE(closer.isClosingTag());

  HKDTDElementRead_CloserCSS brace;
  EXPECT_FALSE(brace.isClosingTag());
  EXPECT_EQ(Token(brace, "}}", &rest), "}");
  EXPECT_EQ(rest, "}");
  EXPECT_TRUE(brace.isClosingTag());

  HKDTDElementRead_CommentCSS comment;
  EXPECT_EQ(Token(comment, "/* a */b", &rest), "/* a */");
  EXPECT_EQ(rest, "b");
  EXPECT_EQ(Token(comment, "/*/ x */"), "/*/ x */");
  EXPECT_EQ(Token(comment, "/**/"), "/**/");
  EXPECT_EQ(Token(comment, "/"), "<fail>");
  EXPECT_EQ(Token(comment, "/* open"), "<fail>");

  HKDTDElementRead_MediaQueryCSS media;
  EXPECT_EQ(Token(media, "@media screen {a", &rest), "@media screen ");
  EXPECT_EQ(rest, "a");
  EXPECT_EQ(Token(media, "@media"), "<fail>");

  HKDTDElementRead_RuleCSS rule;
  EXPECT_EQ(Token(rule, "div.a > p {x", &rest), "div.a > p ");
  EXPECT_EQ(rest, "x");
  EXPECT_EQ(Token(rule, "#id{"), "#id");
  EXPECT_EQ(Token(rule, ".c{"), ".c");
  EXPECT_EQ(Token(rule, "*{"), "*");
  EXPECT_EQ(Token(rule, ":root{"), "<fail>");
  EXPECT_EQ(Token(rule, "p"), "<fail>");
}

// ---- the character source ----

TEST(XmlReader, PushbackGiveBackAndDeclareRead) {
  std::string text = "abcdef";
  HKDTDElementReaderString reader(text, 0);
  EXPECT_EQ(reader.get(), 'a');
  EXPECT_EQ(reader.get(), 'b');
  reader.giveBack("ab");  // the buffer is empty: "ab" goes in front
  EXPECT_EQ(reader.get(), 'a');
  EXPECT_EQ(reader.get(), 'b');
  reader.giveBack("ab");  // position 2 in "ab": steps back
  EXPECT_EQ(reader.peek(), 'a');
  reader.declareRead("a");
  EXPECT_EQ(reader.get(), 'b');
  EXPECT_EQ(reader.get(), 'c');
  reader.giveBack("");
  reader.declareRead("");
  EXPECT_EQ(reader.get(), 'd');
  EXPECT_EQ(reader.position(), 4u);
}

TEST(XmlReader, StringSourceStartAndEnd) {
  std::string text = "xx<a/>";
  HKDTDElementReaderString reader(text, 2);
  EXPECT_TRUE(reader.good());
  HKXMLComplexElement* top = reader.read("xml", false);
  EXPECT_EQ(xmltest::PrintedChildren(*top), "<a />");
  EXPECT_TRUE(reader.eof());
  EXPECT_FALSE(reader.good());
  EXPECT_EQ(reader.peek(), -1);
  EXPECT_EQ(reader.get(), -1);
  std::string empty;
  HKDTDElementReaderString none(empty, 0);
  EXPECT_FALSE(none.good());
  EXPECT_TRUE(none.eof());
}

TEST(XmlReader, ByteFFInPushbackReadsAsEnd) {
  std::string text = "a\xff";
  HKDTDElementReaderString reader(text, 0);
  EXPECT_EQ(reader.get(), 'a');
  EXPECT_EQ(reader.get(), 0xff);  // from the text: a byte like any other
  reader.giveBack(std::string("a\xff"));
  EXPECT_EQ(reader.get(), 'a');
  EXPECT_EQ(reader.peek(), -1);  // from the pushback buffer: the end
  EXPECT_FALSE(reader.eof());
}

TEST(XmlReader, HighBytesAreTextBytes) {
  EXPECT_EQ(RoundTrip("<a>gr\xc3\xbc\xc3\x9f \xe2\x82\xac</a>"), "<a>gr\xc3\xbc\xc3\x9f \xe2\x82\xac</a>");
  EXPECT_EQ(ReadError("<\xc3\xa4/>", "xml"), "reading error  around line 1");
}

TEST(XmlReader, LineCounting) {
  EXPECT_EQ(ReadError("<a>\n<b>\n</a>", "xml"), "wrong closing tag '/a' instead '/b' around line 3");
  EXPECT_EQ(ReadError("<a>\n\n\n< x", "xml"), "reading error  around line 4");
  std::string text = "a\nb";
  HKDTDElementReaderString reader(text, 0);
  EXPECT_EQ(reader.line(), 1u);
  reader.get();
  reader.get();
  EXPECT_EQ(reader.line(), 2u);
  // A line feed given back and read again counts again.
  reader.giveBack("\n");
  reader.get();
  EXPECT_EQ(reader.line(), 3u);
}

TEST(XmlReader, StreamSource) {
  std::istringstream in("<a x='1'>t</a>");
  HKDTDElementReaderStream reader(in);
  HKXMLComplexElement* top = reader.read("xml", false);
  EXPECT_EQ(xmltest::PrintedChildren(*top), "<a x=\"1\">t</a>");
  EXPECT_TRUE(in.eof());
  // An empty stream is good until read: the result is an empty tree.
  std::istringstream empty("");
  HKDTDElementReaderStream r2(empty);
  EXPECT_EQ(r2.read("xml", false)->ChildCount(), 0u);
  // A stream in a failed state.
  std::istringstream bad("<a/>");
  bad.setstate(std::ios::failbit);
  HKDTDElementReaderStream r3(bad);
  try {
    r3.read("xml", false);
    FAIL();
  } catch (const HKException& e) {
    EXPECT_STREQ(e.what(), "error in stream around line 1");
  }
}

TEST(XmlReader, TransactionCommitRepeatsWhitespaceTakenFromPushback) {
  // In "css" the rule reader runs to the end without finding "{" and gives
  // everything back; the property reader then accepts from the pushback
  // buffer and hands back its trailing blanks, which so stand twice.
  std::string text = "color:red  }";
  HKDTDElementReaderString reader(text, 0);
  HKDTDElementRead_RuleCSS rule;
  EXPECT_EQ(rule.Read(reader), nullptr);
  HKDTDElementRead_PropertyCSS property;
  ASSERT_NE(property.Read(reader), nullptr);
  EXPECT_EQ(property.GetContent(), "color:red");
  std::string rest;
  while (!reader.eof()) rest.push_back(static_cast<char>(reader.get()));
  EXPECT_EQ(rest, "    }");
}

TEST(XmlReader, TransactionLocalOperations) {
  std::string text = "xyz";
  HKDTDElementReaderString reader(text, 0);
  {
    HKDTDElementReadStructLocal local(reader);
    EXPECT_TRUE(local.good());
    EXPECT_EQ(local.get(), 'x');
    EXPECT_EQ(local.get(), 'y');
    EXPECT_FALSE(local.giveBack("y"));
    EXPECT_EQ(local.peek(), 'y');
    EXPECT_EQ(local.get(), 'y');
    EXPECT_FALSE(local.giveBack("too long"));  // refused, position stays
    EXPECT_EQ(local.position(), 2u);
    EXPECT_TRUE(local.foundThat("f"));
    EXPECT_EQ(local.getFound(), "f");
    EXPECT_EQ(local.accepted(), "xy");
    HKDTDElementRead_Text dummy;
    EXPECT_EQ(local(true, &dummy), &dummy);
  }
  // "xy" was declared read.
  EXPECT_EQ(reader.get(), 'z');
  std::string again = "abc";
  HKDTDElementReaderString r2(again, 0);
  {
    HKDTDElementReadStructLocal local(r2);
    local.get();
    local.get();
    HKDTDElementRead_Text dummy;
    EXPECT_EQ(local(false, &dummy), nullptr);
  }
  EXPECT_EQ(r2.get(), 'a');  // everything given back
}

// ---- grammars ----

TEST(XmlReader, GrammarPriorityIsByteWiseTypeOrder) {
  HKDTD xml = HKDTDStandardGrammar("xml");
  EXPECT_EQ(ReaderOrder(xml),
            (std::vector<std::string>{"xmlcomment", "xmlelement", "xmlprocinst", "xmltext", "xmlwhitespace"}));
  HKDTD html = HKDTDStandardGrammar("html");
  EXPECT_EQ(ReaderOrder(html), (std::vector<std::string>{"htmldoctype", "xmlcomment", "xmlelement", "xmlprocinst",
                                                         "xmltext", "xmlwhitespace"}));
  HKDTD xmlhtml = HKDTDStandardGrammar("xmlhtml");
  EXPECT_EQ(ReaderOrder(xmlhtml), ReaderOrder(xml));
  HKDTD css = HKDTDStandardGrammar("css");
  EXPECT_EQ(ReaderOrder(css),
            (std::vector<std::string>{"css_a_whitespace", "css_aa_whitespace", "css_aaa_whitespace", "css_b_closer",
                                      "css_c_comment", "css_d_mediaquery", "css_e_rule", "css_f_property",
                                      "xmlelement"}));
  HKDTD cssRule = HKDTDStandardGrammar("cssRule");
  EXPECT_EQ(ReaderOrder(cssRule),
            (std::vector<std::string>{"css_a_whitespace", "css_b_closer", "css_c_comment", "css_f_property"}));
}

TEST(XmlReader, GrammarContainersAndDisallowedEntries) {
  HKDTD xml = HKDTDStandardGrammar("xml");
  EXPECT_EQ(xml.SubelementContainer(), (std::set<std::string>{"xmlelement"}));
  EXPECT_EQ(xml.ObjectFactory().size(), 5u);
  EXPECT_TRUE(xml.NoClosingTagElements().empty());
  EXPECT_EQ(HKDTDStandardGrammar("html").SubelementContainer(), (std::set<std::string>{"xmlelement"}));
  HKDTD css = HKDTDStandardGrammar("css");
  EXPECT_EQ(css.SubelementContainer(),
            (std::set<std::string>{"css_aa_whitespace", "css_d_mediaquery", "css_e_rule"}));
  ASSERT_EQ(css.Disallowed().size(), 2u);
  EXPECT_EQ(css.Disallowed().at("css_e_rule"), (std::set<std::string>{"css_e_rule", "css_d_mediaquery"}));
  EXPECT_EQ(css.Disallowed().at("css_d_mediaquery"), (std::set<std::string>{"cssmediaquery", "cssproperty"}));
  EXPECT_TRUE(HKDTDStandardGrammar("cssRule").SubelementContainer().empty());
}

TEST(XmlReader, RegisteringAReaderTypeTwiceThrows) {
  HKDTD dtd("mine");
  EXPECT_EQ(dtd.insertDTDElementRead(new HKDTDElementRead_Text()), "xmltext");
  EXPECT_EQ(dtd.insertDTDElementRead(nullptr), "");
  try {
    dtd.insertDTDElementRead(new HKDTDElementRead_Text());
    FAIL();
  } catch (const HKException& e) {
    EXPECT_STREQ(e.what(), "name can't be twice");
  }
  EXPECT_EQ(dtd.insertIntoSubelementContainer("x"), "x");
  EXPECT_EQ(dtd.insertAllowed("x", {"a"}), "x");
  EXPECT_EQ(dtd.insertAllowed("x", {"b"}), "x");
  EXPECT_EQ(dtd.Allowed().at("x"), (std::set<std::string>{"b"}));
}

TEST(XmlReader, GrammarCopyDuplicatesReaders) {
  HKDTD a = HKDTDStandardGrammar("xml");
  HKDTD b("other");
  b = a;
  EXPECT_EQ(b.GetName(), "xml");
  ASSERT_EQ(b.Readers().size(), a.Readers().size());
  for (auto& [type, reader] : b.Readers()) {
    EXPECT_NE(reader, a.Readers().at(type));
    EXPECT_EQ(reader->GetTypeName(), type);
  }
}

TEST(XmlReader, AddDtdReplacesGrammarOfThatName) {
  // A grammar "xml" that reads only words and whitespace.
  HKDTD words("xml");
  words.insertDTDElementRead(new HKDTDElementRead_Text());
  words.insertDTDElementRead(new HKDTDElementRead_WhitespaceText());
  words.insertIntoDTDObjectFactory("xmltext", [](const std::string& c, HKDTD&) { return new HKXMLGenericText("[" + c + "]"); });
  words.insertIntoDTDObjectFactory("xmlwhitespace", [](const std::string& c, HKDTD&) { return new HKXMLGenericWhitespace(c); });
  Parsed p("a b");
  p.reader->addDTD(words);
  EXPECT_EQ(xmltest::PrintedChildren(*p.Read("xml")), "[a] [b]");
  Parsed q("<a/>");
  q.reader->addDTD(words);
  EXPECT_EQ(ReadError("<a/>", "xml"), "");
  try {
    q.Read("xml");
    FAIL();
  } catch (const HKException& e) {
    EXPECT_STREQ(e.what(), "reading error  around line 1");
  }
}

TEST(XmlReader, HtmlGrammarWaitsForDocumentFactories) {
  // The doctype, text and element factories of "html" come with the HTML
  // classes; the comment, processing instruction and whitespace are here.
  HKDTD html = HKDTDStandardGrammar("html");
  EXPECT_EQ(html.ObjectFactory().count("xmlcomment"), 1u);
  EXPECT_EQ(html.ObjectFactory().count("xmlprocinst"), 1u);
  EXPECT_EQ(html.ObjectFactory().count("xmlwhitespace"), 1u);
  EXPECT_EQ(RoundTrip("<!--c--> ", "html"), "<!--c--> ");
}

TEST(XmlReader, GrammarFillerCompletesStandardGrammar) {
  // Fillers run for every reader built later; this one only marks a grammar
  // that no other test uses.
  static const bool registered = [] {
    HKDTDRegisterGrammarFiller("testonly", [](HKDTD& dtd) {
      dtd.insertDTDElementRead(new HKDTDElementRead_Text());
      dtd.insertIntoDTDObjectFactory("xmltext", [](const std::string& c, HKDTD&) { return new HKXMLGenericText(c); });
    });
    return true;
  }();
  EXPECT_TRUE(registered);
  HKDTD filled = HKDTDStandardGrammar("testonly");
  EXPECT_EQ(filled.Readers().size(), 1u);
  EXPECT_EQ(filled.ObjectFactory().size(), 1u);
}

TEST(XmlReader, CopiesShareTablesUntilOneChanges) {
  HKDTD a = HKDTDStandardGrammar("xml");
  HKDTD b = a;
  // A change to one copy leaves the other as it was.
  b.insertIntoSubelementContainer("xmltext");
  b.insertNoClosingTagElement("br");
  EXPECT_EQ(a.SubelementContainer().count("xmltext"), 0u);
  EXPECT_EQ(a.NoClosingTagElements().count("br"), 0u);
  EXPECT_EQ(b.SubelementContainer().count("xmltext"), 1u);
  // A fresh standard grammar is unaffected too.
  EXPECT_EQ(HKDTDStandardGrammar("xml").SubelementContainer(), (std::set<std::string>{"xmlelement"}));
  // Changing through the non-const accessor as well.
  HKDTD c = a;
  c.ObjectFactory().erase("xmltext");
  EXPECT_EQ(a.ObjectFactory().count("xmltext"), 1u);
  EXPECT_EQ(c.ObjectFactory().count("xmltext"), 0u);
}

TEST(XmlReader, ReadersAreBuiltAndUsedOnSeveralThreads) {
  std::vector<std::thread> threads;
  std::atomic<int> good{0};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&good, t] {
      for (int i = 0; i < 50; ++i) {
        if (t == 0 && i == 25) HKDTDRegisterGrammarFiller("threadtest", [](HKDTD&) {});
        std::string text = "<a n='" + std::to_string(i) + "'>x y</a>";
        HKDTDElementReaderString reader(text, 0);
        if (xmltest::PrintedChildren(*reader.read("xml", false)) == "<a n=\"" + std::to_string(i) + "\">x y</a>") ++good;
      }
    });
  }
  for (auto& th : threads) th.join();
  EXPECT_EQ(good.load(), 200);
}
