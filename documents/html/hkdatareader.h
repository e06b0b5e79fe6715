// The entrance for reading a tree from a stream, a text or a file, and a
// helper that lays out a source text as an HTML listing with line numbers.
#pragma once

#include <istream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <toviktwo/xml/hkxmlelement.h>

class HKHTML_Document2;

// Reads with an HKDTDElementReader and takes the result out of the reader's
// tree before the reader goes. Reading errors come back as text (or, for
// documents, on the page); nothing is thrown to the caller.
class HKDataReader {
 public:
  // The first structural element read (whitespace, text and comments before
  // it are passed over), owned by the caller; null when there is none or on
  // an error, whose message goes to `error`. The rest of the stream is taken
  // at once and read in place: the stream ends at its end with eofbit set,
  // or, after an error, (when it can seek) just behind the characters read.
  HKXMLGenericElement* Read(std::istream& in, const std::string& dtd, std::string& error);
  // The same from `text`, beginning at `start`; `end` receives the reader's
  // position, so that with `single` several objects can be read one by one.
  HKXMLGenericElement* Read(std::string text, unsigned long start, unsigned long& end, const std::string& dtd,
                            std::string& error, bool single);
  // Reads `text` in the grammar "html" into `element`; returns the error
  // text, empty on success.
  std::string ReadHTMLElement(std::string text, HKXMLGenericElement*& element);
  // Reads a template file into `document`: its html element and, when the
  // template has one, its doctype replace the document's. On an error the
  // document gets the message in a pre element. True when reading succeeded.
  bool ReadHTMLDocument(const std::string& path, HKHTML_Document2& document, unsigned long = 0);
  bool ReadHTMLDocumentFromString(std::string text, HKHTML_Document2& document, unsigned long = 0);
  // A copy made by printing the element and reading the text back in the
  // grammar "html": typed, without widget manager, with the same ids. Null
  // for null (or when the text cannot be read back).
  HKXMLGenericElement* DuplicateHTMLElement(HKXMLGenericElement* element, unsigned long = 0);

 private:
  bool _readDocument(class HKDTDElementReader& reader, HKHTML_Document2& document);
  static void _showError(HKHTML_Document2& document, const std::string& message);
};

// One finished block of the listing: line-number column and text column.
struct format_output_buffer {
  std::string lineNumbers;
  std::string text;
};

// Lays out a source text as an HTML listing: pieces of text go into spans of
// a CSS class, a line feed ends a line; each line gets a number column with
// an anchor "aroundline<n>", so that a page can jump to the place a reading
// error names ("around line n").
class formated_output {
 public:
  // `numbers` and `text` receive the two columns; with `withNumbers` false
  // the number column stays empty.
  formated_output(std::ostream& numbers, std::ostream& text, bool withNumbers);
  // Adds `text` in a span of `cssClass` (with a title when one is given); a
  // line feed ends the current line and the rest goes on in a new span.
  void streamout(const std::string& text, const std::string& cssClass, bool, const std::string& title,
                 const std::string&);
  // Writes the finished lines to the two columns.
  void writebuffer();
  // "<li>" text "</li>" into the text column.
  void streamout_comment(const std::string& text);
  // Moves what the columns hold into a finished block.
  void EmptyBuffer();
  // Finishes the current line, moves everything into blocks and writes all
  // blocks to the target streams.
  void WriteStreams();
  const std::vector<format_output_buffer>& Blocks() const { return _blocks; }

 private:
  void _endLine();
  void _appendSpan(const std::string& piece, const std::string& cssClass, const std::string& title);

  std::ostream& _numbersTarget;
  std::ostream& _textTarget;
  bool _withNumbers;
  std::ostringstream _numbers;
  std::ostringstream _text;
  std::vector<format_output_buffer> _blocks;
  // Finished lines not yet written, with their numbers.
  std::vector<std::pair<unsigned long, std::string>> _lines;
  std::string _current;
  unsigned long _lineNumber = 1;
};
