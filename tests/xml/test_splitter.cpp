// The tree builder: closing and creating, grammar switching, single-token
// mode and every error message in the form that reaches the caller.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "xml_test_util.h"

using xmltest::Parsed;
using xmltest::PrintedChildren;
using xmltest::ReadError;

namespace {

std::string ErrorOf(Parsed& p, const std::string& grammar, bool single = false) {
  try {
    p.Read(grammar, single);
  } catch (const HKException& e) {
    return e.what();
  }
  return "";
}

// "xml" with `br` as an element that any following token closes.
HKDTD XmlWithVoidBr() {
  HKDTD dtd = HKDTDStandardGrammar("xml");
  dtd.insertNoClosingTagElement("br");
  return dtd;
}

// Switches its content to "css", as a style element does.
class StyleLike : public HKXMLGenericElement {
 public:
  StyleLike() : HKXMLGenericElement("style", true) {}
  std::string dtdRequest(const std::string& dtd) override {
    if (!dtd.empty()) {
      _setDTDName(dtd);
      return "css";
    }
    return GetDTDName();
  }
};

// Switches its content to "cssRule", as a CSS rule does.
class RuleLike : public HKXMLComplexElement {
 public:
  explicit RuleLike(const std::string& selector) : HKXMLComplexElement("cssRule", false, true), _selector(selector) {}
  std::string dtdRequest(const std::string& dtd) override {
    if (!dtd.empty()) {
      _setDTDName(dtd);
      return "cssRule";
    }
    return GetDTDName();
  }
  void print(std::ostream& os) const override {
    os << _selector << '{';
    for (const HKXMLComplexElement* c : _children) c->print(os);
    os << '}';
  }

 private:
  std::string _selector;
};

// A reader with "xml" knowing `style`, and "css"/"cssRule" with rules and
// properties as text.
void InstallStyleGrammars(HKDTDElementReader& reader) {
  HKDTD xml = HKDTDStandardGrammar("xml");
  xml.insertIntoDTDObjectFactory("xmlelement", [](const std::string& name, HKDTD&) -> HKXMLComplexElement* {
    if (name == "style") return new StyleLike();
    return new HKXMLGenericElement(name, true);
  });
  reader.addDTD(xml);
  HKDTD css = HKDTDStandardGrammar("css");
  css.insertIntoDTDObjectFactory("css_e_rule",
                                 [](const std::string& s, HKDTD&) -> HKXMLComplexElement* { return new RuleLike(s); });
  css.insertIntoDTDObjectFactory("css_f_property",
                                 [](const std::string& s, HKDTD&) -> HKXMLComplexElement* { return new HKXMLGenericText(s); });
  reader.addDTD(css);
  HKDTD cssRule = HKDTDStandardGrammar("cssRule");
  cssRule.insertIntoDTDObjectFactory(
      "css_f_property", [](const std::string& s, HKDTD&) -> HKXMLComplexElement* { return new HKXMLGenericText(s); });
  reader.addDTD(cssRule);
}

// Counts finishRead calls and records what its parent-to-be saw.
class Finisher : public HKXMLGenericElement {
 public:
  explicit Finisher(const std::string& name) : HKXMLGenericElement(name, true) {}
  void finishRead() override { ++finished; }
  void _newChild(HKXMLComplexElement* child) override {
    if (auto* g = dynamic_cast<HKXMLGenericElement*>(child)) seenAttribute = g->getAttributeText("id", "<none>");
  }
  int finished = 0;
  std::string seenAttribute;
};

HKDTD XmlWithFinishers() {
  HKDTD xml = HKDTDStandardGrammar("xml");
  xml.insertIntoDTDObjectFactory("xmlelement", [](const std::string& name, HKDTD&) -> HKXMLComplexElement* {
    return new Finisher(name);
  });
  return xml;
}

class ThrowingReader : public HKDTDElementRead {
 public:
  ThrowingReader() : HKDTDElementRead("aaa_throws") {}
  HKDTDElementRead* Read(HKDTDElementReader&) override { throw std::runtime_error("boom"); }
  HKDTDElementRead* Duplicate() override { return new ThrowingReader(); }
};

}  // namespace

// ---- edge cases of the tree builder ----

TEST(XmlSplitter, EdgeEmptyStringInputIsErrorInStream) {
  EXPECT_EQ(ReadError("", "xml"), "error in stream around line 1");
}

TEST(XmlSplitter, EdgeMismatchedEndTag) {
  EXPECT_EQ(ReadError("<a><b></a>", "xml"), "wrong closing tag '/a' instead '/b' around line 1");
}

