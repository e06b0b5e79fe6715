// HKPersistentAppStorage: the configuration file, selection, options and writing.
#include <toviktwo/persistence/hkpersistentappstorage.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <list>
#include <map>
#include <string>

#include "storage_test_fixture.h"

using storagetest::Config;
using storagetest::kApp;
using storagetest::StorageTest;

TEST_F(StorageTest, DefaultStorageHasNothingSelected) {
  HKPersistentAppStorage storage;
  std::list<std::string> names;
  std::map<std::string, std::string> options;
  EXPECT_FALSE(storage.IsSelected());
  EXPECT_EQ(hktest::ExceptionMessage([&] { storage.GetProjectNameList(names, credentials); }),
            "no application selected");
  EXPECT_EQ(hktest::ExceptionMessage([&] { storage.GetAppOptions(options); }), "no application selected");
}

TEST_F(StorageTest, SelectingOnADefaultStorageMakesTheApplicationElementInMemory) {
  HKPersistentAppStorage storage;
  storage.SelectApplication(kApp);
  EXPECT_TRUE(storage.IsSelected());
  EXPECT_EQ(storage.GetApplicationName(), kApp);
  EXPECT_EQ(storage.Printed(), "<?version=\"1.0\" encoding=\"UTF-8\"?><tovik><demo />\n</tovik>");
  EXPECT_FALSE(std::filesystem::exists("demo.xml"));
}

TEST_F(StorageTest, ReadFromDiskReadsTheConfigurationAndSelects) {
  WriteConfig(Config("", "<option name=\"title\" value=\"Demo\"/>"));
  HKPersistentAppStorage storage;
  storage.ReadFromDisk(kApp);
  std::map<std::string, std::string> options;
  storage.GetAppOptions(options);
  EXPECT_TRUE(storage.IsSelected());
  EXPECT_EQ(options, (std::map<std::string, std::string>{{"title", "Demo"}}));
  EXPECT_EQ(storage.GetBaseDir(), "./");
}

TEST_F(StorageTest, ConstructorWithANameReadsThatApplication) {
  WriteConfig(Config("<project name=\"p\"/>"));
  HKPersistentAppStorage storage(kApp);
  std::list<std::string> names;
  storage.GetProjectNameList(names, credentials);
  EXPECT_EQ(names, (std::list<std::string>{"p"}));
}

TEST_F(StorageTest, ApplicationElementMissingInTheFileIsMadeInMemory) {
  WriteConfig("<tovik><other/></tovik>");
  HKPersistentAppStorage storage(kApp);
  std::map<std::string, std::string> options;
  storage.GetAppOptions(options);
  EXPECT_TRUE(options.empty());
  EXPECT_EQ(storage.Printed(), "<tovik><other />\n<demo />\n</tovik>");
}

TEST_F(StorageTest, TovikBelowAnotherRootBecomesTheBaseElement) {
  WriteConfig(
      "<settings><tovik><demo><options><option name=\"a\" value=\"1\"/></options></demo></tovik></settings>");
  HKPersistentAppStorage storage(kApp);
  EXPECT_EQ(storage.GetElementAttribute("demo.options.option.value", ""), "1");
}

TEST_F(StorageTest, ConfigurationWithoutTovikIsRefusedAndLeavesTheStorageAsItWas) {
  WriteConfig(Config("<project name=\"p\"/>"));
  HKPersistentAppStorage storage(kApp);
  const std::string before = storage.Printed();
  hktest::WriteFile("other.xml", "<config><other/></config>");
  EXPECT_EQ(hktest::ExceptionMessage([&] { storage.ReadFromDisk("other"); }),
            "could not read the application config base 'tovik'");
  EXPECT_EQ(storage.Printed(), before);
  EXPECT_EQ(storage.GetApplicationName(), kApp);
  EXPECT_TRUE(storage.IsSelected());
}

TEST_F(StorageTest, ConfigurationWithTwoTovikElementsIsRefused) {
  WriteConfig("<config><tovik/><tovik/></config>");
  HKPersistentAppStorage storage;
  EXPECT_EQ(hktest::ExceptionMessage([&] { storage.ReadFromDisk(kApp); }),
            "could not read the application config base 'tovik'");
  EXPECT_FALSE(storage.IsSelected());
}

