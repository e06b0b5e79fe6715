// The element model: printing, tree editing, attributes on elements, hooks.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "xml_test_util.h"

using xmltest::Printed;

namespace {

HKXMLGenericElement* Elem(const std::string& name) { return new HKXMLGenericElement(name, true); }

// Records the hook calls of an element.
class HookedElement : public HKXMLGenericElement {
 public:
  HookedElement(const std::string& name, std::vector<std::string>& log) : HKXMLGenericElement(name, true), _log(log) {}
  void _newChild(HKXMLComplexElement* child) override { _log.push_back("new " + child->GetTypeName()); }
  void _deleteChild(HKXMLComplexElement* child) override { _log.push_back("delete " + child->GetTypeName()); }
  void _preprint() const override { _log.push_back("preprint " + GetTypeName()); }
  void _beforeChildPrint(std::ostream& os) const override { os << "[["; }
  void _afterChildPrint(std::ostream& os) const override { os << "]]"; }

 private:
  std::vector<std::string>& _log;
};

class RecordingWidgetManager : public HKWidgetManager_base {
 public:
  void RemoveWidgetObject(HKXMLComplexElement* element) override { removed.push_back(element->GetTypeName()); }
  std::vector<std::string> removed;
};

}  // namespace

// ---- edge cases of the element model ----

TEST(XmlElementModel, EdgeChildlessGenericElementPrintsShortTag) {
  HKXMLGenericElement x("x", true);
  EXPECT_EQ(Printed(x), "<x />");
  x << new HKXMLGenericText("hello");
  EXPECT_EQ(Printed(x), "<x>hello</x>");
}

TEST(XmlElementModel, EdgeStructuralChildrenGetLineFeedsTextSuppressesThem) {
  HKXMLGenericElement a("a", true);
  a << Elem("b");
  a << Elem("c");
  EXPECT_EQ(Printed(a), "<a><b />\n<c />\n</a>");

  HKXMLGenericElement d("a", true);
  d << Elem("b");
  d << new HKXMLGenericText("t");
  d << Elem("c");
  EXPECT_EQ(Printed(d), "<a><b />t<c />\n</a>");

  // A text as last child: no line feed before the end tag.
  HKXMLGenericElement e("e", true);
  e << Elem("b");
  e << new HKXMLGenericWhitespace(" ");
  EXPECT_EQ(Printed(e), "<e><b /> </e>");
}

TEST(XmlElementModel, EdgeShortTagForcedPrintsOnlyShortTagAndRefusesPushBack) {
  HKXMLGenericElement br("br", true);
  br.SetShortTagForced(true);
  try {
    br << new HKXMLGenericText("x");
    FAIL() << "no exception";
  } catch (const HKException& e) {
    EXPECT_STREQ(e.what(), "child elements not allowed for br");
  }
  EXPECT_EQ(br.ChildCount(), 0u);
  // The check comes before the null test.
  EXPECT_THROW(br.PushBackChildElement(nullptr), HKException);
  // Prepending has no check; the child stays invisible.
  HKXMLComplexElement* text = new HKXMLGenericText("hidden");
  EXPECT_EQ(br.PushFrontChildElement(text), text);
  EXPECT_EQ(br.ChildCount(), 1u);
  EXPECT_EQ(text->getParent(), &br);
  EXPECT_EQ(Printed(br), "<br />");
}

TEST(XmlElementModel, EdgeUnsetStringAttributeIsLeftOutAssignedEmptyPrints) {
  HKXMLGenericElement x("x", true);
  HKXMLStringHKAttribute member;
  x.ReplaceAttributeContent("s", member);
  EXPECT_EQ(Printed(x), "<x />");
  member = std::string("");
  EXPECT_EQ(Printed(x), "<x s=\"\" />");
}

TEST(XmlElementModel, EdgeAssignmentTextOperator) {
  HKXMLGenericElement x("x", true);
  x << std::string("a=\"b\"");
  EXPECT_EQ(x.getAttributeText("a", "?"), "b");
  x << std::string("noequals");
  EXPECT_FALSE(x.ContainsAttribute("noequals"));
  EXPECT_EQ(x.Attributes().size(), 1u);
  // The first character after "=" and the last character are dropped.
  x << std::string("c=b");
  EXPECT_TRUE(x.ContainsAttribute("c"));
  EXPECT_EQ(x.getAttributeText("c", "?"), "");
  x << std::string("d='single'");
  EXPECT_EQ(x.getAttributeText("d", "?"), "single");
  const std::string arg = "e=\"1\"";
  EXPECT_EQ(&(x << arg), &arg);
  EXPECT_FALSE(x.HasError());
}

