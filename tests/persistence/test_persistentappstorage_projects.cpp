// HKPersistentAppStorage: project folders, checking, opening, refreshing and closing projects.
#include <toviktwo/persistence/hkpersistentappstorage.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "storage_test_fixture.h"

using storagetest::Config;
using storagetest::kApp;
using storagetest::ProjectFile;
using storagetest::StorageTest;

namespace {
void NoFile(std::string) {}
}  // namespace

// ---- folders

TEST_F(StorageTest, ProjectDirIsTheApplicationsProjectsFolder) {
  HKPersistentAppStorage storage;
  storage.SelectApplication(kApp);
  EXPECT_EQ(storage.GetProjectDir(), "./demo_projects");
  hktest::CapturedStream out(std::cout);
  storage.SelectProjectDir("/elsewhere");
  EXPECT_EQ(out.str(), "projectstorage: ./demo_projects\n");
  EXPECT_EQ(storage.GetProjectDir(), "./demo_projects");
}

TEST_F(StorageTest, RelativeFolderLiesBelowTheProjectRootAndIsMadeWithCreate) {
  HKPersistentAppStorage storage;
  storage.SelectApplication(kApp);
  std::string result;
  hktest::CapturedStream out(std::cout);
  EXPECT_TRUE(storage.CheckStorageDirectory("a/b", result, true));
  EXPECT_EQ(result, "./demo_projects/a/b");
  EXPECT_EQ(out.str(), "*#*#*#* a/b\ncsd: ./demo_projects/a/b\n");
  EXPECT_TRUE(std::filesystem::is_directory("demo_projects/a/b"));
}

TEST_F(StorageTest, RelativeFolderThatBeginsWithTheRootIsNotPrefixedAgain) {
  HKPersistentAppStorage storage;
  storage.SelectApplication(kApp);
  std::string result;
  EXPECT_TRUE(storage.CheckStorageDirectory("./demo_projects/x", result, true));
  EXPECT_EQ(result, "./demo_projects/x");
  EXPECT_FALSE(std::filesystem::exists("demo_projects/demo_projects"));
}

TEST_F(StorageTest, MissingFolderWithoutCreateIsFalse) {
  HKPersistentAppStorage storage;
  storage.SelectApplication(kApp);
  std::string result = "untouched";
  EXPECT_FALSE(storage.CheckStorageDirectory("none", result, false));
  EXPECT_EQ(result, "untouched");
  EXPECT_FALSE(std::filesystem::exists("demo_projects"));
}

TEST_F(StorageTest, AbsoluteFolderIsTakenAsItIs) {
  HKPersistentAppStorage storage;
  storage.SelectApplication(kApp);
  std::string result;
  EXPECT_TRUE(storage.CheckStorageDirectory(dir / "abs/olute", result, true));
  EXPECT_EQ(result, dir / "abs/olute");
  EXPECT_TRUE(std::filesystem::is_directory(dir / "abs/olute"));
}

TEST_F(StorageTest, SlashAloneIsFalseAndLeavesTheResultUntouched) {
  HKPersistentAppStorage storage;
  storage.SelectApplication(kApp);
  std::string result = "untouched";
  EXPECT_FALSE(storage.CheckStorageDirectory("/", result, true));
  EXPECT_EQ(result, "untouched");
}

// ---- checking

TEST_F(StorageTest, CheckProjectRecordsTheFileOfAReadableProject) {
  HKPersistentAppStorage storage;
  ReadWithProject(storage);
  EXPECT_EQ(storage.GetProjectPath("p"), "./demo_projects/p/p.xml");
}

TEST_F(StorageTest, CheckProjectOfAnEmptyOrUnlistedNameIsFalse) {
  HKPersistentAppStorage storage;
  ReadWithProject(storage);
  EXPECT_FALSE(storage.CheckProject("", true, NoFile, credentials));
  EXPECT_FALSE(storage.CheckProject("q", true, NoFile, credentials));
  EXPECT_EQ(storage.GetProjectPath("q"), "");
}

