#include "hktemplatechecker.h"

#include <algorithm>
#include <list>
#include <sstream>

#include <toviktwo/documents/html/hkdatareader.h>
#include <toviktwo/documents/html/hkhtmldocument.h>

#include "hktemplatediagnose.h"
#include "hktemplatefixer.h"
#include "hktemplatelexer.h"

namespace hktpl {

namespace {

constexpr std::size_t kContextChars = 60;             // shown on each side of the marker in long lines
constexpr std::size_t kMaxRounds = 4 * kMaxProblems;  // repairs tried, counting repeats at one place

// The message the reader put on the page (the text of its <pre>).
std::string hkShownError(HKHTML_Document2& document) {
  std::list<HKXMLComplexElement*> pres;
  document.findObjects("pre", pres, -1);
  if (pres.empty()) return "";
  std::ostringstream os;
  pres.back()->AsText(os);
  return os.str();
}

// Line starts of a text, for turning positions into lines and columns.
class HKLines {
 public:
  explicit HKLines(const std::string& text) {
    _starts.push_back(0);
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text[i] == '\n') _starts.push_back(i + 1);
    }
  }
  HKTplPlace Place(std::size_t position) const {
    HKTplPlace p;
    p.position = position;
    const auto it = std::upper_bound(_starts.begin(), _starts.end(), position);
    p.line = static_cast<std::size_t>(it - _starts.begin());
    p.column = position - _starts[p.line - 1] + 1;
    return p;
  }
  std::size_t Start(std::size_t line) const { return _starts[line - 1]; }

 private:
  std::vector<std::size_t> _starts;
};

// A working copy of the text whose every byte knows its position in the original.
struct HKPatchedText {
  std::string text;
  std::vector<std::size_t> origin;
  explicit HKPatchedText(const std::string& original) : text(original), origin(original.size() + 1) {
    for (std::size_t i = 0; i < origin.size(); ++i) origin[i] = i;
  }
  std::size_t Origin(std::size_t position) const { return origin[std::min(position, text.size())]; }
  void Replace(std::size_t begin, std::size_t end, const std::string& replacement) {
    const std::size_t at = Origin(begin);
    text.replace(begin, end - begin, replacement);
    origin.erase(origin.begin() + static_cast<long>(begin), origin.begin() + static_cast<long>(end));
    origin.insert(origin.begin() + static_cast<long>(begin), replacement.size(), at);
  }
};

// Content a page that reads still loses.
void hkWarnings(const std::string& text, const HKLines& lines, HKTplCheckResult& result) {
  const std::vector<HKTplToken> tokens = HKTplTokenize(text);
  bool hasHtml = false;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    const HKTplToken& t = tokens[i];
    const std::string lower = HKTplLower(t.name);
    if (t.kind == HKTplKind::StartTag && lower == "html") hasHtml = true;
    const bool openVoid = t.kind == HKTplKind::StartTag && HKTplIsVoid(lower) && !t.selfClosing;
    if (openVoid && i + 1 < tokens.size() && tokens[i + 1].kind == HKTplKind::Text) {
      const char c = text[tokens[i + 1].begin];
      if (c != ' ' && c != '\t' && c != '\n' && c != '\r' && c != '<') {
        result.warnings.push_back(
            {lines.Place(t.begin),
             {"void-tag",
              "<" + lower + "> without \"/>\" swallows the word after it: write <" + lower + "/>"}});
      }
    }
    if (t.kind == HKTplKind::Comment && !t.body.empty() && t.body.back() == '-') {
      result.warnings.push_back({lines.Place(t.begin),
                                 {"comment-end",
                                  "this comment ends in \"--->\", which the reader does not take as "
                                  "its end: what follows up to the next \"-->\" is lost"}});
    }
  }
  if (!hasHtml) {
    result.warnings.push_back({lines.Place(0),
                               {"no-html",
                                "a session shows only what stands inside <html>...</html>, and this "
                                "page has no <html> element"}});
  }
}

