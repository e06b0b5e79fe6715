// Exceptions, the log stream and the time texts.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hklogstream.h>

using namespace std::chrono;

TEST(HKException, MessageWithPercentAndNewlineUnchanged) {
  const std::string msg = "50% done\nnext line %s %d";
  HKException e(msg, 10, "src");
  EXPECT_EQ(std::string(e.what()), msg);
}

TEST(HKException, OptionEmptyByDefault) { EXPECT_TRUE(HKException("x", 41, "src").GetOption().empty()); }

TEST(HKException, OptionKeptWhenGiven) {
  HKException e("message", "second text", 5, "src");
  EXPECT_STREQ(e.what(), "message");
  EXPECT_EQ(e.GetOption(), "second text");
}

TEST(HKException, CopyWithLineAndSourceKeepsBothTexts) {
  HKException a("first", "opt", 1, "src");
  HKException b(a, 99, "elsewhere");
  EXPECT_STREQ(b.what(), "first");
  EXPECT_EQ(b.GetOption(), "opt");
}

TEST(HKException, IsAStandardException) {
  try {
    throw HKException("thrown", 199, "src");
  } catch (const std::exception& e) {
    EXPECT_STREQ(e.what(), "thrown");
    return;
  }
  FAIL() << "not caught as std::exception";
}

TEST(HKException, SSLPrefix) {
  EXPECT_STREQ(HKException_SSL("handshake", 3, "src").what(), "(SSL) handshake");
}

TEST(HKException, TwoTextsAccessorsReturnReferences) {
  HKException2T e("m", "one", "two", 7, "src");
  EXPECT_STREQ(e.what(), "m");
  EXPECT_EQ(e.GetS1(), "one");
  EXPECT_EQ(e.GetS2(), "two");
  e.GetS1() = "changed";
  EXPECT_EQ(e.GetS1(), "changed");
  EXPECT_TRUE(e.GetOption().empty());
}

TEST(HKException, OneNumberAccessor) {
  HKException1I e("m", 18446744073709551615ull, 7, "src");
  EXPECT_STREQ(e.what(), "m");
  EXPECT_EQ(e.GetI1(), 18446744073709551615ull);
  e.GetI1() = 3;
  EXPECT_EQ(e.GetI1(), 3u);
}

TEST(HKException, DerivedCaughtAsBase) {
  try {
    throw HKException1I("count", 4, 1, "src");
  } catch (const HKException& e) {
    EXPECT_STREQ(e.what(), "count");
    return;
  }
  FAIL();
}

TEST(HKLogStream, DebugstreamOutOfRangeGivesDestinationZero) {
  HKLogStream log("/dev/null");
  std::ostringstream zero;
  log.redirect(log_default, zero);
  EXPECT_EQ(&log.Debugstream(static_cast<log_dest>(9)), &zero);
  EXPECT_EQ(&log.Debugstream(static_cast<log_dest>(-1)), &zero);
  EXPECT_EQ(&log.Debugstream(log_default), &zero);
  EXPECT_NE(&log.Debugstream(log_socket), &zero);
}

TEST(HKLogStream, RedirectOutOfRangeChangesNothing) {
  HKLogStream log("/dev/null");
  std::ostream* before[9];
  for (int d = 0; d < 9; ++d) before[d] = &log.Debugstream(static_cast<log_dest>(d));
  std::ostringstream other;
  log.redirect(static_cast<log_dest>(9), other);
  log.redirect(static_cast<log_dest>(-1), other);
  for (int d = 0; d < 9; ++d) EXPECT_EQ(&log.Debugstream(static_cast<log_dest>(d)), before[d]);
}

TEST(HKLogStream, AllDestinationsShareOneStreamBeforeRedirect) {
  HKLogStream log("/dev/null");
  std::ostream* first = &log.Debugstream(log_default);
  for (int d = 1; d < 9; ++d) EXPECT_EQ(&log.Debugstream(static_cast<log_dest>(d)), first);
  // It is the log's own file, not a terminal stream.
  EXPECT_NE(first, &std::cout);
  EXPECT_NE(first, &std::cerr);
  EXPECT_NE(first, &std::clog);
}

