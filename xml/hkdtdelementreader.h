// The character source of the reader, with pushback and line counting, and
// the five standard grammars.
//
// HKDTDElementReader delivers characters one at a time from a pushback buffer
// or from the underlying source (a stream or a text), counts line feeds, and
// keeps the grammars and the tree builder for one input. read() hands over to
// the tree builder (HKXMLContentSplitter).
//
// Standard grammars, built by the constructor (token types in priority order):
//   "xml"     xmlcomment, xmlelement, xmlprocinst, xmltext, xmlwhitespace
//   "html"    htmldoctype, then as "xml"
//   "xmlhtml" as "xml"
//   "css"     css_a_whitespace, css_aa_whitespace, css_aaa_whitespace,
//             css_b_closer, css_c_comment, css_d_mediaquery, css_e_rule,
//             css_f_property, xmlelement
//   "cssRule" css_a_whitespace, css_b_closer, css_c_comment, css_f_property
// "xml" is complete here. The factories of the HTML and CSS element classes
// ("html": htmldoctype, xmltext, xmlelement; "xmlhtml": xmlelement; "css":
// css_aa_whitespace, css_d_mediaquery, css_e_rule, css_f_property,
// xmlelement; "cssRule": css_f_property), the element factories and the
// no-closing-tag elements come from the document classes through
// HKDTDRegisterGrammarFiller. Until a factory is filled in, a token of its
// type ends reading with "element type '<type>' not defined in DTD".
#pragma once

#include <cstdint>
#include <functional>
#include <istream>
#include <list>
#include <map>
#include <string>

#include <toviktwo/xml/hkdtd.h>
#include <toviktwo/xml/hkxmlcontentsplitter.h>

class HKDTDElementReader {
 public:
  HKDTDElementReader();
  HKDTDElementReader(const HKDTDElementReader&) = delete;
  HKDTDElementReader& operator=(const HKDTDElementReader&) = delete;
  virtual ~HKDTDElementReader();

  // The next character (-1 at the end) without consuming it. A character of
  // the pushback buffer is delivered as a signed char, so a byte 0xFF there
  // reads as the end of input.
  int peek() {
    if (_pushbackPos < _pushback.size()) return static_cast<signed char>(_pushback[_pushbackPos]);
    if (_directText != nullptr) {
      return *_directPos < _directText->size() ? static_cast<unsigned char>((*_directText)[*_directPos]) : -1;
    }
    return _underlyingBufferPeek();
  }
  // The same, consuming; every line feed delivered counts a line (also one
  // that was given back and is read again).
  int get() {
    int c;
    if (_pushbackPos < _pushback.size()) {
      c = static_cast<signed char>(_pushback[_pushbackPos++]);
    } else if (_directText != nullptr) {
      c = *_directPos < _directText->size() ? static_cast<unsigned char>((*_directText)[(*_directPos)++]) : -1;
    } else {
      c = _underlyingBufferGet();
    }
    if (c == '\n') ++_line;
    return c;
  }
  void giveBack(const std::string& s) { _giveBack(s.data(), s.size()); }
  void declareRead(const std::string& s) { _declareRead(s.size()); }
  // The same with a length (declareRead looks at the length only).
  void _giveBack(const char* s, std::size_t n);
  void _declareRead(std::size_t n);
  bool good() {
    if (_pushbackPos < _pushback.size()) return true;
    if (_directText != nullptr) return *_directPos < _directText->size();
    return _underlyingBufferGood();
  }
  bool eof() {
    if (_pushbackPos < _pushback.size()) return false;
    if (_directText != nullptr) return *_directPos >= _directText->size();
    return _underlyingBufferEof();
  }
  bool hasPushback() const { return _pushbackPos < _pushback.size(); }
  uint64_t line() const { return _line; }

  // Reads in the grammar `dtd` (ignored once a grammar is set) into the tree
  // builder's top element and returns it; `single` stops after one token.
  HKXMLComplexElement* read(const std::string& dtd, bool single);
  // Copies the grammar in under its name, replacing one of that name.
  void addDTD(HKDTD& dtd);

  std::map<std::string, HKDTD>& DTDs() { return _dtds; }
  std::list<HKElementAttribute>& Attributes() { return _attributes; }
  HKXMLContentSplitter& Splitter() { return _splitter; }

 protected:
  virtual bool _underlyingBufferEof() = 0;
  virtual bool _underlyingBufferGood() = 0;
  virtual int _underlyingBufferPeek() = 0;
  virtual int _underlyingBufferGet() = 0;
  // A source that is a text read from a position may hand both out; while
  // read() runs, characters are then taken from the text directly instead of
  // through the two virtual calls above (which do the same).
  virtual bool _directSource(const std::string*& text, unsigned long*& position);

 private:
  // Takes characters from the direct text itself (see there).
  friend class HKDTDElementReadStructLocal;

