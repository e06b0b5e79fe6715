// Temporary folders and files for tests: everything made here is removed
// when the test ends, also when it fails.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace tovik_test {

// A fresh folder below the system's temporary folder, removed with all its
// content at the end of the scope.
class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "toviktwo-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    _path = pattern;
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
  }
  const std::string& path() const { return _path; }
  // The path of `name` below this folder.
  std::string operator/(const std::string& name) const { return _path + "/" + name; }

 private:
  std::string _path;
};

// Writes `text` into `path`, making the folders above it.
inline void writeFile(const std::string& path, const std::string& text) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

// Writes `text` into `path` and makes it executable.
inline void writeExecutable(const std::string& path, const std::string& text) {
  writeFile(path, text);
  chmod(path.c_str(), 0755);
}

// The whole content of a file, empty when it can't be read.
inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace tovik_test
