// Grammars and token readers.
//
// The library has no general XML parser. A grammar (HKDTD) is a sorted map of
// small token readers, each of which tries to recognise one kind of token at
// the current position of a character source (HKDTDElementReader), plus the
// factories that turn tokens into elements. The map's byte-wise order of type
// names is the priority order: the tree builder (HKXMLContentSplitter) tries
// the readers in that order and the first success wins.
//
// There are no entities, no character references, no CDATA and no
// namespaces: text and attribute values are kept byte for byte.
#pragma once

#include <functional>
#include <list>
#include <typeinfo>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>

class HKDTD;
class HKDTDElementReader;
class HKXMLComplexElement;

// Makes the element for a token: (token content, grammar) -> new element.
using HKDTDObjectFactory = std::function<HKXMLComplexElement*(const std::string&, HKDTD&)>;

// One attribute as read from a tag.
struct HKElementAttribute {
  std::string name;
  std::string value;
  bool withoutValue = false;  // the attribute stood in the tag without "="
};

// The abstract token reader. Read() returns this reader on success (its
// content then holds the token's payload) and null otherwise; a failed Read
// leaves the source as it stood.
class HKDTDElementRead {
 public:
  explicit HKDTDElementRead(std::string typeName);
  HKDTDElementRead(const HKDTDElementRead&) = delete;
  HKDTDElementRead& operator=(const HKDTDElementRead&) = delete;
  virtual ~HKDTDElementRead();
  virtual HKDTDElementRead* Read(HKDTDElementReader& reader) = 0;
  // A fresh reader of the same kind, carrying no content.
  virtual HKDTDElementRead* Duplicate() = 0;
  virtual bool isClosingTag();
  virtual bool hasAttributes();
  virtual bool checkInitialTag(const std::string& typeName);
  virtual bool hasNoClosingTag();

  const std::string& GetTypeName() const { return _typeName; }
  const std::string& GetContent() const { return _content; }
  // Set when a tag ended in "/>".
  bool NoClosing() const { return _noClosing; }

  // Character classes; characters are ints (-1 is the end of input).
  // ASCII is decided here; other bytes go to `<cctype>` (so the C locale
  // decides about them as before).
  static bool _isalpha(int c) {  // isalpha or "_"
    if (c < 128) return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    return _isalphaHigh(c);
  }
  static bool _isalphanum(int c) {  // isalnum, "-" or "_"
    if (c < 128) {
      return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
    }
    return _isalnumHigh(c);
  }
  static bool _iswhitespace(int c) {  // isblank, 9, 10 or 13
    if (c < 128) return c == ' ' || c == '\t' || c == '\n' || c == '\r';
    return _isblankHigh(c);
  }
  static bool _iselementcloser(int c) { return c == '/' || c == '>'; }  // "/" or ">"

  // Makes this reader fresh again in place when that is the same as
  // Duplicate() (the reader classes of this library, not derived from);
  // false when the caller has to duplicate.
  virtual bool _reset();
  // Whether a token of this reader can begin with `c` (the next character).
  // A reader that surely fails takes nothing from the source, so the tree
  // builder may skip it without calling Read(). True unless a reader class
  // of this library says otherwise for an object of exactly its class.
  virtual bool _mayStartWith(int c);

 protected:
  // _reset() of a reader class: only for an object of exactly that class.
  bool _resetIfExactly(const std::type_info& type);

 public:

 protected:
  std::string _typeName;
  bool _noClosing = false;
  std::string _content;

 private:
  static bool _isalphaHigh(int c);
  static bool _isalnumHigh(int c);
  static bool _isblankHigh(int c);
};

// A transaction on the reader, living on the stack of one Read(). Everything
// fetched is kept as "taken"; destruction commits: the part before the
// position is declared read, the rest is given back to the reader.
class HKDTDElementReadStructLocal {
 public:
  // Defined inline in hkdtdelementreader.h.
  explicit HKDTDElementReadStructLocal(HKDTDElementReader& reader);
  HKDTDElementReadStructLocal(const HKDTDElementReadStructLocal&) = delete;
  HKDTDElementReadStructLocal& operator=(const HKDTDElementReadStructLocal&) = delete;
  ~HKDTDElementReadStructLocal();

