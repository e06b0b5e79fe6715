// A forgiving HTML tokenizer for the template tool.
//
// It reads a page the way a browser does (unquoted attribute values, blanks
// around "=", void tags without "/>", "<" in running text, any case), so that
// the checker can say what a page meant where the library's reader refuses
// it, and the fixer can write the same page in the template dialect. It never
// fails: every byte of the input belongs to exactly one token, and the
// tokens' ranges follow each other without gaps.
//
// The content of script, style, textarea and title elements is one raw token
// up to the matching end tag, as in a browser.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace hktpl {

// One attribute as written.
struct HKTplAttribute {
  std::string name;            // as written
  std::string value;           // without quotes, nothing decoded
  bool hasValue = false;       // "=" was present
  char quote = 0;              // '"', '\'' or 0 for an unquoted value
  bool blankAroundEq = false;  // whitespace before or after "="
  std::size_t begin = 0;       // position of the name
};

enum class HKTplKind { Text, Comment, Doctype, ProcInst, Markup, CData, StartTag, EndTag, RawText };

// One token; [begin, end) is its range in the input.
struct HKTplToken {
  HKTplKind kind = HKTplKind::Text;
  std::size_t begin = 0;
  std::size_t end = 0;
  std::string name;  // tag name as written (tags only)
  std::vector<HKTplAttribute> attributes;
  bool selfClosing = false;  // "/>" (start tags)
  bool closed = true;        // comment, doctype, tag: its end was found
  std::string body;          // comment body, doctype text after "doctype", CDATA and raw content
};

// Lower-case copy (ASCII).
std::string HKTplLower(const std::string& s);
// True for the tags whose content is one raw token: script, style, textarea, title.
bool HKTplIsRawTextElement(const std::string& lowerName);

class HKTplLexer {
 public:
  explicit HKTplLexer(const std::string& text, std::size_t start = 0) : _text(text), _pos(start) {}
  // The next token; false at the end of the input.
  bool Next(HKTplToken& token);
  std::size_t Position() const { return _pos; }

 private:
  void _readText(HKTplToken& token);
  void _readMarkup(HKTplToken& token);
  void _readStartTag(HKTplToken& token);
  void _readEndTag(HKTplToken& token);
  void _readAttribute(HKTplToken& token);
  void _readRaw(HKTplToken& token);
  void _skipBlanks();
  bool _startsWithNoCase(const char* s, std::size_t at) const;

  const std::string& _text;
  std::size_t _pos;
  std::string _rawElement;  // lower-case name of an open raw-text element
};

// All tokens of a text.
std::vector<HKTplToken> HKTplTokenize(const std::string& text);

}  // namespace hktpl
