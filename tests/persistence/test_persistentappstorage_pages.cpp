// HKPersistentAppStorage: stored pages (and the application's answers for
// them) and the expansion of string variables.
#include <toviktwo/persistence/hkpersistentappstorage.h>

#include <gtest/gtest.h>

#include <map>
#include <string>

#include <toviktwo/application/hktovikapplication2.h>
#include <toviktwo/persistence/hkcommandcompiler.h>
#include <toviktwo/transport/hkxheader.h>

#include "storage_test_fixture.h"

using storagetest::StorageTest;

namespace {

std::map<std::string, HKStringStorage> Pages() {
  return {{"/index.html", HKStringStorage("/index.html", HK_MIME_TYPE_TEXT_HTML, "<p>hello</p>", false)},
          {"/site.css", HKStringStorage("/site.css", HK_MIME_TYPE_TEXT_CSS, "p{}", false)}};
}

std::string Expanded(HKPersistentAppStorage& storage, std::string text, const std::string& project = "") {
  storage.ReplaceStringVariables(text, project);
  return text;
}

}  // namespace

// ---- stored pages

TEST(StoredPages, PageStoredGivesTheTypeOfAKnownPage) {
  HKPersistentAppStorage storage;
  storage.SetStoredPages(Pages());
  EXPECT_EQ(storage.PageStored("/site.css"), HK_MIME_TYPE_TEXT_CSS);
  EXPECT_EQ(storage.GetStoredPages().size(), 2u);
}

TEST(StoredPages, PageStoredOfAnUnknownPageIsZeroAndCreatesNoEntry) {
  HKPersistentAppStorage storage;
  storage.SetStoredPages(Pages());
  EXPECT_EQ(storage.PageStored("/none"), HK_MIME_TYPE_NONE);
  EXPECT_EQ(storage.GetStoredPages().size(), 2u);
}

TEST(StoredPages, SetStoredPagesReplacesTheFormerPages) {
  HKPersistentAppStorage storage;
  storage.SetStoredPages(Pages());
  storage.SetStoredPages({{"/a", HKStringStorage("/a", HK_MIME_TYPE_TEXT_HTML, "a", false)}});
  EXPECT_EQ(storage.GetStoredPages().size(), 1u);
  EXPECT_EQ(storage.PageStored("/index.html"), HK_MIME_TYPE_NONE);
}

TEST(StoredPages, ApplicationKnowsAStoredPageAndNotAnotherPath) {
  HKPersistentAppStorage storage;
  storage.SetStoredPages(Pages());
  HKTovikApplication2 application(storage, {}, {});
  HKXRequestHeader request(HK_SCHEME_GET, true, HK_PROTO_HTTP);
  EXPECT_TRUE(application.isPreloadContent("/index.html", request));
  EXPECT_FALSE(application.isPreloadContent("/other.html", request));
  EXPECT_EQ(storage.GetStoredPages().size(), 2u);
}

TEST(StoredPages, ApplicationAnswersAStoredPageWith200AndItsText) {
  HKPersistentAppStorage storage;
  storage.SetStoredPages(Pages());
  HKTovikApplication2 application(storage, {}, {});
  HKXResponseHeader response(HK_SCHEME_ANSWER, true, HK_PROTO_HTTP);
  EXPECT_TRUE(application.preloadContent("/index.html", response));
  EXPECT_EQ(response.statusCode(), 200u);
  EXPECT_EQ(response.getDataBuffer()->str(), "<p>hello</p>");
}

TEST(StoredPages, ApplicationAnswersAnUnknownPathWith200AndAnEmptyBody) {
  HKPersistentAppStorage storage;
  storage.SetStoredPages(Pages());
  HKTovikApplication2 application(storage, {}, {});
  HKXResponseHeader response(HK_SCHEME_ANSWER, true, HK_PROTO_HTTP);
  EXPECT_TRUE(application.preloadContent("/none", response));
  EXPECT_EQ(response.statusCode(), 200u);
  EXPECT_EQ(response.getDataBuffer()->str(), "");
  EXPECT_EQ(storage.GetStoredPages().size(), 2u);
}

// ---- string variables

TEST(StringVariables, GlobalVariableIsReplacedAndAnUnknownOneVanishes) {
  HKPersistentAppStorage storage;
  storage.SetStringVariable("name", "World");
  EXPECT_EQ(Expanded(storage, "Hello [[name]]! [[unknown]]Bye [[]]."), "Hello World! Bye .");
}

TEST(StringVariables, RemovedVariableVanishes) {
  HKPersistentAppStorage storage;
  storage.SetStringVariable("name", "World");
  storage.RemoveStringVariable("name");
  storage.RemoveStringVariable("never");
  EXPECT_EQ(Expanded(storage, "[[name]]"), "");
}

TEST(StringVariables, ReplacementIsScannedAgain) {
  HKPersistentAppStorage storage;
  storage.SetStringVariable("outer", "<[[inner]]>");
  storage.SetStringVariable("inner", "x");
  EXPECT_EQ(Expanded(storage, "[[outer]][[outer]]"), "<x><x>");
}

TEST(StringVariables, KeyWithTheCommandSignGoesToTheCommandCompilerWithTheSign) {
  HKPersistentAppStorage storage;
  const std::string call = "!linearanimation(#s, 2s, infinite, 2, on, off, 0)";
  EXPECT_EQ(Expanded(storage, "<style>[[" + call + "]]</style>"),
            "<style>" + HKCommandCompiler().CSSCommand(call) + "</style>");
  EXPECT_EQ(Expanded(storage, "[[!nothing]]"), "/* error */\n");
}

TEST_F(StorageTest, ProjectVariableGoesBeforeTheGlobalOne) {
  HKPersistentAppStorage storage;
  ReadWithProject(storage, "<stringvariable name=\"title\">Project <b>title</b></stringvariable>");
  storage.SetStringVariable("title", "global");
  storage.SetStringVariable("footer", "global footer");
  EXPECT_EQ(Expanded(storage, "[[title]]|[[footer]]", "p"), "global|global footer");
  storage.OpenProject("p", "anna");
  EXPECT_EQ(Expanded(storage, "[[title]]|[[footer]]", "p"), "Project <b>title</b>|global footer");
  EXPECT_EQ(Expanded(storage, "[[title]]", "other"), "global");
}

TEST(StringVariables, UnclosedOpeningLeavesTheRestAsItIs) {
  HKPersistentAppStorage storage;
  storage.SetStringVariable("a", "A");
  EXPECT_EQ(Expanded(storage, "[[a]] and [[a"), "A and [[a");
}

TEST(StringVariables, VariableHoldingItselfStopsAfterTheLimit) {
  HKPersistentAppStorage storage;
  storage.SetStringVariable("loop", "x[[loop]]");
  const std::string text = Expanded(storage, "[[loop]]");
  EXPECT_EQ(text, std::string(HKPersistentAppStorage::kMaxReplacements, 'x') + "[[loop]]");
}

TEST(StringVariables, SettingVariablesSelectsNoApplication) {
  HKPersistentAppStorage storage;
  storage.SetStringVariable("a", "1");
  EXPECT_EQ(storage.GetStringVariables().size(), 1u);
  EXPECT_FALSE(storage.IsSelected());
  EXPECT_EQ(storage.GetApplicationName(), "");
}
