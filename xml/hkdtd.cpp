#include <toviktwo/xml/hkdtd.h>

#include <algorithm>
#include <cctype>
#include <iostream>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/xml/hkdtdelementreader.h>

// ---- HKDTDElementRead ----

HKDTDElementRead::HKDTDElementRead(std::string typeName) : _typeName(std::move(typeName)) {}

HKDTDElementRead::~HKDTDElementRead() = default;

bool HKDTDElementRead::isClosingTag() { return false; }
bool HKDTDElementRead::hasAttributes() { return false; }
bool HKDTDElementRead::checkInitialTag(const std::string&) { return true; }
bool HKDTDElementRead::hasNoClosingTag() { return false; }

// The <cctype> functions are defined for unsigned char values and EOF only.
bool HKDTDElementRead::_isalphaHigh(int c) { return c >= 0 && c <= 255 && std::isalpha(c); }
bool HKDTDElementRead::_isalnumHigh(int c) { return c >= 0 && c <= 255 && std::isalnum(c); }
bool HKDTDElementRead::_isblankHigh(int c) { return c >= 0 && c <= 255 && std::isblank(c); }

bool HKDTDElementRead::_reset() { return false; }

bool HKDTDElementRead::_mayStartWith(int) { return true; }

bool HKDTDElementRead::_resetIfExactly(const std::type_info& type) {
  if (typeid(*this) != type) return false;
  _content.clear();
  _noClosing = false;
  return true;
}

// ---- HKDTDElementReadStructLocal ----

HKDTDElementReadStructLocal::~HKDTDElementReadStructLocal() {
  if (_text != nullptr) {
    // The same as below, with the taken characters still in the text.
    const std::size_t taken = *_textPos - _start;
    if (_shadow > 0) _unshadow();
    if (taken == 0) return;
    if (_pos > 0) _reader._declareRead(_pos);
    if (_pos < taken) _reader._giveBack(_text + _start + _pos, taken - _pos);
    return;
  }
  if (_taken.empty()) return;
  // Declares the accepted part read and hands the rest back. When part of
  // what was taken came from the pushback buffer and a tail is handed back,
  // the tail ends up in the buffer twice; only the CSS property reader hands
  // back a tail of what it accepted (trailing whitespace), so this shows as
  // repeated whitespace before a closing brace.
  if (_pos > 0) _reader._declareRead(_pos);
  if (_pos < _taken.size()) _reader._giveBack(_taken.data() + _pos, _taken.size() - _pos);
}

void HKDTDElementReadStructLocal::_leaveDirect() {
  _taken.assign(_text + _start, *_textPos - _start);
  if (_shadow > 0) _unshadow();
  _text = nullptr;
}

bool HKDTDElementReadStructLocal::_shadowPushback() {
  const std::string& pushback = _reader._pushback;
  const std::size_t n = pushback.size();
  if (_reader._pushbackPos != 0 || n > *_reader._directPos) return false;
  const char* before = _reader._directText->data() + (*_reader._directPos - n);
  for (std::size_t i = 0; i < n; ++i) {
    if (static_cast<unsigned char>(pushback[i]) >= 0x80 || pushback[i] != before[i]) return false;
  }
  // The buffer counts as delivered (it is restored by _unshadow) and the
  // text is read from in front of it.
  _reader._pushbackPos = n;
  *_reader._directPos -= n;
  _shadow = n;
  return true;
}

void HKDTDElementReadStructLocal::_unshadow() {
  // Taken from the buffer first, then from the text behind it.
  const std::size_t taken = *_textPos - _start;
  _reader._pushbackPos = std::min(_shadow, taken);
  *_textPos = _start + std::max(_shadow, taken);
  _shadow = 0;
}

void HKDTDElementReadStructLocal::_warnEof() {
  std::cerr << "reading EOF is an error! ---> will become an exception" << std::endl;
}

int HKDTDElementReadStructLocal::_fetch(bool eofAllowed) {
  // A character of the pushback buffer is consumed even when it reads as the
  // end (a byte 0xFF): keep it so that it can be given back.
  const bool fromPushback = _reader.hasPushback();
  const int c = _reader.get();
  if (c == -1 && !fromPushback) {
    if (!eofAllowed) _warnEof();
    return c;
  }
  _taken.push_back(static_cast<char>(c));
  ++_pos;
  return c;
}

