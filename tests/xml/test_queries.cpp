// The finding operations: by attribute, by type name, the path language and
// GetFromConfig.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "xml_test_util.h"

using xmltest::Parsed;
using xmltest::Printed;

namespace {

std::vector<std::string> Ids(const std::list<HKXMLGenericElement*>& found) {
  std::vector<std::string> out;
  for (HKXMLGenericElement* e : found) out.push_back(e->getAttributeText("id", e->GetTypeName()));
  return out;
}

std::vector<std::string> Query(HKXMLGenericElement& e, const std::string& path) {
  std::unique_ptr<std::list<HKXMLGenericElement*>> found(e.query(path));
  return Ids(*found);
}

// The first element of a text read in "xml".
struct Doc {
  explicit Doc(const std::string& text) : parsed(text) {
    HKXMLComplexElement* top = parsed.Read("xml");
    root = dynamic_cast<HKXMLGenericElement*>(top->Children()[0]);
  }
  Parsed parsed;
  HKXMLGenericElement* root = nullptr;
};

const char* kTree =
    "<a id='root'>"
    "<b id='b1' k='1'><c id='c1'/><c id='c2'/></b>"
    "<b id='b2'><c id='c3'/></b>"
    "<b id='b3' k='2'><c id='c4'/><d><c id='deep'/></d></b>"
    "</a>";

}  // namespace

// ---- edge cases of the queries ----

TEST(XmlQueries, EdgeEmptyQueryGivesEmptyListNotNull) {
  HKXMLGenericElement a("a", true);
  std::list<HKXMLGenericElement*>* found = a.query("");
  ASSERT_NE(found, nullptr);
  EXPECT_TRUE(found->empty());
  delete found;
}

TEST(XmlQueries, EdgeQueryMatchesSelfAndDirectChildren) {
  Doc doc("<x id='outer'><x id='inner'><x id='grandchild'/></x><y/></x>");
  EXPECT_EQ(Query(*doc.root, "x"), (std::vector<std::string>{"outer", "inner"}));
}

TEST(XmlQueries, EdgeFindObjectsDepthZeroLooksAtSelfOnly) {
  Doc doc("<x><x/></x>");
  std::list<HKXMLComplexElement*> found;
  doc.root->HKXMLComplexElement::findObjects("x", found, 0);
  EXPECT_EQ(found.size(), 1u);
  std::list<HKXMLGenericElement*> generic;
  doc.root->findObjects("x", generic, 0);
  EXPECT_EQ(generic.size(), 1u);
  generic.clear();
  doc.root->findObjects("x", generic, -1);
  EXPECT_EQ(generic.size(), 2u);
  generic.clear();
  doc.root->findObjects("x", generic, -2);  // other negative depths do not recurse
  EXPECT_EQ(generic.size(), 1u);
  generic.clear();
  doc.root->findObjects("y", generic, -1);
  EXPECT_TRUE(generic.empty());
}

TEST(XmlQueries, EdgeIdentAttributeOnUnsetTypedAttributeComparesEmpty) {
  HKXMLGenericElement x("x", true);
  HKXMLInt64_tHKAttribute number;
  x.ReplaceAttributeContent("n", number);
  EXPECT_TRUE(x.IdentAttribute("n", ""));
  EXPECT_FALSE(x.IdentAttribute("n", "0"));
  EXPECT_EQ(x.getAttributeText("n", "fallback"), "");
  number = 0;
  EXPECT_TRUE(x.IdentAttribute("n", "0"));
  EXPECT_FALSE(x.IdentAttribute("missing", ""));
}

TEST(XmlQueries, EdgeFindObjectWithoutMatchIsNull) {
  Doc doc(kTree);
  EXPECT_EQ(doc.root->FindObject("id", "nowhere"), nullptr);
  EXPECT_EQ(doc.root->FindObject("id", "deep")->getAttributeText("id", ""), "deep");
}

// ---- finding ----

TEST(XmlQueries, FindObjectsByAttributeDepthFirstSelfFirst) {
  Doc doc("<a k='1'><b k='1'><c k='1'/></b><d k='1'/></a>");
  std::list<HKXMLGenericElement*> found;
  doc.root->FindObjects("k", "1", found);
  std::vector<std::string> types;
  for (auto* e : found) types.push_back(e->GetTypeName());
  EXPECT_EQ(types, (std::vector<std::string>{"a", "b", "c", "d"}));
}

TEST(XmlQueries, FindObjectsByTypeName) {
  Doc doc(kTree);
  std::list<HKXMLGenericElement*> found;
  doc.root->FindObjects(found, "c");
  EXPECT_EQ(Ids(found), (std::vector<std::string>{"c1", "c2", "c3", "c4", "deep"}));
}

TEST(XmlQueries, QueryPaths) {
  Doc doc(kTree);
  EXPECT_EQ(Query(*doc.root, "a.b.c"), (std::vector<std::string>{"c1", "c2", "c3", "c4"}));
  EXPECT_EQ(Query(*doc.root, "a.b[k]"), (std::vector<std::string>{"b1", "b3"}));
  EXPECT_EQ(Query(*doc.root, "a.b[k=2].c"), (std::vector<std::string>{"c4"}));
  EXPECT_EQ(Query(*doc.root, "a.b[id=\"b2\"].c"), (std::vector<std::string>{"c3"}));
  EXPECT_EQ(Query(*doc.root, "a.b[k=\"1\"]"), (std::vector<std::string>{"b1"}));
  EXPECT_EQ(Query(*doc.root, "a.b.d.c"), (std::vector<std::string>{"deep"}));
  EXPECT_EQ(Query(*doc.root, "b"), (std::vector<std::string>{"b1", "b2", "b3"}));
  EXPECT_TRUE(Query(*doc.root, "c").empty());  // not a direct child
  EXPECT_TRUE(Query(*doc.root, "a.x").empty());
  // A filtered step may begin the path: the element itself matches.
  EXPECT_EQ(Query(*doc.root, "a[id=root]"), (std::vector<std::string>{"root"}));
}

