// Style sheets in the template dialect.
//
// The reader takes a style sheet only when it stands without whitespace
// between rules and between properties, every selector begins with a letter,
// "#", "." or "*", every property name with a letter or "_", no value holds a
// ";", and the only at-rules are those that hold rules (@media, @supports).
// HKTplCompactCss rewrites an ordinary style sheet into that form and says
// what it had to change; the checker uses the same findings for its hints.
#pragma once

#include <string>
#include <vector>

namespace hktpl {

// What the compaction found and changed; every count is of places in the input.
struct HKTplCssFindings {
  int whitespace = 0;          // whitespace between rules or properties
  int htmlComments = 0;        // "<!--" / "-->" around the sheet
  int comments = 0;            // /* */ comments (dropped; they read, but cost nothing to drop)
  int selectorsPrefixed = 0;   // selectors that began with ":" "[" and the like; "*" put in front
  int prefixedProperties = 0;  // "-webkit-x", "*zoom" and the like (left out)
  int customProperties = 0;    // "--name:" definitions (left out; var() uses get the value)
  int unresolvedVars = 0;      // declarations with a var() that has no known value (left out)
  int semicolonValues = 0;     // values holding ";" (data: URLs, strings; left out)
  int atRulesDropped = 0;      // @font-face, @keyframes, @page, @charset, @namespace and the like
  int imports = 0;             // @import (turned into link elements by the fixer)
  int nestedAtRules = 0;       // at-rules inside @media (left out)
  std::vector<std::string> importUrls;
  bool Any() const;
};

// The compact form of `css`: no whitespace between rules and properties,
// every declaration "name:value;", comments dropped.
// "p {\n  color: red;\n}\n" -> "p{color:red;}".
std::string HKTplCompactCss(const std::string& css, HKTplCssFindings& findings);

// Hint lines (id, text) for what `findings` holds.
std::vector<std::pair<std::string, std::string>> HKTplCssHints(const HKTplCssFindings& findings);

// A style attribute the reader takes: "name:value" pairs joined by "; ";
// a piece without exactly one ":" is left out and counted in `dropped`.
// "color: red;background:url(http://x)" -> "color:red".
std::string HKTplNormalizeStyleAttribute(const std::string& value, int& dropped);

}  // namespace hktpl
