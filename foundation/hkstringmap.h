// Text split into columns, key/value texts, and marked content in pages.
#pragma once

#include <map>
#include <string>
#include <vector>

// A text cut at a separator into columns. Empty pieces in front of a
// separator are kept unless `skipEmpty`; the piece behind the last separator
// counts only when it is not empty.
class HKStringMap1 {
 public:
  HKStringMap1(std::string text, std::string separator, bool skipEmpty);
  const std::vector<std::string>& GetTheStrings() const& { return _columns; }
  // On a temporary the columns are moved out, so that a range-for over
  // HKStringMap1(...).GetTheStrings() does not dangle.
  std::vector<std::string> GetTheStrings() && { return std::move(_columns); }
  unsigned long NumberOfColumns() const { return _columns.size(); }
  unsigned long size() const { return _columns.size(); }
  // A copy of column `n`, or an empty string when there is none.
  std::string GetColumn(unsigned long n) const;
  // Unchecked.
  std::string& operator[](unsigned long n) { return _columns[n]; }

 private:
  std::vector<std::string> _columns;
};

// Lines of key and value read into a map; the last line of a key decides.
class HKStringMap2 {
 public:
  HKStringMap2(std::string text, std::string lineSeparator, std::string pairSeparator, std::string stripSet);
  const std::map<std::string, std::string>& GetMap() const { return _map; }
  // Prints each entry as "[key] = value" to standard output.
  void Dump() const;

 private:
  std::map<std::string, std::string> _map;
};

// Replaces what stands between "<!--begin_NAME-->" and "<!--end_NAME-->" by
// `content`, for every such pair; the marks stay. True when at least one
// replacement was made.
bool ReplaceMarkedContentHTML(std::string& text, const std::string& name, const std::string& content);

// Makes one page per language from a template file.
//
// The template lists the language codes, comma-separated, between
// "<!--begin_LangCodes-->" and "<!--end_LangCodes-->" ("EN" when absent) and
// holds the page between "<!--begin_HTMLBase-->" and "<!--end_HTMLBase-->".
// For language L each section NAME marked in the page is filled with the
// template's section "NAME_L" (or, when the template has none, "NAME_" plus
// the first language). The section "PageCode" receives a language meta tag,
// a script setting `HKPageCode`, and one alternate link per language.
// The page of language L is written to `outputPath` with "_L" put in front of
// its extension ("site/index.html" -> "site/index_DE.html"); links point to
// `urlBase` followed by that file's name. "writing " and the file name go to
// standard output. Returns the number of pages written, 0 when the template
// cannot be read or has no base section.
unsigned long ReplaceMarkedContentHTMLFile(const std::string& templatePath, const std::string& outputPath,
                                           const std::string& urlBase);
