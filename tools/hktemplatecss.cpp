#include "hktemplatecss.h"

#include <cctype>
#include <map>

namespace hktpl {

namespace {

constexpr int kMaxVarRounds = 8;  // var() inside var() values, resolved this deep

bool hkIsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f'; }
// The reader's own first character of a property name: a letter or "_".
bool hkIsNameStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0 || c == '_'; }
bool hkIsSelectorStart(char c) { return hkIsNameStart(c) || c == '#' || c == '.' || c == '*'; }

std::string hkTrim(const std::string& s) {
  std::size_t b = 0;
  std::size_t e = s.size();
  while (b < e && hkIsBlank(s[b])) ++b;
  while (e > b && hkIsBlank(s[e - 1])) --e;
  return s.substr(b, e - b);
}

// Whitespace runs become one blank; the ends are cut.
std::string hkCollapse(const std::string& s) {
  std::string out;
  bool blank = false;
  for (char c : hkTrim(s)) {
    if (hkIsBlank(c)) {
      blank = true;
      continue;
    }
    if (blank) out += ' ';
    blank = false;
    out += c;
  }
  return out;
}

// The end of a quoted string that opens at `at` (index of the closing quote,
// or the end of the text).
std::size_t hkStringEnd(const std::string& s, std::size_t at) {
  const char q = s[at];
  for (std::size_t i = at + 1; i < s.size(); ++i) {
    if (s[i] == '\\') {
      ++i;
    } else if (s[i] == q) {
      return i;
    }
  }
  return s.size();
}

// The first of `stops` at nesting depth 0 (parentheses, brackets) outside
// strings, from `from` on; npos if there is none.
std::size_t hkFindTop(const std::string& s, std::size_t from, const char* stops) {
  int depth = 0;
  for (std::size_t i = from; i < s.size(); ++i) {
    const char c = s[i];
    if (c == '"' || c == '\'') {
      i = hkStringEnd(s, i);
    } else if (c == '(' || c == '[') {
      ++depth;
    } else if ((c == ')' || c == ']') && depth > 0) {
      --depth;
    } else if (depth == 0 && std::char_traits<char>::find(stops, std::char_traits<char>::length(stops), c)) {
      return i;
    }
  }
  return std::string::npos;
}

// The "}" that closes the "{" at `open` (or the end of the text).
std::size_t hkMatchBrace(const std::string& s, std::size_t open) {
  int depth = 0;
  for (std::size_t i = open; i < s.size(); ++i) {
    if (s[i] == '"' || s[i] == '\'') {
      i = hkStringEnd(s, i);
    } else if (s[i] == '{') {
      ++depth;
    } else if (s[i] == '}' && --depth == 0) {
      return i;
    }
  }
  return s.size();
}

// Drops /* */ comments and the "<!--" / "-->" markers; strings stay.
std::string hkStripComments(const std::string& css, HKTplCssFindings& f) {
  std::string out;
  for (std::size_t i = 0; i < css.size(); ++i) {
    if (css[i] == '"' || css[i] == '\'') {
      const std::size_t e = hkStringEnd(css, i);
      out.append(css, i, e - i + 1);
      i = e;
    } else if (css.compare(i, 2, "/*") == 0) {
      const std::size_t e = css.find("*/", i + 2);
      ++f.comments;
      if (e == std::string::npos) break;
      i = e + 1;
    } else if (css.compare(i, 4, "<!--") == 0 || css.compare(i, 3, "-->") == 0) {
      ++f.htmlComments;
      i += css[i] == '<' ? 3 : 2;
    } else {
      out += css[i];
    }
  }
  return out;
}

struct HKCssContext {
  HKTplCssFindings& findings;
  std::map<std::string, std::string> vars;
  bool collecting = true;  // first pass: collect custom properties, count nothing
};

// False when a quote in `s` is not closed: such a declaration is broken, and
// writing it out would swallow what follows it.
bool hkQuotesClosed(const std::string& s) {
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] != '"' && s[i] != '\'') continue;
    i = hkStringEnd(s, i);
    if (i >= s.size()) return false;
  }
  return true;
}

// True when parentheses and brackets in `s` (outside strings) pair up.
bool hkBracketsPaired(const std::string& s) {
  int depth = 0;
  for (std::size_t i = 0; i < s.size() && depth >= 0; ++i) {
    if (s[i] == '"' || s[i] == '\'') {
      i = hkStringEnd(s, i);
    } else if (s[i] == '(' || s[i] == '[') {
      ++depth;
    } else if (s[i] == ')' || s[i] == ']') {
      --depth;
    }
  }
  return depth == 0;
}