bool HKDTDElementReadStructLocal::giveBack(const std::string& s) {
  if (s.size() > _pos) {
    std::cerr << "error! can't give more back than read---> will become an exception... " << _pos << " vs. " << s.size()
              << std::endl;
    return false;
  }
  _pos -= s.size();
  return false;
}

bool HKDTDElementReadStructLocal::foundThat(const std::string& s) {
  _found = s;
  return true;
}

HKDTDElementRead* HKDTDElementReadStructLocal::operator()(bool ok, HKDTDElementRead* r, bool) {
  if (ok) return r;
  _pos = 0;
  return nullptr;
}

bool HKDTDElementReadStructLocal::good() {
  const std::size_t taken = _text != nullptr ? *_textPos - _start : _taken.size();
  return _pos < taken || _reader.good();
}

bool HKDTDElementReadStructLocal::eof() {
  const std::size_t taken = _text != nullptr ? *_textPos - _start : _taken.size();
  return _pos >= taken && _reader.eof();
}

// ---- token readers ----
// Each reader looks at the next character with peek() before taking it, so
// that a reader that does not apply takes nothing (and counts no line).

namespace {
// Takes `text` character by character; false at the first mismatch.
bool hkExpect(HKDTDElementReadStructLocal& local, const char* text) {
  for (const char* p = text; *p != '\0'; ++p) {
    if (local.peek() != static_cast<unsigned char>(*p)) return false;
    local.get();
  }
  return true;
}
}  // namespace

// "xmlwhitespace"

HKDTDElementRead_WhitespaceText::HKDTDElementRead_WhitespaceText() : HKDTDElementRead("xmlwhitespace") {}

HKDTDElementRead_WhitespaceText::HKDTDElementRead_WhitespaceText(std::string typeName)
    : HKDTDElementRead(std::move(typeName)) {}

HKDTDElementRead* HKDTDElementRead_WhitespaceText::Read(HKDTDElementReader& reader) {
  if (!reader.good()) return nullptr;
  HKDTDElementReadStructLocal local(reader);
  if (!_iswhitespace(local.peek())) return local(false, this);
  local.takeWhile([](int c) { return _iswhitespace(c); });
  _content = local.accepted();
  return local(true, this);
}

HKDTDElementRead* HKDTDElementRead_WhitespaceText::Duplicate() { return new HKDTDElementRead_WhitespaceText(); }

// "xmltext"

HKDTDElementRead_Text::HKDTDElementRead_Text() : HKDTDElementRead("xmltext") {}

HKDTDElementRead* HKDTDElementRead_Text::Read(HKDTDElementReader& reader) {
  if (!reader.good()) return nullptr;
  HKDTDElementReadStructLocal local(reader);
  auto isWordChar = [](int c) { return c != -1 && c != '<' && !_iswhitespace(c); };
  if (!isWordChar(local.peek())) return local(false, this);
  local.takeWhile(isWordChar);
  _content = local.accepted();
  return local(true, this);
}

HKDTDElementRead* HKDTDElementRead_Text::Duplicate() { return new HKDTDElementRead_Text(); }

// "htmldoctype"

HKDTDElementRead_Doctype::HKDTDElementRead_Doctype() : HKDTDElementRead("htmldoctype") {}

HKDTDElementRead* HKDTDElementRead_Doctype::Read(HKDTDElementReader& reader) {
  if (!reader.good()) return nullptr;
  HKDTDElementReadStructLocal local(reader);
  // Case and the blank matter.
  if (!hkExpect(local, "<!DOCTYPE ")) return local(false, this);
  std::string content;
  for (;;) {
    const int c = local.get();
    if (c == -1) return local(false, this);
    if (c == '>') break;
    content.push_back(static_cast<char>(c));
  }
  _content = std::move(content);
  return local(true, this);
}

HKDTDElementRead* HKDTDElementRead_Doctype::Duplicate() { return new HKDTDElementRead_Doctype(); }

// "xmlprocinst"

HKDTDElementRead_ProcInst::HKDTDElementRead_ProcInst() : HKDTDElementRead("xmlprocinst") {}

