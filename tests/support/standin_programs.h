// Stand-in programs for tests that start external programs (browsers): a
// shell script named like the real program that records its arguments, and
// a PATH that holds only the test's folder for the time of a test.
#pragma once

#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "temp_files.h"

namespace tovik_test {

// Puts `dir` (and, behind it, /bin and /usr/bin for the scripts' own tools)
// in place of PATH until the end of the scope.
class ScopedPath {
 public:
  explicit ScopedPath(const std::string& dir) {
    const char* old = std::getenv("PATH");
    _had = old != nullptr;
    if (_had) _old = old;
    setenv("PATH", (dir + ":/bin:/usr/bin").c_str(), 1);
  }
  ScopedPath(const ScopedPath&) = delete;
  ScopedPath& operator=(const ScopedPath&) = delete;
  ~ScopedPath() {
    if (_had)
      setenv("PATH", _old.c_str(), 1);
    else
      unsetenv("PATH");
  }

 private:
  bool _had = false;
  std::string _old;
};

// Writes an executable `dir/name` that appends its name and then each of its
// arguments, one per line, to `record`, and then runs `then` (shell text).
inline void writeRecorder(const std::string& dir, const std::string& name, const std::string& record,
                          const std::string& then = "") {
  // The record is replaced in one step, so a reader never sees half of it.
  writeExecutable(dir + "/" + name, "#!/bin/sh\n{ cat '" + record + "' 2>/dev/null; printf '%s\\n' '" + name +
                                        "' \"$@\"; } > '" + record + ".tmp'\nmv '" + record + ".tmp' '" +
                                        record + "'\n" + then + "\n");
}

// Reaps the child processes a test left (stand-in browsers whose launcher
// stopped waiting when its application ended); waits at most `limit`.
inline void reapChildren(std::chrono::milliseconds limit = std::chrono::milliseconds(5000)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  for (;;) {
    int status = 0;
    const pid_t r = waitpid(-1, &status, WNOHANG);
    if (r > 0) continue;
    if (r < 0 && errno == ECHILD) return;
    if (std::chrono::steady_clock::now() > end) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

}  // namespace tovik_test
