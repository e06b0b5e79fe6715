// String, path and file utilities, with their unusual edges.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <toviktwo/foundation/hkstringtools.h>

// ---------------------------------------------------------------- white space

TEST(Whitespace, AllWhiteGivesEmpty) {
  EXPECT_EQ(HKStripWhitespaces("   ", " "), "");
  EXPECT_EQ(HKStripLeadingWhitespaces("", " "), "");
  EXPECT_EQ(HKStripTrailingWhitespaces("\t\t", "\t"), "");
}

TEST(Whitespace, StripsOnlyTheGivenSet) {
  EXPECT_EQ(HKStripLeadingWhitespaces(" \t x y \t", " \t"), "x y \t");
  EXPECT_EQ(HKStripTrailingWhitespaces(" \t x y \t", " \t"), " \t x y");
  EXPECT_EQ(HKStripWhitespaces(" \t x y \t", " \t"), "x y");
  EXPECT_EQ(HKStripWhitespaces("\tx\t", " "), "\tx\t");
  EXPECT_EQ(HKStripWhitespaces("--a-b--", "-"), "a-b");
}

TEST(Whitespace, LowerCaseByteByByte) {
  EXPECT_EQ(HKLowerCase("AbC-12 XY"), "abc-12 xy");
  EXPECT_EQ(HKLowerCase("\xC3\x84"), "\xC3\x84");  // UTF-8 stays as it is
}

// ---------------------------------------------------------------- cleaning

TEST(RemoveEntities, SemicolonStays) {
  EXPECT_EQ(RemoveEntities("a&amp;b"), "a;b");
  EXPECT_EQ(RemoveEntities("&a;&b;"), ";;");
}

TEST(RemoveEntities, AmpersandWithoutSemicolonStays) {
  EXPECT_EQ(RemoveEntities("x&y"), "x&y");
  EXPECT_EQ(RemoveEntities("a&b&c"), "a&b&c");
  EXPECT_EQ(RemoveEntities("a&b; c&d"), "a; c&d");
}

TEST(StripCSSimportant, ErasesEveryOccurrenceKeepsWhitespace) {
  EXPECT_EQ(HKStripCSSimportant("color: red !important; margin: 0 !important;"), "color: red ; margin: 0 ;");
  EXPECT_EQ(HKStripCSSimportant("plain"), "plain");
}

TEST(StripCSSComments, CommentWithContentErasesToTheEnd) {
  EXPECT_EQ(HKStripCSSComments("a/*b*/c"), "a");
  EXPECT_EQ(HKStripCSSComments("x { } /* note */ y { }"), "x { } ");
}

TEST(StripCSSComments, UnclosedCommentChangesNothing) {
  EXPECT_EQ(HKStripCSSComments("a/*b"), "a/*b");
  EXPECT_EQ(HKStripCSSComments("a/*/b"), "a/*/b");
  EXPECT_EQ(HKStripCSSComments("no comment"), "no comment");
}

TEST(StripCSSCommentsDeathTest, EmptyCommentNeverReturns) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        alarm(2);
        (void)HKStripCSSComments("a/**/b");
        std::_Exit(0);
      },
      testing::KilledBySignal(SIGALRM), "");
}

// ---------------------------------------------------------------- escaping

TEST(HTMLencode, EachSpecialCharacter) {
  EXPECT_EQ(HTMLencode("a b", true), "a&nbsp;b");
  EXPECT_EQ(HTMLencode("a b", false), "a b");
  EXPECT_EQ(HTMLencode("\"&'<>", false), "&quot;&amp;&apos;&lt;&gt;");
  EXPECT_EQ(HTMLencode("\xC3\xA4x", true), "\xC3\xA4x");
}

TEST(Utf8ToJavaScript, ControlCharactersBecomeBackslashLetter) {
  EXPECT_EQ(Utf8ToJavaScript("a\nb"), "a\\nb");
  EXPECT_EQ(Utf8ToJavaScript("\b\t\n\f\r"), "\\b\\t\\n\\f\\r");
}