TEST_F(StorageTest, OptionsSkipEmptyNamesAndALaterOptionWins) {
  WriteConfig(Config("",
                     "<option name=\"a\" value=\"1\"/><option value=\"x\"/><option name=\"a\" value=\"2\"/>"
                     "<option name=\"b\"/>"));
  HKPersistentAppStorage storage(kApp);
  std::map<std::string, std::string> options{{"stale", "1"}};
  storage.GetAppOptions(options);
  EXPECT_EQ(options, (std::map<std::string, std::string>{{"a", "2"}, {"b", ""}}));
}

TEST_F(StorageTest, ProjectNamesComeInFileOrderWithoutEmptyNames) {
  WriteConfig(Config("<project name=\"b\"/><project/><project name=\"a\"/>"));
  HKPersistentAppStorage storage(kApp);
  std::list<std::string> names{"stale"};
  storage.GetProjectNameList(names, credentials);
  EXPECT_EQ(names, (std::list<std::string>{"b", "a"}));
}

TEST_F(StorageTest, WriteOnDiskIsBlockedByDefault) {
  WriteConfig(Config(""));
  HKPersistentAppStorage storage(kApp);
  const std::string before = hktest::ReadFile("demo.xml");
  storage.SetElementAttribute("demo.window.width", "800");
  hktest::CapturedStream err(std::cerr);
  storage.WriteOnDisk("");
  EXPECT_EQ(err.str(), "writing: ./demo.xml to disk is blocked!!\n");
  EXPECT_EQ(hktest::ReadFile("demo.xml"), before);
}

TEST_F(StorageTest, PersistentWritingOptionMakesWriteOnDiskSaveTheConfiguration) {
  WriteConfig(Config("", "<option name=\"persistentwriting\" value=\"true\"/>"));
  HKPersistentAppStorage storage(kApp);
  storage.SetElementAttribute("demo.window.width", "800");
  storage.WriteOnDisk("");
  HKPersistentAppStorage again(kApp);
  EXPECT_EQ(again.GetElementAttribute("demo.window.width", ""), "800");
}

// ---- bad configuration files: each refused, the storage as it was

struct BadConfig {
  const char* name;
  std::string content;  // empty name of content: no file at all
  bool exists;
};

class BadConfigurationTest : public StorageTest, public ::testing::WithParamInterface<BadConfig> {};

TEST_P(BadConfigurationTest, IsRefusedAndLeavesTheStorageAsItWas) {
  WriteConfig(Config("<project name=\"p\"/>", "<option name=\"a\" value=\"1\"/>"));
  HKPersistentAppStorage storage(kApp);
  const std::string before = storage.Printed();
  if (GetParam().exists) hktest::WriteFile("bad.xml", GetParam().content);
  const std::string message = hktest::ExceptionMessage([&] { storage.ReadFromDisk("bad"); });
  EXPECT_EQ(message.rfind("no config was found - ./bad.xml with ", 0), 0u) << message;
  EXPECT_EQ(storage.Printed(), before);
  EXPECT_EQ(storage.GetApplicationName(), kApp);
  std::map<std::string, std::string> options;
  storage.GetAppOptions(options);
  EXPECT_EQ(options["a"], "1");
}

std::string Deep(int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i) text += "<tovik>";
  for (int i = 0; i < depth; ++i) text += "</tovik>";
  return text;
}

INSTANTIATE_TEST_SUITE_P(Files, BadConfigurationTest,
                         ::testing::Values(BadConfig{"Missing", "", false}, BadConfig{"Empty", "", true},
                                           BadConfig{"Truncated", "<tovik><demo><options><opt", true},
                                           BadConfig{"NotXML", "{\"tovik\": {\"demo\": 1}}", true},
                                           BadConfig{"NestedDeep", Deep(100000), true}),
                         [](const ::testing::TestParamInfo<BadConfig>& info) { return info.param.name; });

TEST_F(StorageTest, ConfigurationOfOneHundredMegabytesIsRefused) {
  WriteConfig(Config(""));
  HKPersistentAppStorage storage(kApp);
  const std::string before = storage.Printed();
  hktest::WriteFile("big.xml", "<tovik>");
  std::filesystem::resize_file("big.xml", 100ul * 1024 * 1024);
  EXPECT_EQ(hktest::ExceptionMessage([&] { storage.ReadFromDisk("big"); }),
            "no config was found - ./big.xml with a file larger than 67108864 bytes");
  EXPECT_EQ(storage.Printed(), before);
}