TEST(XmlElementModel, AssignmentTextOperatorCatchesTypedAttributeFailure) {
  HKXMLGenericElement x("x", true);
  HKXMLUint64_tHKAttribute number;
  x.ReplaceAttributeContent("n", number);
  x << std::string("n=\"abc\"");
  EXPECT_TRUE(x.HasError());
  EXPECT_EQ(x.GetErrorText(), "error catched while assigning attritutes");
  EXPECT_FALSE(number.AttributeIsSet());
  x << std::string("n=\"42\"");
  EXPECT_EQ(number(), 42u);
  EXPECT_EQ(Printed(x), "<x n=\"42\" />");
}

TEST(XmlElementModel, EdgeFirstElementDoesNotSkipWhitespace) {
  xmltest::Parsed p("<a> <b/></a>");
  HKXMLComplexElement* top = p.Read("xml");
  HKXMLComplexElement* a = top->FirstElement(true);
  ASSERT_NE(a, nullptr);
  ASSERT_EQ(a->GetTypeName(), "a");
  HKXMLComplexElement* first = a->FirstElement(true);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->GetTypeName(), "xmlwhitespace");
  EXPECT_EQ(a->SecondElement(true)->GetTypeName(), "b");
  EXPECT_EQ(a->ThirdElement(true), nullptr);
}

TEST(XmlElementModel, FirstSecondThirdSkipCommentsProcInstsAndOptionallyText) {
  HKXMLGenericElement a("a", true);
  a << new HKXML_Comment2("c");
  a << new HKXML_ProcInst2("p");
  a << new HKXMLGenericText("t");
  a << Elem("b");
  a << Elem("c");
  EXPECT_EQ(a.FirstElement(false)->GetTypeName(), "xmltext");
  EXPECT_EQ(a.FirstElement(true)->GetTypeName(), "b");
  EXPECT_EQ(a.SecondElement(true)->GetTypeName(), "c");
  EXPECT_EQ(a.ThirdElement(false)->GetTypeName(), "c");
  EXPECT_EQ(a.ThirdElement(true), nullptr);
}

TEST(XmlElementModel, EdgeWrapOperatorKeepsPosition) {
  HKXMLGenericElement parent("p", true);
  parent << Elem("x");
  parent << Elem("y");
  HKXMLGenericElement* a = parent << Elem("a");
  parent << Elem("z");
  HKXMLGenericElement* b = Elem("b");
  *b << Elem("first");
  EXPECT_EQ(*a -= b, b);
  ASSERT_EQ(parent.ChildCount(), 4u);
  EXPECT_EQ(parent.Children()[2], b);
  EXPECT_EQ(b->getParent(), &parent);
  EXPECT_EQ(a->getParent(), b);
  EXPECT_EQ(b->Children()[b->ChildCount() - 1], a);
  EXPECT_EQ(Printed(parent), "<p><x />\n<y />\n<b><first />\n<a />\n</b>\n<z />\n</p>");
}

TEST(XmlElementModel, WrapOperatorErrors) {
  HKXMLGenericElement lone("lone", true);
  HKXMLGenericElement* wrapper = Elem("w");
  try {
    lone -= wrapper;
    FAIL();
  } catch (const HKException& e) {
    EXPECT_STREQ(e.what(), "missing parent.");
  }
  // A parent link without a place in the parent's list.
  HKXMLGenericElement parent("p", true);
  lone.setParent(&parent);
  try {
    lone -= wrapper;
    FAIL();
  } catch (const HKException& e) {
    EXPECT_STREQ(e.what(), "structure incorrect.");
  }
  lone.setParent(nullptr);
  delete wrapper;
}

TEST(XmlElementModel, ConstructorStoresPermittedOrForced) {
  HKXMLComplexElement forced("f", true, false);
  EXPECT_TRUE(forced.ShortTagForced());
  EXPECT_TRUE(forced.ShortTagPermitted());
  HKXMLComplexElement plain("g", false, false);
  EXPECT_FALSE(plain.ShortTagPermitted());
  EXPECT_FALSE(plain.noSpecial());
  HKXMLGenericElement generic("h", false);
  EXPECT_FALSE(generic.ShortTagForced());
  EXPECT_TRUE(generic.ShortTagPermitted());
  EXPECT_FALSE(generic.noSpecial());
  EXPECT_TRUE(HKXMLGenericElement("i", true).noSpecial());
}