  // Defined inline in hkdtdelementreader.h (they need the reader).
  int peek();
  // At the end of input with eofAllowed false a warning line goes to stderr.
  int get(bool eofAllowed = true);
  // Steps the position back by the length of `s`; always returns false.
  bool giveBack(const std::string& s);
  bool foundThat(const std::string& s);
  const std::string& getFound() const { return _found; }
  // `r` if ok; otherwise everything taken is given back and null returned.
  HKDTDElementRead* operator()(bool ok, HKDTDElementRead* r, bool unused = false);
  bool good();
  bool eof();
  // Takes characters while `pred` holds for the next one, as
  // `while (pred(peek())) get();` does, scanning the text itself when
  // characters come straight from it.
  template <typename Pred>
  void takeWhile(Pred pred);
  // What was taken up to the position.
  std::string_view accepted() const {
    if (_text != nullptr) return std::string_view(_text + _start, _pos);
    return std::string_view(_taken).substr(0, _pos);
  }
  std::size_t position() const { return _pos; }

 private:
  int _fetch(bool eofAllowed);
  static void _warnEof();
  // Leaves the direct way (see below): what was taken is copied out.
  void _leaveDirect();
  // See _shadow below; false when the pushback buffer does not qualify.
  bool _shadowPushback();
  // Puts the reader where it would stand had the shadowed characters been
  // taken from the pushback buffer.
  void _unshadow();

  HKDTDElementReader& _reader;
  std::string _taken;
  std::size_t _pos = 0;
  std::string _found;
  // While the reader takes its characters straight from a text and has
  // nothing given back, what the transaction has taken is the part of the
  // text from `_start` up to the reader's position: nothing is copied then.
  // `_text` is null otherwise (and as soon as something was given back to
  // the reader meanwhile), and `_taken` holds the characters.
  // A failed transaction hands its characters back, and the next one takes
  // them from the pushback buffer again. When the buffer holds exactly the
  // characters in front of the text position (plain ASCII, so that their
  // delivery as signed or unsigned chars is the same), the text position
  // is set back over them instead, and `_shadow` counts them; the
  // destructor puts the buffer and the position back as the transaction
  // would have left them. A transaction is the only user of its reader
  // while it lives (one token is read at a time).
  const char* _text = nullptr;
  std::size_t _textSize = 0;
  unsigned long* _textPos = nullptr;
  std::size_t _start = 0;
  std::size_t _shadow = 0;
};

// ---- the token readers ----

// "xmlwhitespace": one or more whitespace characters.
class HKDTDElementRead_WhitespaceText : public HKDTDElementRead {
 public:
  HKDTDElementRead_WhitespaceText();
  HKDTDElementRead* Read(HKDTDElementReader& reader) override;
  HKDTDElementRead* Duplicate() override;
  bool _reset() override;
  bool _mayStartWith(int c) override;

 protected:
  explicit HKDTDElementRead_WhitespaceText(std::string typeName);
};

// "xmltext": one word, up to whitespace, "<" or the end.
class HKDTDElementRead_Text : public HKDTDElementRead {
 public:
  HKDTDElementRead_Text();
  HKDTDElementRead* Read(HKDTDElementReader& reader) override;
  HKDTDElementRead* Duplicate() override;
  bool _reset() override;
  bool _mayStartWith(int c) override;
};

// "htmldoctype": the exact text "<!DOCTYPE ", then everything up to ">".
class HKDTDElementRead_Doctype : public HKDTDElementRead {
 public:
  HKDTDElementRead_Doctype();
  HKDTDElementRead* Read(HKDTDElementReader& reader) override;
  HKDTDElementRead* Duplicate() override;
  bool _reset() override;
  bool _mayStartWith(int c) override;
};

// "xmlprocinst": "<?" up to the first "?>".
class HKDTDElementRead_ProcInst : public HKDTDElementRead {
 public:
  HKDTDElementRead_ProcInst();
  HKDTDElementRead* Read(HKDTDElementReader& reader) override;
  HKDTDElementRead* Duplicate() override;
  bool _reset() override;
  bool _mayStartWith(int c) override;
};