HKDTDElementRead* HKDTDElementRead_ProcInst::Read(HKDTDElementReader& reader) {
  if (!reader.good()) return nullptr;
  HKDTDElementReadStructLocal local(reader);
  if (!hkExpect(local, "<?")) return local(false, this);
  std::string content;
  for (;;) {
    const int c = local.get();
    if (c == -1) return local(false, this);
    if (c == '?' && local.peek() == '>') {
      local.get();
      break;
    }
    content.push_back(static_cast<char>(c));
  }
  _content = std::move(content);
  return local(true, this);
}

HKDTDElementRead* HKDTDElementRead_ProcInst::Duplicate() { return new HKDTDElementRead_ProcInst(); }

// "xmlcomment"

HKDTDElementRead_Comment::HKDTDElementRead_Comment() : HKDTDElementRead("xmlcomment") {}

HKDTDElementRead* HKDTDElementRead_Comment::Read(HKDTDElementReader& reader) {
  if (!reader.good()) return nullptr;
  HKDTDElementReadStructLocal local(reader);
  if (!hkExpect(local, "<!--")) return local(false, this);
  std::string content;
  // Dashes pair up from the first one: "--" followed by ">" ends the
  // comment; "--" followed by anything else is text and the scan goes on
  // behind the pair. So "--->" does not end a comment.
  for (;;) {
    const int c = local.get();
    if (c == -1) return local(false, this);
    if (c == '-' && local.peek() == '-') {
      local.get();
      if (local.peek() == '>') {
        local.get();
        break;
      }
      content += "--";
      continue;
    }
    content.push_back(static_cast<char>(c));
  }
  _content = std::move(content);
  return local(true, this);
}

HKDTDElementRead* HKDTDElementRead_Comment::Duplicate() { return new HKDTDElementRead_Comment(); }

// "xmlelement"

HKDTDElementRead_Element::HKDTDElementRead_Element() : HKDTDElementRead("xmlelement") {}

HKDTDElementRead* HKDTDElementRead_Element::Read(HKDTDElementReader& reader) {
  if (!reader.good()) return nullptr;
  HKDTDElementReadStructLocal local(reader);
  if (local.peek() != '<') return local(false, this);
  local.get();

  // The name; an end tag keeps its "/" as first character.
  std::string name;
  const bool endTag = local.peek() == '/';
  if (endTag) {
    local.get();
    name.push_back('/');
  }
  if (!_isalpha(local.peek())) return local(false, this);
  name.push_back(static_cast<char>(local.get()));
  {
    const std::size_t from = local.position();
    local.takeWhile([](int c) { return _isalphanum(c); });
    name.append(local.accepted().substr(from));
  }
  const int follow = local.peek();
  const bool fits = endTag ? _iselementcloser(follow) : (_iswhitespace(follow) || _iselementcloser(follow));
  if (!fits) throw HKException("incomplete tag '" + name + "'", __LINE__, "src");

  // The attribute list keeps its entries from tag to tag: an entry is
  // filled in place and counts once the attribute is complete; the entries
  // not used for this tag go on every way out.
  struct AttributeSlots {
    std::list<HKElementAttribute>& list;
    std::list<HKElementAttribute>::iterator next;
    ~AttributeSlots() { list.erase(next, list.end()); }
    HKElementAttribute& open() {
      if (next == list.end()) next = list.emplace(list.end());
      next->name.clear();
      next->value.clear();
      next->withoutValue = false;
      return *next;
    }
    void complete() { ++next; }
  };
  std::list<HKElementAttribute>& attributes = reader.Attributes();
  AttributeSlots slots{attributes, attributes.begin()};
  _content.swap(name);
  _noClosing = false;

  for (;;) {
    local.takeWhile([](int c) { return _iswhitespace(c); });
    int c = local.peek();
    if (c == '/') {
      local.get();
      if (local.peek() == '>') {
        local.get();
        _noClosing = true;
        return local(true, this);
      }
      local.giveBack("/");
    } else if (c == '>') {
      local.get();
      return local(true, this);
    }
    // An attribute: a name, then "=" and a quoted value, or nothing.
    if (!_isalpha(local.peek())) return local(false, this);
    HKElementAttribute& attribute = slots.open();
    {
      const std::size_t from = local.position();
      local.get();
      local.takeWhile([](int ch) { return _isalphanum(ch); });
      attribute.name.assign(local.accepted().substr(from));
    }
    if (local.peek() == '=') {
      local.get();
      const int quote = local.peek();
      if (quote != '"' && quote != '\'') return local(false, this);
      local.get();
      // The value runs up to the closing quote; the end of input (or a
      // byte that reads as it) fails the tag.
      const std::size_t from = local.position();
      local.takeWhile([quote](int ch) { return ch != -1 && ch != quote; });
      if (local.get() == -1) return local(false, this);
      attribute.value.assign(local.accepted().substr(from, local.position() - 1 - from));
    } else {
      attribute.withoutValue = true;
    }
    slots.complete();
  }
}