TEST(XmlElementModel, ComplexElementPrintHasNoAttributesNorLineFeeds) {
  HKXMLComplexElement a("a", false, false);
  EXPECT_EQ(Printed(a), "<a></a>");
  a << Elem("b");
  a << Elem("c");
  EXPECT_EQ(Printed(a), "<a><b /><c /></a>");
  HKXMLComplexElement s("s", false, true);
  EXPECT_EQ(Printed(s), "<s />");
}

TEST(XmlElementModel, AttributesPrintInByteWiseNameOrder) {
  HKXMLGenericElement x("x", true);
  x.ReplaceAttributeContent("b", "2");
  x.ReplaceAttributeContent("a", "1");
  x.ReplaceAttributeContent("B", "3");
  x.ReplaceAttributeContent("_", "4");
  EXPECT_EQ(Printed(x), "<x B=\"3\" _=\"4\" a=\"1\" b=\"2\" />");
}

TEST(XmlElementModel, NullAttributePrintsBareNameAndOperatorIndexFillsIt) {
  HKXMLGenericElement x("x", true);
  x.ReplaceAttributeContent("flag", static_cast<HKXMLComplexAttribute2*>(nullptr));
  EXPECT_EQ(Printed(x), "<x flag />");
  EXPECT_EQ(x.getAttributeText("flag", "?"), "");
  x["flag"] = "on";
  EXPECT_EQ(Printed(x), "<x flag=\"on\" />");
  x["new"] = std::string("v");
  EXPECT_EQ(x.getAttributeText("new", "?"), "v");
}

TEST(XmlElementModel, NothingIsEscapedOnOutput) {
  HKXMLGenericElement x("x", true);
  x.ReplaceAttributeContent("a", "<&\">");
  x << new HKXMLGenericText("a<b&c");
  EXPECT_EQ(Printed(x), "<x a=\"<&\">\">a<b&c</x>");
}

TEST(XmlElementModel, RegisteringAnAttributeTwiceThrowsTwo) {
  HKXMLGenericElement x("x", true);
  HKXMLBoolHKAttribute member;
  x.ReplaceAttributeContent("m", member);
  try {
    x.ReplaceAttributeContent("m", member);
    FAIL();
  } catch (int code) {
    EXPECT_EQ(code, 2);
  }
  try {
    x.ReplaceAttributeContent("m", static_cast<HKXMLComplexAttribute2*>(new HKXMLGenericAttribute("z")));
    FAIL();
  } catch (int code) {
    EXPECT_EQ(code, 2);
  }
}

TEST(XmlElementModel, ReplaceAttributeContentParsesThroughTypedMember) {
  HKXMLGenericElement x("x", true);
  HKXMLDoubleHKAttribute width;
  x.ReplaceAttributeContent("width", width);
  EXPECT_TRUE(x.ReplaceAttributeContent("width", std::string("2.5")));
  EXPECT_DOUBLE_EQ(width(), 2.5);
  EXPECT_THROW(x.ReplaceAttributeContent("width", std::string("wide")), std::invalid_argument);
  EXPECT_EQ(Printed(x), "<x width=\"2.5\" />");
}

TEST(XmlElementModel, MergeAndRemoveAttribute) {
  HKXMLGenericElement x("x", true);
  x.MergeAttributeContent("class", "a");
  x.MergeAttributeContent("class", " b");
  EXPECT_EQ(x.getAttributeText("class", "?"), "a b");
  EXPECT_TRUE(x.RemoveAttribute("class"));
  EXPECT_FALSE(x.RemoveAttribute("class"));
  EXPECT_FALSE(x.ContainsAttribute("class"));
  EXPECT_EQ(x.getAttributeText("class", "?"), "?");
}

