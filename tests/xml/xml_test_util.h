// Helpers shared by the XML tests: reading a text into a tree and printing.
#pragma once

#include <toviktwo/toviktwo.h>

#include <memory>
#include <sstream>
#include <string>

namespace xmltest {

inline std::string Printed(const HKXMLComplexElement& element) {
  std::ostringstream os;
  element.print(os);
  return os.str();
}

// The children of the tree builder's top element, printed one after the other.
inline std::string PrintedChildren(const HKXMLComplexElement& top) {
  std::ostringstream os;
  for (const HKXMLComplexElement* child : top.Children()) child->print(os);
  return os.str();
}

// A text read into a tree; the reader (and with it the tree) lives as long as
// this object.
struct Parsed {
  explicit Parsed(std::string input) : text(std::make_unique<std::string>(std::move(input))) {
    reader = std::make_unique<HKDTDElementReaderString>(*text, 0);
  }
  HKXMLComplexElement* Read(const std::string& grammar, bool single = false) { return reader->read(grammar, single); }
  std::unique_ptr<std::string> text;
  std::unique_ptr<HKDTDElementReaderString> reader;
};

// Reads and returns the error message; empty when reading succeeded.
inline std::string ReadError(const std::string& input, const std::string& grammar) {
  Parsed p(input);
  try {
    p.Read(grammar);
  } catch (const HKException& e) {
    return e.what();
  }
  return std::string();
}

// Reads (which must succeed) and prints the top element's children.
inline std::string RoundTrip(const std::string& input, const std::string& grammar = "xml") {
  Parsed p(input);
  HKXMLComplexElement* top = p.Read(grammar);
  return PrintedChildren(*top);
}

}  // namespace xmltest