TEST(Utf8ToJavaScript, QuotesAndBackslash) {
  EXPECT_EQ(Utf8ToJavaScript("\\"), "\\\\");
  EXPECT_EQ(Utf8ToJavaScript("say \"hi\" 'x'"), "say \\\"hi\\\" \\'x\\'");
  // An inserted backslash is not escaped again.
  EXPECT_EQ(Utf8ToJavaScript("\\\n\\"), "\\\\\\n\\\\");
}

TEST(Utf8ToJavaScript, OtherBytesStay) { EXPECT_EQ(Utf8ToJavaScript("S\xC3\xA3o <b>"), "S\xC3\xA3o <b>"); }

TEST(Utf8ToPre, OnlyAngleBrackets) {
  EXPECT_EQ(Utf8ToPre("<a href=\"x\">&</a>"), "&lt;a href=\"x\"&gt;&&lt;/a&gt;");
}

TEST(PrepareSysCallString, SpacesGetBackslash) {
  EXPECT_EQ(PrepareSysCallString("my file name.txt"), "my\\ file\\ name.txt");
  EXPECT_EQ(PrepareSysCallString("plain"), "plain");
}

// ---------------------------------------------------------------- URL coding

TEST(URLdecode, LonePercentStays) { EXPECT_EQ(URLdecode("100%"), "100%"); }

TEST(URLdecode, NoDigitStays) { EXPECT_EQ(URLdecode("%zz"), "%zz"); }

TEST(URLdecode, DecodedPercentIsNotDecodedAgain) { EXPECT_EQ(URLdecode("%41%2541"), "A%41"); }

TEST(URLdecode, StopsAtFirstNonDigitButReplacesAllThree) {
  EXPECT_EQ(URLdecode("%1g"), std::string(1, '\x01'));
  EXPECT_EQ(URLdecode("x%1gy"), std::string("x\x01y"));
}

TEST(URLdecode, OneDigitAtTheEnd) { EXPECT_EQ(URLdecode("a%4"), "a\x04"); }

TEST(URLdecode, Utf8Sequences) { EXPECT_EQ(URLdecode("S%C3%A3o"), "S\xC3\xA3o"); }

TEST(URLdecode, PlusStays) { EXPECT_EQ(URLdecode("a+b"), "a+b"); }

TEST(URLdecodeForm, PlusAfterDecodingBecomesSpace) { EXPECT_EQ(URLdecodeForm("a+b%2Bc"), "a b c"); }

TEST(URLencode, PlainInputUnchanged) { EXPECT_EQ(URLencode("abc"), "abc"); }

TEST(URLencode, HighBitByte) {
  EXPECT_EQ(URLencode("\xC3"), "%c3");
  EXPECT_EQ(URLencode("S\xC3\xA3o"), "S%c3%a3o");
}

TEST(URLencodeForm, PlainInputAndHighBit) {
  EXPECT_EQ(URLencodeForm("abc123"), "abc123");
  EXPECT_EQ(URLencodeForm("\xE2\x82\xAC"), "%e2%82%ac");
}

TEST(URLencodeDeathTest, SetCharacterNeverFinishes) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        alarm(2);
        (void)URLencode("a b");
        std::_Exit(0);
      },
      testing::KilledBySignal(SIGALRM), "");
}

TEST(ToHexString, LowerCaseUnpadded) {
  EXPECT_EQ(to_hexstring(255, "0x"), "0xff");
  EXPECT_EQ(to_hexstring(0, ""), "0");
  EXPECT_EQ(to_hexstring(0xABCDEF012ul, "#"), "#abcdef012");
}

// ---------------------------------------------------------------- numbers

TEST(HKStringBool, OnlyExactTrue) {
  EXPECT_TRUE(hkstringbool("true"));
  EXPECT_FALSE(hkstringbool("True"));
  EXPECT_FALSE(hkstringbool("true "));
  EXPECT_FALSE(hkstringbool("1"));
  EXPECT_FALSE(hkstringbool(""));
}

