// Feeds arbitrary bytes to the persistence layer's readers of outside input:
// as a configuration file to HKPersistentAppStorage::ReadFromDisk (through
// HKXMLDatabase::DBReadFromDisk), as a small XML table file, as a "!" command
// to HKCommandCompiler, and as a page template to ReplaceStringVariables.
// HKException from reading is expected; anything else (a crash, a leak, a
// hang, another exception) is a finding.
#include <toviktwo/toviktwo.h>

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

// A folder of this process for the files, made once and removed at exit.
struct WorkFolder {
  WorkFolder() {
    path =
        (std::filesystem::temp_directory_path() / ("toviktwo-fuzz-" + std::to_string(::getpid()))).string();
    std::filesystem::create_directories(path);
    std::filesystem::current_path(path);
  }
  ~WorkFolder() {
    std::error_code ignored;
    std::filesystem::current_path(std::filesystem::temp_directory_path(), ignored);
    std::filesystem::remove_all(path, ignored);
  }
  std::string path;
};

const std::string& Folder() {
  static const WorkFolder folder;
  return folder.path;
}

void ReadAsConfiguration(const std::string& bytes) {
  std::ofstream(Folder() + "/app.xml", std::ios::binary | std::ios::trunc) << bytes;
  HKPersistentAppStorage storage;
  try {
    storage.ReadFromDisk("app");
    std::map<std::string, std::string> options;
    storage.GetAppOptions(options);
    HKUserCredentials user;
    std::list<std::string> names;
    storage.GetProjectNameList(names, user);
    (void)storage.GetElementAttribute("app.options.option.value", "");
  } catch (const HKException&) {
  }
}

void ReadAsSmallTable(const std::string& bytes) {
  std::ofstream(Folder() + "/table.xml", std::ios::binary | std::ios::trunc) << bytes;
  HKSmallXMLTable table(Folder(), "table.xml");
  for (HKSmallXMLTableSet* set : table.Sets()) (void)set->getItem("name", "");
}

void ExpandAsTemplate(const std::string& bytes) {
  HKPersistentAppStorage storage;
  storage.SetStringVariable("a", "[[b]]");
  storage.SetStringVariable("b", "x");
  std::string text = bytes;
  storage.ReplaceStringVariables(text, "");
  (void)HKCommandCompiler().CSSCommand(bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  ReadAsConfiguration(bytes);
  ReadAsSmallTable(bytes);
  ExpandAsTemplate(bytes);
  return 0;
}