void hkListProblems(const std::string& original, std::string message, HKTplCheckResult& result) {
  HKPatchedText work(original);
  const HKLines lines(original);
  std::size_t lastMarker = std::string::npos;
  std::string lastMessage;
  for (std::size_t round = 0;; ++round) {
    if (result.problems.size() >= kMaxProblems || round >= kMaxRounds) {
      result.complete = false;
      result.stopReason = "more than " + std::to_string(kMaxProblems) + " problems; run fix";
      return;
    }
    const HKTplFailure failure = HKTplSteppedRead(work.text);
    const HKTplDiagnosis d = failure.failed ? HKTplDiagnose(work.text, failure) : HKTplDiagnosis();
    HKTplProblem problem{lines.Place(work.Origin(d.marker)), message, d.hints};
    if (!failure.failed) problem.hints.push_back({"unknown", "the reader stops here for a reason not found"});
    const bool again = !result.problems.empty() &&
                       result.problems.back().place.position == problem.place.position &&
                       result.problems.back().message == message;
    if (again) {
      ++result.problems.back().times;
    } else {
      result.problems.push_back(problem);
    }
    const bool repeated = (d.marker == lastMarker && message == lastMessage) ||
                          work.text.compare(d.repairBegin, d.repairEnd - d.repairBegin, d.replacement) == 0;
    if (!d.hasRepair || repeated) {
      result.complete = false;
      result.stopReason = "the rest of the file can be checked once this problem is repaired";
      return;
    }
    lastMarker = d.marker;
    lastMessage = message;
    work.Replace(d.repairBegin, d.repairEnd, d.replacement);
    if (HKTplReadTextAsSession(work.text, message)) return;
  }
}

HKTplCheckResult hkCheck(const std::string& text, bool reads, const std::string& message) {
  HKTplCheckResult result;
  result.reads = reads;
  if (reads) {
    hkWarnings(text, HKLines(text), result);
  } else {
    hkListProblems(text, message, result);
  }
  return result;
}

// The source line of a place, cut to a window around the column, and the
// marker line below it.
std::string hkSourceExcerpt(const std::string& text, const HKLines& lines, const HKTplPlace& place) {
  const std::size_t start = lines.Start(place.line);
  std::size_t end = text.find('\n', start);
  if (end == std::string::npos) end = text.size();
  std::size_t from = start;
  std::size_t to = end;
  const std::size_t at = std::min(place.position, end);
  if (at - from > kContextChars) from = at - kContextChars;
  if (to - at > kContextChars) to = at + kContextChars;
  std::string line = text.substr(from, to - from);
  if (!line.empty() && line.back() == '\r') line.pop_back();
  std::string marker;
  for (std::size_t i = from; i < at; ++i) marker += text[i] == '\t' ? '\t' : ' ';
  const std::string number = std::to_string(place.line);
  std::ostringstream os;
  os << "  " << number << " | " << (from > start ? "..." : "") << line << (to < end ? "..." : "") << "\n";
  os << "  " << std::string(number.size(), ' ') << " | " << (from > start ? "   " : "") << marker << "^\n";
  return os.str();
}

}  // namespace

bool HKTplReadFileAsSession(const std::string& path, std::string& message) {
  HKHTML_Document2 document(0);
  HKDataReader reader;
  if (reader.ReadHTMLDocument(path, document)) return true;
  message = hkShownError(document);
  return false;
}

bool HKTplReadTextAsSession(const std::string& text, std::string& message) {
  HKHTML_Document2 document(0);
  HKDataReader reader;
  if (reader.ReadHTMLDocumentFromString(text, document)) return true;
  message = hkShownError(document);
  return false;
}

HKTplCheckResult HKTplCheckFile(const std::string& path, const std::string& text) {
  std::string message;
  const bool reads = HKTplReadFileAsSession(path, message);
  return hkCheck(text, reads, message);
}

HKTplCheckResult HKTplCheckText(const std::string& text) {
  std::string message;
  const bool reads = HKTplReadTextAsSession(text, message);
  return hkCheck(text, reads, message);
}

std::string HKTplFormatReport(const std::string& file, const std::string& text,
                              const HKTplCheckResult& result) {
  const HKLines lines(text);
  std::ostringstream os;
  for (const HKTplProblem& p : result.problems) {
    os << file << ":" << p.place.line << ":" << p.place.column << ": " << p.message
       << (p.times > 1 ? " (" + std::to_string(p.times) + " times here)" : "") << "\n";
    os << hkSourceExcerpt(text, lines, p.place);
    for (const HKTplHint& h : p.hints) os << "  hint [" << h.id << "]: " << h.text << "\n";
  }
  for (const HKTplWarning& w : result.warnings) {
    os << file << ":" << w.place.line << ":" << w.place.column << ": warning [" << w.hint.id
       << "]: " << w.hint.text << "\n";
  }
  if (result.reads) {
    os << file << ": reads as a template\n";
  } else {
    os << file << ": does not read (" << result.problems.size() << " problem"
       << (result.problems.size() == 1 ? "" : "s") << (result.complete ? "" : " listed; " + result.stopReason)
       << ")\n";
  }
  return os.str();
}

}  // namespace hktpl