TEST(XmlElementModel, LeafClassesPrint) {
  EXPECT_EQ(Printed(HKXMLGenericText("word")), "word");
  EXPECT_EQ(Printed(HKXMLGenericWhitespace(" \n\t")), " \n\t");
  EXPECT_EQ(Printed(HKXML_Comment2(" c ")), "<!-- c -->");
  HKXML_ProcInst2 pi("xml version=\"1.0\"");
  EXPECT_EQ(Printed(pi), "<?xml version=\"1.0\"?>");
  EXPECT_EQ(pi.GetContent(), "xml version=\"1.0\"");
  HKXML_Declaration2 decl("xml version=\"1.0\" encoding=\"UTF-8\"");
  EXPECT_EQ(decl.GetTypeName(), "procinst");
  EXPECT_EQ(Printed(decl), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
  EXPECT_EQ(HKXMLGenericText().GetTypeName(), "xmltext");
  EXPECT_EQ(HKXMLGenericWhitespace().GetTypeName(), "xmlwhitespace");
  EXPECT_EQ(HKXML_Comment2().GetTypeName(), "comment");
  EXPECT_FALSE(HKXMLGenericText().noSpecial());
}

TEST(XmlElementModel, DocumentPrintsChildrenWithNothingBetween) {
  HKXML_Document2 doc;
  EXPECT_EQ(doc.GetTypeName(), "xmldocument");
  doc << new HKXML_Declaration2("xml version=\"1.0\"");
  HKXMLGenericElement* root = doc << Elem("root");
  *root << Elem("a");
  doc << new HKXML_Comment2("end");
  EXPECT_EQ(Printed(doc), "<?xml version=\"1.0\"?><root><a />\n</root><!--end-->");
}

TEST(XmlElementModel, BuiltTreeGetsOneTagPerLine) {
  HKXMLGenericElement root("config", true);
  HKXMLGenericElement* server = root << Elem("server");
  server->ReplaceAttributeContent("port", "2098");
  server->ReplaceAttributeContent("address", "localhost");
  HKXMLGenericElement* paths = root << Elem("paths");
  HKXMLGenericElement* p = *paths << Elem("path");
  *p << new HKXMLGenericText("/tmp");
  *paths << Elem("path");
  EXPECT_EQ(Printed(root),
            "<config><server address=\"localhost\" port=\"2098\" />\n"
            "<paths><path>/tmp</path>\n<path />\n</paths>\n</config>");
}

TEST(XmlElementModel, HooksRunAroundLinkingAndPrinting) {
  std::vector<std::string> log;
  HookedElement h("h", log);
  HKXMLGenericElement* a = h << Elem("a");
  h.PushFrontChildElement(Elem("f"));
  EXPECT_EQ(log, (std::vector<std::string>{"new a", "new f"}));
  EXPECT_EQ(Printed(h), "<h>[[<f />\n<a />]]\n</h>");
  EXPECT_EQ(log.back(), "preprint h");
  log.clear();
  EXPECT_TRUE(h.DetachChild(a));
  EXPECT_FALSE(h.DetachChild(a));
  EXPECT_FALSE(h.DetachChild(nullptr));
  EXPECT_EQ(a->getParent(), &h);  // the link is not cleared
  EXPECT_EQ(log, (std::vector<std::string>{"delete a"}));
  delete a;
  log.clear();
  h.RemoveSubelements();
  EXPECT_EQ(h.ChildCount(), 0u);
  EXPECT_EQ(log, (std::vector<std::string>{"delete f"}));
}

TEST(XmlElementModel, ExchangeAndResetElement) {
  std::vector<std::string> log;
  HookedElement h("h", log);
  HKXMLGenericElement* a = h << Elem("a");
  HKXMLGenericElement* b = h << Elem("b");
  log.clear();
  HKXMLGenericElement* w = Elem("w");
  EXPECT_TRUE(h.ExchangeElement(a, w));
  EXPECT_EQ(log, (std::vector<std::string>{"delete a", "new w"}));
  EXPECT_EQ(Printed(h), "<h>[[<w><a />\n</w>\n<b />]]\n</h>");
  HKXMLGenericElement stranger("s", true);
  HKXMLGenericElement* never = Elem("never");
  EXPECT_FALSE(h.ExchangeElement(&stranger, never));
  delete never;
  log.clear();
  EXPECT_TRUE(h.ResetElement(b, Elem("r")));
  EXPECT_EQ(log, (std::vector<std::string>{"delete b", "new r"}));
  EXPECT_EQ(Printed(h), "<h>[[<w><a />\n</w>\n<r />]]\n</h>");
  HKXMLGenericElement* spare = Elem("spare");
  EXPECT_FALSE(h.ResetElement(&stranger, spare));
  delete spare;
}

TEST(XmlElementModel, PickUpAndReplaceInnerChilds) {
  HKXMLGenericElement a("a", true);
  HKXMLGenericElement b("b", true);
  b << Elem("x");
  b << Elem("y");
  a.PickUpElements(&b);
  a.PickUpElements(nullptr);
  EXPECT_EQ(b.ChildCount(), 0u);
  ASSERT_EQ(a.ChildCount(), 2u);
  EXPECT_EQ(a.Children()[0]->getParent(), &a);
  std::vector<std::string> log;
  HookedElement h("h", log);
  h << Elem("old1");
  h << Elem("old2");
  log.clear();
  h.replaceInnerChildsBy(Elem("new"));
  EXPECT_EQ(log, (std::vector<std::string>{"delete old1", "delete old2", "new new"}));
  ASSERT_EQ(h.ChildCount(), 1u);
  EXPECT_EQ(h.Children()[0]->GetTypeName(), "new");
}

TEST(XmlElementModel, GetChildsGenericFormSkipsComplexElements) {
  HKXMLGenericElement a("a", true);
  a << Elem("g");
  a << new HKXMLComplexElement("c", false, true);
  std::list<HKXMLComplexElement*> all;
  a.GetChilds(all);
  EXPECT_EQ(all.size(), 2u);
  std::list<HKXMLGenericElement*> generic;
  a.GetChilds(generic);
  ASSERT_EQ(generic.size(), 1u);
  EXPECT_EQ(generic.front()->GetTypeName(), "g");
}

TEST(XmlElementModel, TypedOperatorsReturnGenericOrNull) {
  HKXMLGenericElement a("a", true);
  HKXMLGenericElement* g = Elem("g");
  EXPECT_EQ(a += g, g);
  EXPECT_EQ(a << static_cast<HKXMLGenericElement*>(nullptr), nullptr);
  HKXMLComplexElement* c = new HKXMLComplexElement("c", false, true);
  EXPECT_EQ(a << c, c);
  EXPECT_EQ(a.ChildCount(), 2u);
}

TEST(XmlElementModel, DestructorTellsWidgetManagerParentFirst) {
  RecordingWidgetManager manager;
  auto* a = Elem("a");
  a->SetWidgetManager(&manager);
  HKXMLGenericElement* b = *a << Elem("b");
  b->SetWidgetManager(&manager);
  *a << Elem("c");  // no manager
  delete a;
  EXPECT_EQ(manager.removed, (std::vector<std::string>{"a", "b"}));
  // The base manager does nothing.
  HKWidgetManager_base base;
  HKXMLGenericElement d("d", true);
  d.SetWidgetManager(&base);
  EXPECT_EQ(d.GetWidgetManager(), &base);
}

TEST(XmlElementModel, WidgetManagerStaysConsistentThroughRemoveSubelements) {
  RecordingWidgetManager manager;
  HKXMLGenericElement a("a", true);
  HKXMLGenericElement* b = a << Elem("b");
  b->SetWidgetManager(&manager);
  a.RemoveSubelements();
  EXPECT_EQ(manager.removed, (std::vector<std::string>{"b"}));
}

TEST(XmlElementModel, MarkErrorAndDtdRequest) {
  HKXMLGenericElement a("a", true);
  EXPECT_FALSE(a.HasError());
  a.MarkError("broken");
  EXPECT_TRUE(a.HasError());
  EXPECT_EQ(a.GetErrorText(), "broken");
  EXPECT_EQ(Printed(a), "<a />");  // the tree stays as it is
  EXPECT_EQ(a.dtdRequest(""), "");
  EXPECT_EQ(a.dtdRequest("xml"), "xml");
  EXPECT_EQ(a.dtdRequest(""), "xml");
  EXPECT_EQ(a.GetDTDName(), "xml");
}

TEST(XmlElementModel, AsTextCollectsTextNodesOnly) {
  xmltest::Parsed p("<a>one <b>two</b> <!--x--> three</a>");
  HKXMLComplexElement* top = p.Read("xml");
  std::ostringstream os;
  top->AsText(os);
  EXPECT_EQ(os.str(), "onetwothree");
  EXPECT_FALSE(top->IsXMLText());
}

TEST(XmlElementModel, ChildQueueGrowsAtBothEnds) {
  HKXMLGenericElement a("a", true);
  for (int i = 0; i < 100; ++i) {
    a << Elem("b" + std::to_string(i));
    a.PushFrontChildElement(Elem("f" + std::to_string(i)));
  }
  ASSERT_EQ(a.ChildCount(), 200u);
  EXPECT_EQ(a.Children()[0]->GetTypeName(), "f99");
  EXPECT_EQ(a.Children()[99]->GetTypeName(), "f0");
  EXPECT_EQ(a.Children()[100]->GetTypeName(), "b0");
  EXPECT_EQ(a.Children()[199]->GetTypeName(), "b99");
  HKXMLComplexElement* middle = a.Children()[150];
  EXPECT_TRUE(a.DetachChild(middle));
  EXPECT_EQ(a.ChildCount(), 199u);
  EXPECT_EQ(a.Children()[150]->GetTypeName(), "b51");
  delete middle;
}

TEST(XmlElementModel, VeryDeepTreeIsDestroyedWithoutDeepRecursion) {
  RecordingWidgetManager manager;
  auto* root = Elem("root");
  HKXMLComplexElement* current = root;
  for (int i = 0; i < 1000000; ++i) current = *current << Elem("d");
  current->SetWidgetManager(&manager);
  delete root;
  EXPECT_EQ(manager.removed, (std::vector<std::string>{"d"}));
}
