// Child programs: the pipe pair, the two call functions with real shell
// scripts, the time limit with kill and reaping, and the CGI environment of a
// request.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <toviktwo/transport/hkcgi.h>
#include <toviktwo/transport/hkxheader.h>

#include "../support/temp_files.h"

namespace {

using tovik_test::TempDir;
using tovik_test::writeExecutable;

// A generous limit for calls that must end by themselves.
constexpr double kEndsByItself = 20.0;

std::string text(HKStringBuf& b) {
  std::string s;
  b.stringCopy(s, 0, b.getSizeReadable());
  return s;
}

// Runs `program` with `input` on HKcgi_bin_call2 and gives the output.
std::string run2(const std::string& program, const std::string& input = "",
                 const std::map<std::string, std::string>& env = {}, double limit = kEndsByItself,
                 int* result = nullptr) {
  HKStringBuf in, out;
  in.stringput(input);
  const int r = HKcgi_bin_call2(program, env, in, out, limit);
  if (result) *result = r;
  return text(out);
}

// True when this process has no child at all, running or zombie.
bool noChildLeft() {
  int status = 0;
  return waitpid(-1, &status, WNOHANG) == -1 && errno == ECHILD;
}

// True when no process `pid` runs (gone, or a zombie of someone else).
bool notRunning(pid_t pid) {
  const std::string stat = tovik_test::readFile("/proc/" + std::to_string(pid) + "/stat");
  if (stat.empty()) return true;
  const auto close = stat.rfind(')');
  return close != std::string::npos && close + 2 < stat.size() && stat[close + 2] == 'Z';
}

double secondsOf(const std::function<void()>& f) {
  const auto start = std::chrono::steady_clock::now();
  f();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::unique_ptr<HKXHeader> parsed(const std::string& bytes) {
  auto h = std::make_unique<HKXHeader>(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  h->getDataBuffer()->stringput(bytes);
  EXPECT_EQ(h->parseInputData2([](HKXHeader&) { return true; }), 2);
  return h;
}

}  // namespace

// ---- the pipe pair

TEST(HKParentChildPipe, MakesFourOpenCloseOnExecDescriptors) {
  HKParentChildPipe p;
  for (int fd : {p.childRead(), p.parentWrite(), p.parentRead(), p.childWrite()}) {
    ASSERT_GE(fd, 0);
    EXPECT_EQ(fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
  }
  ASSERT_EQ(write(p.parentWrite(), "a", 1), 1);
  char c = 0;
  ASSERT_EQ(read(p.childRead(), &c, 1), 1);
  EXPECT_EQ(c, 'a');
  ASSERT_EQ(write(p.childWrite(), "b", 1), 1);
  ASSERT_EQ(read(p.parentRead(), &c, 1), 1);
  EXPECT_EQ(c, 'b');
}

TEST(HKParentChildPipe, CloseUnusedPipesTrueClosesTheChildsEndsOnly) {
  HKParentChildPipe p;
  const int childRead = p.childRead();
  p.CloseUnusedPipes(true);
  EXPECT_EQ(p.childRead(), -1);
  EXPECT_EQ(p.childWrite(), -1);
  EXPECT_GE(p.parentRead(), 0);
  EXPECT_GE(p.parentWrite(), 0);
  EXPECT_EQ(fcntl(childRead, F_GETFD), -1);  // really closed
}

TEST(HKParentChildPipe, ClosePipesTrueClosesTheParentsEnds) {
  HKParentChildPipe p;
  p.ClosePipes(true);
  EXPECT_EQ(p.parentRead(), -1);
  EXPECT_EQ(p.parentWrite(), -1);
  EXPECT_GE(p.childRead(), 0);
  EXPECT_GE(p.childWrite(), 0);
}

// dup2 gives 1 here, which the function counts as failure although the
// descriptor was moved. Run in a child so that the test's own output stays.
TEST(HKParentChildPipe, Dup2AndCloseOntoStandardOutputMovesButAnswersFalse) {
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  const pid_t pid = fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    close(fds[0]);
    const bool answer = HKParentChildPipe::dup2_and_close(fds[1], 1);
    const bool closed = fcntl(fds[1], F_GETFD) == -1;
    (void)!write(1, "moved", 5);
    _exit(answer ? 1 : (closed ? 0 : 2));
  }
  close(fds[1]);
  char buf[16] = {};
  EXPECT_EQ(read(fds[0], buf, sizeof buf), 5);
  EXPECT_STREQ(buf, "moved");
  close(fds[0]);
  int status = 0;
  ASSERT_EQ(waitpid(pid, &status, 0), pid);
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

// Both ends already on 0 and 1, the wrong way round: they are swapped.
TEST(HKParentChildPipe, RemapSwapsEndsThatSitOnStandardOutputAndInput) {
  int toChild[2], fromChild[2];
  ASSERT_EQ(pipe(toChild), 0);
  ASSERT_EQ(pipe(fromChild), 0);
  const pid_t pid = fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    dup2(toChild[0], 1);    // the input end sits on 1
    dup2(fromChild[1], 0);  // the output end sits on 0
    close(toChild[0]);
    close(toChild[1]);
    close(fromChild[0]);
    close(fromChild[1]);
    const bool ok = HKParentChildPipe::_stdin_stdout_piperemap(1, 0);
    char c = 0;
    if (read(0, &c, 1) != 1) _exit(3);
    c = static_cast<char>(c + 1);
    (void)!write(1, &c, 1);
    _exit(ok ? 0 : 4);
  }
  close(toChild[0]);
  close(fromChild[1]);
  ASSERT_EQ(write(toChild[1], "a", 1), 1);
  char c = 0;
  EXPECT_EQ(read(fromChild[0], &c, 1), 1);
  EXPECT_EQ(c, 'b');
  close(toChild[1]);
  close(fromChild[0]);
  int status = 0;
  ASSERT_EQ(waitpid(pid, &status, 0), pid);
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

// ---- HKcgi_bin_call2

TEST(HKcgiBinCall2, EmptyInputWritesNothingAndOutputIsStillCollected) {
  TempDir dir;
  writeExecutable(dir / "hello.sh", "#!/bin/sh\necho hello\n");
  int r = 0;
  EXPECT_EQ(run2(dir / "hello.sh", "", {}, kEndsByItself, &r), "hello\n");
  EXPECT_EQ(r, 1);
  EXPECT_TRUE(noChildLeft());
}

TEST(HKcgiBinCall2, OutputLongerThan2048BytesArrivesWholeAndInOrder) {
  TempDir dir;
  writeExecutable(dir / "count.sh", "#!/bin/sh\nseq 1 30000\n");
  std::string expected;
  for (int i = 1; i <= 30000; ++i) expected += std::to_string(i) + "\n";
  EXPECT_EQ(run2(dir / "count.sh"), expected);
}

TEST(HKcgiBinCall2, ProgramExitingWithoutOutputLeavesOutEmptyAndReturnsOne) {
  TempDir dir;
  writeExecutable(dir / "quiet.sh", "#!/bin/sh\nexit 3\n");
  int r = 0;
  EXPECT_EQ(run2(dir / "quiet.sh", "ignored", {}, kEndsByItself, &r), "");
  EXPECT_EQ(r, 1);
  EXPECT_TRUE(noChildLeft());
}

TEST(HKcgiBinCall2, NonExistentProgramLeavesOutEmptyAndReturnsOne) {
  int r = 0;
  EXPECT_EQ(run2("/nonexistent/program", "x", {}, kEndsByItself, &r), "");
  EXPECT_EQ(r, 1);
  EXPECT_EQ(run2("toviktwo-no-such-program-anywhere", "x", {}, kEndsByItself, &r), "");
  EXPECT_EQ(r, 1);
  EXPECT_TRUE(noChildLeft());
}

TEST(HKcgiBinCall2, RequestBytesReachStandardInputAndAreConsumed) {
  TempDir dir;
  writeExecutable(dir / "echo.sh", "#!/bin/sh\nhead -c \"$CONTENT_LENGTH\"\n");
  std::string input;
  for (int i = 0; input.size() < 300000; ++i) input += "line " + std::to_string(i) + "\n";
  HKStringBuf in, out;
  in.stringput(input);
  EXPECT_EQ(HKcgi_bin_call2(dir / "echo.sh", {{"CONTENT_LENGTH", std::to_string(input.size())}}, in, out, 20),
            1);
  EXPECT_EQ(text(out), input);
  EXPECT_EQ(in.getSizeReadable(), 0u);
}

// The parent keeps its write end open: a program reading past the body
// waits, it never sees end of file.
TEST(HKcgiBinCall2, ProgramSeesNoEndOfFileOnItsInput) {
  TempDir dir;
  writeExecutable(dir / "eof.sh", "#!/bin/bash\nread -r -t 0.5 line\necho \"status $? line $line\"\n");
  const std::string out = run2(dir / "eof.sh", "abc");
  ASSERT_EQ(out.rfind("status ", 0), 0u) << out;
  EXPECT_GT(std::stoi(out.substr(7)), 128) << out;  // the time-out of read, not 1 for end of file
  EXPECT_NE(out.find("line abc"), std::string::npos) << out;
}

TEST(HKcgiBinCall2, ProgramIsCalledPhpCgiWhateverItIs) {
  EXPECT_EQ(run2("/bin/sh", "echo \"$0\"\nexit 0\n"), "php-cgi\n");
}

TEST(HKcgiBinCall2, GivenEnvironmentOverwritesTheServersOwnAndTheRestIsInherited) {
  TempDir dir;
  writeExecutable(dir / "env.sh", "#!/bin/sh\necho \"$HKCGI_A $HKCGI_B\"\n");
  setenv("HKCGI_A", "server-a", 1);
  setenv("HKCGI_B", "server-b", 1);
  EXPECT_EQ(run2(dir / "env.sh", "", {{"HKCGI_A", "request-a"}}), "request-a server-b\n");
  unsetenv("HKCGI_A");
  unsetenv("HKCGI_B");
}

TEST(HKcgiBinCall2, ScriptWithoutInterpreterLineRunsInTheShell) {
  TempDir dir;
  writeExecutable(dir / "plain", "echo plain\n");
  EXPECT_EQ(run2(dir / "plain"), "plain\n");
}

// ---- time limit

TEST(HKcgiBinCall2, ChildPastTheTimeLimitIsKilledAndItsOutputSoFarKept) {
  TempDir dir;
  writeExecutable(dir / "stuck.sh", "#!/bin/sh\necho before\nsleep 60\necho after\n");
  std::string out;
  const double took = secondsOf([&] { out = run2(dir / "stuck.sh", "", {}, 0.5); });
  EXPECT_EQ(out, "before\n");
  EXPECT_LT(took, 15.0);
  EXPECT_TRUE(noChildLeft());
}

TEST(HKcgiBinCall2, TimeLimitAlsoKillsTheScriptsOwnChildren) {
  TempDir dir;
  const std::string pidFile = dir / "sleeper.pid";
  writeExecutable(dir / "spawn.sh", "#!/bin/sh\nsleep 60 &\necho $! > " + pidFile + "\nwait\n");
  run2(dir / "spawn.sh", "", {}, 0.5);
  const std::string pid = tovik_test::readFile(pidFile);
  ASSERT_FALSE(pid.empty());
  bool gone = false;
  for (int i = 0; i < 500 && !gone; ++i) {
    gone = notRunning(std::stoi(pid));
    if (!gone) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_TRUE(gone);
  EXPECT_TRUE(noChildLeft());
}

TEST(HKcgiBinCall2, ChildThatClosesItsOutputButLivesOnIsReapedAtTheLimit) {
  TempDir dir;
  writeExecutable(dir / "linger.sh", "#!/bin/sh\necho early\nexec >&-\nsleep 60\n");
  std::string out;
  const double took = secondsOf([&] { out = run2(dir / "linger.sh", "", {}, 0.5); });
  EXPECT_EQ(out, "early\n");
  EXPECT_LT(took, 15.0);
  EXPECT_TRUE(noChildLeft());
}

TEST(HKcgiBinCall2, ChildThatNeverReadsItsLargeInputDoesNotBlockOrKillTheServer) {
  TempDir dir;
  writeExecutable(dir / "deaf.sh", "#!/bin/sh\necho deaf\n");
  int r = 0;
  EXPECT_EQ(run2(dir / "deaf.sh", std::string(4 << 20, 'x'), {}, 10, &r), "deaf\n");
  EXPECT_EQ(r, 1);  // still alive: SIGPIPE did not end the process
  EXPECT_TRUE(noChildLeft());
}

// The C library's environment lock is invisible to the thread sanitizer,
// which would take the busy threads' setenv calls for a race of the test.
#if defined(__SANITIZE_THREAD__)
constexpr bool kBusyWithTheEnvironment = false;
#else
constexpr bool kBusyWithTheEnvironment = true;
#endif

// Other threads keep the allocator's and the environment's locks busy while
// children are forked; a child that touched them before exec could hang and
// would then be killed at the limit with no output.
TEST(HKcgiBinCall2, ChildrenDoNotHangOnLocksOtherThreadsHeldAtForkTime) {
  TempDir dir;
  writeExecutable(dir / "ok.sh", "#!/bin/sh\necho ok\n");
  std::atomic<bool> run{true};
  std::vector<std::thread> busy;
  for (int t = 0; t < 2; ++t)
    busy.emplace_back([&run, t] {
      const std::string name = "HKCGI_BUSY_" + std::to_string(t);
      for (unsigned long i = 0; run; ++i) {
        std::vector<std::string> v(64, std::string(100 + i % 900, 'y'));
        if (kBusyWithTheEnvironment) setenv(name.c_str(), v.back().c_str(), 1);
      }
    });
  std::vector<std::string> wrong;
  for (int i = 0; i < 40; ++i) {
    int r = 0;
    const std::string out = run2(dir / "ok.sh", "", {{"N", std::to_string(i)}}, 5, &r);
    if (out != "ok\n") wrong.push_back("[" + out + "] return " + std::to_string(r));
  }
  run = false;
  for (auto& t : busy) t.join();
  EXPECT_TRUE(wrong.empty()) << wrong.size() << " children answered wrongly, first: " << wrong.front();
  EXPECT_TRUE(noChildLeft());
}

// ---- HKcgi_bin_call

TEST(HKcgiBinCall, OutputTakesThePlaceOfTheInputInTheSameStream) {
  TempDir dir;
  writeExecutable(dir / "upper.sh", "#!/bin/sh\nhead -c 3 | tr a-z A-Z\n");
  HKInputStreamBinary data(1024);
  data.AddChars("abc", 3);
  EXPECT_EQ(HKcgi_bin_call(dir / "upper.sh", {}, data, 20), 1);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(data.GetBuffer()), data.length()), "ABC");
}

TEST(HKcgiBinCall, NonExistentProgramLeavesTheStreamEmpty) {
  HKInputStreamBinary data(1024);
  data.AddChars("abc", 3);
  EXPECT_EQ(HKcgi_bin_call("/nonexistent/program", {}, data, 20), 1);
  EXPECT_EQ(data.length(), 0u);
}

// ---- the CGI environment of a request

TEST(HKFillCGIVariables, GetGivesMethodQueryAndEveryFieldAsHttpUpperCase) {
  auto h = parsed(
      "GET /x.php?a=1&b=two HTTP/1.1\r\nHost: localhost:2098\r\nUser-Agent: curl/8\r\n"
      "Cookie: c=1\r\nCookie: c=2\r\n\r\n");
  std::map<std::string, std::string> env;
  ASSERT_TRUE(HKFillCGIVariables("/base/x.php", env, *h));
  const std::map<std::string, std::string> expected = {{"HTTP_HOST", "localhost:2098"},
                                                       {"HTTP_USER-AGENT", "curl/8"},
                                                       {"HTTP_COOKIE", "c=1"},
                                                       {"REQUEST_METHOD", "GET"},
                                                       {"QUERY_STRING", "a=1&b=two"}};
  EXPECT_EQ(env, expected);
}

TEST(HKFillCGIVariables, PostGivesContentTypeWithoutBlanksAndContentLength) {
  auto h = parsed(
      "POST /up.php HTTP/1.1\r\nContent-Type: multipart/form-data; boundary=xyz\r\n"
      "Content-Length: 0\r\n\r\n");
  std::map<std::string, std::string> env;
  ASSERT_TRUE(HKFillCGIVariables("/base/up.php", env, *h));
  EXPECT_EQ(env["REQUEST_METHOD"], "POST");
  EXPECT_EQ(env["CONTENT_TYPE"], "multipart/form-data;boundary=xyz");
  EXPECT_EQ(env["CONTENT_LENGTH"], "0");
  EXPECT_EQ(env.count("QUERY_STRING"), 0u);
}

TEST(HKFillCGIVariables, PostWithoutContentTypeDefaultsToUrlencodedAndHasNoLength) {
  auto h = parsed("POST /f.php HTTP/1.1\r\nHost: h\r\n\r\n");
  std::map<std::string, std::string> env;
  ASSERT_TRUE(HKFillCGIVariables("/base/f.php", env, *h));
  EXPECT_EQ(env["CONTENT_TYPE"], "application/x-www-form-urlencoded");
  EXPECT_EQ(env.count("CONTENT_LENGTH"), 0u);
}

TEST(HKFillCGIVariables, ContentTypeLosesTrailingLineEnd) {
  HKXHeader h(HK_SCHEME_POST, true, HK_PROTO_HTTP);
  h.addField("content-type", "text/plain\r\n");
  std::map<std::string, std::string> env;
  ASSERT_TRUE(HKFillCGIVariables("s", env, h));
  EXPECT_EQ(env["CONTENT_TYPE"], "text/plain");
}

TEST(HKFillCGIVariables, OtherMethodsAnswerFalse) {
  HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  std::map<std::string, std::string> env;
  EXPECT_FALSE(HKFillCGIVariables("s", env, h));
}

// ---- the PHP interpreter as a child

TEST(HKcgiBinCall2, PhpCgiRunsAScriptWithTheQueryOfAGet) {
  TempDir dir;
  tovik_test::writeFile(dir / "hello.php",
                        "<?php echo 'hello ', $_GET['name'], ' ', $_SERVER['QUERY_STRING'];");
  const std::string out = run2("php-cgi", "",
                               {{"REDIRECT_STATUS", "CGI"},
                                {"SCRIPT_FILENAME", dir / "hello.php"},
                                {"REQUEST_METHOD", "GET"},
                                {"QUERY_STRING", "name=tovik&x=1"}});
  EXPECT_NE(out.find("Content-type: text/html"), std::string::npos) << out;
  EXPECT_NE(out.find("\r\n\r\nhello tovik name=tovik&x=1"), std::string::npos) << out;
}

TEST(HKcgiBinCall2, PhpCgiReadsAPostedFormFromStandardInput) {
  TempDir dir;
  tovik_test::writeFile(dir / "form.php", "<?php echo 'a=', $_POST['a'], ' b=', $_POST['b'];");
  const std::string body = "a=1&b=two+words";
  const std::string out = run2("php-cgi", body,
                               {{"REDIRECT_STATUS", "CGI"},
                                {"SCRIPT_FILENAME", dir / "form.php"},
                                {"REQUEST_METHOD", "POST"},
                                {"CONTENT_TYPE", "application/x-www-form-urlencoded"},
                                {"CONTENT_LENGTH", std::to_string(body.size())}});
  EXPECT_NE(out.find("a=1 b=two words"), std::string::npos) << out;
  EXPECT_TRUE(noChildLeft());
}
