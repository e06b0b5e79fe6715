#include "hktemplatediagnose.h"

#include <cctype>
#include <map>
#include <set>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/xml/hkdtdelementreader.h>
#include <toviktwo/xml/hkxmlelement.h>

#include "hktemplatecss.h"
#include "hktemplatefixer.h"
#include "hktemplatelexer.h"

namespace hktpl {

namespace {

constexpr std::size_t kNoPosition = std::string::npos;
const char* const kTopName = "HKXMLContentSplitter::TOP";

// End tags that HTML lets an author leave out.
const std::set<std::string> kOptionalEnd = {
    "p",      "li",       "dt",       "dd",      "tr",   "td",   "th",   "thead", "tbody", "tfoot",
    "option", "optgroup", "colgroup", "caption", "head", "body", "html", "rb",    "rt",    "rp"};

bool hkStartsWith(const std::string& s, const std::string& prefix) {
  return s.compare(0, prefix.size(), prefix) == 0;
}

HKTplToken hkTokenAt(const std::string& text, std::size_t at) {
  HKTplLexer lexer(text, at);
  HKTplToken t;
  lexer.Next(t);
  return t;
}

// The text between the quotes of "...'x' ... '/y'" messages.
std::string hkQuotedPart(const std::string& message, std::size_t nth) {
  std::size_t from = 0;
  for (std::size_t i = 0; i < nth; ++i) {
    from = message.find('\'', from);
    if (from == std::string::npos) return "";
    from = message.find('\'', from + 1);
    if (from == std::string::npos) return "";
    ++from;
  }
  const std::size_t open = message.find('\'', from);
  if (open == std::string::npos) return "";
  const std::size_t close = message.find('\'', open + 1);
  return close == std::string::npos ? "" : message.substr(open + 1, close - open - 1);
}

std::size_t hkOpenStart(const HKTplFailure& f, const std::string& name) {
  for (const auto& [type, start] : f.open) {
    if (type == name) return start;
  }
  return kNoPosition;
}

void hkRepair(HKTplDiagnosis& d, std::size_t begin, std::size_t end, std::string replacement) {
  d.hasRepair = true;
  d.repairBegin = begin;
  d.repairEnd = end;
  d.replacement = std::move(replacement);
}

void hkHint(HKTplDiagnosis& d, const char* id, std::string text) { d.hints.push_back({id, std::move(text)}); }

// ---- causes inside style and script elements ----

void hkStyleDiagnosis(const std::string& text, const HKTplFailure& f, HKTplDiagnosis& d) {
  const std::size_t start = hkOpenStart(f, "style");
  if (start == kNoPosition) return;
  HKTplLexer lexer(text, start);
  HKTplToken tag;
  HKTplToken raw;
  lexer.Next(tag);
  if (!lexer.Next(raw) || raw.kind != HKTplKind::RawText) return;
  HKTplCssFindings findings;
  const std::string css = HKTplCompactCss(raw.body, findings);
  for (auto& [id, hint] : HKTplCssHints(findings)) d.hints.push_back({id, hint});
  if (d.hints.empty()) {
    hkHint(d, "css-other",
           "every rule needs \"{\" and \"}\", every property \"name:value\"; the reader stops here");
  }
  if (css != raw.body) hkRepair(d, raw.begin, raw.end, css);
}

void hkScriptDiagnosis(const std::string& text, const HKTplFailure& f, HKTplDiagnosis& d) {
  const std::size_t start = hkOpenStart(f, "script");
  hkHint(d, "script-text",
         "script text is read as HTML, so a \"<\" in it opens a tag: enclose the script in a comment, "
         "\"<!--\" on a line of its own before it and \"//-->\" after it");
  if (start == kNoPosition) return;
  HKTplLexer lexer(text, start);
  HKTplToken tag;
  HKTplToken raw;
  lexer.Next(tag);
  if (!lexer.Next(raw) || raw.kind != HKTplKind::RawText) return;
  const std::string wrapped = HKTplWrapScript(raw.body);
  if (wrapped != raw.body) hkRepair(d, raw.begin, raw.end, wrapped);
}

// ---- causes in a start tag ----

void hkVoidHint(HKTplDiagnosis& d, const std::string& name) {
  hkHint(d, "void-tag",
         "<" + name + "> takes no end tag and must be closed with \"/>\": write <" + name +
             "/> (otherwise it swallows what follows it)");
}

// Hints for everything in the start tag at `at` that the reader refuses, and
// the tag rewritten as repair.
void hkStartTagDiagnosis(const std::string& text, std::size_t at, HKTplDiagnosis& d) {
  const HKTplToken tag = hkTokenAt(text, at);
  const std::string lower = HKTplLower(tag.name);
  bool marked = false;
  auto mark = [&](std::size_t pos) {
    if (!marked) d.marker = pos;
    marked = true;
  };
  std::set<std::string> given;
  auto once = [&](const char* id, const std::string& hint, std::size_t pos) {
    mark(pos);
    if (given.insert(id).second) hkHint(d, id, hint);
  };
  for (const HKTplAttribute& a : tag.attributes) {
    if (!HKTplIsReaderName(a.name)) {
      once(
          "attribute-name",
          "attribute names are letters, digits, \"-\" and \"_\" only: write lang for xml:lang, and leave out "
          "xmlns:... and other names with \":\" (here: " +
              a.name + ")",
          a.begin);
    }
    if (a.hasValue && a.blankAroundEq) {
      once("attribute-blank", "no blank may stand around \"=\": write " + a.name + "=\"" + a.value + "\"",
           a.begin);
    }
    if (a.hasValue && a.quote == 0) {
      once("attribute-unquoted", "attribute values must be quoted: write " + a.name + "=\"" + a.value + "\"",
           a.begin);
    }
  }
  if (d.hints.empty()) {
    hkHint(d, "tag-syntax",
           "the reader cannot take this tag: a tag is <name attr=\"value\" flag> with nothing else in it");
  }
  const bool isVoid = HKTplIsVoid(lower);
  if (isVoid && !tag.selfClosing) hkVoidHint(d, lower);
  HKTplFixStats ignored;
  hkRepair(d, tag.begin, tag.end, HKTplWriteStartTag(tag, tag.selfClosing || isVoid, false, ignored));
}

// ---- "reading error": no token reader takes the text here ----

void hkReadingErrorDiagnosis(const std::string& text, std::size_t at, HKTplDiagnosis& d) {
  const HKTplToken t = hkTokenAt(text, at);
  if (t.kind == HKTplKind::Comment) {
    hkHint(
        d, "comment-end",
        "the reader ends a comment only at \"--\" followed by \">\" counted in pairs from the first dash, so "
        "\"--->\" does not end it: write \" -->\"");
    if (t.closed) hkRepair(d, t.begin, t.end, HKTplWriteComment(t.body));
  } else if (t.kind == HKTplKind::Doctype) {
    hkHint(d, "doctype",
           "the DOCTYPE is read only as written: \"<!DOCTYPE html>\" in capitals with one blank");
    hkRepair(d, t.begin, t.end, HKTplWriteDoctype(t.body));
  } else if (t.kind == HKTplKind::CData || t.kind == HKTplKind::Markup || t.kind == HKTplKind::ProcInst) {
    hkHint(d, "declaration",
           "only <!DOCTYPE ...>, <!-- comments --> and <?...?> can be read: leave out <![CDATA[, <![if ...]> "
           "and "
           "the like (write CDATA content as text, with &lt; for \"<\")");
    hkRepair(d, t.begin, t.end, t.kind == HKTplKind::CData ? HKTplEscapeText(t.body) : "");
  } else if (t.kind == HKTplKind::StartTag) {
    hkStartTagDiagnosis(text, at, d);
  } else if (t.kind == HKTplKind::Text && text.compare(at, 1, "<") == 0) {
    hkHint(d, "less-than", "a \"<\" that does not open a tag must be written &lt;");
    hkRepair(d, at, at + 1, "&lt;");
  }
}

// ---- "incomplete tag 'x'": a tag name followed by something else ----

void hkIncompleteTagDiagnosis(const std::string& text, std::size_t at, HKTplDiagnosis& d) {
  const HKTplToken t = hkTokenAt(text, at);
  if (!HKTplIsReaderName(t.name)) {
    hkHint(d, "tag-name",
           "tag names are letters, digits, \"-\" and \"_\" only (no \":\" or \".\"): leave out <" + t.name +
               "> and its end tag");
    hkRepair(d, t.begin, t.end, "");
  } else if (t.kind == HKTplKind::EndTag) {
    hkHint(d, "end-tag-blank", "an end tag is written with nothing after its name: </" + t.name + ">");
    hkRepair(d, t.begin, t.end, "</" + t.name + ">");
  } else {
    hkStartTagDiagnosis(text, at, d);
  }
}

// ---- "wrong closing tag 'x' instead '/y'" ----

void hkClosingDiagnosis(const std::string& text, const HKTplFailure& f, HKTplDiagnosis& d) {
  const std::string x = hkQuotedPart(f.message, 0);
  const std::string instead = hkQuotedPart(f.message, 1);
  const std::string y = instead.empty() ? instead : instead.substr(1);
  const HKTplToken t = hkTokenAt(text, f.tokenStart);
  if (HKTplIsVoid(HKTplLower(y)) && !f.open.empty() && f.open.front().second != kNoPosition) {
    d.marker = f.open.front().second;
    hkVoidHint(d, y);
    const HKTplToken tag = hkTokenAt(text, d.marker);
    HKTplFixStats ignored;
    hkRepair(d, tag.begin, tag.end, HKTplWriteStartTag(tag, true, false, ignored));
    return;
  }
  const std::string xn = x.empty() || x[0] != '/' ? x : x.substr(1);
  std::string openAs;  // an open element of that name in another case
  bool openExact = false;
  for (const auto& entry : f.open) {
    if (entry.first == xn) openExact = true;
    if (entry.first != xn && HKTplLower(entry.first) == HKTplLower(xn) && openAs.empty())
      openAs = entry.first;
  }
  if (y == kTopName || (!openExact && openAs.empty())) {
    hkHint(d, "stray-end-tag", "</" + xn + "> has no open <" + xn + "> to close: leave it out");
    hkRepair(d, t.begin, t.end, "");
  } else if (!openExact) {
    hkHint(d, "tag-case",
           "start and end tags must be written in the same case (best lower case): <" + openAs +
               "> is closed by </" + xn + ">");
    hkRepair(d, t.begin, t.end, "</" + openAs + ">");
  } else if (kOptionalEnd.count(HKTplLower(y))) {
    hkHint(d, "omitted-end-tag",
           "HTML lets </" + y + "> be left out, the template dialect does not: write </" + y + "> before </" +
               xn + ">");
    hkRepair(d, t.begin, t.begin, "</" + y + ">");
  } else {
    hkHint(d, "misnested",
           "<" + y + "> is still open: close elements in the reverse order of opening, </" + y + "></" + xn +
               ">");
    hkRepair(d, t.begin, t.begin, "</" + y + ">");
  }
}

bool hkInside(const HKTplFailure& f, const char* name) { return hkOpenStart(f, name) != kNoPosition; }

// A start tag whose attribute could not be taken (an attribute kept as a number).
void hkAttributeValueDiagnosis(const std::string& text, std::size_t at, HKTplDiagnosis& d) {
  const HKTplToken tag = hkTokenAt(text, at);
  if (tag.kind != HKTplKind::StartTag) return;
  const std::string lower = HKTplLower(tag.name);
  for (const HKTplAttribute& a : tag.attributes) {
    if (HKTplKeepsNumber(lower, HKTplLower(a.name)) && !HKTplIsNumber(a.value)) {
      d.marker = a.begin;
      hkHint(
          d, "attribute-number",
          "<" + lower + "> keeps " + a.name + " as a number: write a number (value=\"0.5\") or leave it out");
      HKTplFixStats ignored;
      hkRepair(d, tag.begin, tag.end, HKTplWriteStartTag(tag, tag.selfClosing, false, ignored));
      return;
    }
  }
}

// The failure is at the end tag of the script or style element itself
// ("</style >", "</STYLE>"), which is judged as any end tag.
bool hkAtOwnEndTag(const std::string& text, const HKTplFailure& f, const char* element) {
  const HKTplToken t = hkTokenAt(text, f.tokenStart);
  return t.kind == HKTplKind::EndTag && HKTplLower(t.name) == element;
}

}  // namespace

HKTplFailure HKTplSteppedRead(const std::string& text) {
  HKTplFailure f;
  std::string copy = text;
  HKDTDElementReaderString reader(copy, 0);
  std::map<const HKXMLComplexElement*, std::size_t> starts;
  std::size_t stepStart = 0;
  HKXMLComplexElement* previous = reader.Splitter().getCurrentElement();
  try {
    // Every step takes at least one character or throws; the bound is a guard.
    for (std::size_t step = 0; step <= copy.size() + 1; ++step) {
      if (step > 0 && reader.eof()) break;
      if (!reader.hasPushback()) stepStart = reader.position();
      reader.read("html", true);
      HKXMLComplexElement* current = reader.Splitter().getCurrentElement();
      if (current != previous && current != nullptr && current->getParent() == previous)
        starts[current] = stepStart;
      previous = current;
    }
  } catch (const std::exception& e) {
    f.failed = true;
    f.message = e.what();
    f.tokenStart = stepStart;
    f.grammar = reader.Splitter().getCurrentDTD();
    for (HKXMLComplexElement* el = reader.Splitter().getCurrentElement(); el != nullptr;
         el = el->getParent()) {
      auto it = starts.find(el);
      f.open.emplace_back(el->GetTypeName(), it == starts.end() ? kNoPosition : it->second);
    }
  }
  return f;
}

HKTplDiagnosis HKTplDiagnose(const std::string& text, const HKTplFailure& f) {
  HKTplDiagnosis d;
  d.marker = f.tokenStart;
  const std::string& m = f.message;
  if (hkStartsWith(m, "error in stream")) {
    hkHint(d, "empty", "the file is empty or cannot be read");
  } else if (m.find("nested deeper") != std::string::npos) {
    hkHint(d, "nesting", "elements are nested too deep: end tags (</p>, </li>, </td>) are probably left out");
  } else if (hkInside(f, "script") && !hkAtOwnEndTag(text, f, "script")) {
    hkScriptDiagnosis(text, f, d);
  } else if ((hkInside(f, "style") || f.grammar == "css" || f.grammar == "cssRule") &&
             !hkAtOwnEndTag(text, f, "style")) {
    hkStyleDiagnosis(text, f, d);
  } else if (hkStartsWith(m, "wrong closing tag")) {
    hkClosingDiagnosis(text, f, d);
  } else if (hkStartsWith(m, "incomplete tag")) {
    hkIncompleteTagDiagnosis(text, f.tokenStart, d);
  } else if (hkStartsWith(m, "style syntax wrong")) {
    hkHint(d, "style-attribute",
           "a style attribute holds \"name:value\" pairs separated by \";\", and a value may not hold \":\" "
           "(as in url(http://...)): move such a declaration into the style sheet");
    const HKTplToken tag = hkTokenAt(text, f.tokenStart);
    for (const HKTplAttribute& a : tag.attributes) {
      if (HKTplLower(a.name) == "style") d.marker = a.begin;
    }
    HKTplFixStats ignored;
    hkRepair(d, tag.begin, tag.end, HKTplWriteStartTag(tag, tag.selfClosing, false, ignored));
  } else if (hkStartsWith(m, "reading error")) {
    hkReadingErrorDiagnosis(text, f.tokenStart, d);
  } else if (hkStartsWith(m, "element type 'xmlelement'")) {
    hkAttributeValueDiagnosis(text, f.tokenStart, d);
  }
  if (d.hints.empty()) hkHint(d, "unknown", "no hint known for this message; the reader stops at the marker");
  return d;
}

}  // namespace hktpl