TEST(ToUnumber, LeadingDigitsOrFallback) {
  EXPECT_EQ(to_unumber("12x", 5), 12u);
  EXPECT_EQ(to_unumber("x", 5), 5u);
  EXPECT_EQ(to_unumber("", 9), 9u);
  EXPECT_EQ(to_unumber("  42", 0), 42u);
  EXPECT_EQ(to_unumber("99999999999999999999999", 3), 3u);  // out of range
  EXPECT_EQ(to_unumber("18446744073709551615", 3), 18446744073709551615ul);
}

TEST(AtofComma, PointAndEmpty) {
  EXPECT_DOUBLE_EQ(atof_comma("3.25"), 3.25);
  EXPECT_DOUBLE_EQ(atof_comma(""), 0.0);
  EXPECT_DOUBLE_EQ(atof_comma("abc"), 0.0);
  EXPECT_DOUBLE_EQ(atof_comma("-1e3"), -1000.0);
  EXPECT_DOUBLE_EQ(atof_comma("2.5kg"), 2.5);
}

TEST(AtofComma, CommaLocaleReadsPointText) {
  // Needs a locale with a decimal comma: an installed one, or one compiled
  // here from the system's locale sources.
  const std::string old = std::setlocale(LC_NUMERIC, nullptr);
  bool found = std::setlocale(LC_NUMERIC, "de_DE.UTF-8") != nullptr;
  if (!found) {
    const std::string dir = testing::TempDir() + "hk_locales_" + std::to_string(getpid());
    const std::string cmd =
        "mkdir -p '" + dir + "' && localedef -i de_DE -f UTF-8 '" + dir + "/de_DE.UTF-8' >/dev/null 2>&1";
    if (std::system(cmd.c_str()) == 0) {
      setenv("LOCPATH", dir.c_str(), 1);
      found = std::setlocale(LC_NUMERIC, "de_DE.UTF-8") != nullptr;
    }
  }
  if (!found) GTEST_SKIP() << "no locale with a decimal comma available";
  ASSERT_LT(std::strtod("0.02", nullptr), 0.01);  // the locale really reads "0.02" as 0
  EXPECT_DOUBLE_EQ(atof_comma("3.25"), 3.25);
  EXPECT_DOUBLE_EQ(atof_comma("-0.5"), -0.5);
  EXPECT_DOUBLE_EQ(atof_comma("7"), 7.0);
  std::setlocale(LC_NUMERIC, old.c_str());
  unsetenv("LOCPATH");
}

TEST(CheckOneOf, MemberOrFallback) {
  const std::set<std::string> set{"left", "right", "center"};
  EXPECT_EQ(checkOneOf("left", set, "center"), "left");
  EXPECT_EQ(checkOneOf("Left", set, "center"), "center");
  EXPECT_EQ(checkOneOf("", {}, "x"), "x");
}

TEST(LineCount, EdgesAndLimits) {
  EXPECT_EQ(LineCount("", 100), 1u);
  EXPECT_EQ(LineCount("a\nb\n", 2), 2u);
  EXPECT_EQ(LineCount("a\nb\n", 4), 3u);
  EXPECT_EQ(LineCount("a\nb\n", ULONG_MAX), 3u);
  EXPECT_EQ(LineCount("a\nb\n", 1), 1u);
  EXPECT_EQ(LineCount("\n\n\n", 0), 1u);
}

TEST(ReleaseNumber, Is96) { EXPECT_EQ(ReleaseNumber(), "96"); }

// ---------------------------------------------------------------- shortening

TEST(StringLastPart, ShortensWithDots) {
  EXPECT_EQ(StringLastPart("abcdefghij", 6), "...hij");
  EXPECT_EQ(StringLastPart("abcdefghij", 10), "abcdefghij");
  EXPECT_EQ(StringLastPart("abc", 50), "abc");
  EXPECT_EQ(StringLastPart("abcdefghij", 3), "...");
}

