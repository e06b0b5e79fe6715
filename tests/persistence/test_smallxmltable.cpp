// Small XML tables: the writer's file format and the reader's sets.
#include <toviktwo/persistence/hksmallxmltable.h>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <string>

#include "../support/temp_directory.h"

namespace {

using Items = std::map<std::string, std::string>;

const std::string kSetA = "<set>\n<item name=\"a\" value=\"1\"/>\n</set>\n";

}  // namespace

TEST(SmallXMLTable, TwoWritesToOneFileGiveTwoSetsAndOneStartTag) {
  hktest::TempDirectory dir;
  {
    HKSmallXMLTable table(dir.path());
    table.writeContent("t.xml", {{"a", "1"}});
    table.writeContent("t.xml", {{"a", "1"}});
  }
  EXPECT_EQ(hktest::ReadFile(dir / "t.xml"), "<hksmallxmltable>\n" + kSetA + kSetA);
}

TEST(SmallXMLTable, ItemsAreWrittenInKeyOrderAsShortTags) {
  hktest::TempDirectory dir;
  {
    HKSmallXMLTable table(dir.path());
    table.writeContent("t.xml", {{"zeta", "last"}, {"alpha", "first"}});
  }
  EXPECT_EQ(hktest::ReadFile(dir / "t.xml"),
            "<hksmallxmltable>\n<set>\n<item name=\"alpha\" value=\"first\"/>\n"
            "<item name=\"zeta\" value=\"last\"/>\n</set>\n");
}

TEST(SmallXMLTable, NewFileNameClosesTheFormerFileWithTheEndTagFirst) {
  hktest::TempDirectory dir;
  HKSmallXMLTable table(dir.path());
  table.writeContent("one.xml", {{"a", "1"}});
  table.writeContent("two.xml", {{"a", "1"}});
  EXPECT_EQ(hktest::ReadFile(dir / "one.xml"), "<hksmallxmltable>\n" + kSetA + "</hksmallxmltable>\n");
  EXPECT_EQ(hktest::ReadFile(dir / "two.xml"), "<hksmallxmltable>\n" + kSetA);
}

TEST(SmallXMLTable, EmptyItemMapWritesAnEmptySet) {
  hktest::TempDirectory dir;
  {
    HKSmallXMLTable table(dir.path());
    table.writeContent("t.xml", {});
  }
  EXPECT_EQ(hktest::ReadFile(dir / "t.xml"), "<hksmallxmltable>\n<set>\n</set>\n");
}

TEST(SmallXMLTable, EmptyFileNameClosesTheFileAndWritesNothing) {
  hktest::TempDirectory dir;
  HKSmallXMLTable table(dir.path());
  table.writeContent("t.xml", {{"a", "1"}});
  table.writeContent("", {{"b", "2"}});
  EXPECT_EQ(hktest::ReadFile(dir / "t.xml"), "<hksmallxmltable>\n" + kSetA + "</hksmallxmltable>\n");
}

TEST(SmallXMLTable, WriterReturningToAFileAppendsBehindTheEndTag) {
  hktest::TempDirectory dir;
  {
    HKSmallXMLTable table(dir.path());
    table.writeContent("t.xml", {{"a", "1"}});
    table.writeContent("", {});
    table.writeContent("t.xml", {{"a", "1"}});
  }
  EXPECT_EQ(hktest::ReadFile(dir / "t.xml"), "<hksmallxmltable>\n" + kSetA + "</hksmallxmltable>\n" + kSetA);
}

TEST(SmallXMLTable, ReaderTakesSetsInsideAndBehindTheRootElement) {
  hktest::TempDirectory dir;
  hktest::WriteFile(dir / "t.xml", "<hksmallxmltable>\n" + kSetA + "</hksmallxmltable>\n" +
                                       "<set>\n<item name=\"a\" value=\"2\"/>\n</set>\n");
  HKSmallXMLTable table(dir.path(), "t.xml");
  ASSERT_EQ(table.Sets().size(), 2u);
  EXPECT_EQ(table.Sets()[0]->getItem("a", ""), "1");
  EXPECT_EQ(table.Sets()[1]->getItem("a", ""), "2");
  EXPECT_EQ(table.ReadError(), "");
}