TEST(XmlQueries, QueryWithUnbalancedBracketsFindsNothing) {
  Doc doc(kTree);
  EXPECT_TRUE(Query(*doc.root, "a.b[k").empty());
  EXPECT_TRUE(Query(*doc.root, "a.b[k=1").empty());
  EXPECT_TRUE(Query(*doc.root, "a.b[k]c").empty());
}

TEST(XmlQueries, QueryResultStaysInTree) {
  Doc doc(kTree);
  std::unique_ptr<std::list<HKXMLGenericElement*>> found(doc.root->query("a.b"));
  ASSERT_EQ(found->size(), 3u);
  EXPECT_EQ(found->front()->getParent(), doc.root);
}

TEST(XmlQueries, RemoveSubelementTakesFirstDirectMatch) {
  Doc doc("<a><b k='1' id='x'/><b k='1' id='y'/><c><b k='1'/></c></a>");
  EXPECT_TRUE(doc.root->RemoveSubelement("k", "1"));
  EXPECT_EQ(Printed(*doc.root), "<a><b id=\"y\" k=\"1\" />\n<c><b k=\"1\" />\n</c>\n</a>");
  EXPECT_TRUE(doc.root->RemoveSubelement("k", "1"));
  EXPECT_FALSE(doc.root->RemoveSubelement("k", "1"));  // only direct children
}

TEST(XmlQueries, ReplaceElementSearchesLevelBeforeDepth) {
  Doc doc("<a><b><x id='t'/></b><x id='t'/></a>");
  // The direct child wins over the one in the first child's subtree.
  auto* replacement = new HKXMLGenericElement("new", true);
  EXPECT_TRUE(doc.root->ReplaceElement(replacement, "id", "t"));
  EXPECT_EQ(Printed(*doc.root), "<a><b><x id=\"t\" />\n</b>\n<new id=\"t\" />\n</a>");
  EXPECT_EQ(replacement->getParent(), doc.root);
  // Now the nested one.
  EXPECT_TRUE(doc.root->Children()[0]->GetTypeName() == "b");
  auto* second = new HKXMLGenericElement("second", true);
  auto* b = dynamic_cast<HKXMLGenericElement*>(doc.root->Children()[0]);
  EXPECT_TRUE(b->ReplaceElement(second, "id", "t"));
  EXPECT_EQ(Printed(*b), "<b><second id=\"t\" />\n</b>");
  // No match: appended with the attribute.
  EXPECT_TRUE(b->ReplaceElement(new HKXMLGenericElement("third", true), "id", "none"));
  EXPECT_EQ(Printed(*b), "<b><second id=\"t\" />\n<third id=\"none\" />\n</b>");
  EXPECT_FALSE(b->ReplaceElement(nullptr, "id", "t"));
}

TEST(XmlQueries, ReplaceElementNestedHit) {
  Doc doc("<a><b><x id='t'/></b><c/></a>");
  EXPECT_TRUE(doc.root->ReplaceElement(new HKXMLGenericElement("n", true), "id", "t"));
  EXPECT_EQ(Printed(*doc.root), "<a><b><n id=\"t\" />\n</b>\n<c />\n</a>");
}

// ---- GetFromConfig ----

TEST(XmlQueries, GetFromConfigReadsLastHit) {
  const std::string path = std::string(TOVIK_TEST_DATA_DIR) + "/config.xml";
  EXPECT_EQ(GetFromConfig(path, "configuration", "server", "interface", "port", "none"), "2099");
  EXPECT_EQ(GetFromConfig(path, "configuration", "paths", "path", "value", "none"), "/srv/tovik");
  EXPECT_EQ(GetFromConfig(path, "configuration", "paths", "path", "missing", "none"), "none");
  EXPECT_EQ(GetFromConfig(path, "nothing", "paths", "path", "value", "none"), "none");
  EXPECT_EQ(GetFromConfig(path, "configuration", "paths", "nothing", "value", "none"), "none");
  EXPECT_EQ(GetFromConfig(path + ".absent", "configuration", "paths", "path", "value", "none"), "none");
}

TEST(XmlQueries, GetFromConfigNeedsExactlyOneSecondHit) {
  const std::string path = testing::TempDir() + "/tovik_getfromconfig.xml";
  {
    std::ofstream out(path);
    out << "<c><s><i v='1'/></s><s><i v='2'/></s><t><i v='3'/></t></c>";
  }
  EXPECT_EQ(GetFromConfig(path, "c", "s", "i", "v", "fb"), "fb");
  EXPECT_EQ(GetFromConfig(path, "c", "t", "i", "v", "fb"), "3");
  {
    std::ofstream out(path);
    out << "<c><t><i v='3'/></t><broken</c>";
  }
  EXPECT_EQ(GetFromConfig(path, "c", "t", "i", "v", "fb"), "fb");
  std::remove(path.c_str());
}
