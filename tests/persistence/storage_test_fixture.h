// A fixture for the application storage tests: a temporary folder that is
// the working directory during the test (the storage works relative to it),
// with helpers that lay out a configuration and project files.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <list>
#include <map>
#include <string>

#include <toviktwo/persistence/hkpersistentappstorage.h>

#include "../support/temp_directory.h"

namespace storagetest {

constexpr const char* kApp = "demo";

// <tovik><demo>projects and options</demo></tovik>
inline std::string Config(const std::string& projects, const std::string& options = "") {
  return "<tovik>\n<demo>\n<projects>" + projects + "</projects>\n<options>" + options +
         "</options>\n</demo>\n</tovik>\n";
}

inline std::string ProjectFile(const std::string& variables = "") {
  return "<tovik><project><stringvariables>" + variables + "</stringvariables></project></tovik>\n";
}

class StorageTest : public ::testing::Test {
 protected:
  StorageTest() : _cwd(dir.path()) {}

  // Writes ./demo.xml.
  void WriteConfig(const std::string& content) { hktest::WriteFile("demo.xml", content); }
  // Writes ./demo_projects/<folder>/<name>.xml.
  void WriteProject(const std::string& folder, const std::string& name, const std::string& content) {
    std::filesystem::create_directories("demo_projects/" + folder);
    hktest::WriteFile("demo_projects/" + folder + "/" + name + ".xml", content);
  }
  // A storage that has read ./demo.xml and recorded project p (file ./demo_projects/p/p.xml).
  void ReadWithProject(HKPersistentAppStorage& storage, const std::string& variables = "") {
    WriteConfig(Config("<project name=\"p\" projectpath=\"p\"/>"));
    WriteProject("p", "p", ProjectFile(variables));
    storage.ReadFromDisk(kApp);
    ASSERT_TRUE(storage.CheckProject(
        "p", false, [](std::string) {}, credentials));
  }

  hktest::TempDirectory dir;
  HKUserCredentials credentials;

 private:
  hktest::WorkingDirectory _cwd;
};

}  // namespace storagetest
