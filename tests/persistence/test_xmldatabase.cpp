// HKXMLDatabase: dotted paths, element look-ups and string variables in memory.
#include <toviktwo/persistence/hkxmldatabase.h>

#include <gtest/gtest.h>

#include <list>
#include <string>
#include <thread>

#include "../support/temp_directory.h"

namespace {

std::list<HKXMLGenericElement*> Elements(HKXMLDatabase& db, const std::string& path) {
  std::list<HKXMLGenericElement*> found;
  db.GetElements(path, found);
  return found;
}

}  // namespace

TEST(XMLDatabase, NewDatabaseHoldsDeclarationAndBaseElement) {
  HKXMLDatabase db("tovik");
  EXPECT_EQ(db.Printed(), "<?version=\"1.0\" encoding=\"UTF-8\"?><tovik />");
  EXPECT_EQ(db.GetBaseName(), "tovik");
}

TEST(XMLDatabase, EmptyBaseNameHasNoBaseElementUntilARead) {
  HKXMLDatabase db("");
  EXPECT_EQ(db.Printed(), "<?version=\"1.0\" encoding=\"UTF-8\"?>");
  EXPECT_EQ(hktest::ExceptionMessage([&] { db.GetElementAttribute("a.b", "d"); }),
            "the base element must have a length");
  EXPECT_EQ(hktest::ExceptionMessage([&] { db.SetElementAttribute("a.b", "d"); }),
            "the base element must have a length");
  EXPECT_EQ(hktest::ExceptionMessage([&] { Elements(db, "a"); }), "the base element must have a length");
}

TEST(XMLDatabase, OnePartPathToGetElementAttributeThrows) {
  HKXMLDatabase db("tovik");
  EXPECT_EQ(hktest::ExceptionMessage([&] { db.GetElementAttribute("colour", "red"); }),
            "the element and attribute name can't be empty");
}

TEST(XMLDatabase, OnePartPathToGetElementsGivesTheBaseElementsChildrenOfThatName) {
  HKXMLDatabase db("tovik");
  db.SetElementAttribute("colour.a", "1");
  db.SetElementAttribute("size.a", "2");
  std::list<HKXMLGenericElement*> found = Elements(db, "colour");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found.front()->GetTypeName(), "colour");
  EXPECT_EQ(found.front()->getAttributeText("a", ""), "1");
}

TEST(XMLDatabase, EmptyPathToGetElementsThrows) {
  HKXMLDatabase db("tovik");
  EXPECT_EQ(hktest::ExceptionMessage([&] { Elements(db, ""); }), "the base element must have a length");
}

TEST(XMLDatabase, DoubledDotsWalkThroughAnElementWithAnEmptyName) {
  HKXMLDatabase db("tovik");
  EXPECT_EQ(db.GetElementAttribute("a..b", "none"), "none");
  db.SetElementAttribute("a..b", "x");
  EXPECT_EQ(db.Printed(), "<?version=\"1.0\" encoding=\"UTF-8\"?><tovik><a>< b=\"x\" />\n</a>\n</tovik>");
  EXPECT_EQ(db.GetElementAttribute("a..b", "none"), "x");
}

TEST(XMLDatabase, GetOnAMissingPathReturnsTheDefaultAndCreatesNothing) {
  HKXMLDatabase db("tovik");
  const std::string before = db.Printed();
  EXPECT_EQ(db.GetElementAttribute("window.size.width", "640"), "640");
  EXPECT_EQ(db.Printed(), before);
}

TEST(XMLDatabase, GetSetCreatesThePathWithTheDefault) {
  HKXMLDatabase db("tovik");
  EXPECT_EQ(db.GetSetElementAttribute("window.size.width", "640"), "640");
  EXPECT_EQ(
      db.Printed(),
      "<?version=\"1.0\" encoding=\"UTF-8\"?><tovik><window><size width=\"640\" />\n</window>\n</tovik>");
  EXPECT_EQ(db.GetSetElementAttribute("window.size.width", "800"), "640");
}

TEST(XMLDatabase, SettingTwiceChangesTheValueInPlace) {
  HKXMLDatabase db("tovik");
  db.SetElementAttribute("window.width", "1");
  db.SetElementAttribute("window.width", "2");
  std::list<HKXMLGenericElement*> found = Elements(db, "window");
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found.front()->Attributes().size(), 1u);
  EXPECT_EQ(db.GetElementAttribute("window.width", ""), "2");
}