HKDTDElementRead* HKDTDElementRead_Element::Duplicate() { return new HKDTDElementRead_Element(); }

bool HKDTDElementRead_Element::isClosingTag() { return _content.size() >= 2 && _content[0] == '/'; }

bool HKDTDElementRead_Element::hasAttributes() { return true; }

bool HKDTDElementRead_Element::checkInitialTag(const std::string& typeName) {
  if (_content.empty()) return false;
  return _content.compare(1, std::string::npos, typeName) == 0;
}

bool HKDTDElementRead_Element::hasNoClosingTag() { return _noClosing; }

// "css_a_whitespace"

HKDTDElementRead_WhitespaceCSS::HKDTDElementRead_WhitespaceCSS() : HKDTDElementRead_WhitespaceText("css_a_whitespace") {}

HKDTDElementRead* HKDTDElementRead_WhitespaceCSS::Duplicate() { return new HKDTDElementRead_WhitespaceCSS(); }

// "css_aa_whitespace"

HKDTDElementRead_WhitespaceCSSHTMLComment::HKDTDElementRead_WhitespaceCSSHTMLComment()
    : HKDTDElementRead("css_aa_whitespace") {}

HKDTDElementRead* HKDTDElementRead_WhitespaceCSSHTMLComment::Read(HKDTDElementReader& reader) {
  if (!reader.good()) return nullptr;
  HKDTDElementReadStructLocal local(reader);
  if (local.peek() != '<') return local(false, this);
  local.get();
  // Counts the characters of "<!-" it has stored; at three it consumes the
  // fourth "-" without storing it. A "-" directly after "<" ends the count
  // at two, which is why "<-" opens as well.
  std::string content = "<";
  if (local.peek() == '!') {
    local.get();
    content.push_back('!');
  }
  if (local.peek() != '-') return local(false, this);
  local.get();
  content.push_back('-');
  if (content.size() == 3) {
    if (local.peek() != '-') return local(false, this);
    local.get();
  }
  _content = std::move(content);
  return local(true, this);
}

HKDTDElementRead* HKDTDElementRead_WhitespaceCSSHTMLComment::Duplicate() {
  return new HKDTDElementRead_WhitespaceCSSHTMLComment();
}

// "css_aaa_whitespace"

HKDTDElementRead_WhitespaceCSSHTMLCommentCloser::HKDTDElementRead_WhitespaceCSSHTMLCommentCloser()
    : HKDTDElementRead("css_aaa_whitespace") {}

HKDTDElementRead* HKDTDElementRead_WhitespaceCSSHTMLCommentCloser::Read(HKDTDElementReader& reader) {
  if (!reader.good()) return nullptr;
  HKDTDElementReadStructLocal local(reader);
  if (local.peek() != '-') return local(false, this);
  std::string content(1, static_cast<char>(local.get()));
  if (local.peek() == '-') content.push_back(static_cast<char>(local.get()));
  if (local.peek() != '>') return local(false, this);
  content.push_back(static_cast<char>(local.get()));
  _content = std::move(content);
  return local(true, this);
}

HKDTDElementRead* HKDTDElementRead_WhitespaceCSSHTMLCommentCloser::Duplicate() {
  return new HKDTDElementRead_WhitespaceCSSHTMLCommentCloser();
}

bool HKDTDElementRead_WhitespaceCSSHTMLCommentCloser::isClosingTag() { return true; }

// "css_b_closer"

HKDTDElementRead_CloserCSS::HKDTDElementRead_CloserCSS() : HKDTDElementRead("css_b_closer") {}