TEST(SmallXMLTable, ReaderTakesAFileLeftWithoutTheEndTag) {
  hktest::TempDirectory dir;
  {
    HKSmallXMLTable table(dir.path());
    table.writeContent("t.xml", {{"a", "1"}, {"b", "x y"}});
    table.writeContent("t.xml", {{"a", "3"}});
  }
  HKSmallXMLTable table(dir.path(), "t.xml");
  ASSERT_EQ(table.Sets().size(), 2u);
  EXPECT_EQ(table.Sets()[0]->getItem("b", ""), "x y");
  EXPECT_EQ(table.Sets()[1]->getItem("a", ""), "3");
}

TEST(SmallXMLTable, GetItemWithAnUnknownNameReturnsTheDefault) {
  hktest::TempDirectory dir;
  hktest::WriteFile(dir / "t.xml", "<hksmallxmltable>\n" + kSetA);
  HKSmallXMLTable table(dir.path(), "t.xml");
  ASSERT_EQ(table.Sets().size(), 1u);
  EXPECT_EQ(table.Sets()[0]->getItem("nothing", "default"), "default");
}

TEST(SmallXMLTable, LaterItemOfTheSameNameReplacesTheEarlierOne) {
  hktest::TempDirectory dir;
  hktest::WriteFile(dir / "t.xml",
                    "<hksmallxmltable><set><item name=\"a\" value=\"1\"/><item name=\"a\" value=\"2\"/></set>"
                    "</hksmallxmltable>");
  HKSmallXMLTable table(dir.path(), "t.xml");
  ASSERT_EQ(table.Sets().size(), 1u);
  EXPECT_EQ(table.Sets()[0]->getItem("a", ""), "2");
  EXPECT_EQ(table.Sets()[0]->Items().size(), 1u);
}

TEST(SmallXMLTable, FileBrokenOffInsideASetGivesTheCompleteSetsBefore) {
  hktest::TempDirectory dir;
  hktest::WriteFile(dir / "t.xml", "<hksmallxmltable>\n" + kSetA + kSetA + "<set>\n<item name=\"a\" val");
  HKSmallXMLTable table(dir.path(), "t.xml");
  EXPECT_EQ(table.Sets().size(), 2u);
  EXPECT_NE(table.ReadError(), "");
}

TEST(SmallXMLTable, MissingFileGivesNoSets) {
  hktest::TempDirectory dir;
  HKSmallXMLTable table(dir.path(), "none.xml");
  EXPECT_TRUE(table.Sets().empty());
}

TEST(SmallXMLTable, FactoryMakesTheTableClassesAndGenericElementsForOtherNames) {
  for (const char* name : {"hksmallxmltable", "set", "item", "other"}) {
    HKXMLComplexElement* element = createSmallXMLTableElement(name);
    EXPECT_EQ(element->GetTypeName(), name);
    delete element;
  }
  HKXMLComplexElement* set = createSmallXMLTableElement("set");
  EXPECT_NE(dynamic_cast<HKSmallXMLTableSet*>(set), nullptr);
  delete set;
}

TEST(SmallXMLTable, WriteFailingMidwayLeavesTheEarlierSetsReadable) {
  hktest::TempDirectory dir;
  constexpr rlim_t kLimit = 2000;
  constexpr int kAttempts = 200;
  const pid_t child = ::fork();
  if (child == 0) {
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit r{kLimit, kLimit};
    ::setrlimit(RLIMIT_FSIZE, &r);
    HKSmallXMLTable table(dir.path());
    for (int i = 0; i < kAttempts; ++i)
      table.writeContent("t.xml", {{"n", std::to_string(i)}, {"pad", "0123456789"}});
    ::_exit(0);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  const std::string content = hktest::ReadFile(dir / "t.xml");
  EXPECT_LE(content.size(), kLimit);
  EXPECT_EQ(content.substr(content.size() - 7), "</set>\n");
  HKSmallXMLTable table(dir.path(), "t.xml");
  ASSERT_GT(table.Sets().size(), 10u);
  EXPECT_LT(table.Sets().size(), static_cast<std::size_t>(kAttempts));
  for (std::size_t i = 0; i < table.Sets().size(); ++i) {
    EXPECT_EQ(table.Sets()[i]->getItem("n", ""), std::to_string(i));
  }
  EXPECT_EQ(table.ReadError(), "");
}
