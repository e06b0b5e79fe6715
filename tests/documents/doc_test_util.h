// Helpers shared by the document tests.
#pragma once

#include <toviktwo/toviktwo.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string>

namespace doctest_util {

inline std::string Printed(const HKXMLComplexElement& element) {
  std::ostringstream os;
  element.print(os);
  return os.str();
}

inline std::string PrintedAttribute(const HKXMLComplexAttribute2& attribute) {
  std::ostringstream os;
  attribute.print(os);
  return os.str();
}

// A text read into a tree in a grammar; the reader (and the tree) lives as
// long as this object.
struct Parsed {
  explicit Parsed(std::string input) : text(std::make_unique<std::string>(std::move(input))) {
    reader = std::make_unique<HKDTDElementReaderString>(*text, 0);
  }
  HKXMLComplexElement* Read(const std::string& grammar) { return reader->read(grammar, false); }
  std::unique_ptr<std::string> text;
  std::unique_ptr<HKDTDElementReaderString> reader;
};

// The children of the top element printed one after the other.
inline std::string RoundTrip(const std::string& input, const std::string& grammar = "html") {
  Parsed p(input);
  HKXMLComplexElement* top = p.Read(grammar);
  std::ostringstream os;
  for (const HKXMLComplexElement* child : top->Children()) child->print(os);
  return os.str();
}

// The message of a failed read; empty when reading succeeded.
inline std::string ReadError(const std::string& input, const std::string& grammar = "html") {
  Parsed p(input);
  try {
    p.Read(grammar);
  } catch (const HKException& e) {
    return e.what();
  }
  return std::string();
}

// The message of an HKException thrown by `f`; "no exception" otherwise.
template <typename F>
std::string ThrownMessage(F&& f) {
  try {
    f();
  } catch (const HKException& e) {
    return e.what();
  }
  return "no exception";
}

inline std::string FileText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream os;
  os << in.rdbuf();
  return os.str();
}

inline std::string DataFile(const std::string& name) { return std::string(TOVIK_TEST_DATA_DIR) + "/" + name; }

}  // namespace doctest_util