HKDTDElementRead* HKDTDElementRead_CloserCSS::Read(HKDTDElementReader& reader) {
  if (!reader.good()) return nullptr;
  HKDTDElementReadStructLocal local(reader);
  if (local.peek() != '}') return local(false, this);
  local.get();
  _content.assign(1, '}');
  return local(true, this);
}

HKDTDElementRead* HKDTDElementRead_CloserCSS::Duplicate() { return new HKDTDElementRead_CloserCSS(); }

bool HKDTDElementRead_CloserCSS::isClosingTag() { return !_content.empty() && _content[0] == '}'; }

// "css_c_comment"

HKDTDElementRead_CommentCSS::HKDTDElementRead_CommentCSS() : HKDTDElementRead("css_c_comment") {}

HKDTDElementRead* HKDTDElementRead_CommentCSS::Read(HKDTDElementReader& reader) {
  if (!reader.good()) return nullptr;
  HKDTDElementReadStructLocal local(reader);
  if (!hkExpect(local, "/*")) return local(false, this);
  std::string content = "/*";
  for (;;) {
    const int c = local.get();
    if (c == -1) return local(false, this);
    content.push_back(static_cast<char>(c));
    if (c == '*' && local.peek() == '/') {
      content.push_back(static_cast<char>(local.get()));
      break;
    }
  }
  _content = std::move(content);
  return local(true, this);
}

HKDTDElementRead* HKDTDElementRead_CommentCSS::Duplicate() { return new HKDTDElementRead_CommentCSS(); }

// "css_d_mediaquery"

namespace {
// Takes everything up to and including the next "{"; the text ahead of it
// becomes `content`. Without a "{" before the end nothing is taken.
HKDTDElementRead* readUpToBrace(HKDTDElementReadStructLocal& local, std::string& content,
                                HKDTDElementRead* self) {
  std::string taken;
  for (;;) {
    const int c = local.get();
    if (c == -1) return local(false, self);
    if (c == '{') break;
    taken.push_back(static_cast<char>(c));
  }
  content = std::move(taken);
  return local(true, self);
}
}  // namespace

HKDTDElementRead_MediaQueryCSS::HKDTDElementRead_MediaQueryCSS() : HKDTDElementRead("css_d_mediaquery") {}

HKDTDElementRead* HKDTDElementRead_MediaQueryCSS::Read(HKDTDElementReader& reader) {
  if (!reader.good()) return nullptr;
  HKDTDElementReadStructLocal local(reader);
  if (local.peek() != '@') return local(false, this);
  return readUpToBrace(local, _content, this);
}

HKDTDElementRead* HKDTDElementRead_MediaQueryCSS::Duplicate() { return new HKDTDElementRead_MediaQueryCSS(); }

// "css_e_rule"

HKDTDElementRead_RuleCSS::HKDTDElementRead_RuleCSS() : HKDTDElementRead("css_e_rule") {}

HKDTDElementRead* HKDTDElementRead_RuleCSS::Read(HKDTDElementReader& reader) {
  if (!reader.good()) return nullptr;
  HKDTDElementReadStructLocal local(reader);
  const int first = local.peek();
  if (!(_isalpha(first) || first == '#' || first == '.' || first == '*')) return local(false, this);
  return readUpToBrace(local, _content, this);
}

HKDTDElementRead* HKDTDElementRead_RuleCSS::Duplicate() { return new HKDTDElementRead_RuleCSS(); }

// "css_f_property"

HKDTDElementRead_PropertyCSS::HKDTDElementRead_PropertyCSS() : HKDTDElementRead("css_f_property") {}

HKDTDElementRead* HKDTDElementRead_PropertyCSS::Read(HKDTDElementReader& reader) {
  if (!reader.good()) return nullptr;
  HKDTDElementReadStructLocal local(reader);
  if (!_isalpha(local.peek())) return local(false, this);
  std::string content;
  for (;;) {
    const int c = local.peek();
    if (c == -1) return local(false, this);
    if (c == ';') {
      content.push_back(static_cast<char>(local.get()));
      break;
    }
    if (c == '}') {
      // The closing brace stays for the closer; trailing whitespace is cut
      // off and handed back to the source.
      std::size_t keep = content.size();
      while (keep > 0 && (content[keep - 1] == ' ' || content[keep - 1] == '\n' || content[keep - 1] == '\r' ||
                          content[keep - 1] == '\t')) {
        --keep;
      }
      local.giveBack(content.substr(keep));
      content.resize(keep);
      break;
    }
    content.push_back(static_cast<char>(local.get()));
  }
  _content = std::move(content);
  return local(true, this);
}