TEST(XmlSplitter, EdgeOpenElementsAtEndAreNoError) {
  Parsed p("<a><b>");
  HKDTD xml = XmlWithFinishers();
  p.reader->addDTD(xml);
  HKXMLComplexElement* top = p.Read("xml");
  ASSERT_EQ(top->ChildCount(), 1u);
  auto* a = dynamic_cast<Finisher*>(top->Children()[0]);
  ASSERT_NE(a, nullptr);
  ASSERT_EQ(a->ChildCount(), 1u);
  auto* b = dynamic_cast<Finisher*>(a->Children()[0]);
  EXPECT_EQ(b->GetTypeName(), "b");
  // finishRead has not run on the open elements.
  EXPECT_EQ(a->finished, 0);
  EXPECT_EQ(b->finished, 0);
  EXPECT_EQ(p.reader->Splitter().getCurrentElement(), b);
}

TEST(XmlSplitter, EdgeEndTagWithNothingOpenNamesTopElement) {
  EXPECT_EQ(ReadError("</a>", "xml"), "wrong closing tag '/a' instead '/HKXMLContentSplitter::TOP' around line 1");
}

TEST(XmlSplitter, EdgeVoidElementClosedByFollowingWhitespaceWhichIsDropped) {
  // The no-closing-tag set of the HTML grammars, here on "xml".
  Parsed p("<br> x");
  HKDTD dtd = XmlWithVoidBr();
  p.reader->addDTD(dtd);
  HKXMLComplexElement* top = p.Read("xml");
  ASSERT_EQ(top->ChildCount(), 2u);
  EXPECT_EQ(top->Children()[0]->GetTypeName(), "br");
  EXPECT_EQ(top->Children()[0]->ChildCount(), 0u);
  EXPECT_EQ(top->Children()[1]->GetTypeName(), "xmltext");
  EXPECT_EQ(PrintedChildren(*top), "<br />x");
  // A word right after the void element is lost with the closing.
  Parsed q("<br>word<i/>");
  q.reader->addDTD(dtd);
  EXPECT_EQ(PrintedChildren(*q.Read("xml")), "<br /><i />");
}

TEST(XmlSplitter, EdgeVoidElementFollowedByTagFailsUnlessSelfClosed) {
  HKDTD dtd = XmlWithVoidBr();
  Parsed p("<br><p></p>");
  p.reader->addDTD(dtd);
  EXPECT_EQ(ErrorOf(p, "xml"), "wrong closing tag 'p' instead '/br' around line 1");
  Parsed q("<br/><p></p>");
  q.reader->addDTD(dtd);
  EXPECT_EQ(PrintedChildren(*q.Read("xml")), "<br /><p />");
  Parsed r("<br></br>");
  r.reader->addDTD(dtd);
  EXPECT_EQ(PrintedChildren(*r.Read("xml")), "<br />");
}

TEST(XmlSplitter, EdgeAttributeWithoutValueGetsTrue) {
  Parsed p("<a b>");
  auto* a = dynamic_cast<HKXMLGenericElement*>(p.Read("xml")->Children()[0]);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->getAttributeText("b", "?"), "true");
}

TEST(XmlSplitter, EdgeSingleModeReadsOneTokenPerCall) {
  Parsed p("<a>x</a>");
  HKXMLContentSplitter& splitter = p.reader->Splitter();
  HKXMLComplexElement* top = p.Read("xml", true);
  ASSERT_EQ(top->ChildCount(), 1u);
  HKXMLComplexElement* a = top->Children()[0];
  EXPECT_EQ(splitter.getCurrentElement(), a);
  EXPECT_EQ(a->ChildCount(), 0u);
  // The grammar name is set: a different one is ignored now.
  p.Read("ignored", true);
  ASSERT_EQ(a->ChildCount(), 1u);
  EXPECT_EQ(a->Children()[0]->GetTypeName(), "xmltext");
  EXPECT_EQ(splitter.getCurrentElement(), a);
  p.Read("xml", true);
  EXPECT_EQ(splitter.getCurrentElement(), top);
  EXPECT_EQ(splitter.getCurrentDTD(), "xml");
  EXPECT_TRUE(p.reader->eof());
  EXPECT_EQ(PrintedChildren(*top), "<a>x</a>");
}

