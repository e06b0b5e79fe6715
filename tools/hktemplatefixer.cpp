#include "hktemplatefixer.h"

#include <cctype>
#include <cstdlib>
#include <set>
#include <vector>

namespace hktpl {

namespace {

using HKNameSet = std::set<std::string>;

// The reader's void tags, and two old ones browsers treat alike.
const HKNameSet kVoid = {"area", "base",  "br",  "col",   "frame",  "hr",     "img",   "input",    "link",
                         "meta", "param", "wbr", "embed", "keygen", "source", "track", "basefont", "bgsound"};
// Start tags that end an open <p>.
const HKNameSet kClosesP = {"address", "article", "aside",   "blockquote", "center",     "details", "dialog",
                            "dir",     "div",     "dl",      "fieldset",   "figcaption", "figure",  "footer",
                            "form",    "h1",      "h2",      "h3",         "h4",         "h5",      "h6",
                            "header",  "hgroup",  "hr",      "li",         "dd",         "dt",      "main",
                            "menu",    "nav",     "ol",      "p",          "pre",        "section", "summary",
                            "table",   "ul",      "listing", "xmp",        "plaintext"};
// Elements an end tag of an inline element does not reach across.
const HKNameSet kSpecial = {
    "address",   "applet",  "area",     "article",  "aside",    "base",       "blockquote", "body",
    "br",        "button",  "caption",  "center",   "col",      "colgroup",   "dd",         "details",
    "dir",       "div",     "dl",       "dt",       "fieldset", "figcaption", "figure",     "footer",
    "form",      "frame",   "frameset", "h1",       "h2",       "h3",         "h4",         "h5",
    "h6",        "head",    "header",   "hgroup",   "hr",       "html",       "iframe",     "img",
    "input",     "li",      "link",     "listing",  "main",     "marquee",    "menu",       "meta",
    "nav",       "noembed", "noframes", "noscript", "object",   "ol",         "p",          "param",
    "plaintext", "pre",     "script",   "section",  "select",   "source",     "style",      "summary",
    "table",     "tbody",   "td",       "template", "textarea", "tfoot",      "th",         "thead",
    "title",     "tr",      "track",    "ul",       "wbr",      "xmp"};
// Where the search for an open element ends ("in scope").
const HKNameSet kScope = {"applet",  "caption", "html",     "table", "td",  "th",
                          "marquee", "object",  "template", "svg",   "math"};
const HKNameSet kTableScope = {"html", "table", "template"};
const HKNameSet kHeadContent = {"meta", "link", "title", "style", "script", "base", "noscript", "template"};

bool hkIsBlankText(const std::string& s) {
  for (char c : s) {
    if (c != ' ' && c != '\t' && c != '\n' && c != '\r' && c != '\f') return false;
  }
  return true;
}

std::string hkQuoted(std::string v) {
  char q = '"';
  if (v.find('"') != std::string::npos) {
    if (v.find('\'') == std::string::npos) {
      q = '\'';
    } else {
      std::string escaped;
      for (char c : v) escaped += c == '"' ? std::string("&quot;") : std::string(1, c);
      v = escaped;
    }
  }
  return q + v + q;
}

class HKFixer {
 public:
  HKFixer(const std::string& text, HKTplFixStats& stats) : _text(text), _stats(stats) {}
  std::string Run();

 private:
  struct Open {
    std::string name;  // as written out (lower case outside SVG and MathML)
    bool foreign;
  };
  void _token(const HKTplToken& t);
  void _startTag(const HKTplToken& t);
  void _endTag(const HKTplToken& t);
  void _raw(const HKTplToken& t);
  void _implied(const std::string& lower);
  void _closeThrough(long index, bool countAll);
  long _find(const HKNameSet& names, const HKNameSet& stops, bool specialStops = false) const;
  bool _inForeign() const { return !_open.empty() && _open.back().foreign; }
  bool _isOpen(const std::string& name) const { return _find({name}, {}) >= 0; }
  void _ensureHtml();