TEST(HKLogStream, GlobalLoggerWritesNowhereBeforeRedirect) {
  std::ostream* first = &__logger.Debugstream(log_default);
  for (int d = 1; d < 9; ++d) EXPECT_EQ(&__logger.Debugstream(static_cast<log_dest>(d)), first);
  EXPECT_NE(first, &std::cout);
  EXPECT_NE(first, &std::cerr);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  __logger.Debugstream(log_app5) << "swallowed" << std::endl;
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(HKLogStream, LinesHaveNoPrefix) {
  HKLogStream log("/dev/null");
  std::ostringstream s1, s0;
  log.redirect(log_socket, s1);
  log.redirect(log_default, s0);
  log.Debugstream(log_socket) << "connected with ::1 on port " << 2098 << std::endl;
  log.Debugstream(log_default) << "poll() failed" << std::endl;
  EXPECT_EQ(s1.str(), "connected with ::1 on port 2098\n");
  EXPECT_EQ(s0.str(), "poll() failed\n");
}

TEST(HKLogStream, FileIsTruncatedAndWritten) {
  const std::string path = testing::TempDir() + "hklog_test.txt";
  {
    std::ofstream pre(path);
    pre << "old content that must go\n";
  }
  {
    HKLogStream log(path);
    log.Debugstream(log_app3) << "line three" << std::endl;
    log.Debugstream(log_default) << "line zero" << std::endl;
  }
  std::ifstream in(path);
  std::stringstream all;
  all << in.rdbuf();
  EXPECT_EQ(all.str(), "line three\nline zero\n");
  std::remove(path.c_str());
}

TEST(HKLogStream, UnopenableFileDropsWritesSilently) {
  HKLogStream log("/nonexistent-dir/for/sure/log.txt");
  EXPECT_NO_THROW(log.Debugstream(log_default) << "dropped" << std::endl);
  EXPECT_TRUE(log.Debugstream(log_default).fail());
}

TEST(HKLogStream, MutexIsForCallers) {
  HKLogStream log("/dev/null");
  std::lock_guard<std::mutex> g(log.GetMtxOrdem0());
  // Neither Debugstream nor redirect takes it, so this does not deadlock.
  std::ostringstream s;
  log.redirect(log_app8, s);
  log.Debugstream(log_app8) << "x" << std::endl;
  EXPECT_EQ(s.str(), "x\n");
}

TEST(TimeTexts, TimeLDSMillisecondsNotPadded) {
  const system_clock::time_point tp{seconds(1700000000) + milliseconds(7)};
  const std::string t = timeLDSOf(tp);
  EXPECT_EQ(t, "1700000000.7");
  EXPECT_EQ(t.substr(t.size() - 2), ".7");
  EXPECT_EQ(timeLDSOf(system_clock::time_point{seconds(1700000000) + milliseconds(5)}), "1700000000.5");
  EXPECT_EQ(timeLDSOf(system_clock::time_point{seconds(1700000000) + milliseconds(500)}), "1700000000.500");
  EXPECT_EQ(timeLDSOf(system_clock::time_point{seconds(1700000001)}), "1700000001.0");
}

TEST(TimeTexts, TimeLDSIsNow) {
  const auto before = duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
  const std::string t = timeLDS(nullptr);
  const auto after = duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
  const long secs = std::stol(t.substr(0, t.find('.')));
  EXPECT_GE(secs, before);
  EXPECT_LE(secs, after);
  const long ms = std::stol(t.substr(t.find('.') + 1));
  EXPECT_GE(ms, 0);
  EXPECT_LT(ms, 1000);
}

TEST(TimeTexts, CtimeTextWithoutNewline) {
  const system_clock::time_point tp{seconds(1700000000) + milliseconds(999)};
  const std::time_t t = 1700000000;
  char expected[64];
  ctime_r(&t, expected);
  std::string e(expected);
  e.pop_back();  // the trailing newline
  EXPECT_EQ(to_timestring(tp), e);
  EXPECT_EQ(asString(tp), e);
  EXPECT_EQ(to_timestring(tp).find('\n'), std::string::npos);
  EXPECT_EQ(to_timestring(tp).size(), 24u);  // "Sun Nov 15 23:56:06 2026"
}

TEST(TimeTexts, CtimeTextInLocalTimeZone) {
  const char* old = std::getenv("TZ");
  const std::string saved = old ? old : "";
  setenv("TZ", "UTC", 1);
  tzset();
  const system_clock::time_point tp{seconds(1700000000)};
  EXPECT_EQ(to_timestring(tp), "Tue Nov 14 22:13:20 2023");
  if (old)
    setenv("TZ", saved.c_str(), 1);
  else
    unsetenv("TZ");
  tzset();
}
