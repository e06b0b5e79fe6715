// Screenshots of local files taken by headless chromium, for tests that
// check what a browser actually draws.
//
// HKFindChromium looks for the "chromium" program on PATH (the Debian
// package); tests skip when it is missing. HKBrowserShot runs it once with a
// fresh, temporary profile folder (removed afterwards), in its own process
// group, and waits at most `timeout`; on time-out the group is killed. The
// browser's own chatter goes to /dev/null.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

// The full path of chromium on PATH, or empty.
inline std::string HKFindChromium() {
  const char* path = getenv("PATH");
  std::istringstream dirs(path != nullptr ? path : "");
  for (std::string dir; std::getline(dirs, dir, ':');) {
    const std::string candidate = dir + "/chromium";
    if (!dir.empty() && access(candidate.c_str(), X_OK) == 0) return candidate;
  }
  return std::string();
}

struct HKBrowserShotResult {
  bool ok = false;
  std::string error;
};

// Loads `url` in a window of width x height and writes a PNG screenshot to `png`.
inline HKBrowserShotResult HKBrowserShot(const std::string& chromium, const std::string& url,
                                         const std::string& png, int width, int height,
                                         std::chrono::seconds timeout = std::chrono::seconds(90)) {
  HKBrowserShotResult result;
  char profileTemplate[] = "/tmp/toviktwo-chromium-XXXXXX";
  if (mkdtemp(profileTemplate) == nullptr) {
    result.error = "cannot make a temporary profile folder";
    return result;
  }
  const std::string profile = profileTemplate;
  std::vector<std::string> args{chromium,
                                "--headless",
                                "--no-sandbox",
                                "--disable-gpu",
                                "--no-first-run",
                                "--disable-background-networking",
                                "--disable-component-update",
                                "--disable-sync",
                                "--hide-scrollbars",
                                "--force-device-scale-factor=1",
                                "--user-data-dir=" + profile,
                                "--screenshot=" + png,
                                "--window-size=" + std::to_string(width) + "," + std::to_string(height),
                                url};
  std::vector<char*> argv;
  for (std::string& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  posix_spawnattr_setpgroup(&attributes, 0);
  pid_t pid = -1;
  const int spawned = posix_spawn(&pid, chromium.c_str(), &actions, &attributes, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (spawned != 0) {
    std::filesystem::remove_all(profile);
    result.error = "cannot start " + chromium;
    return result;
  }

  int status = 0;
  bool ended = false;
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (std::chrono::steady_clock::now() < deadline) {
    if (waitpid(pid, &status, WNOHANG) == pid) {
      ended = true;
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  // The browser's helper processes share its group: none may outlive the test.
  kill(-pid, SIGKILL);
  if (!ended) waitpid(pid, &status, 0);
  std::error_code ignored;
  std::filesystem::remove_all(profile, ignored);
  if (!ended) {
    result.error = "chromium did not finish within " + std::to_string(timeout.count()) + " s";
  } else if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    result.error = "chromium failed, status " + std::to_string(status);
  } else if (!std::filesystem::exists(png)) {
    result.error = "chromium wrote no screenshot";
  } else {
    result.ok = true;
  }
  return result;
}