TEST(XmlSplitter, EdgeStyleSwitchesGrammarToCssAndBack) {
  Parsed p("<html><style></style></html>");
  InstallStyleGrammars(*p.reader);
  HKXMLContentSplitter& splitter = p.reader->Splitter();
  p.Read("xml", true);
  EXPECT_EQ(splitter.getCurrentDTD(), "xml");
  p.Read("xml", true);
  EXPECT_EQ(splitter.getCurrentElement()->GetTypeName(), "style");
  EXPECT_EQ(splitter.getCurrentDTD(), "css");
  p.Read("xml", true);
  EXPECT_EQ(splitter.getCurrentElement()->GetTypeName(), "html");
  EXPECT_EQ(splitter.getCurrentDTD(), "xml");
  p.Read("xml", false);
  EXPECT_EQ(PrintedChildren(*splitter.getTopElement()), "<html><style />\n</html>");
}

TEST(XmlSplitter, StyleContentIsReadAsCss) {
  Parsed p("<style>a{color:red;}b{x:y}</style>");
  InstallStyleGrammars(*p.reader);
  HKXMLComplexElement* top = p.Read("xml");
  EXPECT_EQ(PrintedChildren(*top), "<style>a{color:red;}b{x:y}</style>");
  EXPECT_EQ(p.reader->Splitter().getCurrentDTD(), "xml");
}

TEST(XmlSplitter, EdgeStyleEndTagInsideUnclosedRuleIsReadingError) {
  Parsed p("<style>a{color:red</style>");
  InstallStyleGrammars(*p.reader);
  EXPECT_EQ(ErrorOf(p, "xml"), "reading error  around line 1");
  EXPECT_EQ(p.reader->Splitter().getCurrentDTD(), "cssRule");
}

TEST(XmlSplitter, DisallowedEntryKeyedByElementTypeTakesEffect) {
  // A grammar whose element type matches the key skips the listed readers.
  HKDTD xml = HKDTDStandardGrammar("xml");
  xml.insertDisallowed("pre", {"xmlwhitespace"});
  Parsed p("<pre> </pre>");
  p.reader->addDTD(xml);
  EXPECT_EQ(ErrorOf(p, "xml"), "reading error  around line 1");
  Parsed q("<p> </p>");
  q.reader->addDTD(xml);
  EXPECT_EQ(PrintedChildren(*q.Read("xml")), "<p> </p>");
}

TEST(XmlSplitter, AttributesReachElementBeforeParentSeesIt) {
  Parsed p("<a><b id='x'/><c/></a>");
  HKDTD xml = XmlWithFinishers();
  p.reader->addDTD(xml);
  HKXMLComplexElement* top = p.Read("xml");
  auto* a = dynamic_cast<Finisher*>(top->Children()[0]);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->seenAttribute, "<none>");  // the last child, c, has no id
  Parsed q("<a><b id='x'/></a>");
  q.reader->addDTD(xml);
  a = dynamic_cast<Finisher*>(q.Read("xml")->Children()[0]);
  EXPECT_EQ(a->seenAttribute, "x");
  EXPECT_EQ(a->finished, 1);
  EXPECT_EQ(dynamic_cast<Finisher*>(a->Children()[0])->finished, 1);
}

TEST(XmlSplitter, TokenReadersAreReplacedByDuplicates) {
  Parsed p("<a/>");
  p.Read("xml");
  // The reader that read "a" was replaced by a fresh one without content.
  HKDTDElementRead* after = p.reader->DTDs().at("xml").Readers().at("xmlelement");
  EXPECT_EQ(after->GetContent(), "");
  EXPECT_FALSE(after->NoClosing());
  EXPECT_EQ(after->GetTypeName(), "xmlelement");
}

TEST(XmlSplitter, ReleasedTreeSurvivesReader) {
  HKXMLGenericElement* tree = nullptr;
  {
    Parsed p("<a><b/></a>");
    p.Read("xml");
    tree = p.reader->Splitter().releaseTopElement();
  }
  EXPECT_EQ(PrintedChildren(*tree), "<a><b />\n</a>");
  delete tree;
}

