// Test helpers for tests that work with real files: a temporary folder that
// is removed with everything in it at the end of the test, writing and
// reading whole files, changing the working directory, catching an exception's message and capturing what
// code writes to a standard stream.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>
#include <string>

#include <toviktwo/foundation/hkexception.h>

namespace hktest {

// A fresh folder below the system's temporary folder; removed in the destructor.
class TempDirectory {
 public:
  TempDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "toviktwo-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "mkdtemp failed";
    _path = pattern;
  }
  ~TempDirectory() {
    std::error_code ignored;
    std::filesystem::permissions(_path, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(_path, ignored);
  }
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;

  // The folder without a trailing "/".
  const std::string& path() const { return _path; }
  // The folder with name appended ("<folder>/name").
  std::string operator/(const std::string& name) const { return _path + "/" + name; }

 private:
  std::string _path;
};

inline void WriteFile(const std::string& path, const std::string& content) {
  std::ofstream out(path, std::ios::out | std::ios::binary | std::ios::trunc);
  out << content;
}

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::in | std::ios::binary);
  std::ostringstream os;
  os << in.rdbuf();
  return os.str();
}

// The message of the HKException that `action` throws; "" when it throws none.
inline std::string ExceptionMessage(const std::function<void()>& action) {
  try {
    action();
  } catch (const HKException& e) {
    return e.what();
  }
  return std::string();
}

// Makes `path` the working directory while it lives (for code that works
// relative to the current directory).
class WorkingDirectory {
 public:
  explicit WorkingDirectory(const std::string& path) : _old(std::filesystem::current_path()) {
    std::filesystem::current_path(path);
  }
  ~WorkingDirectory() {
    std::error_code ignored;
    std::filesystem::current_path(_old, ignored);
  }
  WorkingDirectory(const WorkingDirectory&) = delete;
  WorkingDirectory& operator=(const WorkingDirectory&) = delete;

 private:
  std::filesystem::path _old;
};

// Collects what is written to `stream` (std::cout, std::cerr) while it lives.
class CapturedStream {
 public:
  explicit CapturedStream(std::ostream& stream) : _stream(stream), _old(stream.rdbuf(_buffer.rdbuf())) {}
  ~CapturedStream() { _stream.rdbuf(_old); }
  CapturedStream(const CapturedStream&) = delete;
  CapturedStream& operator=(const CapturedStream&) = delete;
  std::string str() const { return _buffer.str(); }

 private:
  std::ostream& _stream;
  std::ostringstream _buffer;
  std::streambuf* _old;
};

}  // namespace hktest