  const std::string& _text;
  HKTplFixStats& _stats;
  std::string _out;
  std::vector<Open> _open;
  bool _hasHtmlTag = false;
  bool _sawDoctype = false;
  HKNameSet _seen;              // html, head, body once started
  std::size_t _styleStart = 0;  // where the last <style> tag was written
};

std::string HKFixer::Run() {
  const std::vector<HKTplToken> tokens = HKTplTokenize(_text);
  for (const HKTplToken& t : tokens) {
    if (t.kind == HKTplKind::StartTag && HKTplLower(t.name) == "html") _hasHtmlTag = true;
  }
  if (!_hasHtmlTag) _stats.Count("pages enclosed in <html>");
  for (const HKTplToken& t : tokens) _token(t);
  while (!_open.empty()) {
    const std::string& n = _open.back().name;
    if (n != "html" && n != "body" && n != "head") _stats.Count("end tags written out");
    _out += "</" + n + ">";
    _open.pop_back();
  }
  return _out;
}

void HKFixer::_ensureHtml() {
  if (_hasHtmlTag || _seen.count("html")) return;
  _seen.insert("html");
  _out += "<html>";
  _open.push_back({"html", false});
}

void HKFixer::_token(const HKTplToken& t) {
  switch (t.kind) {
    case HKTplKind::Text: {
      const std::string text = _text.substr(t.begin, t.end - t.begin);
      if (!hkIsBlankText(text)) _ensureHtml();
      if (text == "<") _stats.Count("\"<\" in text written &lt;");
      _out += text == "<" ? "&lt;" : text;
      break;
    }
    case HKTplKind::Comment: _out += HKTplWriteComment(t.body); break;
    case HKTplKind::Doctype:
      if (!_sawDoctype && _open.empty()) _out += HKTplWriteDoctype(t.body);
      if (_text.compare(t.begin, 9, "<!DOCTYPE") != 0) _stats.Count("DOCTYPE written in capitals");
      _sawDoctype = true;
      break;
    case HKTplKind::ProcInst: _out += "<?" + t.body + "?>"; break;
    case HKTplKind::Markup: _stats.Count("<!...> declarations left out"); break;
    case HKTplKind::CData:
      _ensureHtml();
      _stats.Count("CDATA sections written as text");
      _out += HKTplEscapeText(t.body);
      break;
    case HKTplKind::StartTag: _startTag(t); break;
    case HKTplKind::EndTag: _endTag(t); break;
    case HKTplKind::RawText: _raw(t); break;
  }
}

void HKFixer::_startTag(const HKTplToken& t) {
  const std::string lower = HKTplLower(t.name);
  if (!HKTplIsReaderName(t.name)) {
    _stats.Count("tags with \":\" in the name left out");
    return;
  }
  const bool foreign = _inForeign();
  if (lower != "html") _ensureHtml();
  if (!foreign) {
    if ((lower == "html" || lower == "head" || lower == "body") && _seen.count(lower)) {
      _stats.Count("repeated html/head/body tags left out");
      return;
    }
    _seen.insert(lower);
    _implied(lower);
  }
  const bool isVoid = !foreign && HKTplIsVoid(lower);
  if (isVoid && !t.selfClosing) _stats.Count("void tags closed with \"/>\"");
  const bool selfClose = t.selfClosing || isVoid;
  if (lower == "style") _styleStart = _out.size();
  // SVG and MathML names keep their case (viewBox, linearGradient).
  const bool keepCase = foreign || lower == "svg" || lower == "math";
  _out += HKTplWriteStartTag(t, selfClose, keepCase, _stats);
  if (!selfClose) _open.push_back({keepCase ? t.name : lower, keepCase});
}

void HKFixer::_implied(const std::string& lower) {
  const long head = _find({"head"}, {});
  if (head >= 0 && !kHeadContent.count(lower)) _closeThrough(head, true);
  if (lower == "li" || lower == "dd" || lower == "dt") {
    const HKNameSet same = lower == "li" ? HKNameSet{"li"} : HKNameSet{"dd", "dt"};
    for (long i = static_cast<long>(_open.size()) - 1; i >= 0; --i) {
      const std::string& n = _open[i].name;
      if (same.count(n)) {
        _closeThrough(i, true);
        break;
      }
      if (kSpecial.count(n) && n != "address" && n != "div" && n != "p") break;
    }
  }
  if (kClosesP.count(lower)) {
    HKNameSet stops = kScope;
    stops.insert("button");
    const long p = _find({"p"}, stops);
    if (p >= 0) _closeThrough(p, true);
  }
  long at = -1;
  if (lower == "tr") at = _find({"tr"}, kTableScope);
  if (lower == "td" || lower == "th") {
    HKNameSet stops = kTableScope;
    stops.insert("tr");
    at = _find({"td", "th"}, stops);
  }
  if (lower == "thead" || lower == "tbody" || lower == "tfoot")
    at = _find({"thead", "tbody", "tfoot"}, kTableScope);
  if (lower == "a") at = _find({"a"}, kScope);
  if (at >= 0) _closeThrough(at, true);
  if (_open.empty()) return;
  const std::string& top = _open.back().name;
  const bool heading = lower.size() == 2 && lower[0] == 'h' && lower[1] >= '1' && lower[1] <= '6';
  const bool topHeading = top.size() == 2 && top[0] == 'h' && top[1] >= '1' && top[1] <= '6';
  if ((lower == "option" || lower == "optgroup") && top == "option") _closeThrough(_open.size() - 1, true);
  if (lower == "optgroup" && !_open.empty() && _open.back().name == "optgroup")
    _closeThrough(_open.size() - 1, true);
  if (heading && topHeading) _closeThrough(_open.size() - 1, true);
}

long HKFixer::_find(const HKNameSet& names, const HKNameSet& stops, bool specialStops) const {
  for (long i = static_cast<long>(_open.size()) - 1; i >= 0; --i) {
    const std::string& n = _open[i].name;
    if (names.count(n) || names.count(HKTplLower(n))) return i;
    if (stops.count(n)) return -1;
    if (specialStops && kSpecial.count(n)) return -1;
  }
  return -1;
}

void HKFixer::_closeThrough(long index, bool countAll) {
  while (static_cast<long>(_open.size()) > index) {
    const bool implied = countAll || static_cast<long>(_open.size()) - 1 > index;
    if (implied) _stats.Count("end tags written out");
    _out += "</" + _open.back().name + ">";
    _open.pop_back();
  }
}

void HKFixer::_endTag(const HKTplToken& t) {
  const std::string lower = HKTplLower(t.name);
  if (!HKTplIsReaderName(t.name)) return;          // its start tag was left out as well
  if (lower == "body" || lower == "html") return;  // closed at the end, as a browser does
  if (!_inForeign() && HKTplIsVoid(lower)) {
    if (lower == "br") {
      _out += "<br/>";
    } else {
      _stats.Count("end tags without an open element left out");
    }
    return;
  }
  long at;
  if (_inForeign()) {
    at = _find({lower}, {});
  } else if (kSpecial.count(lower)) {
    HKNameSet stops = kScope;
    stops.erase(lower);
    if (lower == "li") stops.insert({"ol", "ul"});
    at = _find({lower}, stops);
  } else {
    at = _find({lower}, {}, true);
  }
  if (at < 0) {
    _stats.Count("end tags without an open element left out");
    return;
  }
  if (_open.back().name != t.name && static_cast<long>(_open.size()) - 1 == at && !_open.back().foreign) {
    _stats.Count("end tags written in lower case");
  }
  _closeThrough(at, false);
}

void HKFixer::_raw(const HKTplToken& t) {
  const std::string element = _open.empty() ? "" : _open.back().name;
  if (element == "script") {
    const std::string wrapped = HKTplWrapScript(t.body);
    if (wrapped != t.body) _stats.Count("scripts enclosed in a comment");
    _out += wrapped;
  } else if (element == "style") {
    HKTplCssFindings findings;
    const std::string css = HKTplCompactCss(t.body, findings);
    if (css != t.body) _stats.Count("style sheets compacted");
    _stats.Count("CSS declarations left out (prefixed, custom, \";\" in value)",
                 findings.prefixedProperties + findings.semicolonValues + findings.unresolvedVars);
    _stats.Count("CSS at-rules left out (@font-face, @keyframes, ...)",
                 findings.atRulesDropped + findings.nestedAtRules);
    std::string links;
    for (const std::string& url : findings.importUrls)
      links += "<link rel=\"stylesheet\" href=" + hkQuoted(url) + "/>";
    _stats.Count("@import written as <link>", static_cast<int>(findings.importUrls.size()));
    _out.insert(_styleStart, links);
    _out += css;
  } else {
    const std::string escaped = HKTplEscapeText(t.body);
    if (escaped != t.body) _stats.Count("\"<\" in text written &lt;");
    _out += escaped;
  }
}

}  // namespace

bool HKTplIsVoid(const std::string& lowerName) { return kVoid.count(lowerName) > 0; }

bool HKTplKeepsNumber(const std::string& lowerTag, const std::string& lowerAttribute) {
  return lowerTag == "progress" && (lowerAttribute == "value" || lowerAttribute == "max");
}

bool HKTplIsNumber(const std::string& value) {
  const char* begin = value.c_str();
  char* end = nullptr;
  std::strtod(begin, &end);
  return end != begin;
}

bool HKTplIsReaderName(const std::string& name) {
  if (name.empty()) return false;
  if (std::isalpha(static_cast<unsigned char>(name[0])) == 0 && name[0] != '_') return false;
  for (char c : name) {
    if (std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '-' && c != '_') return false;
  }
  return true;
}

std::string HKTplWriteStartTag(const HKTplToken& tag, bool selfClose, bool keepCase, HKTplFixStats& stats) {
  std::string out = "<" + (keepCase ? tag.name : HKTplLower(tag.name));
  bool hasLang = false;
  for (const HKTplAttribute& a : tag.attributes) hasLang = hasLang || HKTplLower(a.name) == "lang";
  for (const HKTplAttribute& a : tag.attributes) {
    std::string name = keepCase ? a.name : HKTplLower(a.name);
    if (!HKTplIsReaderName(name)) {
      const std::string lower = HKTplLower(name);
      stats.Count("attribute names with \":\" renamed or left out");
      if (lower == "xml:lang" && !hasLang) {
        name = "lang";
        hasLang = true;
      } else if (lower == "xlink:href") {
        name = "href";
      } else {
        continue;
      }
    }
    if (!a.hasValue) {
      out += " " + name;
      continue;
    }
    std::string value = a.value;
    if (HKTplKeepsNumber(HKTplLower(tag.name), HKTplLower(name)) && !HKTplIsNumber(value)) {
      stats.Count("attributes that must be numbers left out");
      continue;
    }
    if (HKTplLower(name) == "style") {
      int dropped = 0;
      value = HKTplNormalizeStyleAttribute(value, dropped);
      stats.Count("style attribute declarations left out (\":\" in value)", dropped);
    }
    if (a.quote == 0) stats.Count("attribute values quoted");
    if (a.blankAroundEq) stats.Count("blanks around \"=\" removed");
    out += " " + name + "=" + hkQuoted(value);
  }
  return out + (selfClose ? "/>" : ">");
}

std::string HKTplWrapScript(const std::string& body) {
  if (hkIsBlankText(body)) return body;
  std::string s = body;
  std::size_t b = s.find_first_not_of(" \t\r\n\f");
  s = s.substr(b);
  if (s.compare(0, 4, "<!--") == 0) {
    const std::size_t nl = s.find('\n');
    s = nl == std::string::npos ? s.substr(4) : s.substr(nl + 1);
  }
  auto trimEnd = [&s]() {
    const std::size_t e = s.find_last_not_of(" \t\r\n\f");
    s.erase(e == std::string::npos ? 0 : e + 1);
  };
  trimEnd();
  if (s.size() >= 3 && s.compare(s.size() - 3, 3, "-->") == 0) {
    s.erase(s.size() - 3);
    trimEnd();
    if (s.size() >= 2 && s.compare(s.size() - 2, 2, "//") == 0) s.erase(s.size() - 2);
    trimEnd();
  }
  // The reader ends a comment at a pair of dashes followed by ">": "i-->0"
  // becomes "i-- >0", which a script reads alike.
  std::string inner;
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '>' && i >= 2 && s[i - 1] == '-' && s[i - 2] == '-') inner += ' ';
    inner += s[i];
  }
  if (inner.empty()) return "";
  return "<!--\n" + inner + "\n//-->";
}

std::string HKTplWriteComment(const std::string& body) {
  // A dash right before "-->" would pair with the closing dashes and keep
  // the comment open in the reader.
  const bool dashAtEnd = !body.empty() && body.back() == '-';
  return "<!--" + body + (dashAtEnd ? " " : "") + "-->";
}

std::string HKTplWriteDoctype(const std::string& body) {
  const std::size_t b = body.find_first_not_of(" \t\r\n\f");
  const std::size_t e = body.find_last_not_of(" \t\r\n\f");
  const std::string text = b == std::string::npos ? "html" : body.substr(b, e - b + 1);
  return "<!DOCTYPE " + text + ">";
}

std::string HKTplEscapeText(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '<') {
      out += "&lt;";
    } else {
      out += c;
    }
  }
  return out;
}

std::string HKTplFixPage(const std::string& text, HKTplFixStats& stats) {
  HKFixer fixer(text, stats);
  return fixer.Run();
}

}  // namespace hktpl
