// The tree builder: turns the token stream of a reader into an element tree.
//
// A single loop with an explicit current element and an explicit current
// grammar name; there is no recursion and no parse stack apart from the
// parent links of the tree. Entering a container element asks it with
// dtdRequest(grammar) which grammar applies to its content; leaving it,
// dtdRequest("") gives back the grammar around it.
#pragma once

#include <string>

class HKDTDElementReader;
class HKXMLComplexElement;
class HKXMLGenericElement;

class HKXMLContentSplitter {
 public:
  // Containers may be nested this deep below the top element; a deeper one
  // ends reading with "elements nested deeper than 1024 levels" (and the
  // position). Printing and searching a tree recurse, so this keeps every
  // tree read from outside printable on an ordinary thread stack.
  static constexpr unsigned long MaxDepth = 1024;

  HKXMLContentSplitter();
  HKXMLContentSplitter(const HKXMLContentSplitter&) = delete;
  HKXMLContentSplitter& operator=(const HKXMLContentSplitter&) = delete;
  // Destroys the top element with all that was read and not detached.
  ~HKXMLContentSplitter();

  // Reads tokens until the end of input, or (single) until one token was
  // processed; a further call continues where this one stopped. Returns the
  // top element.
  HKXMLComplexElement* read(HKDTDElementReader& reader, const std::string& dtd, bool single);

  HKXMLGenericElement* getTopElement() const { return _top; }
  HKXMLComplexElement* getCurrentElement() const { return _current; }
  const std::string& getCurrentDTD() const { return _currentDTD; }
  // Hands the whole tree (the top element) to the caller. The splitter is
  // then without a tree: a further read fails with "missing topelement".
  HKXMLGenericElement* releaseTopElement();

 private:
  HKXMLGenericElement* _top;
  HKXMLComplexElement* _current;
  std::string _currentDTD;
  unsigned long _depth = 0;
};
