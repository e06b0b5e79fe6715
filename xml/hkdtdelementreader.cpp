#include <toviktwo/xml/hkdtdelementreader.h>

#include <mutex>
#include <typeinfo>
#include <vector>

#include <toviktwo/xml/hkxmlelement.h>

// ---- pushback ----

void HKDTDElementReader::_giveBack(const char* s, std::size_t n) {
  if (n == 0) return;
  if (_pushbackPos >= n) {
    _pushbackPos -= n;
    return;
  }
  _pushback.replace(0, _pushbackPos, s, n);
  _pushbackPos = 0;
}

void HKDTDElementReader::_declareRead(std::size_t n) {
  if (n == 0) return;
  if (_pushback.size() <= n) {
    _pushback.clear();
  } else {
    _pushback.erase(0, n);
  }
  _pushbackPos = 0;
}

HKXMLComplexElement* HKDTDElementReader::read(const std::string& dtd, bool single) {
  // Direct access for the duration of this call only.
  struct DirectAccess {
    HKDTDElementReader& r;
    explicit DirectAccess(HKDTDElementReader& reader) : r(reader) {
      if (!r._directSource(r._directText, r._directPos)) {
        r._directText = nullptr;
        r._directPos = nullptr;
      }
    }
    ~DirectAccess() {
      r._directText = nullptr;
      r._directPos = nullptr;
    }
  } direct(*this);
  return _splitter.read(*this, dtd, single);
}

bool HKDTDElementReader::_directSource(const std::string*&, unsigned long*&) { return false; }

void HKDTDElementReader::addDTD(HKDTD& dtd) { _dtds[dtd.GetName()] = dtd; }

// ---- standard grammars ----

