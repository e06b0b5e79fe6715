// The browser launcher: candidates in their order, the arguments a browser
// gets, the "testing: " lines, the end of a child when no browser exists,
// and stopping while a browser is open. Browsers are stand-in scripts on a
// PATH of the test's own.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>
#include <chrono>
#include <memory>
#include <string>

#include <toviktwo/application/hkintention.h>
#include <toviktwo/application/hktovikapplication2.h>
#include <toviktwo/scheduler/hkgavetascheduler2.h>

#include "../scheduler/test_support.h"
#include "../support/standin_programs.h"

using namespace std::chrono_literals;
using tovik_test::readFile;
using tovik_test::ScopedPath;
using tovik_test::staysFor;
using tovik_test::TempDir;
using tovik_test::waitUntil;
using tovik_test::writeRecorder;

namespace {

// Runs `f` with the process's standard output going into a file, and gives
// what was written there.
template <class F>
std::string capturedStdout(const std::string& file, F f) {
  fflush(stdout);
  const int saved = dup(STDOUT_FILENO);
  const int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  dup2(fd, STDOUT_FILENO);
  close(fd);
  f();
  fflush(stdout);
  dup2(saved, STDOUT_FILENO);
  close(saved);
  return readFile(file);
}

}  // namespace

TEST(HKIntention, BrowserCandidatesComeInTheirFixedOrder) {
  const std::vector<std::string> expected = {"opera",   "chromium",  "chromium-browser", "google-chrome",
                                             "firefox", "konqueror", "epiphany"};
  EXPECT_EQ(HKIntention::browserCandidates(), expected);
}

TEST(HKIntention, FirstCandidateFoundOnPathGetsTheDocument) {
  TempDir dir;
  ScopedPath path(dir.path());
  const std::string record = dir / "record";
  writeRecorder(dir.path(), "firefox", record);
  writeRecorder(dir.path(), "chromium", record);
  HKGavetaScheduler2 scheduler;
  HKIntention intention(scheduler);
  EXPECT_TRUE(intention.RunApplication("http://127.0.0.1:2098/", "text/html"));
  ASSERT_TRUE(waitUntil([&] { return !readFile(record).empty(); }));
  EXPECT_TRUE(staysFor([&] { return readFile(record) == "chromium\nhttp://127.0.0.1:2098/\n"; }, 300ms))
      << readFile(record);
}

TEST(HKIntention, GoogleChromeGetsIncognitoBeforeTheDocument) {
  TempDir dir;
  ScopedPath path(dir.path());
  const std::string record = dir / "record";
  writeRecorder(dir.path(), "google-chrome", record);
  HKGavetaScheduler2 scheduler;
  HKIntention intention(scheduler);
  intention._run_something({"google-chrome"}, "http://h:1/");
  EXPECT_EQ(readFile(record), "google-chrome\n--incognito\nhttp://h:1/\n");
}

TEST(HKIntention, OtherMimeTypeIsRefusedAndStartsNothing) {
  TempDir dir;
  ScopedPath path(dir.path());
  const std::string record = dir / "record";
  writeRecorder(dir.path(), "opera", record);
  HKGavetaScheduler2 scheduler;
  HKIntention intention(scheduler);
  EXPECT_FALSE(intention.RunApplication("http://h:1/", "text/plain"));
  EXPECT_FALSE(intention.RunApplication("http://h:1/", "text/html; charset=utf-8"));
  EXPECT_TRUE(staysFor([&] { return readFile(record).empty(); }, 300ms));
}

TEST(HKIntention, ChildWritesATestingLineForEachCandidateItTries) {
  TempDir dir;
  ScopedPath path(dir.path());
  writeRecorder(dir.path(), "opera", dir / "record");
  HKGavetaScheduler2 scheduler;
  HKIntention intention(scheduler);
  const std::string out = capturedStdout(dir / "stdout", [&] {
    intention._run_something({"toviktwo-no-browser", "opera", "firefox"}, "http://h:1/");
  });
  EXPECT_EQ(out, "testing: toviktwo-no-browser  http://h:1/\ntesting: opera  http://h:1/\n");
}

// A child that returned from _run_something would go on as a copy of this
// test; it would write its own process id below.
TEST(HKIntention, ChildEndsWithExitWhenNoCandidateCanStart) {
  TempDir dir;
  ScopedPath path(dir.path());
  HKGavetaScheduler2 scheduler;
  HKIntention intention(scheduler);
  tovik_test::reapChildren();
  const pid_t self = getpid();
  const std::string marks = dir / "marks";
  const std::string out = capturedStdout(dir / "stdout", [&] {
    intention._run_something({"toviktwo-none-1", "toviktwo-none-2"}, "doc");
    tovik_test::writeFile(marks + "." + std::to_string(getpid()), "returned");
    if (getpid() != self) _exit(3);
  });
  EXPECT_EQ(out, "testing: toviktwo-none-1  doc\ntesting: toviktwo-none-2  doc\n");
  EXPECT_EQ(readFile(marks + "." + std::to_string(self)), "returned");
  int status = 0;
  EXPECT_EQ(waitpid(-1, &status, WNOHANG), -1);  // the child was reaped
}

// The job waits for the browser, but not past the scheduler's stop: the
// application can end while the browser stays open.
TEST(HKIntention, ApplicationEndsWhileTheBrowserStaysOpen) {
  TempDir dir;
  ScopedPath path(dir.path());
  const std::string record = dir / "record";
  writeRecorder(dir.path(), "opera", record, "echo $$ > '" + record + ".pid'\nexec sleep 60");
  HKPersistentAppStorage storage;
  auto app = std::make_unique<HKTovikApplication2>(storage, std::vector<HKTovikInterfaceProps>{},
                                                   std::map<std::string, std::string>{});
  ASSERT_TRUE(app->getIntention().RunApplication("http://h:1/", "text/html"));
  ASSERT_TRUE(waitUntil([&] { return !readFile(record + ".pid").empty(); }));
  const auto start = std::chrono::steady_clock::now();
  app.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
  const pid_t browser = std::stoi(readFile(record + ".pid"));
  EXPECT_EQ(kill(browser, 0), 0);  // still open
  kill(browser, SIGKILL);
  int status = 0;
  EXPECT_EQ(waitpid(browser, &status, 0), browser);
}
