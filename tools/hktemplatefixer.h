// The template fixer: rewrites an ordinary HTML page into the template
// dialect that the library's reader takes, without changing what the page
// shows.
//
// What it does: the DOCTYPE in capitals, tag names in lower case, void tags
// closed with "/>", end tags that HTML lets an author leave out written out,
// end tags without a start tag removed, attribute values quoted with no blank
// around "=", attribute names with ":" renamed or left out, a "<" in text
// written "&lt;", script text enclosed in a comment, style sheets compacted
// (HKTplCompactCss), style attributes reduced to what the reader takes, and
// non-numeric values of numeric attributes left out, and a page without
// <html> enclosed in one. Its output is stable: fixing a fixed
// page gives the same text.
//
// Tag-level pieces are public so that the checker can repair one place at a
// time and go on looking for the next problem.
#pragma once

#include <map>
#include <string>

#include "hktemplatecss.h"
#include "hktemplatelexer.h"

namespace hktpl {

// What the fixer changed, by kind; printed by the command-line tool.
struct HKTplFixStats {
  std::map<std::string, int> changes;  // kind -> count
  void Count(const std::string& kind, int n = 1) {
    if (n > 0) changes[kind] += n;
  }
};

// The whole page in the template dialect.
std::string HKTplFixPage(const std::string& text, HKTplFixStats& stats);

// One start tag written in the dialect: lower-case names (`keepCase` in SVG
// and MathML), quoted values, names with ":" renamed or left out, a style
// attribute reduced; `selfClose` writes "/>".
std::string HKTplWriteStartTag(const HKTplToken& tag, bool selfClose, bool keepCase, HKTplFixStats& stats);

// Script text enclosed in a comment the reader takes:
// "if (a<b) x();" -> "<!--\nif (a<b) x();\n//-->"; an existing classic
// wrapping is replaced, so the result is stable; blank text stays as it is.
std::string HKTplWrapScript(const std::string& body);

// A comment as the reader ends it where a browser does ("<!-- a --->" gets
// a blank before "-->").
std::string HKTplWriteComment(const std::string& body);

// A doctype in the reader's one form: "<!doctype html>" -> "<!DOCTYPE html>".
std::string HKTplWriteDoctype(const std::string& body);

// "<" and, for safety, nothing else escaped: "a<b" -> "a&lt;b".
std::string HKTplEscapeText(const std::string& text);

// True for the tags written as void ("<br/>").
bool HKTplIsVoid(const std::string& lowerName);
// True for the attributes an element keeps as numbers (value and max of
// <progress>): a value that is no number ends reading.
bool HKTplKeepsNumber(const std::string& lowerTag, const std::string& lowerAttribute);
// True when `value` begins with a number: "0.5" and "2px" yes, "" and "x" no.
bool HKTplIsNumber(const std::string& value);
// True when the reader can take `name` as a tag or attribute name: a letter
// or "_", then letters, digits, "-" and "_".
bool HKTplIsReaderName(const std::string& name);

}  // namespace hktpl