namespace {

// The fillers and, built from them once, the standard grammars that every
// reader copies (the copies share the grammars' tables). Registering a
// filler makes the grammars be built again.
std::recursive_mutex& hkFillerMutex() {
  static std::recursive_mutex m;
  return m;
}

std::map<std::string, std::vector<HKDTDGrammarFiller>>& hkFillers() {
  static std::map<std::string, std::vector<HKDTDGrammarFiller>> fillers;
  return fillers;
}

unsigned long& hkFillerGeneration() {
  static unsigned long generation = 0;
  return generation;
}

struct HKPrototype {
  unsigned long generation;
  HKDTD dtd;
};

std::map<std::string, HKPrototype>& hkPrototypes() {
  static std::map<std::string, HKPrototype> prototypes;
  return prototypes;
}

HKXMLComplexElement* hkMakeComment(const std::string& content, HKDTD&) { return new HKXML_Comment2(content); }
HKXMLComplexElement* hkMakeElement(const std::string& content, HKDTD&) { return new HKXMLGenericElement(content, true); }
HKXMLComplexElement* hkMakeProcInst(const std::string& content, HKDTD&) { return new HKXML_ProcInst2(content); }
HKXMLComplexElement* hkMakeText(const std::string& content, HKDTD&) { return new HKXMLGenericText(content); }
HKXMLComplexElement* hkMakeWhitespace(const std::string& content, HKDTD&) { return new HKXMLGenericWhitespace(content); }
HKXMLComplexElement* hkMakeEmptyWhitespace(const std::string&, HKDTD&) { return new HKXMLGenericWhitespace(""); }

// The readers and factories shared by "xml", "html" and "xmlhtml".
void hkFillXMLTokens(HKDTD& dtd) {
  dtd.insertDTDElementRead(new HKDTDElementRead_Comment());
  dtd.insertDTDElementRead(new HKDTDElementRead_Element());
  dtd.insertDTDElementRead(new HKDTDElementRead_ProcInst());
  dtd.insertDTDElementRead(new HKDTDElementRead_Text());
  dtd.insertDTDElementRead(new HKDTDElementRead_WhitespaceText());
  dtd.insertIntoDTDObjectFactory("xmlcomment", hkMakeComment);
  dtd.insertIntoDTDObjectFactory("xmlprocinst", hkMakeProcInst);
  dtd.insertIntoDTDObjectFactory("xmlwhitespace", hkMakeWhitespace);
  dtd.insertIntoSubelementContainer("xmlelement");
}

void hkBuildGrammar(HKDTD& dtd) {
  const std::string& name = dtd.GetName();
  if (name == "xml") {
    hkFillXMLTokens(dtd);
    dtd.insertIntoDTDObjectFactory("xmlelement", hkMakeElement);
    dtd.insertIntoDTDObjectFactory("xmltext", hkMakeText);
  } else if (name == "html") {
    // Doctype, text and element factories come with the HTML classes.
    dtd.insertDTDElementRead(new HKDTDElementRead_Doctype());
    hkFillXMLTokens(dtd);
  } else if (name == "xmlhtml") {
    // The element factory comes with the HTML classes.
    hkFillXMLTokens(dtd);
    dtd.insertIntoDTDObjectFactory("xmltext", hkMakeText);
  } else if (name == "css") {
    dtd.insertDTDElementRead(new HKDTDElementRead_WhitespaceCSS());
    dtd.insertDTDElementRead(new HKDTDElementRead_WhitespaceCSSHTMLComment());
    dtd.insertDTDElementRead(new HKDTDElementRead_WhitespaceCSSHTMLCommentCloser());
    dtd.insertDTDElementRead(new HKDTDElementRead_CloserCSS());
    dtd.insertDTDElementRead(new HKDTDElementRead_CommentCSS());
    dtd.insertDTDElementRead(new HKDTDElementRead_MediaQueryCSS());
    dtd.insertDTDElementRead(new HKDTDElementRead_RuleCSS());
    dtd.insertDTDElementRead(new HKDTDElementRead_PropertyCSS());
    dtd.insertDTDElementRead(new HKDTDElementRead_Element());
    dtd.insertIntoDTDObjectFactory("css_a_whitespace", hkMakeWhitespace);
    dtd.insertIntoDTDObjectFactory("css_aaa_whitespace", hkMakeEmptyWhitespace);
    dtd.insertIntoDTDObjectFactory("css_b_closer", hkMakeEmptyWhitespace);
    dtd.insertIntoDTDObjectFactory("css_c_comment", hkMakeText);
    // css_aa_whitespace, css_d_mediaquery, css_e_rule, css_f_property and
    // xmlelement come with the CSS and HTML classes.
    dtd.insertIntoSubelementContainer("css_aa_whitespace");
    dtd.insertIntoSubelementContainer("css_d_mediaquery");
    dtd.insertIntoSubelementContainer("css_e_rule");
    // Keyed by token type while the lookup goes by element type: these two
    // entries never match an element of the standard CSS classes, and stay
    // for grammars whose element type names do match.
    dtd.insertDisallowed("css_e_rule", {"css_e_rule", "css_d_mediaquery"});
    dtd.insertDisallowed("css_d_mediaquery", {"cssmediaquery", "cssproperty"});
  } else if (name == "cssRule") {
    dtd.insertDTDElementRead(new HKDTDElementRead_WhitespaceCSS());
    dtd.insertDTDElementRead(new HKDTDElementRead_CloserCSS());
    dtd.insertDTDElementRead(new HKDTDElementRead_CommentCSS());
    dtd.insertDTDElementRead(new HKDTDElementRead_PropertyCSS());
    dtd.insertIntoDTDObjectFactory("css_a_whitespace", hkMakeWhitespace);
    dtd.insertIntoDTDObjectFactory("css_b_closer", hkMakeWhitespace);
    dtd.insertIntoDTDObjectFactory("css_c_comment", hkMakeText);
    // css_f_property comes with the CSS classes.
  }
  std::vector<HKDTDGrammarFiller> fillers;
  {
    std::lock_guard<std::recursive_mutex> lock(hkFillerMutex());
    auto it = hkFillers().find(name);
    if (it != hkFillers().end()) fillers = it->second;
  }
  for (auto& filler : fillers) filler(dtd);
}

}  // namespace

