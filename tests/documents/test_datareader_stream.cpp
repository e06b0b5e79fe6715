// HKDataReader::Read from a stream takes the rest of the stream at once and
// reads it in place. It must come to the same as reading the stream character
// by character through HKDTDElementReaderStream: element, error text, and the
// stream's state afterwards, on chosen texts and on damaged variants of the
// test documents, in every grammar a page can be read in.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "doc_test_util.h"

namespace {

// What the reader of the stream gives, the old way.
std::string ReadCharacterWise(std::istringstream& in, const std::string& grammar) {
  try {
    HKDTDElementReaderStream reader(in);
    HKXMLComplexElement* top = reader.read(grammar, false);
    for (HKXMLComplexElement* child : top->Children()) {
      if (child == nullptr || !child->noSpecial()) continue;
      auto* element = dynamic_cast<HKXMLGenericElement*>(child);
      return element == nullptr ? "none" : "element " + doctest_util::Printed(*element);
    }
    return "none";
  } catch (const HKException& e) {
    return std::string("error ") + e.what();
  }
}

std::string ReadAtOnce(std::istringstream& in, const std::string& grammar) {
  std::string error;
  std::unique_ptr<HKXMLGenericElement> element(HKDataReader().Read(in, grammar, error));
  if (element != nullptr) return "element " + doctest_util::Printed(*element);
  return error.empty() ? "none" : "error " + error;
}

std::string StreamState(std::istringstream& in) {
  std::string state = std::string(in.eof() ? "eof " : "") + (in.fail() ? "fail " : "");
  in.clear();
  return state + "at " + std::to_string(static_cast<long long>(in.tellg()));
}

void ExpectSame(const std::string& text) {
  for (const char* grammar : {"xml", "html", "css"}) {
    std::istringstream a(text);
    std::istringstream b(text);
    const std::string old = ReadCharacterWise(a, grammar);
    const std::string now = ReadAtOnce(b, grammar);
    EXPECT_EQ(now, old) << grammar << ": " << text.substr(0, 80);
    // After an error the stream may have been looked at one character further.
    if (old.rfind("error", 0) != 0) {
      EXPECT_EQ(StreamState(b), StreamState(a)) << grammar << ": " << text.substr(0, 80);
    }
  }
}

std::vector<std::string> TestDocuments() {
  std::vector<std::string> texts;
  for (const char* folder : {TOVIK_TEST_DATA_DIR, TOVIK_TEST_DATA_DIR "/../../xml/data"}) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      if (!entry.is_regular_file()) continue;
      std::ifstream in(entry.path(), std::ios::binary);
      std::ostringstream os;
      os << in.rdbuf();
      texts.push_back(os.str());
    }
  }
  return texts;
}

}  // namespace

TEST(DataReaderStream, ChosenTextsReadTheSameAtOnceAsCharacterByCharacter) {
  for (const char* text :
       {"", " ", "  <a/>", "<a>x</a>", "<a>x</a>\n", "<a>x", "<a><b></a>", "text", "<a/>  ",
        "<!-- c --><a x='1' y=\"2\">t</a>", "<a\n\n< x", "<?xml version=\"1.0\"?>\n<a/>", "\xff<a/>",
        "<a>gr\xc3\xbc\xc3\x9f</a>", "p { color: red; }", "<!DOCTYPE html><html></html>"}) {
    ExpectSame(text);
  }
}

TEST(DataReaderStream, DamagedTestDocumentsReadTheSameAtOnceAsCharacterByCharacter) {
  std::mt19937 random(13);
  constexpr int kVariants = 40;
  const std::string signs = "<>/\"' \n=ab!-?";
  for (const std::string& document : TestDocuments()) {
    ExpectSame(document);
    for (int i = 0; i < kVariants && !document.empty(); ++i) {
      std::string text = document;
      const std::size_t at = random() % text.size();
      switch (random() % 3) {
        case 0: text.resize(at); break;
        case 1: text.erase(at, 1 + random() % 5); break;
        default: text.insert(at, 1, signs[random() % signs.size()]); break;
      }
      ExpectSame(text);
    }
  }
}

TEST(DataReaderStream, StreamInAFailedStateGivesTheStreamError) {
  std::istringstream in("<a/>");
  in.setstate(std::ios::failbit);
  std::string error;
  EXPECT_EQ(HKDataReader().Read(in, "xml", error), nullptr);
  EXPECT_EQ(error, "error in stream around line 1");
}

TEST(DataReaderStream, ReadingStopsBehindTheErrorInASeekableStream) {
  std::istringstream in("<a><b></a><c/>");
  std::string error;
  EXPECT_EQ(HKDataReader().Read(in, "xml", error), nullptr);
  EXPECT_EQ(error, "wrong closing tag '/a' instead '/b' around line 1");
  EXPECT_EQ(static_cast<long long>(in.tellg()), 10);
}
