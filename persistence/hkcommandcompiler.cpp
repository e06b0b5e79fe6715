#include <toviktwo/persistence/hkcommandcompiler.h>

#include <stdexcept>
#include <utility>
#include <vector>

namespace {

constexpr const char* kError = "/* error */\n";
constexpr const char* kLinearAnimation = "linearanimation(";
// The function and its seven arguments.
constexpr std::size_t kLinearAnimationParts = 8;
constexpr std::size_t kFailed = std::string::npos;

struct Stop {
  double percent;
  const std::string* declarations;
};

}  // namespace

// ---- scanners

std::size_t HKCommandCompiler::_IsCssCommand(const std::string& text, std::size_t pos, std::size_t failure) {
  return pos < text.size() && text.compare(pos, _commandSign.size(), _commandSign) == 0
             ? pos + _commandSign.size()
             : failure;
}

std::size_t HKCommandCompiler::_IsWS(const std::string& text, std::size_t pos, std::size_t failure) {
  const std::size_t end = text.find_first_not_of(_whiteSpace, pos);
  const std::size_t stop = end == std::string::npos ? text.size() : end;
  return stop > pos ? stop : failure;
}

std::size_t HKCommandCompiler::_IsFct(const std::string& text, std::size_t pos, std::size_t failure) {
  if (pos >= text.size() || _identifierStart.find(text[pos]) == std::string::npos) return failure;
  std::size_t end = text.find_first_not_of(_identifierRest, pos + 1);
  if (end == std::string::npos || text.compare(end, _callOpen.size(), _callOpen) != 0) return failure;
  return end + _callOpen.size();
}

std::size_t HKCommandCompiler::_IsArg(const std::string& text, std::size_t pos, std::size_t failure) {
  const std::size_t end = text.find_first_of(_listSeparator + _callClose, pos);
  return end == std::string::npos ? failure : end;
}

std::size_t HKCommandCompiler::_IsListSep(const std::string& text, std::size_t pos, std::size_t failure) {
  return pos < text.size() && text.compare(pos, _listSeparator.size(), _listSeparator) == 0
             ? pos + _listSeparator.size()
             : failure;
}

std::size_t HKCommandCompiler::_IsFktCallClose(const std::string& text, std::size_t pos,
                                               std::size_t failure) {
  return pos < text.size() && text.compare(pos, _callClose.size(), _callClose) == 0 ? pos + _callClose.size()
                                                                                    : failure;
}

std::string HKCommandCompiler::_stripcontent(const std::string& text) {
  if (text.size() >= 2 && _quotes.find(text.front()) != std::string::npos &&
      _quotes.find(text.back()) != std::string::npos) {
    return text.substr(1, text.size() - 2);
  }
  return text;
}

// ---- parsing

std::string HKCommandCompiler::CSSCommand(const std::string& text) {
  std::list<std::string> call;
  std::size_t pos = _IsCssCommand(text, 0, kFailed);
  if (pos != kFailed) {
    pos = _IsWS(text, pos, pos);
    const std::size_t open = _IsFct(text, pos, kFailed);
    if (open != kFailed) {
      call.push_back(text.substr(pos, open - pos));
      pos = _IsWS(text, open, open);
      while (true) {
        pos = _IsWS(text, pos, pos);
        const std::size_t end = _IsArg(text, pos, kFailed);
        if (end == kFailed) break;
        call.push_back(text.substr(pos, end - pos));
        pos = _IsWS(text, end, end);
        if (_IsFktCallClose(text, pos, kFailed) != kFailed) break;
        pos = _IsListSep(text, pos, kFailed);
        if (pos == kFailed) break;
      }
    }
  }
  return _docommand(call);
}

// ---- expansion

std::string HKCommandCompiler::_docommand(std::list<std::string>& call) {
  if (call.empty() || call.front() != kLinearAnimation) return kError;
  // Fewer than seven arguments: the same error as an unknown command.
  if (call.size() < kLinearAnimationParts) return kError;
  std::vector<std::string> arg(call.begin(), call.end());
  const std::string selector = _stripcontent(arg[1]);
  const std::string duration = _stripcontent(arg[2]);
  const std::string properties = _stripcontent(arg[3]);
  const std::string on = _stripcontent(arg[5]);
  const std::string off = _stripcontent(arg[6]);
  unsigned long count = 0;
  double overlap = 0.0;
  try {
    count = std::stoul(arg[4]);
    // The overlap is read by the same integer rules as the count ("2.5" is 2).
    overlap = static_cast<double>(std::stoul(arg[7]));
  } catch (const std::exception&) {
    return kError;
  }
  if (count < 2) return std::string();
  const bool marked = !selector.empty() && (selector.front() == '.' || selector.front() == '#');
  const std::string base = marked ? selector.substr(1) : selector;
  std::ostringstream out;
  for (unsigned long i = 0; i < count; ++i) {
    const std::string name = base + std::to_string(i);
    out << selector << i << " {\n";
    out << "  -webkit-animation: " << name << " " << duration << " " << properties << ";\n";
    out << "  animation: " << name << " " << duration << " " << properties << ";\n";
    out << "}\n\n";
    _keyframes(out, "-webkit-keyframes", name, count, i, on, off, overlap);
    _keyframes(out, "keyframes", name, count, i, on, off, overlap);
  }
  return out.str();
}

void HKCommandCompiler::_keyframes(std::ostringstream& out, const std::string& keyword,
                                   const std::string& name, unsigned long count, unsigned long index,
                                   const std::string& on, const std::string& off, double overlap) {
  const double w = 100.0 / static_cast<double>(count);
  const double at = static_cast<double>(index) * w;
  std::vector<Stop> middle;
  const std::string* first = &off;
  const std::string* last = &off;
  if (index == 0) {
    first = &on;
    last = &on;
    middle = {{w - overlap, &on}, {w, &off}, {100.0 - overlap, &off}};
  } else if (index + 1 < count) {
    middle = {{at - overlap, &off}, {at, &on}, {at + w - overlap, &on}, {at + w, &off}};
  } else {
    middle = {{at - overlap, &off}, {at, &on}, {100.0 - overlap, &on}};
  }
  out << "@" << keyword << " " << name << " {\n";
  out << "0% {\n  " << *first << "\n}\n";
  for (const Stop& stop : middle) out << stop.percent << "% {\n  " << *stop.declarations << "\n}\n";
  out << "100% {\n  " << *last << "\n}\n";
  out << "}\n\n";
}
