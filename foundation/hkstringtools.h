// String, path and file utilities.
//
// Strings are taken by value and results returned by value. Several of these
// functions have unusual edges (see the comments); other code relies on them,
// so they are kept exactly as they are.
#pragma once

#include <chrono>
#include <cstdint>
#include <list>
#include <mutex>
#include <set>
#include <string>

// ---- white space and case ----
// `s` from its first character not in `white`; empty when all of `s` is white.
std::string HKStripLeadingWhitespaces(std::string s, std::string white);
// `s` up to its last character not in `white`; empty when all of `s` is white.
std::string HKStripTrailingWhitespaces(std::string s, std::string white);
// Trailing, then leading.
std::string HKStripWhitespaces(std::string s, std::string white);
std::string HKLowerCase(std::string s);

// ---- text cleaning ----
// Erases from each "&" up to (not including) the next ";": "a&amp;b" -> "a;b".
std::string RemoveEntities(std::string s);
// Erases every "!important"; surrounding white space stays.
std::string HKStripCSSimportant(std::string s);
// Finds "/*" and the next "*/" behind it. The erase count is computed as
// start + 2 - end in unsigned arithmetic: for a comment with content this
// erases everything from "/*" to the end of the text; for the empty comment
// "/**/" nothing is erased and the function never returns. Kept as it is;
// nothing in the library calls it.
std::string HKStripCSSComments(std::string s);

// ---- escaping ----
std::string HTMLencode(std::string s, bool nbsp);
std::string Utf8ToJavaScript(std::string s);
std::string Utf8ToPre(std::string s);
std::string PrepareSysCallString(std::string s);

// ---- URL coding ----
std::string URLdecode(std::string s);
// URLdecode, then "+" -> " " (so "%2B" ends up as a space too).
std::string URLdecodeForm(std::string s);
// Only inputs without any of " !\"#$%&'()*+,-./:;<=>?@[\\]{|}" complete:
// the first pass resumes at the "%" it has just written and keeps replacing
// it. Kept as it is; nothing in the library calls it.
std::string URLencode(std::string s);
// As URLencode without the space in the set, then " " -> "+". Hand it plain
// values only.
std::string URLencodeForm(std::string s);
std::string to_hexstring(unsigned long value, const std::string& prefix);

// ---- numbers and truth values ----
bool hkstringbool(std::string s);
unsigned long to_unumber(std::string s, unsigned long fallback);
double atof_comma(std::string s);
std::string checkOneOf(std::string value, const std::set<std::string>& set, std::string fallback);
unsigned long LineCount(const std::string& s, unsigned long limit);
std::string ReleaseNumber();

// ---- shortening for display ----
std::string StringLastPart(std::string s, unsigned long n);
std::string FilenameLastPart(std::string s);

// ---- environment and places ----
// Returns the value of "TANGO_HOST" whatever `name` is.
std::string HKGetEnv(std::string name);
std::string HKGetAppStoragePath(std::string name);
std::string HKGetStoragePath(std::string name);
std::string HKGetCurrentDirName();
std::string DataPath(std::string path, int mode);
std::string HKPathnameCorrection(std::string path);
std::string ConcatPaths(std::string a, std::string b);
std::string Pathlevelcorrection(unsigned long n);
std::string urlpathconnect(std::string a, std::string b);

// A directory path as given; str() adds the separator at the end.
class HKPath {
 public:
  HKPath() = default;
  HKPath(std::string s);  // NOLINT: implicit on purpose, paths are written as strings
  HKPath(const HKPath&) = default;
  HKPath& operator=(const HKPath&) = default;
  HKPath& operator=(const std::string& s);
  HKPath& operator+=(const std::string& s);
  HKPath& operator+=(const HKPath& p);
  std::string operator+(const std::string& s) const;
  std::string operator+(const HKPath& p) const;
  std::string str() const;
  std::string str_nc() const { return _path; }

 private:
  std::string _path;
};

// ---- files ----
bool TryOpenDirectory(std::string path, bool create);
bool TryOpenFile(const std::string& path, unsigned long* size);
bool RemoveFile(const std::string& path);
// Mode 0: regular files; 1: directories with "." and ".."; 2: directories
// without them. Other entry types (links among them) never count.
void GetDirectoriesOrFiles(std::string path, std::list<std::string>& out, int mode);
bool CopyFile(std::string name, const HKPath& from, const HKPath& to, std::string newname);

// A microsecond timer on the system clock.
class HKusTimer {
 public:
  explicit HKusTimer(long us);
  bool Reached();
  // Time left in microseconds, rounded towards zero; negative after the end.
  long Missing();
  void Restart(long us);

 private:
  std::recursive_mutex _mtx;
  std::chrono::system_clock::time_point _start;
  int64_t _duration;  // nanoseconds
};