// "xmlcomment": "<!--" up to "-->", dashes scanned in pairs.
class HKDTDElementRead_Comment : public HKDTDElementRead {
 public:
  HKDTDElementRead_Comment();
  HKDTDElementRead* Read(HKDTDElementReader& reader) override;
  HKDTDElementRead* Duplicate() override;
  bool _reset() override;
  bool _mayStartWith(int c) override;
};

// "xmlelement": a start, empty or end tag with its attributes (which land in
// the reader's attribute list). Throws "incomplete tag '...'" when a name is
// followed by something that cannot follow it.
class HKDTDElementRead_Element : public HKDTDElementRead {
 public:
  HKDTDElementRead_Element();
  HKDTDElementRead* Read(HKDTDElementReader& reader) override;
  HKDTDElementRead* Duplicate() override;
  bool _reset() override;
  bool _mayStartWith(int c) override;
  bool isClosingTag() override;
  bool hasAttributes() override;
  bool checkInitialTag(const std::string& typeName) override;
  bool hasNoClosingTag() override;
};

// "css_a_whitespace": as "xmlwhitespace".
class HKDTDElementRead_WhitespaceCSS : public HKDTDElementRead_WhitespaceText {
 public:
  HKDTDElementRead_WhitespaceCSS();
  HKDTDElementRead* Duplicate() override;
  bool _reset() override;
  bool _mayStartWith(int c) override;
};

// "css_aa_whitespace": the opening "<!--" of an HTML comment around CSS
// (content "<!-"); also accepts "<-".
class HKDTDElementRead_WhitespaceCSSHTMLComment : public HKDTDElementRead {
 public:
  HKDTDElementRead_WhitespaceCSSHTMLComment();
  HKDTDElementRead* Read(HKDTDElementReader& reader) override;
  HKDTDElementRead* Duplicate() override;
  bool _reset() override;
  bool _mayStartWith(int c) override;
};

// "css_aaa_whitespace": one or two "-" followed by ">"; a closing token.
class HKDTDElementRead_WhitespaceCSSHTMLCommentCloser : public HKDTDElementRead {
 public:
  HKDTDElementRead_WhitespaceCSSHTMLCommentCloser();
  HKDTDElementRead* Read(HKDTDElementReader& reader) override;
  HKDTDElementRead* Duplicate() override;
  bool _reset() override;
  bool _mayStartWith(int c) override;
  bool isClosingTag() override;
};

// "css_b_closer": one "}"; a closing token.
class HKDTDElementRead_CloserCSS : public HKDTDElementRead {
 public:
  HKDTDElementRead_CloserCSS();
  HKDTDElementRead* Read(HKDTDElementReader& reader) override;
  HKDTDElementRead* Duplicate() override;
  bool _reset() override;
  bool _mayStartWith(int c) override;
  bool isClosingTag() override;
};

// "css_c_comment": "/*" up to the first "*/" after the opener, delimiters included.
class HKDTDElementRead_CommentCSS : public HKDTDElementRead {
 public:
  HKDTDElementRead_CommentCSS();
  HKDTDElementRead* Read(HKDTDElementReader& reader) override;
  HKDTDElementRead* Duplicate() override;
  bool _reset() override;
  bool _mayStartWith(int c) override;
};

// "css_d_mediaquery": "@" and everything up to "{" (consumed, not content).
class HKDTDElementRead_MediaQueryCSS : public HKDTDElementRead {
 public:
  HKDTDElementRead_MediaQueryCSS();
  HKDTDElementRead* Read(HKDTDElementReader& reader) override;
  HKDTDElementRead* Duplicate() override;
  bool _reset() override;
  bool _mayStartWith(int c) override;
};

// "css_e_rule": a selector (first character a letter, "_", "#", "." or "*")
// up to "{" (consumed, not content).
class HKDTDElementRead_RuleCSS : public HKDTDElementRead {
 public:
  HKDTDElementRead_RuleCSS();
  HKDTDElementRead* Read(HKDTDElementReader& reader) override;
  HKDTDElementRead* Duplicate() override;
  bool _reset() override;
  bool _mayStartWith(int c) override;
};

