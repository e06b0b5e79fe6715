// Expands a "!" call found in double square brackets of a page template into
// CSS text (see HKPersistentAppStorage::ReplaceStringVariables).
//
// One command exists: "!linearanimation(selector, duration, properties, N,
// on, off, overlap)" writes, for N elements named selector0 .. selectorN-1,
// one rule and two keyframe blocks each, so that the browser shows one
// element at a time in an endless rotation and fades over `overlap` percent
// of the cycle. Count and overlap are read as whole decimal numbers (an
// overlap of "2.5" is 2). Quotes around an argument are dropped; they protect nothing
// (a comma or ")" inside quotes still ends the argument).
//
// Failure: every failure (no "!", unknown command, fewer than seven
// arguments, a count or overlap that is no number) gives "/* error */\n",
// which keeps the page valid. Constructed per call; no shared state.
#pragma once

#include <list>
#include <sstream>
#include <string>

class HKCommandCompiler {
 public:
  HKCommandCompiler() = default;
  virtual ~HKCommandCompiler() = default;

  // The CSS text of the call in text, or "/* error */\n"; N of 0 or 1 gives "".
  std::string CSSCommand(const std::string& text);

  // ---- scanners: the position behind what they accept, or `failure`
  // The command sign at pos.
  std::size_t _IsCssCommand(const std::string& text, std::size_t pos, std::size_t failure);
  // Skips white space; with nothing to skip gives failure.
  std::size_t _IsWS(const std::string& text, std::size_t pos, std::size_t failure);
  // An identifier followed by "(": the position behind the "(".
  std::size_t _IsFct(const std::string& text, std::size_t pos, std::size_t failure);
  // The position of the first "," or ")" from pos on.
  std::size_t _IsArg(const std::string& text, std::size_t pos, std::size_t failure);
  // The separator "," at pos.
  std::size_t _IsListSep(const std::string& text, std::size_t pos, std::size_t failure);
  // The call close ")" at pos.
  std::size_t _IsFktCallClose(const std::string& text, std::size_t pos, std::size_t failure);

  // Drops a leading and a trailing quote character (not necessarily the
  // same one: "'a\"" -> "a"); other texts stay as they are.
  std::string _stripcontent(const std::string& text);
  // The CSS of a parsed call: the function with its "(" first, then the arguments.
  std::string _docommand(std::list<std::string>& call);
  // One keyframe block "@keyword name { stops }" of element index of count.
  void _keyframes(std::ostringstream& out, const std::string& keyword, const std::string& name,
                  unsigned long count, unsigned long index, const std::string& on, const std::string& off,
                  double overlap);

 protected:
  const std::string _whiteSpace = " \t\n";
  const std::string _listSeparator = ",";
  const std::string _callOpen = "(";
  const std::string _callClose = ")";
  const std::string _quotes = "\"'";
  const std::string _identifierStart = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
  const std::string _identifierRest = _identifierStart + "1234567890";
  const std::string _commandSign = "!";
};
