#include <toviktwo/documents/html/hkhtmlelement.h>

#include <list>
#include <sstream>

#include <toviktwo/documents/html/hkhtmlform.h>
#include <toviktwo/foundation/hkstringtools.h>

// ---- HKHTML_BaseElement2 ----

HKHTML_BaseElement2::HKHTML_BaseElement2(const std::string& name, bool shortForced, bool shortPermitted)
    : HKXMLGenericElement(name, true) {
  _shortTagForced = shortForced;
  _shortTagPermitted = shortPermitted;
}

unsigned HKHTML_BaseElement2::_memberBit(const std::string& name) {
  if (name.size() == 2 && name == "id") return kIdBit;
  if (name.size() == 5) {
    if (name == "class") return kClassBit;
    if (name == "style") return kStyleBit;
  }
  return 0;
}

void HKHTML_BaseElement2::_registerMembers(unsigned bits) {
  bits &= ~_registered;
  if (bits == 0) return;
  _registered |= bits;
  if ((bits & kClassBit) != 0 && !HKXMLGenericElement::ContainsAttribute("class")) {
    HKXMLGenericElement::ReplaceAttributeContent("class", _class);
  }
  if ((bits & kIdBit) != 0 && !HKXMLGenericElement::ContainsAttribute("id")) {
    HKXMLGenericElement::ReplaceAttributeContent("id", _id);
  }
  if ((bits & kStyleBit) != 0 && !HKXMLGenericElement::ContainsAttribute("style")) {
    HKXMLGenericElement::ReplaceAttributeContent("style", _style);
  }
}

bool HKHTML_BaseElement2::_tableAnswers(const std::string& name) const {
  const unsigned bit = _memberBit(name);
  return bit == 0 || (_registered & bit) != 0;
}

HKXMLStringHKAttribute& HKHTML_BaseElement2::id() {
  _registerMembers(kIdBit);
  return _id;
}

HKXMLStringHKAttribute& HKHTML_BaseElement2::cssClass() {
  _registerMembers(kClassBit);
  return _class;
}

HKStyleAttribute& HKHTML_BaseElement2::style() {
  _registerMembers(kStyleBit);
  return _style;
}

bool HKHTML_BaseElement2::ReplaceAttributeContent(const std::string& name, const std::string& value) {
  _registerMembers(_memberBit(name));
  return HKXMLGenericElement::ReplaceAttributeContent(name, value);
}

HKXMLComplexAttribute2& HKHTML_BaseElement2::operator[](const std::string& name) {
  _registerMembers(_memberBit(name));
  return HKXMLGenericElement::operator[](name);
}

std::string HKHTML_BaseElement2::getAttributeText(const std::string& name, const std::string& fallback) {
  // An unregistered member was never set: the table would print it empty
  // (unless the name was registered otherwise).
  if (!_tableAnswers(name) && !HKXMLGenericElement::ContainsAttribute(name)) return std::string();
  return HKXMLGenericElement::getAttributeText(name, fallback);
}

bool HKHTML_BaseElement2::IdentAttribute(const std::string& name, const std::string& value) {
  if (!_tableAnswers(name) && !HKXMLGenericElement::ContainsAttribute(name)) return value.empty();
  return HKXMLGenericElement::IdentAttribute(name, value);
}

bool HKHTML_BaseElement2::ContainsAttribute(const std::string& name) {
  if (!_tableAnswers(name)) return true;
  return HKXMLGenericElement::ContainsAttribute(name);
}

bool HKHTML_BaseElement2::RemoveAttribute(const std::string& name) {
  _registerMembers(_memberBit(name));
  return HKXMLGenericElement::RemoveAttribute(name);
}

HKHTML_BaseElement2::HKHTML_BaseElement2() : HKHTML_BaseElement2("htmlbaseelement", false, false) {}