TEST_F(StorageTest, ProjectWithoutPathGetsOneNamedLikeItWithCreate) {
  WriteConfig(Config("<project name=\"p\"/>"));
  HKPersistentAppStorage storage(kApp);
  std::string asked;
  EXPECT_TRUE(storage.CheckProject(
      "p", true,
      [&](std::string path) {
        asked = path;
        hktest::WriteFile(path, ProjectFile());
      },
      credentials));
  EXPECT_EQ(asked, "./demo_projects/p/p.xml");
  EXPECT_EQ(storage.GetElementAttribute("demo.projects.project.projectpath", ""), "p");
  EXPECT_EQ(storage.GetProjectPath("p"), "./demo_projects/p/p.xml");
}

TEST_F(StorageTest, ProjectWithoutPathIsUnusableWithoutCreate) {
  WriteConfig(Config("<project name=\"p\"/>"));
  HKPersistentAppStorage storage(kApp);
  EXPECT_FALSE(storage.CheckProject("p", false, NoFile, credentials));
  EXPECT_EQ(storage.GetElementAttribute("demo.projects.project.projectpath", "none"), "none");
}

TEST_F(StorageTest, UnreadableProjectWithCreateThrowsClosingOnCatch) {
  WriteConfig(Config("<project name=\"p\" projectpath=\"p\"/>"));
  HKPersistentAppStorage storage(kApp);
  const std::string message =
      hktest::ExceptionMessage([&] { storage.CheckProject("p", true, NoFile, credentials); });
  EXPECT_EQ(message.rfind("closing on catch... with no config was found - ./demo_projects/p/p.xml with ", 0),
            0u)
      << message;
}

TEST_F(StorageTest, UnreadableProjectWithoutCreateIsFalseAndSaysClosingOnCatch) {
  WriteConfig(Config("<project name=\"p\" projectpath=\"p\"/>"));
  WriteProject("p", "p", "<tovik><project>");
  HKPersistentAppStorage storage(kApp);
  hktest::CapturedStream out(std::cout);
  EXPECT_FALSE(storage.CheckProject("p", false, NoFile, credentials));
  EXPECT_EQ(out.str(), "*#*#*#* p\ncsd: ./demo_projects/p\nclosing on catch...\n");
  EXPECT_EQ(storage.GetProjectPath("p"), "");
}

TEST_F(StorageTest, AbsoluteProjectPathIsUsedAsItIs) {
  WriteConfig(Config("<project name=\"p\" projectpath=\"" + (dir / "elsewhere") + "\"/>"));
  std::filesystem::create_directories(dir / "elsewhere");
  hktest::WriteFile(dir / "elsewhere/p.xml", ProjectFile());
  HKPersistentAppStorage storage(kApp);
  EXPECT_TRUE(storage.CheckProject("p", false, NoFile, credentials));
  EXPECT_EQ(storage.GetProjectPath("p"), dir / "elsewhere/p.xml");
}

// ---- opening and closing

TEST_F(StorageTest, OpeningAnUnrecordedProjectThrows) {
  HKPersistentAppStorage storage;
  storage.SelectApplication(kApp);
  EXPECT_EQ(hktest::ExceptionMessage([&] { storage.OpenProject("p", "anna"); }), "project pnot found");
  EXPECT_EQ(hktest::ExceptionMessage([&] { storage.RefreshProject("p", "anna"); }), "project pnot found");
}

TEST_F(StorageTest, OpeningTwiceWithOneUserThenOneCloseClosesTheProject) {
  HKPersistentAppStorage storage;
  ReadWithProject(storage);
  HKXMLDatabase* first = storage.OpenProject("p", "anna");
  EXPECT_EQ(storage.OpenProject("p", "anna"), first);
  EXPECT_EQ(first->Referrer().size(), 1u);
  hktest::CapturedStream out(std::cout);
  hktest::CapturedStream err(std::cerr);
  storage.CloseProject("p", "anna");
  EXPECT_FALSE(storage.IsProjectOpen("p"));
  EXPECT_EQ(out.str(), "closing p\n");
  EXPECT_EQ(err.str(), "writing: ./demo_projects/p/p.xml to disk is blocked!!\n");
}