void HKDTDRegisterGrammarFiller(const std::string& grammar, HKDTDGrammarFiller filler) {
  std::lock_guard<std::recursive_mutex> lock(hkFillerMutex());
  hkFillers()[grammar].push_back(std::move(filler));
  ++hkFillerGeneration();
}

HKDTD HKDTDStandardGrammar(const std::string& name) {
  unsigned long generation;
  {
    std::lock_guard<std::recursive_mutex> lock(hkFillerMutex());
    generation = hkFillerGeneration();
    auto it = hkPrototypes().find(name);
    if (it != hkPrototypes().end() && it->second.generation == generation) return HKDTD(it->second.dtd);
  }
  // Built without the lock held: the fillers are code of other parts.
  HKDTD built(name);
  hkBuildGrammar(built);
  std::lock_guard<std::recursive_mutex> lock(hkFillerMutex());
  auto it = hkPrototypes().find(name);
  if (it == hkPrototypes().end()) {
    it = hkPrototypes().emplace(name, HKPrototype{generation, HKDTD(built)}).first;
  } else if (it->second.generation != hkFillerGeneration()) {
    it->second.generation = generation;
    it->second.dtd = built;
  }
  return built;
}

HKDTDElementReader::HKDTDElementReader() {
  for (const char* name : {"xml", "html", "xmlhtml", "css", "cssRule"}) _dtds.emplace(name, HKDTDStandardGrammar(name));
}

HKDTDElementReader::~HKDTDElementReader() = default;

// ---- stream source ----
// Reads through the stream buffer (no sentry per character) and keeps the
// stream's state flags as get() and peek() of the stream would set them.

HKDTDElementReaderStream::HKDTDElementReaderStream(std::istream& in) : _in(in) {}

bool HKDTDElementReaderStream::_underlyingBufferEof() { return _in.eof(); }

bool HKDTDElementReaderStream::_underlyingBufferGood() { return _in.good(); }

int HKDTDElementReaderStream::_underlyingBufferPeek() {
  if (!_in.good()) return -1;
  std::streambuf* sb = _in.rdbuf();
  if (sb == nullptr) {
    _in.setstate(std::ios::badbit);
    return -1;
  }
  const auto c = sb->sgetc();
  if (std::char_traits<char>::eq_int_type(c, std::char_traits<char>::eof())) {
    _in.setstate(std::ios::eofbit);
    return -1;
  }
  return std::char_traits<char>::to_int_type(std::char_traits<char>::to_char_type(c));
}

int HKDTDElementReaderStream::_underlyingBufferGet() {
  if (!_in.good()) {
    _in.setstate(std::ios::failbit);
    return -1;
  }
  std::streambuf* sb = _in.rdbuf();
  if (sb == nullptr) {
    _in.setstate(std::ios::badbit);
    return -1;
  }
  const auto c = sb->sbumpc();
  if (std::char_traits<char>::eq_int_type(c, std::char_traits<char>::eof())) {
    _in.setstate(std::ios::eofbit | std::ios::failbit);
    return -1;
  }
  return std::char_traits<char>::to_int_type(std::char_traits<char>::to_char_type(c));
}

// ---- string source ----

HKDTDElementReaderString::HKDTDElementReaderString(std::string& text, unsigned long start) : _text(text), _pos(start) {}

bool HKDTDElementReaderString::_underlyingBufferEof() { return _pos >= _text.size(); }

bool HKDTDElementReaderString::_underlyingBufferGood() { return _pos < _text.size(); }

int HKDTDElementReaderString::_underlyingBufferPeek() {
  if (_pos >= _text.size()) return -1;
  return static_cast<unsigned char>(_text[_pos]);
}

int HKDTDElementReaderString::_underlyingBufferGet() {
  if (_pos >= _text.size()) return -1;
  return static_cast<unsigned char>(_text[_pos++]);
}

bool HKDTDElementReaderString::_directSource(const std::string*& text, unsigned long*& position) {
  // Only for this very class: a derived source may deliver characters its own way.
  if (typeid(*this) != typeid(HKDTDElementReaderString)) return false;
  text = &_text;
  position = &_pos;
  return true;
}