// A property name: letters, digits, "-" and "_" ("--x" and "-webkit-x" too).
bool hkIsPropertyName(const std::string& s) {
  for (char c : s) {
    if (std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '-' && c != '_') return false;
  }
  return !s.empty();
}

// Replaces var(--x[, fallback]) by the value of --x; false if one stays unknown.
bool hkResolveVars(std::string& value, const HKCssContext& ctx) {
  for (int round = 0; round < kMaxVarRounds; ++round) {
    const std::size_t at = value.find("var(");
    if (at == std::string::npos) return true;
    const std::size_t close = hkFindTop(value, at + 4, ")");
    if (close == std::string::npos) return false;
    const std::string inner = value.substr(at + 4, close - at - 4);
    const std::size_t comma = hkFindTop(inner, 0, ",");
    const std::string name = hkTrim(inner.substr(0, comma));
    std::string replacement;
    auto it = ctx.vars.find(name);
    if (it != ctx.vars.end()) {
      replacement = it->second;
    } else if (comma != std::string::npos) {
      replacement = hkTrim(inner.substr(comma + 1));
    } else {
      return false;
    }
    value.replace(at, close - at + 1, replacement);
  }
  return value.find("var(") == std::string::npos;
}

// One declaration "name:value" into `out` when the reader can take it.
void hkDeclaration(const std::string& piece, HKCssContext& ctx, std::string& out) {
  HKTplCssFindings& f = ctx.findings;
  const std::size_t colon = piece.find(':');
  if (colon == std::string::npos) return;
  const std::string name = hkTrim(piece.substr(0, colon));
  std::string value = hkCollapse(piece.substr(colon + 1));
  if (name.empty() || value.empty() || !hkQuotesClosed(value) || !hkBracketsPaired(value)) return;
  if (name.compare(0, 2, "--") == 0 && hkIsPropertyName(name)) {
    if (ctx.collecting) ctx.vars[name] = value;
    if (!ctx.collecting) ++f.customProperties;
    return;
  }
  if (ctx.collecting) return;
  if (!hkIsNameStart(name[0])) {
    ++f.prefixedProperties;
    return;
  }
  if (!hkIsPropertyName(name)) return;
  if (!hkResolveVars(value, ctx)) {
    ++f.unresolvedVars;
    return;
  }
  if (value.find_first_of(";{}") != std::string::npos) {
    ++f.semicolonValues;
    return;
  }
  out += name + ":" + value + ";";
}

std::string hkDeclarations(const std::string& block, HKCssContext& ctx) {
  std::string out;
  std::size_t from = 0;
  while (from <= block.size()) {
    std::size_t semi = hkFindTop(block, from, ";");
    if (semi == std::string::npos) semi = block.size();
    const std::string piece = block.substr(from, semi - from);
    if (!ctx.collecting && !piece.empty() && (hkIsBlank(piece.front()) || hkIsBlank(piece.back()))) {
      ++ctx.findings.whitespace;
    }
    hkDeclaration(piece, ctx, out);
    from = semi + 1;
  }
  return out;
}

std::string hkStatements(const std::string& s, HKCssContext& ctx, bool nested);

// An at-rule beginning at `p`; returns the position after it.
std::size_t hkAtRule(const std::string& s, std::size_t p, HKCssContext& ctx, bool nested, std::string& out) {
  HKTplCssFindings& f = ctx.findings;
  std::size_t n = p + 1;
  while (n < s.size() && (std::isalnum(static_cast<unsigned char>(s[n])) || s[n] == '-')) ++n;
  const std::string name = s.substr(p + 1, n - p - 1);
  const std::size_t stop = hkFindTop(s, n, ";{");
  if (stop == std::string::npos || s[stop] == ';') {
    const std::string prelude = hkTrim(s.substr(n, stop == std::string::npos ? std::string::npos : stop - n));
    if (!ctx.collecting) {
      if (name == "import") {
        ++f.imports;
        std::string url = prelude;
        if (url.compare(0, 4, "url(") == 0) url = url.substr(4, url.find(')') - 4);
        url = hkTrim(url);
        if (!url.empty() && (url.front() == '"' || url.front() == '\''))
          url = url.substr(1, url.find(url.front(), 1) - 1);
        f.importUrls.push_back(url);
      } else {
        ++f.atRulesDropped;
      }
    }
    return stop == std::string::npos ? s.size() : stop + 1;
  }
  const std::size_t close = hkMatchBrace(s, stop);
  const bool holdsRules = name == "media" || name == "supports";
  if (!holdsRules || nested) {
    if (!ctx.collecting) ++(nested ? f.nestedAtRules : f.atRulesDropped);
    return close + 1;
  }
  const std::string inner = hkStatements(s.substr(stop + 1, close - stop - 1), ctx, true);
  if (!inner.empty()) out += "@" + name + " " + hkCollapse(s.substr(n, stop - n)) + "{" + inner + "}";
  return close + 1;
}