  const std::string* _directText = nullptr;
  unsigned long* _directPos = nullptr;
  uint64_t _line = 1;
  std::string _pushback;
  std::size_t _pushbackPos = 0;
  std::list<HKElementAttribute> _attributes;
  HKXMLContentSplitter _splitter;
  std::map<std::string, HKDTD> _dtds;
};

// Reads from a stream: eof is the stream's eofbit, good the absence of any
// state flag.
class HKDTDElementReaderStream : public HKDTDElementReader {
 public:
  explicit HKDTDElementReaderStream(std::istream& in);

 protected:
  bool _underlyingBufferEof() override;
  bool _underlyingBufferGood() override;
  int _underlyingBufferPeek() override;
  int _underlyingBufferGet() override;

 private:
  std::istream& _in;
};

// Reads from a text (kept by reference) from position `start` on.
class HKDTDElementReaderString : public HKDTDElementReader {
 public:
  HKDTDElementReaderString(std::string& text, unsigned long start);
  // The position in the text of the next character not yet delivered.
  unsigned long position() const { return _pos; }

 protected:
  bool _underlyingBufferEof() override;
  bool _underlyingBufferGood() override;
  int _underlyingBufferPeek() override;
  int _underlyingBufferGet() override;
  bool _directSource(const std::string*& text, unsigned long*& position) override;

 private:
  std::string& _text;
  unsigned long _pos;
};

inline HKDTDElementReadStructLocal::HKDTDElementReadStructLocal(HKDTDElementReader& reader) : _reader(reader) {
  if (reader._directText == nullptr) return;
  if (!reader._pushback.empty() && !_shadowPushback()) return;
  _text = reader._directText->data();
  _textSize = reader._directText->size();
  _textPos = reader._directPos;
  _start = *_textPos;
}

// Taken characters are delivered again as signed chars, new ones as the
// reader delivers them; the direct way gives the same as the copying one.
[[gnu::always_inline]] inline int HKDTDElementReadStructLocal::peek() {
  if (_text != nullptr) {
    const std::size_t at = _start + _pos;
    const std::size_t end = *_textPos;
    if (at < end) return static_cast<signed char>(_text[at]);
    if (!_reader.hasPushback()) return end < _textSize ? static_cast<unsigned char>(_text[end]) : -1;
    _leaveDirect();
  }
  if (_pos < _taken.size()) return static_cast<signed char>(_taken[_pos]);
  return _reader.peek();
}

template <typename Pred>
inline void HKDTDElementReadStructLocal::takeWhile(Pred pred) {
  if (_text != nullptr && _start + _pos == *_textPos && !_reader.hasPushback()) {
    // Nothing to deliver again and nothing given back: every character
    // comes from the text, unsigned, and a line feed counts a line.
    const std::size_t begin = *_textPos;
    std::size_t end = begin;
    uint64_t lines = 0;
    while (end < _textSize) {
      const int c = static_cast<unsigned char>(_text[end]);
      if (!pred(c)) break;
      if (c == '\n') ++lines;
      ++end;
    }
    *_textPos = end;
    _pos += end - begin;
    _reader._line += lines;
  }
  // Whatever is left (at the end of the text: pred(-1)).
  while (pred(peek())) get();
}

inline int HKDTDElementReadStructLocal::get(bool eofAllowed) {
  if (_text != nullptr) {
    const std::size_t at = _start + _pos;
    unsigned long& end = *_textPos;
    if (at < end) {
      ++_pos;
      return static_cast<signed char>(_text[at]);
    }
    if (!_reader.hasPushback()) {
      if (end < _textSize) {
        const int c = static_cast<unsigned char>(_text[end++]);
        if (c == '\n') ++_reader._line;
        ++_pos;
        return c;
      }
      if (!eofAllowed) _warnEof();
      return -1;
    }
    _leaveDirect();
  }
  if (_pos < _taken.size()) return static_cast<signed char>(_taken[_pos++]);
  if (!_reader.hasPushback()) {
    const int c = _reader.get();
    if (c != -1) {
      _taken.push_back(static_cast<char>(c));
      ++_pos;
      return c;
    }
    if (!eofAllowed) _warnEof();
    return c;
  }
  return _fetch(eofAllowed);
}

// Completes a standard grammar ("xml", "html", "xmlhtml", "css", "cssRule")
// in every reader constructed afterwards: fillers run in registration order
// after the grammar's own table is built. The document classes register
// their factories this way.
using HKDTDGrammarFiller = std::function<void(HKDTD&)>;
void HKDTDRegisterGrammarFiller(const std::string& grammar, HKDTDGrammarFiller filler);

// Builds one standard grammar as a reader's constructor does (with the
// registered fillers); an unknown name gives an empty grammar of that name.
HKDTD HKDTDStandardGrammar(const std::string& name);