TEST(XmlSplitter, DepthLimitAcceptsLimitAndRefusesOneMore) {
  const unsigned long limit = HKXMLContentSplitter::MaxDepth;
  // With a line feed after every inner end tag the printed tree equals the text.
  std::string ok;
  for (unsigned long i = 0; i < limit; ++i) ok += "<d>";
  ok += "x</d>";
  for (unsigned long i = 1; i < limit; ++i) ok += "\n</d>";
  Parsed p(ok);
  HKXMLComplexElement* top = p.Read("xml");
  EXPECT_EQ(PrintedChildren(*top), ok);
  std::string deep;
  for (unsigned long i = 0; i <= limit; ++i) deep += "<d>";
  EXPECT_EQ(ReadError(deep, "xml"), "elements nested deeper than 1024 levels around line 1");
  // Self-closed elements at the limit are no containers and are accepted.
  std::string leaf;
  for (unsigned long i = 0; i < limit; ++i) leaf += "<d>";
  leaf += "<e/>";
  Parsed q(leaf);
  EXPECT_NO_THROW(q.Read("xml"));
}

TEST(XmlSplitter, HugeFlatInputIsNoProblem) {
  std::string text;
  for (int i = 0; i < 20000; ++i) text += "<a x='1'>t</a>\n";
  Parsed p(text);
  EXPECT_EQ(p.Read("xml")->ChildCount(), 40000u);
}

// ---- every message of the tree builder ----

TEST(XmlSplitterErrors, MissingTopElement) {
  Parsed p("<a/>");
  delete p.reader->Splitter().releaseTopElement();
  EXPECT_EQ(ErrorOf(p, "xml"), "missing topelement");
}

TEST(XmlSplitterErrors, DtdCantBeEmpty) {
  Parsed p("<a/>");
  EXPECT_EQ(ErrorOf(p, ""), "DTD can't be empty");
}

TEST(XmlSplitterErrors, ErrorInStream) { EXPECT_EQ(ReadError("", "xml"), "error in stream around line 1"); }

TEST(XmlSplitterErrors, DtdNotDefined) { EXPECT_EQ(ReadError("<a/>", "nope"), "DTD 'nope' not defined around line 1"); }

TEST(XmlSplitterErrors, ReadingErrorHasTwoBlanks) {
  EXPECT_EQ(ReadError("a\nb\n< c", "xml"), "reading error  around line 3");
}

TEST(XmlSplitterErrors, IncompleteTag) {
  EXPECT_EQ(ReadError("\n<a\x01>", "xml"), "incomplete tag 'a' around line 2");
}

TEST(XmlSplitterErrors, WrongClosingTag) {
  EXPECT_EQ(ReadError("<a>\n</b>", "xml"), "wrong closing tag '/b' instead '/a' around line 2");
}

TEST(XmlSplitterErrors, ProblemInDtd) {
  HKDTD xml = HKDTDStandardGrammar("xml");
  xml.insertIntoDTDObjectFactory("xmlelement", [](const std::string&, HKDTD&) -> HKXMLComplexElement* { return nullptr; });
  Parsed p("<a/>");
  p.reader->addDTD(xml);
  EXPECT_EQ(ErrorOf(p, "xml"), "problem in DTD with 'xmlelement' around line 1");
}

TEST(XmlSplitterErrors, ElementTypeNotDefinedForMissingFactory) {
  HKDTD words("words");
  words.insertDTDElementRead(new HKDTDElementRead_Text());
  Parsed p("hello");
  p.reader->addDTD(words);
  EXPECT_EQ(ErrorOf(p, "words"), "element type 'xmltext' not defined in DTD around line 1");
}

TEST(XmlSplitterErrors, ElementTypeNotDefinedForTypedAttributeFailure) {
  // A typed member attribute that cannot parse the text read: the message
  // names the token type.
  struct Numbered : HKXMLGenericElement {
    Numbered() : HKXMLGenericElement("n", true) { ReplaceAttributeContent("count", count); }
    HKXMLUint64_tHKAttribute count;
  };
  HKDTD xml = HKDTDStandardGrammar("xml");
  xml.insertIntoDTDObjectFactory("xmlelement", [](const std::string&, HKDTD&) -> HKXMLComplexElement* { return new Numbered(); });
  Parsed ok("<n count='12'/>");
  ok.reader->addDTD(xml);
  EXPECT_EQ(PrintedChildren(*ok.Read("xml")), "<n count=\"12\" />");
  Parsed p("<n count='many'/>");
  p.reader->addDTD(xml);
  EXPECT_EQ(ErrorOf(p, "xml"), "element type 'xmlelement' not defined in DTD around line 1");
}