TEST(XMLDatabase, ValueWithADoubleQuoteIsStoredUnescaped) {
  HKXMLDatabase db("tovik");
  db.SetElementAttribute("a.b", "say \"hi\"");
  // The assignment parser drops only the enclosing quotes, and nothing is
  // escaped on output: the printed file is no longer well formed.
  EXPECT_EQ(db.GetElementAttribute("a.b", ""), "say \"hi\"");
  EXPECT_EQ(db.Printed(), "<?version=\"1.0\" encoding=\"UTF-8\"?><tovik><a b=\"say \"hi\"\" />\n</tovik>");
}

TEST(XMLDatabase, WalkTakesTheFirstOfElementsWithTheSameName) {
  hktest::TempDirectory dir;
  hktest::WriteFile(dir / "d.xml", "<root><a v=\"1\"/><a v=\"2\"/></root>");
  HKXMLDatabase db("");
  db.DBReadFromDisk(dir / "d.xml", [](std::string) {});
  EXPECT_EQ(db.GetElementAttribute("a.v", ""), "1");
  EXPECT_EQ(Elements(db, "a").size(), 2u);
}

TEST(XMLDatabase, GetElementsWithAMissingStepLeavesTheResultUnchanged) {
  HKXMLDatabase db("tovik");
  db.SetElementAttribute("a.b.c", "1");
  std::list<HKXMLGenericElement*> found{nullptr};
  db.GetElements("a.x.b", found);
  EXPECT_EQ(found.size(), 1u);
  db.GetElements("a.b", found);
  EXPECT_EQ(found.size(), 2u);
}

TEST(XMLDatabase, GetElementsOfTypeFindsElementsAtAnyDepth) {
  HKXMLDatabase db("tovik");
  db.SetElementAttribute("a.item.x", "1");
  db.SetElementAttribute("b.c.item.x", "2");
  db.SetElementAttribute("item.x", "3");
  std::list<HKXMLGenericElement*> found;
  db.GetElementsOfType("item", found);
  EXPECT_EQ(found.size(), 3u);
}

TEST(XMLDatabase, StringVariableIsThePrintedContentOfItsElement) {
  hktest::TempDirectory dir;
  hktest::WriteFile(dir / "p.xml",
                    "<tovik><project><stringvariables>"
                    "<stringvariable name=\"title\">Big <b>news</b></stringvariable>"
                    "<stringvariable name=\"title\">second</stringvariable>"
                    "</stringvariables></project></tovik>");
  HKXMLDatabase db("");
  db.DBReadFromDisk(dir / "p.xml", [](std::string) {});
  EXPECT_TRUE(db.IsStringVariable("title"));
  EXPECT_EQ(db.GetStringVariable("title", "?"), "Big <b>news</b>");
  EXPECT_FALSE(db.IsStringVariable("other"));
  EXPECT_EQ(db.GetStringVariable("other", "?"), "?");
}

TEST(XMLDatabase, ReferrersAreASetOfNames) {
  HKXMLDatabase db("tovik");
  db.Referrer().insert("anna");
  db.Referrer().insert("anna");
  EXPECT_EQ(db.Referrer().size(), 1u);
}

TEST(XMLDatabase, DumpWritesThePrintedDocumentBetweenMarks) {
  HKXMLDatabase db("tovik");
  hktest::CapturedStream out(std::cout);
  db.Dump();
  EXPECT_EQ(out.str(), "HKXMLDatabase::Dump()><?version=\"1.0\" encoding=\"UTF-8\"?><tovik /><\n");
}

TEST(XMLDatabase, TwoThreadsSettingAndGettingSeeConsistentValues) {
  HKXMLDatabase db("tovik");
  constexpr int kRounds = 500;
  std::thread writer([&] {
    for (int i = 0; i < kRounds; ++i) db.SetElementAttribute("a.b", std::to_string(i));
  });
  int seen = 0;
  for (int i = 0; i < kRounds; ++i) {
    const std::string value = db.GetSetElementAttribute("a.c", "x");
    if (value == "x") ++seen;
    db.GetElementAttribute("a.b", "");
  }
  writer.join();
  EXPECT_EQ(seen, kRounds);
  EXPECT_EQ(db.GetElementAttribute("a.b", ""), std::to_string(kRounds - 1));
}

TEST(XMLDatabase, WalkLooksAtChildrenOnlyNeverAtTheElementItself) {
  HKXMLDatabase db("tovik");
  EXPECT_EQ(db.GetElementAttribute("tovik.a", "none"), "none");
  db.SetElementAttribute("tovik.a", "1");
  EXPECT_EQ(db.Printed(), "<?version=\"1.0\" encoding=\"UTF-8\"?><tovik><tovik a=\"1\" />\n</tovik>");
  EXPECT_EQ(Elements(db, "tovik").size(), 1u);
}