TEST(StringLastPart, BelowThreeThrowsOutOfRange) {
  EXPECT_THROW(StringLastPart("abcdefghij", 2), std::out_of_range);
  EXPECT_THROW(StringLastPart("abcdefghij", 0), std::out_of_range);
}

TEST(FilenameLastPart, Cases) {
  EXPECT_EQ(FilenameLastPart("/a/b.txt"), "b.txt");
  EXPECT_EQ(FilenameLastPart("/a/b/"), "b");
  EXPECT_EQ(FilenameLastPart("name"), "name");
  EXPECT_EQ(FilenameLastPart("c:\\dir\\f.ini"), "f.ini");
  EXPECT_EQ(FilenameLastPart("a/"), "");
  EXPECT_EQ(FilenameLastPart("/"), "");
  EXPECT_EQ(FilenameLastPart("x\\y/"), "y");
}

// ---------------------------------------------------------------- places

TEST(HKGetEnv, IgnoresTheName) {
  setenv("TANGO_HOST", "host:10000", 1);
  EXPECT_EQ(HKGetEnv("PATH"), "host:10000");
  EXPECT_EQ(HKGetEnv(""), HKGetEnv("TANGO_HOST"));
  EXPECT_EQ(HKGetEnv("anything"), HKGetEnv("HOME"));
  unsetenv("TANGO_HOST");
  EXPECT_EQ(HKGetEnv("PATH"), "");
  EXPECT_EQ(HKGetEnv("TANGO_HOST"), "");
}

TEST(StoragePaths, AlwaysDot) {
  EXPECT_EQ(HKGetAppStoragePath("app"), ".");
  EXPECT_EQ(HKGetStoragePath(""), ".");
}

TEST(CurrentDir, MatchesGetcwd) {
  char buf[4096];
  ASSERT_NE(getcwd(buf, sizeof buf), nullptr);
  struct stat a {
  }, b{};
  ASSERT_EQ(stat(buf, &a), 0);
  ASSERT_EQ(stat(HKGetCurrentDirName().c_str(), &b), 0);
  EXPECT_EQ(a.st_ino, b.st_ino);
}

TEST(DataPath, BackslashesOnlyBelowModeOne) {
  EXPECT_EQ(DataPath("a\\b\\c", 0), "a/b/c");
  EXPECT_EQ(DataPath("a\\b", -1), "a/b");
  EXPECT_EQ(DataPath("a\\b", 1), "a\\b");
}

TEST(PathnameCorrection, AddsSeparatorAndConverts) {
  EXPECT_EQ(HKPathnameCorrection("dir"), "dir/");
  EXPECT_EQ(HKPathnameCorrection("dir/"), "dir/");
  EXPECT_EQ(HKPathnameCorrection("dir\\"), "dir/");
  EXPECT_EQ(HKPathnameCorrection(""), "");
}

TEST(ConcatPaths, Cases) {
  EXPECT_EQ(ConcatPaths("dir", "f"), "dir/f");
  EXPECT_EQ(ConcatPaths("", "f"), "f");
  EXPECT_EQ(ConcatPaths("a\\b", "c"), "a/b/c");
  EXPECT_EQ(ConcatPaths("a/", "b\\c"), "a/b\\c");
}

TEST(Pathlevelcorrection, Repeats) {
  EXPECT_EQ(Pathlevelcorrection(0), "");
  EXPECT_EQ(Pathlevelcorrection(3), "../../../");
}

TEST(UrlPathConnect, EdgeCases) {
  EXPECT_EQ(urlpathconnect("/a/", "/b"), "/a/b");
  EXPECT_EQ(urlpathconnect("", ""), "/");
}