// "css_f_property": a letter, then up to and including ";", or up to but not
// including "}" (trailing whitespace then goes back to the source).
class HKDTDElementRead_PropertyCSS : public HKDTDElementRead {
 public:
  HKDTDElementRead_PropertyCSS();
  HKDTDElementRead* Read(HKDTDElementReader& reader) override;
  HKDTDElementRead* Duplicate() override;
  bool _reset() override;
  bool _mayStartWith(int c) override;
};

// One grammar.
//
// The tables (factories, containers, allowed/disallowed, no-closing-tag
// elements, element factories) never carry state from one read to the next,
// so copies of a grammar share them until one of the copies is changed. The
// token readers carry state and are duplicated with every copy.
class HKDTD {
 public:
  using ReaderMap = std::map<std::string, HKDTDElementRead*>;
  using FactoryMap = std::map<std::string, HKDTDObjectFactory>;
  using NameSetMap = std::map<std::string, std::set<std::string>>;

  explicit HKDTD(const std::string& name = "");
  // Copies duplicate the token readers.
  HKDTD(const HKDTD& other);
  HKDTD(HKDTD&& other) noexcept;
  HKDTD& operator=(const HKDTD& other);
  ~HKDTD();

  // Takes ownership, keyed by the reader's type name; null returns "";
  // a type name present already throws "name can't be twice" (the reader is
  // destroyed).
  std::string insertDTDElementRead(HKDTDElementRead* reader);
  // Replaces an earlier entry of that name.
  std::string insertIntoDTDObjectFactory(const std::string& name, HKDTDObjectFactory factory);
  std::string insertIntoSubelementContainer(const std::string& name);
  // Stored and copied only; nothing consults it.
  std::string insertAllowed(const std::string& name, const std::set<std::string>& names);
  // Token types that must not be tried while an element of type `name` is current.
  std::string insertDisallowed(const std::string& name, const std::set<std::string>& names);
  // Element types that any following token closes (the void elements of HTML).
  std::string insertNoClosingTagElement(const std::string& name);
  // Element factories by tag (used by the HTML element factory).
  std::string insertElementFactory(const std::string& tag, HKDTDObjectFactory factory);

  const std::string& GetName() const { return _name; }
  // The non-const accessors of readers and factories let the caller change
  // the grammar; they count as a change (see Generation()). Look-ups should
  // go through the const ones.
  ReaderMap& Readers() {
    ++_generation;
    return _readers;
  }
  const ReaderMap& Readers() const { return _readers; }
  FactoryMap& ObjectFactory() {
    ++_generation;
    return _own().objectFactory;
  }
  const FactoryMap& ObjectFactory() const { return _tables->objectFactory; }
  const std::set<std::string>& SubelementContainer() const { return _tables->subelementContainer; }
  const NameSetMap& Allowed() const { return _tables->allowed; }
  const NameSetMap& Disallowed() const { return _tables->disallowed; }
  const std::set<std::string>& NoClosingTagElements() const { return _tables->noClosingTag; }
  // Looked up for every element read in the HTML grammars: read-only here
  // (insertElementFactory changes them), so that a look-up never has to
  // unshare the tables.
  const FactoryMap& ElementFactories() const { return _tables->elementFactories; }
  // Counts the changes of this grammar, so that what the tree builder keeps
  // about it between two tokens can be checked for being current.
  unsigned long Generation() const { return _generation; }

 private:
  friend class HKXMLContentSplitter;
  struct _Tables {
    FactoryMap objectFactory;
    std::set<std::string> subelementContainer;
    NameSetMap allowed;
    NameSetMap disallowed;
    std::set<std::string> noClosingTag;
    FactoryMap elementFactories;
  };
  // The tables for a change: a copy of its own first if they are shared.
  _Tables& _own();
  void _clearReaders();
  void _copyFrom(const HKDTD& other);

  std::string _name;
  ReaderMap _readers;
  std::shared_ptr<_Tables> _tables;
  unsigned long _generation = 0;
};

// The reader, which the inline operations of the transaction need.
#include <toviktwo/xml/hkdtdelementreader.h>
