// The configuration shipped with the examples, read the way an application
// reads it: through the viewport's storage initialiser.
#include <toviktwo/persistence/hkpersistentappstorage.h>

#include <gtest/gtest.h>

#include <list>
#include <map>
#include <string>

#include <toviktwo/application/hkappviewportbase.h>

#include "../support/temp_directory.h"

namespace {

const std::string kConfigDir = std::string(TOVIK_TEST_DATA_DIR) + "/../../../examples/demo/config";

HKTovikApplication2* NoApplication(HKAppViewportBase*, bool) { return nullptr; }

}  // namespace

TEST(ExampleConfiguration, ViewportInitialiserReadsTheShippedConfiguration) {
  hktest::WorkingDirectory cwd(kConfigDir);
  HKAppViewportBase viewport("demo", "demo", NoApplication,
                             [](HKPersistentAppStorage& storage) { storage.ReadFromDisk("demo"); });
  HKPersistentAppStorage& storage = viewport.GetStorage();
  std::map<std::string, std::string> options;
  storage.GetAppOptions(options);
  EXPECT_EQ(options["title"], "toviktwo storage demo");
  EXPECT_EQ(options["persistentwriting"], "false");
  EXPECT_FALSE(storage.DiskWritingEnabled());
}

TEST(ExampleConfiguration, ShippedProjectIsUsableAndHasItsVariables) {
  hktest::WorkingDirectory cwd(kConfigDir);
  HKPersistentAppStorage storage("demo");
  HKUserCredentials user;
  std::list<std::string> projects;
  storage.GetProjectNameList(projects, user);
  ASSERT_EQ(projects, (std::list<std::string>{"welcome"}));
  ASSERT_TRUE(storage.CheckProject(
      "welcome", false, [](std::string) {}, user));
  HKXMLDatabase* project = storage.OpenProject("welcome", "test");
  EXPECT_EQ(project->GetElementAttribute("project.settings.colour.value", ""), "teal");
  std::string page = "[[greeting]] / [[footer]]";
  storage.ReplaceStringVariables(page, "welcome");
  EXPECT_EQ(page, "Welcome to the <b>welcome</b> project / Made with toviktwo.");
  hktest::CapturedStream err(std::cerr);
  storage.CloseProject("welcome", "test");
}

TEST(ExampleConfiguration, FailingInitialiserLeavesNoStorageBehind) {
  hktest::TempDirectory dir;
  hktest::WorkingDirectory cwd(dir.path());
  EXPECT_THROW(HKAppViewportBase("demo", "demo", NoApplication,
                                 [](HKPersistentAppStorage& storage) { storage.ReadFromDisk("demo"); }),
               HKException);
}