TEST_F(StorageTest, UsersShareOneDatabaseThatStaysOpenUntilTheLastCloses) {
  HKPersistentAppStorage storage;
  ReadWithProject(storage);
  HKXMLDatabase* anna = storage.OpenProject("p", "anna");
  EXPECT_EQ(storage.OpenProject("p", "ben"), anna);
  storage.CloseProject("p", "anna");
  EXPECT_TRUE(storage.IsProjectOpen("p"));
  EXPECT_EQ(anna->Referrer(), (std::set<std::string>{"ben"}));
  storage.CloseProject("p", "ben");
  EXPECT_FALSE(storage.IsProjectOpen("p"));
}

TEST_F(StorageTest, ClosingAProjectThatIsNotOpenOnlySaysClosing) {
  HKPersistentAppStorage storage;
  storage.SelectApplication(kApp);
  hktest::CapturedStream out(std::cout);
  hktest::CapturedStream err(std::cerr);
  storage.CloseProject("p", "anna");
  EXPECT_EQ(out.str(), "closing p\n");
  EXPECT_EQ(err.str(), "");
}

TEST_F(StorageTest, PersistentWritingSavesAProjectOnItsLastClose) {
  HKPersistentAppStorage storage;
  ReadWithProject(storage);
  storage.SetPersistentWriting(true);
  storage.OpenProject("p", "anna")->SetElementAttribute("project.state", "saved");
  storage.CloseProject("p", "anna");
  HKXMLDatabase reread("");
  reread.DBReadFromDisk("demo_projects/p/p.xml", NoFile);
  EXPECT_EQ(reread.GetElementAttribute("project.state", ""), "saved");
}

// ---- refreshing

TEST_F(StorageTest, RefreshOfAnOpenProjectGivesANewDatabaseAndTheOldStaysValid) {
  HKPersistentAppStorage storage;
  ReadWithProject(storage);
  HKXMLDatabase* old = storage.OpenProject("p", "anna");
  old->SetElementAttribute("project.mark", "old");
  HKXMLDatabase* fresh = storage.RefreshProject("p", "ben");
  EXPECT_NE(fresh, old);
  EXPECT_EQ(fresh->Referrer(), (std::set<std::string>{"ben"}));
  EXPECT_EQ(fresh->GetElementAttribute("project.mark", "none"), "none");
  EXPECT_EQ(old->GetElementAttribute("project.mark", ""), "old");
  EXPECT_EQ(storage.OpenProject("p", "carl"), fresh);
}

TEST_F(StorageTest, RefreshOfAProjectThatIsNotOpenSaysReadingAgain) {
  HKPersistentAppStorage storage;
  ReadWithProject(storage);
  hktest::CapturedStream out(std::cout);
  HKXMLDatabase* fresh = storage.RefreshProject("p", "anna");
  EXPECT_EQ(out.str(), "reading DB again\n");
  EXPECT_TRUE(storage.IsProjectOpen("p"));
  EXPECT_EQ(fresh->Referrer(), (std::set<std::string>{"anna"}));
}

TEST_F(StorageTest, FailedRefreshOfAnOpenProjectKeepsTheMessage) {
  HKPersistentAppStorage storage;
  ReadWithProject(storage);
  HKXMLDatabase* old = storage.OpenProject("p", "anna");
  WriteProject("p", "p", "<tovik><project>");
  const std::string message = hktest::ExceptionMessage([&] { storage.RefreshProject("p", "anna"); });
  EXPECT_EQ(message.rfind("no config was found - ./demo_projects/p/p.xml with ", 0), 0u) << message;
  EXPECT_EQ(storage.OpenProject("p", "anna"), old);
}

namespace {

// The folder of the death test's child, which ends by exit() and so never
// reaches the fixture's destructor: removed by an exit handler instead.
std::string gChildFolder;
void removeChildFolder() {
  std::error_code ignored;
  std::filesystem::current_path("/", ignored);
  std::filesystem::remove_all(gChildFolder, ignored);
}

}  // namespace

TEST_F(StorageTest, FailedRefreshOfAProjectThatIsNotOpenEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  HKPersistentAppStorage storage;
  ReadWithProject(storage);
  WriteProject("p", "p", "");
  EXPECT_EXIT(
      {
        gChildFolder = dir.path();
        std::atexit(removeChildFolder);
        storage.RefreshProject("p", "anna");
      },
      ::testing::ExitedWithCode(0), "");
}
