#include <toviktwo/foundation/hkstringmap.h>

#include <fstream>
#include <iostream>
#include <set>

#include <toviktwo/foundation/hkstringtools.h>

HKStringMap1::HKStringMap1(std::string text, std::string separator, bool skipEmpty) {
  std::string::size_type pos = 0;
  if (!separator.empty()) {
    for (auto f = text.find(separator); f != std::string::npos; f = text.find(separator, pos)) {
      std::string piece = text.substr(pos, f - pos);
      if (!skipEmpty || !piece.empty()) _columns.push_back(std::move(piece));
      pos = f + separator.size();
    }
  }
  if (pos < text.size()) _columns.push_back(text.substr(pos));
}

std::string HKStringMap1::GetColumn(unsigned long n) const {
  return n < _columns.size() ? _columns[n] : std::string();
}

HKStringMap2::HKStringMap2(std::string text, std::string lineSeparator, std::string pairSeparator,
                           std::string stripSet) {
  std::vector<std::string> lines;
  std::string::size_type pos = 0;
  if (!lineSeparator.empty()) {
    for (auto f = text.find(lineSeparator); f != std::string::npos; f = text.find(lineSeparator, pos)) {
      lines.push_back(text.substr(pos, f - pos));
      pos = f + lineSeparator.size();
    }
  }
  lines.push_back(text.substr(pos));
  for (const auto& line : lines) {
    HKStringMap1 cols(line, pairSeparator, false);
    std::string key, value;
    if (cols.size() == 2) {
      key = cols[0];
      value = cols[1];
    } else if (cols.size() == 1) {
      key = cols[0];
    } else {
      continue;
    }
    if (!stripSet.empty()) {
      key = HKStripWhitespaces(key, stripSet);
      value = HKStripWhitespaces(value, stripSet);
    }
    _map[key] = value;
  }
}

void HKStringMap2::Dump() const {
  for (const auto& [k, v] : _map) std::cout << "[" << k << "] = " << v << std::endl;
}

bool ReplaceMarkedContentHTML(std::string& text, const std::string& name, const std::string& content) {
  const std::string begin = "<!--begin_" + name + "-->";
  const std::string end = "<!--end_" + name + "-->";
  bool replaced = false;
  auto pos = text.find(begin);
  while (pos != std::string::npos) {
    const auto inner = pos + begin.size();
    auto resume = inner;
    const auto e = text.find(end, pos);
    if (e != std::string::npos && e >= inner) {
      text.replace(inner, e - inner, content);
      replaced = true;
      // Begin marks inside the new content are not handled again, so content
      // that holds its own mark cannot make the call run for ever. For every
      // other content this finds the same next mark as a search right behind
      // the begin mark would.
      resume = inner + content.size();
    }
    pos = text.find(begin, resume);
  }
  return replaced;
}

namespace {

// The text between the begin and end marks of `name`, if both are present.
bool markedSection(const std::string& text, const std::string& name, std::string& out) {
  const std::string begin = "<!--begin_" + name + "-->";
  const std::string end = "<!--end_" + name + "-->";
  const auto b = text.find(begin);
  if (b == std::string::npos) return false;
  const auto inner = b + begin.size();
  const auto e = text.find(end, inner);
  if (e == std::string::npos) return false;
  out = text.substr(inner, e - inner);
  return true;
}

// Names of all begin marks in `text`, in order, without repetition.
std::vector<std::string> markedNames(const std::string& text) {
  static const std::string open = "<!--begin_";
  std::vector<std::string> names;
  std::set<std::string> seen;
  for (auto p = text.find(open); p != std::string::npos; p = text.find(open, p + 1)) {
    const auto close = text.find("-->", p + open.size());
    if (close == std::string::npos) break;
    std::string n = text.substr(p + open.size(), close - p - open.size());
    if (seen.insert(n).second) names.push_back(n);
  }
  return names;
}

std::string pageFileName(const std::string& outputPath, const std::string& lang) {
  const auto slash = outputPath.find_last_of("/\\");
  const auto dot = outputPath.find_last_of('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return outputPath + "_" + lang;
  return outputPath.substr(0, dot) + "_" + lang + outputPath.substr(dot);
}

}  // namespace

unsigned long ReplaceMarkedContentHTMLFile(const std::string& templatePath, const std::string& outputPath,
                                           const std::string& urlBase) {
  std::ifstream in(templatePath, std::ios::in | std::ios::binary);
  if (!in) return 0;
  std::string tmpl;
  char block[65000];
  while (in) {
    in.read(block, sizeof block);
    tmpl.append(block, static_cast<std::string::size_type>(in.gcount()));
  }

  std::string base;
  if (!markedSection(tmpl, "HTMLBase", base)) return 0;
  std::string codes = "EN";
  std::string listed;
  if (markedSection(tmpl, "LangCodes", listed) && !HKStripWhitespaces(listed, " \t\r\n").empty())
    codes = listed;
  std::vector<std::string> langs;
  const HKStringMap1 columns(codes, ",", true);
  for (const auto& c : columns.GetTheStrings()) {
    const std::string l = HKStripWhitespaces(c, " \t\r\n");
    if (!l.empty()) langs.push_back(l);
  }
  if (langs.empty()) langs.push_back("EN");

  std::string links;
  for (const auto& l : langs)
    links += "<link rel=\"alternate\" hreflang=\"" + HKLowerCase(l) + "\" href=\"" + urlBase +
             FilenameLastPart(pageFileName(outputPath, l)) + "\" />\n";

  const std::vector<std::string> names = markedNames(base);
  unsigned long written = 0;
  for (const auto& lang : langs) {
    std::string page = base;
    for (const auto& n : names) {
      if (n == "PageCode") continue;
      std::string content;
      if (markedSection(tmpl, n + "_" + lang, content) ||
          markedSection(tmpl, n + "_" + langs.front(), content))
        ReplaceMarkedContentHTML(page, n, content);
    }
    const std::string code = "<meta http-equiv=\"content-language\" content=\"" + HKLowerCase(lang) +
                             "\" />\n<script>var HKPageCode=\"" + lang + "\";</script>\n" + links;
    ReplaceMarkedContentHTML(page, "PageCode", code);

    const std::string file = pageFileName(outputPath, lang);
    std::cout << "writing " << file << std::endl;
    std::ofstream out(file, std::ios::out | std::ios::binary | std::ios::trunc);
    out << page;
    if (out) ++written;
  }
  return written;
}