HKHTML_BaseElement2::~HKHTML_BaseElement2() {
  // The proxies in the table refer to the members: the table goes first.
  if (_attributes) {
    for (auto& entry : *_attributes) delete entry.second;
    _attributes.reset();
  }
}

std::string HKHTML_BaseElement2::GetBuffer() {
  std::ostringstream os;
  print(os);
  return os.str();
}

std::string HKHTML_BaseElement2::AsJavaScriptAdd() {
  std::string js = "{\nvar newelem = document.createElement('" + GetTypeName() + "');\n";
  for (const auto& [name, attribute] : Attributes()) {
    if (attribute == nullptr || !attribute->AttributeIsSet()) continue;
    std::ostringstream value;
    attribute->print(value);
    js += "newelem.setAttribute('" + name + "','" + value.str() + "');\n";
  }
  std::ostringstream inner;
  for (const HKXMLComplexElement* child : Children()) {
    if (child != nullptr) child->print(inner);
  }
  js += "newelem.innerHTML=\"" + Utf8ToJavaScript(inner.str()) + "\";\n";
  js += "document.appendChild(newelem);\n }";
  return js;
}

void HKHTML_BaseElement2::setID(const std::string& id) { this->id() = id; }

void HKHTML_BaseElement2::setStyle(const std::string& style) { this->style() = style; }

// ---- families ----

HKHTML_ElementType0::HKHTML_ElementType0(const std::string& tag) {
  _typeName = tag;
  _shortTagForced = false;
  _shortTagPermitted = false;
}

HKHTML_ElementType1::HKHTML_ElementType1(const std::string& tag) {
  _typeName = tag;
  _shortTagForced = false;
  _shortTagPermitted = false;
}

HKHTML_ElementType2::HKHTML_ElementType2(const std::string& tag) {
  _typeName = tag;
  _shortTagForced = true;
  _shortTagPermitted = true;
}

HKHTML_ElementHelper::~HKHTML_ElementHelper() = default;

HKHTML_ElementType0A::HKHTML_ElementType0A(const std::string& tag) {
  _typeName = tag;
  _shortTagForced = false;
  _shortTagPermitted = false;
}

HKHTML_ElementType0B::HKHTML_ElementType0B(const std::string& tag) {
  _typeName = tag;
  _shortTagForced = false;
  _shortTagPermitted = false;
}

namespace {
template <typename T>
T* hkAppendTyped(HKXMLComplexElement& parent, T* child) {
  return dynamic_cast<T*>(parent.PushBackChildElement(child));
}
}  // namespace

HKHTML_button2* HKHTML_ElementType0B::button() { return hkAppendTyped(*this, new HKHTML_button2()); }
HKHTML_p2* HKHTML_ElementType0B::p() { return hkAppendTyped(*this, new HKHTML_p2()); }
HKHTML_div2* HKHTML_ElementType0B::div(const std::string& id, bool draggable) {
  return hkAppendTyped(*this, new HKHTML_div2(id, draggable));
}
HKHTML_hr2* HKHTML_ElementType0B::hr() { return hkAppendTyped(*this, new HKHTML_hr2()); }
HKHTML_span2* HKHTML_ElementType0B::span() { return hkAppendTyped(*this, new HKHTML_span2()); }

HKHTML_ElementType0C::HKHTML_ElementType0C(const std::string& tag) {
  _typeName = tag;
  _shortTagForced = false;
  _shortTagPermitted = false;
}

HKHTML_form2* HKHTML_ElementType0C::form(const std::string& method, const std::string& action) {
  return hkAppendTyped(*this, new HKHTML_form2(method, action));
}

// ---- HKHTML_text2 ----

HKHTML_text2::HKHTML_text2() : HKHTML_BaseElement2("xmltext", true, true) { _noSpecial = false; }

HKHTML_text2::HKHTML_text2(const std::string& text) : HKHTML_text2() { _text = text; }

void HKHTML_text2::print(std::ostream& os) const {
  _preprint();
  os << _text;
}