HKDTDElementRead* HKDTDElementRead_PropertyCSS::Duplicate() { return new HKDTDElementRead_PropertyCSS(); }

// ---- HKDTD ----

HKDTD::HKDTD(const std::string& name) : _name(name), _tables(std::make_shared<_Tables>()) {}

HKDTD::HKDTD(const HKDTD& other) { _copyFrom(other); }

HKDTD::HKDTD(HKDTD&& other) noexcept
    : _name(std::move(other._name)), _readers(std::move(other._readers)), _tables(other._tables) {
  other._readers.clear();
}

HKDTD& HKDTD::operator=(const HKDTD& other) {
  if (this != &other) {
    _clearReaders();
    _copyFrom(other);
    ++_generation;
  }
  return *this;
}

HKDTD::~HKDTD() { _clearReaders(); }

void HKDTD::_clearReaders() {
  for (auto& entry : _readers) delete entry.second;
  _readers.clear();
}

void HKDTD::_copyFrom(const HKDTD& other) {
  _name = other._name;
  for (const auto& [type, reader] : other._readers) _readers.emplace(type, reader != nullptr ? reader->Duplicate() : nullptr);
  _tables = other._tables;
}

HKDTD::_Tables& HKDTD::_own() {
  if (_tables.use_count() > 1) {
    _tables = std::make_shared<_Tables>(*_tables);
    // What was kept about the shared tables may point into them.
    ++_generation;
  }
  return *_tables;
}

std::string HKDTD::insertDTDElementRead(HKDTDElementRead* reader) {
  ++_generation;
  if (reader == nullptr) return std::string();
  const std::string type = reader->GetTypeName();
  if (_readers.find(type) != _readers.end()) {
    delete reader;
    throw HKException("name can't be twice", __LINE__, "src");
  }
  _readers.emplace(type, reader);
  return type;
}

std::string HKDTD::insertIntoDTDObjectFactory(const std::string& name, HKDTDObjectFactory factory) {
  ++_generation;
  _own().objectFactory[name] = std::move(factory);
  return name;
}

std::string HKDTD::insertIntoSubelementContainer(const std::string& name) {
  ++_generation;
  _own().subelementContainer.insert(name);
  return name;
}

std::string HKDTD::insertAllowed(const std::string& name, const std::set<std::string>& names) {
  ++_generation;
  _own().allowed[name] = names;
  return name;
}

std::string HKDTD::insertDisallowed(const std::string& name, const std::set<std::string>& names) {
  ++_generation;
  _own().disallowed[name] = names;
  return name;
}

std::string HKDTD::insertNoClosingTagElement(const std::string& name) {
  ++_generation;
  _own().noClosingTag.insert(name);
  return name;
}

std::string HKDTD::insertElementFactory(const std::string& tag, HKDTDObjectFactory factory) {
  _own().elementFactories[tag] = std::move(factory);
  return tag;
}

// ---- in-place renewal of the reader classes ----

