// A text reader takes its characters straight from the text while reading
// (and a transaction looks at the text in place instead of copying what it
// takes). A reader of a class derived from HKDTDElementReaderString goes the
// plain way, character by character through the virtual source functions.
// Both must come to the same in every respect: tree, error message, line,
// position, and what is left in the pushback buffer.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "xml_test_util.h"

namespace {

// The same source, without the direct access.
class PlainStringReader : public HKDTDElementReaderString {
 public:
  using HKDTDElementReaderString::HKDTDElementReaderString;
};

// Everything observable about reading `text` in `grammar`: `single` reads
// token by token (up to a limit) until the end or an error.
std::string Observe(HKDTDElementReaderString& reader, const std::string& grammar, bool single) {
  std::string log;
  for (int round = 0; round < (single ? 200 : 1); ++round) {
    try {
      HKXMLComplexElement* top = reader.read(grammar, single);
      log += "tree[" + xmltest::PrintedChildren(*top) + "]";
    } catch (const std::exception& e) {
      log += "error[" + std::string(e.what()) + "]";
      break;
    }
    if (reader.eof()) break;
  }
  log += " line " + std::to_string(static_cast<unsigned long>(reader.line()));
  log += " position " + std::to_string(reader.position());
  log += reader.hasPushback() ? " pushback" : " no pushback";
  // What is left, given back characters first.
  log += " rest[";
  for (int i = 0; i < 64 && !reader.eof(); ++i) log += std::to_string(reader.get()) + ",";
  log += "] line " + std::to_string(static_cast<unsigned long>(reader.line()));
  return log;
}

void ExpectSameBothWays(const std::string& input, const std::string& grammar) {
  for (bool single : {false, true}) {
    std::string a = input;
    std::string b = input;
    HKDTDElementReaderString direct(a, 0);
    PlainStringReader plain(b, 0);
    EXPECT_EQ(Observe(direct, grammar, single), Observe(plain, grammar, single))
        << "grammar " << grammar << (single ? " single" : "") << ", input: " << input;
  }
}

const char* const kGrammars[] = {"xml", "html", "xmlhtml", "css", "cssRule"};

TEST(XmlReaderDirect, SameAsPlainSourceOnChosenTexts) {
  const std::vector<std::string> inputs = {
      "<a>text and  more\n<b x='1' y=\"2\" z>w</b></a>",
      "<?xml version=\"1.0\"?>\n<!-- c -- d --->\n<r/>",
      "<!-x", "<!-", "<!--", "<1", "<a", "<a ", "<a x='1", "<a x=1>", "</", "< x", "<a/ >",
      "<a>\n<b>\n</a>", "<a>\xff</a>", "<a x='\xff'>", "<\xc3\xa4/>", "gr\xc3\xbc\xc3\x9f \xe2\x82\xac",
      "a { color: red ; }  b{x:y}", "@media x { a { b: c } }", "/* c */ p { q: r\n\n }", "<!-- x -->",
      "<!DOCTYPE html><p>a</p>", "<!DOCTYPE", "<? never closed", "<a><b></a>", " \n\t\r ", "",
  };
  for (const std::string& input : inputs) {
    for (const char* grammar : kGrammars) ExpectSameBothWays(input, grammar);
  }
}

TEST(XmlReaderDirect, SameAsPlainSourceOnGeneratedTexts) {
  const std::vector<std::string> pieces = {
      "<", ">", "/", "!", "-", "?", "a", "b", "=", "'", "\"", " ", "\n", "\t", "\xff", "\xc3\xa4", "<!--", "-->",
      "<?", "?>", "<a", "</a>", "<b>", " x='1'", " y", "{", "}", ";", "@", "/*", "*/", "word", ":", "<!DOCTYPE ",
  };
  // A fixed linear congruential sequence: the same texts in every run.
  std::uint32_t state = 12345;
  auto next = [&state](std::uint32_t bound) {
    state = state * 1103515245u + 12345u;
    return (state >> 8) % bound;
  };
  for (int n = 0; n < 400; ++n) {
    std::string input;
    const std::uint32_t length = 1 + next(24);
    for (std::uint32_t i = 0; i < length; ++i) input += pieces[next(static_cast<std::uint32_t>(pieces.size()))];
    for (const char* grammar : kGrammars) ExpectSameBothWays(input, grammar);
  }
}

}  // namespace