TEST(UrlPathConnect, EveryRowOfTheTable) {
  EXPECT_EQ(urlpathconnect("a//", "//b"), "a/b");
  EXPECT_EQ(urlpathconnect("a//", "//"), "a///");
  EXPECT_EQ(urlpathconnect("a/", ""), "a/");
  EXPECT_EQ(urlpathconnect("//", "//b"), "///b");
  EXPECT_EQ(urlpathconnect("/", "/"), "///");
  EXPECT_EQ(urlpathconnect("/", ""), "//");
  EXPECT_EQ(urlpathconnect("", "//b/c/"), "/b/c/");
  EXPECT_EQ(urlpathconnect("", "/"), "//");
}

TEST(HKPathTest, PlusCorrects) {
  EXPECT_EQ(HKPath("x") + "y", "x/y/");
  EXPECT_EQ(HKPath("x") + HKPath("y"), "x/y/");
}

TEST(HKPathTest, StoredAndCorrectedForms) {
  HKPath p("base");
  EXPECT_EQ(p.str_nc(), "base/");
  EXPECT_EQ(p.str(), "base/");
  p += "sub";
  EXPECT_EQ(p.str_nc(), "base/sub");
  EXPECT_EQ(p.str(), "base/sub/");
  HKPath q;
  EXPECT_EQ(q.str(), "");
  q += "only";
  EXPECT_EQ(q.str_nc(), "only");
  q = std::string("w\\x");
  EXPECT_EQ(q.str_nc(), "w/x/");
  HKPath r("r");
  r += HKPath("s");
  EXPECT_EQ(r.str_nc(), "r/s/");
  HKPath copy = r;
  EXPECT_EQ(copy.str_nc(), r.str_nc());
}

// ---------------------------------------------------------------- files

namespace {
std::string freshDir(const std::string& name) {
  const std::string d = testing::TempDir() + "hkst_" + name + "_" + std::to_string(getpid());
  std::string cmd = "rm -rf '" + d + "'";
  EXPECT_EQ(std::system(cmd.c_str()), 0);
  return d;
}
void writeFile(const std::string& path, const std::string& content) {
  std::ofstream o(path, std::ios::binary);
  o << content;
}
std::string readFile(const std::string& path) {
  std::ifstream i(path, std::ios::binary);
  std::stringstream s;
  s << i.rdbuf();
  return s.str();
}
}  // namespace

TEST(Files, TryOpenDirectoryCreatesOneLevel) {
  const std::string d = freshDir("dir");
  EXPECT_FALSE(TryOpenDirectory(d, false));
  EXPECT_TRUE(TryOpenDirectory(d, true));
  EXPECT_TRUE(TryOpenDirectory(d, false));
  struct stat st {};
  ASSERT_EQ(stat(d.c_str(), &st), 0);
  EXPECT_TRUE(S_ISDIR(st.st_mode));
  // Only one level is made.
  EXPECT_FALSE(TryOpenDirectory(d + "/x/y", true));
  EXPECT_FALSE(TryOpenDirectory(d + "/x", false));
}

TEST(Files, TryOpenFileAndRemove) {
  const std::string d = freshDir("file");
  ASSERT_TRUE(TryOpenDirectory(d, true));
  const std::string f = d + "/f.bin";
  unsigned long size = 12345;
  EXPECT_FALSE(TryOpenFile(f, &size));
  EXPECT_EQ(size, 12345u);
  writeFile(f, std::string(300, 'z'));
  EXPECT_TRUE(TryOpenFile(f, &size));
  EXPECT_EQ(size, 300u);
  EXPECT_TRUE(TryOpenFile(f, nullptr));
  EXPECT_TRUE(RemoveFile(f));
  EXPECT_FALSE(RemoveFile(f));
}