void HKHTML_text2::AsText(std::ostream& os) const { os << _text; }

bool HKHTML_text2::IsXMLText() { return true; }

HKHTML_text2& HKHTML_text2::operator+=(const std::string& text) {
  _text += text;
  return *this;
}

// ---- classes with more than the tag ----

HKHTML_body2::HKHTML_body2()
    : HKHTML_ElementType0("body"), HKHTML_ElementType0A("body"), HKHTML_ElementType0B("body"),
      HKHTML_ElementType0C("body") {}

HKHTML_div2::HKHTML_div2(const std::string& id, bool draggable)
    : HKHTML_ElementType0("div"), HKHTML_ElementType0A("div"), HKHTML_ElementType0B("div"),
      HKHTML_ElementType0C("div") {
  ReplaceAttributeContent("onmousedown", _onmousedown);
  if (draggable) _onmousedown = std::string("tovik_start_drag(this);");
  if (!id.empty()) setID(id);
}

HKHTML_p2::HKHTML_p2()
    : HKHTML_ElementType1("p"), HKHTML_ElementType0A("p"), HKHTML_ElementType0B("p"), HKHTML_ElementType0C("p") {}

HKHTML_a2::HKHTML_a2() : HKHTML_ElementType0("a") {
  ReplaceAttributeContent("href", _href);
  ReplaceAttributeContent("name", _name);
}

HKHTML_a2::HKHTML_a2(const std::string& href, const std::string& text) : HKHTML_a2() {
  _href = href;
  if (!text.empty()) PushBackChildElement(new HKHTML_text2(text));
}

HKHTML_label2::HKHTML_label2() : HKHTML_ElementType0("label"), HKHTML_ElementType0A("label") {
  ReplaceAttributeContent("for", _for);
}

HKHTML_label2::HKHTML_label2(const std::string& text, const std::string& forId) : HKHTML_label2() {
  if (!forId.empty()) _for = forId;
  if (!text.empty()) PushBackChildElement(new HKHTML_text2(text));
}

void HKHTML_label2::setText(const std::string& text) { replaceInnerChildsBy(new HKHTML_text2(text)); }

HKHTML_html2::HKHTML_html2() : HKHTML_ElementType0("html") {}

HKHTML_head2* HKHTML_html2::theHead() {
  for (HKXMLComplexElement* child : Children()) {
    if (auto* head = dynamic_cast<HKHTML_head2*>(child)) return head;
  }
  return dynamic_cast<HKHTML_head2*>(PushFrontChildElement(static_cast<HKXMLComplexElement*>(new HKHTML_head2())));
}

HKHTML_body2* HKHTML_html2::theBody() {
  for (HKXMLComplexElement* child : Children()) {
    if (auto* body = dynamic_cast<HKHTML_body2*>(child)) return body;
  }
  return dynamic_cast<HKHTML_body2*>(PushBackChildElement(new HKHTML_body2()));
}

void HKHTML_html2::addLanguageInfo(const std::string& lang) {
  ReplaceAttributeContent("lang", lang);
  std::list<HKXMLGenericElement*> metas;
  findObjects("meta", metas, -1);
  for (HKXMLGenericElement* meta : metas) {
    if (meta->IdentAttribute("http-equiv", "language")) meta->ReplaceAttributeContent("content", lang);
    if (meta->IdentAttribute("name", "description")) meta->ReplaceAttributeContent("lang", lang);
  }
}

// ---- the element factory ----

HKXMLGenericElement* HKCreateHTMLElement(const std::string& name, HKDTD& dtd) {
  auto& factories = dtd.ElementFactories();
  auto it = factories.find(name);
  if (it != factories.end() && it->second) {
    HKXMLComplexElement* made = it->second(std::string(), dtd);
    if (auto* element = dynamic_cast<HKXMLGenericElement*>(made)) return element;
    delete made;
  }
  return new HKXMLGenericElement(name, true);
}