std::string hkStatements(const std::string& s, HKCssContext& ctx, bool nested) {
  std::string out;
  std::size_t p = 0;
  while (p < s.size()) {
    const std::size_t start = p;
    while (p < s.size() && hkIsBlank(s[p])) ++p;
    if (p > start && !ctx.collecting) ++ctx.findings.whitespace;
    if (p >= s.size()) break;
    if (s[p] == '@') {
      p = hkAtRule(s, p, ctx, nested, out);
      continue;
    }
    const std::size_t open = hkFindTop(s, p, "{");
    if (open == std::string::npos) break;  // a selector without a block is dropped
    const std::size_t close = hkMatchBrace(s, open);
    std::string selector = hkCollapse(s.substr(p, open - p));
    const std::string declarations = hkDeclarations(s.substr(open + 1, close - open - 1), ctx);
    if (!selector.empty() && !ctx.collecting) {
      if (!hkIsSelectorStart(selector[0])) {
        selector = "*" + selector;
        ++ctx.findings.selectorsPrefixed;
      }
      out += selector + "{" + declarations + "}";
    }
    p = close + 1;
  }
  return out;
}

}  // namespace

bool HKTplCssFindings::Any() const {
  return whitespace + htmlComments + selectorsPrefixed + prefixedProperties + customProperties +
             unresolvedVars + semicolonValues + atRulesDropped + imports + nestedAtRules >
         0;
}

std::string HKTplCompactCss(const std::string& css, HKTplCssFindings& findings) {
  const std::string stripped = hkStripComments(css, findings);
  HKCssContext ctx{findings, {}, true};
  hkStatements(stripped, ctx, false);
  ctx.collecting = false;
  return hkStatements(stripped, ctx, false);
}

std::vector<std::pair<std::string, std::string>> HKTplCssHints(const HKTplCssFindings& f) {
  std::vector<std::pair<std::string, std::string>> hints;
  if (f.whitespace > 0) {
    hints.emplace_back("css-whitespace",
                       "a style sheet must stand without blanks or line breaks between rules and between "
                       "properties: write \"body{margin:0;}p{color:red;}\"");
  }
  if (f.htmlComments > 0) {
    hints.emplace_back("css-html-comment",
                       "\"<!--\" and \"-->\" around a style sheet can hold no rules: leave them out");
  }
  if (f.selectorsPrefixed > 0) {
    hints.emplace_back("css-selector",
                       "a selector must begin with a letter, \"#\", \".\" or \"*\": write \"*:root\" for "
                       "\":root\" and \"*[type]\" for \"[type]\"");
  }
  if (f.prefixedProperties > 0) {
    hints.emplace_back(
        "css-property-name",
        "a property name must begin with a letter: leave out \"-webkit-\"/\"-moz-\" properties "
        "and hacks such as \"*zoom\"");
  }
  if (f.customProperties + f.unresolvedVars > 0) {
    hints.emplace_back("css-custom-property",
                       "custom properties (\"--name:\") cannot be read: write the value itself where "
                       "\"var(--name)\" stands");
  }
  if (f.semicolonValues > 0) {
    hints.emplace_back(
        "css-semicolon-value",
        "a \";\" inside a value (a data: URL, a string) ends the property early: refer to a file "
        "instead");
  }
  if (f.atRulesDropped + f.imports + f.nestedAtRules > 0) {
    hints.emplace_back("css-at-rule",
                       "only @media and @supports holding rules can be read: leave out @charset, @font-face, "
                       "@keyframes, @page; write @import as <link rel=\"stylesheet\" href=\"...\"/>");
  }
  return hints;
}

std::string HKTplNormalizeStyleAttribute(const std::string& value, int& dropped) {
  std::string out;
  std::size_t from = 0;
  while (from <= value.size()) {
    std::size_t semi = value.find(';', from);
    if (semi == std::string::npos) semi = value.size();
    const std::string piece = hkTrim(value.substr(from, semi - from));
    from = semi + 1;
    if (piece.empty()) continue;
    const std::size_t colon = piece.find(':');
    const bool oneColon = colon != std::string::npos && piece.find(':', colon + 1) == std::string::npos;
    const std::string name = oneColon ? hkTrim(piece.substr(0, colon)) : "";
    const std::string v = oneColon ? hkTrim(piece.substr(colon + 1)) : "";
    if (name.empty() || v.empty()) {
      ++dropped;
      continue;
    }
    if (!out.empty()) out += ";";
    out += name + ":" + v;
  }
  return out;
}

}  // namespace hktpl