TEST(XmlSplitterErrors, HookExceptionGetsPosition) {
  struct Strict : HKXMLGenericElement {
    Strict() : HKXMLGenericElement("strict", true) {}
    void _newChild(HKXMLComplexElement* child) override {
      if (child->GetTypeName() == "xmlwhitespace") throw HKException("must be an CSS element", __LINE__, "src");
      if (child->GetTypeName() == "bad") throw std::logic_error("other");
    }
  };
  HKDTD xml = HKDTDStandardGrammar("xml");
  xml.insertIntoDTDObjectFactory("xmlelement", [](const std::string& name, HKDTD&) -> HKXMLComplexElement* {
    if (name == "strict") return new Strict();
    return new HKXMLGenericElement(name, true);
  });
  Parsed p("<strict>\n\n </strict>");
  p.reader->addDTD(xml);
  EXPECT_EQ(ErrorOf(p, "xml"), "must be an CSS element around line 3");
  Parsed q("<strict><bad/></strict>");
  q.reader->addDTD(xml);
  EXPECT_EQ(ErrorOf(q, "xml"), "element type 'xmlelement' not defined in DTD around line 1");
}

TEST(XmlSplitterErrors, CatchedAnErrorOutsideTokenHandling) {
  HKDTD xml = HKDTDStandardGrammar("xml");
  xml.insertDTDElementRead(new ThrowingReader());
  Parsed p("<a/>");
  p.reader->addDTD(xml);
  EXPECT_EQ(ErrorOf(p, "xml"), "catched an error while processing input");
}

TEST(XmlSplitterErrors, FailedReadKeepsPartialTree) {
  Parsed p("<a><b/><c></a>");
  EXPECT_EQ(ErrorOf(p, "xml"), "wrong closing tag '/a' instead '/c' around line 1");
  EXPECT_EQ(PrintedChildren(*p.reader->Splitter().getTopElement()), "<a><b />\n<c />\n</a>");
}

// ---- what the tree builder keeps between tokens stays current ----

TEST(XmlSplitter, FactoryReplacedDuringReadTakesEffectAtOnce) {
  HKDTD xml = HKDTDStandardGrammar("xml");
  xml.insertIntoDTDObjectFactory("xmltext", [](const std::string& word, HKDTD& dtd) -> HKXMLComplexElement* {
    if (word == "switch") {
      dtd.insertIntoDTDObjectFactory("xmltext", [](const std::string& w, HKDTD&) -> HKXMLComplexElement* {
        return new HKXMLGenericText("[" + w + "]");
      });
    }
    return new HKXMLGenericText(word);
  });
  Parsed p("a switch b c");
  p.reader->addDTD(xml);
  EXPECT_EQ(PrintedChildren(*p.Read("xml")), "a switch [b] [c]");
}

TEST(XmlSplitter, ContainerSetChangedDuringReadTakesEffectAtOnce) {
  // "p" elements become containers only after the first "<mark/>".
  HKDTD dtd("g");
  dtd.insertDTDElementRead(new HKDTDElementRead_Element());
  dtd.insertIntoDTDObjectFactory("xmlelement", [](const std::string& name, HKDTD& g) -> HKXMLComplexElement* {
    if (name == "mark") g.insertIntoSubelementContainer("xmlelement");
    return new HKXMLGenericElement(name, true);
  });
  Parsed p("<p><mark/><p><q/></p>");
  p.reader->addDTD(dtd);
  EXPECT_EQ(PrintedChildren(*p.Read("g")), "<p /><mark /><p><q />\n</p>");
}

namespace {
// A reader of its own: every token is one character "x"; counts its copies.
class XReader : public HKDTDElementRead {
 public:
  explicit XReader(int* copies) : HKDTDElementRead("x"), _copies(copies) {}
  HKDTDElementRead* Read(HKDTDElementReader& reader) override {
    if (reader.peek() != 'x') return nullptr;
    reader.get();
    _content = "x" + std::to_string(*_copies);
    return this;
  }
  HKDTDElementRead* Duplicate() override {
    ++*_copies;
    return new XReader(_copies);
  }

 private:
  int* _copies;
};
}  // namespace

TEST(XmlSplitter, ReadersOfOtherClassesAreDuplicatedAfterEveryToken) {
  int copies = 0;
  HKDTD dtd("g");
  dtd.insertDTDElementRead(new XReader(&copies));
  dtd.insertIntoDTDObjectFactory("x", [](const std::string& c, HKDTD&) -> HKXMLComplexElement* { return new HKXMLGenericText(c); });
  Parsed p("xxx");
  p.reader->addDTD(dtd);  // the copy into the reader duplicates once
  EXPECT_EQ(copies, 1);
  EXPECT_EQ(PrintedChildren(*p.Read("g")), "x1x2x3");
  EXPECT_EQ(copies, 4);
}