bool HKDTDElementRead_WhitespaceText::_reset() { return _resetIfExactly(typeid(HKDTDElementRead_WhitespaceText)); }
bool HKDTDElementRead_Text::_reset() { return _resetIfExactly(typeid(HKDTDElementRead_Text)); }
bool HKDTDElementRead_Doctype::_reset() { return _resetIfExactly(typeid(HKDTDElementRead_Doctype)); }
bool HKDTDElementRead_ProcInst::_reset() { return _resetIfExactly(typeid(HKDTDElementRead_ProcInst)); }
bool HKDTDElementRead_Comment::_reset() { return _resetIfExactly(typeid(HKDTDElementRead_Comment)); }
bool HKDTDElementRead_Element::_reset() { return _resetIfExactly(typeid(HKDTDElementRead_Element)); }
bool HKDTDElementRead_WhitespaceCSS::_reset() { return _resetIfExactly(typeid(HKDTDElementRead_WhitespaceCSS)); }
bool HKDTDElementRead_WhitespaceCSSHTMLComment::_reset() { return _resetIfExactly(typeid(HKDTDElementRead_WhitespaceCSSHTMLComment)); }
bool HKDTDElementRead_WhitespaceCSSHTMLCommentCloser::_reset() { return _resetIfExactly(typeid(HKDTDElementRead_WhitespaceCSSHTMLCommentCloser)); }
bool HKDTDElementRead_CloserCSS::_reset() { return _resetIfExactly(typeid(HKDTDElementRead_CloserCSS)); }
bool HKDTDElementRead_CommentCSS::_reset() { return _resetIfExactly(typeid(HKDTDElementRead_CommentCSS)); }
bool HKDTDElementRead_MediaQueryCSS::_reset() { return _resetIfExactly(typeid(HKDTDElementRead_MediaQueryCSS)); }
bool HKDTDElementRead_RuleCSS::_reset() { return _resetIfExactly(typeid(HKDTDElementRead_RuleCSS)); }
bool HKDTDElementRead_PropertyCSS::_reset() { return _resetIfExactly(typeid(HKDTDElementRead_PropertyCSS)); }

// ---- first characters ----
// Each mirrors the first test of the reader's Read().

bool HKDTDElementRead_WhitespaceText::_mayStartWith(int c) {
  if (typeid(*this) != typeid(HKDTDElementRead_WhitespaceText)) return true;
  return _iswhitespace(c);
}

bool HKDTDElementRead_Text::_mayStartWith(int c) {
  if (typeid(*this) != typeid(HKDTDElementRead_Text)) return true;
  return c != -1 && c != '<' && !_iswhitespace(c);
}

bool HKDTDElementRead_Doctype::_mayStartWith(int c) {
  if (typeid(*this) != typeid(HKDTDElementRead_Doctype)) return true;
  return c == '<';
}

bool HKDTDElementRead_ProcInst::_mayStartWith(int c) {
  if (typeid(*this) != typeid(HKDTDElementRead_ProcInst)) return true;
  return c == '<';
}

bool HKDTDElementRead_Comment::_mayStartWith(int c) {
  if (typeid(*this) != typeid(HKDTDElementRead_Comment)) return true;
  return c == '<';
}

bool HKDTDElementRead_Element::_mayStartWith(int c) {
  if (typeid(*this) != typeid(HKDTDElementRead_Element)) return true;
  return c == '<';
}

bool HKDTDElementRead_WhitespaceCSS::_mayStartWith(int c) {
  if (typeid(*this) != typeid(HKDTDElementRead_WhitespaceCSS)) return true;
  return _iswhitespace(c);
}

bool HKDTDElementRead_WhitespaceCSSHTMLComment::_mayStartWith(int c) {
  if (typeid(*this) != typeid(HKDTDElementRead_WhitespaceCSSHTMLComment)) return true;
  return c == '<';
}

bool HKDTDElementRead_WhitespaceCSSHTMLCommentCloser::_mayStartWith(int c) {
  if (typeid(*this) != typeid(HKDTDElementRead_WhitespaceCSSHTMLCommentCloser)) return true;
  return c == '-';
}

bool HKDTDElementRead_CloserCSS::_mayStartWith(int c) {
  if (typeid(*this) != typeid(HKDTDElementRead_CloserCSS)) return true;
  return c == '}';
}

bool HKDTDElementRead_CommentCSS::_mayStartWith(int c) {
  if (typeid(*this) != typeid(HKDTDElementRead_CommentCSS)) return true;
  return c == '/';
}

bool HKDTDElementRead_MediaQueryCSS::_mayStartWith(int c) {
  if (typeid(*this) != typeid(HKDTDElementRead_MediaQueryCSS)) return true;
  return c == '@';
}

bool HKDTDElementRead_RuleCSS::_mayStartWith(int c) {
  if (typeid(*this) != typeid(HKDTDElementRead_RuleCSS)) return true;
  return _isalpha(c) || c == '#' || c == '.' || c == '*';
}

bool HKDTDElementRead_PropertyCSS::_mayStartWith(int c) {
  if (typeid(*this) != typeid(HKDTDElementRead_PropertyCSS)) return true;
  return _isalpha(c);
}
