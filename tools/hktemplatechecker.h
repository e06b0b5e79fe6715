// The template checker: reads a page exactly as a session reads its template
// (HKDataReader::ReadHTMLDocument, grammar "html") and, where that fails,
// says in plain words what to write instead.
//
// For every problem it gives the reader's own message, the place in the
// file, and one hint or more, each with a short id ("void-tag",
// "css-whitespace", ...) that the tests and the measurement script use. It
// then repairs that one place in a copy of the text (with the fixer's
// pieces) and reads the copy again, so that one run lists every problem it
// can reach; places stay those of the original file. Listing stops when a
// problem has no known repair, or after kMaxProblems.
//
// A page that reads may still lose content silently (a word after "<br>",
// everything outside <html>); such places come back as warnings, which do
// not make a page fail.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace hktpl {

struct HKTplHint {
  std::string id;
  std::string text;
};

// One place in the original text (line and column count from 1).
struct HKTplPlace {
  std::size_t position = 0;
  std::size_t line = 1;
  std::size_t column = 1;
};

struct HKTplProblem {
  HKTplPlace place;
  std::string message;  // the reader's message, as a session gets it
  std::vector<HKTplHint> hints;
  std::size_t times = 1;  // the same message at the same place again (nested <li> left open, say)
};

struct HKTplWarning {
  HKTplPlace place;
  HKTplHint hint;
};

struct HKTplCheckResult {
  bool reads = false;
  std::vector<HKTplProblem> problems;
  std::vector<HKTplWarning> warnings;
  bool complete = true;  // false when listing stopped before the page read
  std::string stopReason;
};

constexpr std::size_t kMaxProblems = 100;

// Reads a template file as a session does; on failure `message` gets the
// reader's message (the one the session's page would show).
bool HKTplReadFileAsSession(const std::string& path, std::string& message);
// The same for a text (as a session reads a stored page).
bool HKTplReadTextAsSession(const std::string& text, std::string& message);

// Checks a file: the verdict comes from reading the file itself; `text` must
// be its content.
HKTplCheckResult HKTplCheckFile(const std::string& path, const std::string& text);
// Checks a text.
HKTplCheckResult HKTplCheckText(const std::string& text);

// The report for one file, as the command-line tool prints it.
std::string HKTplFormatReport(const std::string& file, const std::string& text,
                              const HKTplCheckResult& result);

}  // namespace hktpl
