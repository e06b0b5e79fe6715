#include <toviktwo/documents/css/hkcss.h>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hkstringmap.h>
#include <toviktwo/foundation/hkstringtools.h>

namespace {
// What a property text is cut from at both ends.
const char* const kPropertyStrip = " ;\n\t\r";
// Whitespace around the pieces of a style text.
const char* const kStyleWhite = " \t\n\r";

void hkPrintChildren(const HKXMLChildQueue& children, std::ostream& os) {
  for (const HKXMLComplexElement* child : children) {
    if (child != nullptr) child->print(os);
  }
}
}  // namespace

// ---- HKCSSProperty ----

HKCSSProperty::HKCSSProperty(const std::string& text, bool nameOnly) : HKXMLComplexElement("cssproperty", false, false) {
  const std::string stripped = HKStripWhitespaces(text, kPropertyStrip);
  const std::size_t colon = stripped.find(':');
  if (colon == std::string::npos) {
    if (!nameOnly) throw HKException("CSS property not well formed (missing ':').", __LINE__, "src");
    _name = stripped;
  } else {
    _name = HKStripWhitespaces(stripped.substr(0, colon), kPropertyStrip);
    _value = HKStripWhitespaces(stripped.substr(colon + 1), kPropertyStrip);
  }
  if (_name.empty()) throw HKException("CSS property must have a name", __LINE__, "src");
}

HKCSSProperty& HKCSSProperty::operator=(const std::string& value) {
  _value = value;
  return *this;
}

void HKCSSProperty::print(std::ostream& os) const {
  if (_value.empty()) return;
  _preprint();
  os << _name << ": " << _value << ';';
}

void HKCSSProperty::_newChild(HKXMLComplexElement*) { throw HKException("no childs possible", __LINE__, "src"); }

// ---- HKCSSRule ----

HKCSSRule::HKCSSRule(const std::string& selector) : HKXMLComplexElement("cssRule", false, true), _selector(selector) {}

HKCSSRule::HKCSSRule(const std::string& selector, const std::list<std::string>& properties) : HKCSSRule(selector) {
  for (const std::string& text : properties) {
    if (!text.empty()) PushBackChildElement(new HKCSSProperty(text, false));
  }
}

void HKCSSRule::print(std::ostream& os) const {
  _preprint();
  os << _selector << '{';
  hkPrintChildren(_children, os);
  os << '}';
}

void HKCSSRule::_newChild(HKXMLComplexElement* child) {
  if (dynamic_cast<HKXMLGenericText*>(child) != nullptr || dynamic_cast<HKCSSHTMLComment*>(child) != nullptr ||
      dynamic_cast<HKCSSProperty*>(child) != nullptr) {
    return;
  }
  throw HKException("must be an CSS element", __LINE__, "src");
}

std::string HKCSSRule::dtdRequest(const std::string& dtd) {
  if (!dtd.empty()) {
    _setDTDName(dtd);
    return "cssRule";
  }
  return GetDTDName();
}

// ---- HKCSSMediaQuery ----

HKCSSMediaQuery::HKCSSMediaQuery(const std::string& query)
    : HKXMLComplexElement("cssmediaquery", false, true), _query(query) {}

void HKCSSMediaQuery::print(std::ostream& os) const {
  _preprint();
  os << _query << '{';
  hkPrintChildren(_children, os);
  os << '}';
}

void HKCSSMediaQuery::_newChild(HKXMLComplexElement* child) {
  if (dynamic_cast<HKXMLGenericText*>(child) != nullptr || dynamic_cast<HKCSSHTMLComment*>(child) != nullptr ||
      dynamic_cast<HKCSSRule*>(child) != nullptr) {
    return;
  }
  throw HKException("must be an CSS element", __LINE__, "src");
}

// ---- HKCSSHTMLComment ----

HKCSSHTMLComment::HKCSSHTMLComment() : HKXMLComplexElement("csshtmlcomment", false, false) {}

void HKCSSHTMLComment::print(std::ostream& os) const {
  _preprint();
  os << "<!--";
  hkPrintChildren(_children, os);
  os << "-->";
}

void HKCSSHTMLComment::_newChild(HKXMLComplexElement* child) {
  if (dynamic_cast<HKXMLGenericText*>(child) != nullptr) return;
  throw HKException("child must be text", __LINE__, "src");
}

// ---- HKStyleAttribute ----

bool HKStyleAttribute::AttributeIsSet() const { return !_properties.empty(); }

void HKStyleAttribute::print(std::ostream& os) const {
  for (const auto& entry : _properties) {
    if (entry.second && !entry.second->isEmpty()) entry.second->print(os);
  }
}

const std::string& HKStyleAttribute::operator=(const std::string& text) {
  for (const std::string& rawPiece : HKStringMap1(text, ";", false).GetTheStrings()) {
    const std::string piece = HKStripLeadingWhitespaces(HKStripTrailingWhitespaces(rawPiece, kStyleWhite), kStyleWhite);
    HKStringMap1 parts(piece, ":", false);
    if (parts.size() == 0) continue;
    if (parts.size() != 2) throw HKException("style syntax wrong at: >" + piece + "< ", __LINE__, "src");
    const std::string name = HKStripWhitespaces(parts[0], kStyleWhite);
    const std::string value = HKStripWhitespaces(parts[1], kStyleWhite);
    auto property = std::make_shared<HKCSSProperty>(name + ":" + value + ";", false);
    _properties[name] = std::move(property);
  }
  return _emptyText();
}

const std::string& HKStyleAttribute::operator=(const char* text) {
  if (text == nullptr) return _emptyText();
  return operator=(std::string(text));
}

const std::string& HKStyleAttribute::operator+=(const std::string& text) { return operator=(text); }

HKCSSProperty& HKStyleAttribute::operator[](const std::string& name) {
  std::shared_ptr<HKCSSProperty>& slot = _properties[name];
  if (!slot) {
    try {
      slot = std::make_shared<HKCSSProperty>(name, true);
    } catch (...) {
      _properties.erase(name);
      throw;
    }
  }
  return *slot;
}