TEST(Files, GetDirectoriesOrFilesModes) {
  const std::string d = freshDir("list");
  ASSERT_TRUE(TryOpenDirectory(d, true));
  ASSERT_TRUE(TryOpenDirectory(d + "/sub1", true));
  ASSERT_TRUE(TryOpenDirectory(d + "/sub2", true));
  writeFile(d + "/a.txt", "a");
  writeFile(d + "/b.txt", "b");
  ASSERT_EQ(symlink((d + "/a.txt").c_str(), (d + "/link").c_str()), 0);
  ASSERT_EQ(symlink((d + "/sub1").c_str(), (d + "/dirlink").c_str()), 0);

  std::list<std::string> out{"stale"};
  GetDirectoriesOrFiles(d, out, 0);
  std::vector<std::string> v(out.begin(), out.end());
  std::sort(v.begin(), v.end());
  EXPECT_EQ(v, (std::vector<std::string>{"a.txt", "b.txt"}));

  GetDirectoriesOrFiles(d, out, 1);
  v.assign(out.begin(), out.end());
  std::sort(v.begin(), v.end());
  EXPECT_EQ(v, (std::vector<std::string>{".", "..", "sub1", "sub2"}));

  GetDirectoriesOrFiles(d, out, 2);
  v.assign(out.begin(), out.end());
  std::sort(v.begin(), v.end());
  EXPECT_EQ(v, (std::vector<std::string>{"sub1", "sub2"}));
}

TEST(Files, GetDirectoriesOrFilesMissingDirectoryLeavesEmpty) {
  std::list<std::string> out{"stale", "entries"};
  GetDirectoriesOrFiles("/no/such/directory/here", out, 0);
  EXPECT_TRUE(out.empty());
  out = {"x"};
  GetDirectoriesOrFiles("", out, 2);
  EXPECT_TRUE(out.empty());
}

TEST(Files, CopyFileBlocksAndNames) {
  const std::string d = freshDir("copy");
  ASSERT_TRUE(TryOpenDirectory(d, true));
  ASSERT_TRUE(TryOpenDirectory(d + "/to", true));
  std::string content;
  for (int i = 0; i < 5000; ++i) content += static_cast<char>(i * 7);  // binary, several blocks
  writeFile(d + "/src.bin", content);
  EXPECT_TRUE(CopyFile("src.bin", HKPath(d), HKPath(d + "/to"), ""));
  EXPECT_EQ(readFile(d + "/to/src.bin"), content);
  writeFile(d + "/to/renamed.bin", std::string(10000, 'q'));  // truncated by the copy
  EXPECT_TRUE(CopyFile("src.bin", HKPath(d), HKPath(d + "/to"), "renamed.bin"));
  EXPECT_EQ(readFile(d + "/to/renamed.bin"), content);
  writeFile(d + "/empty", "");
  EXPECT_TRUE(CopyFile("empty", HKPath(d), HKPath(d + "/to"), ""));
  EXPECT_EQ(readFile(d + "/to/empty"), "");
  EXPECT_FALSE(CopyFile("missing", HKPath(d), HKPath(d + "/to"), ""));
  EXPECT_FALSE(CopyFile("src.bin", HKPath(d), HKPath(d + "/nodir"), ""));
}

// ---------------------------------------------------------------- timer

TEST(HKusTimerTest, ReachedAndMissing) {
  HKusTimer t(200000);  // 200 ms
  EXPECT_FALSE(t.Reached());
  const long left = t.Missing();
  EXPECT_GT(left, 0);
  EXPECT_LE(left, 200000);
  t.Restart(0);
  EXPECT_TRUE(t.Reached());
  EXPECT_LE(t.Missing(), 0);
}

TEST(HKusTimerTest, NegativeAfterTheEnd) {
  HKusTimer t(1000);
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!t.Reached() && std::chrono::steady_clock::now() < limit)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  EXPECT_TRUE(t.Reached());
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_LT(t.Missing(), 0);
}

TEST(HKusTimerTest, RestartStartsAnew) {
  HKusTimer t(0);
  EXPECT_TRUE(t.Reached());
  t.Restart(10 * 1000 * 1000);  // 10 s
  EXPECT_FALSE(t.Reached());
  EXPECT_GT(t.Missing(), 5 * 1000 * 1000);
}
