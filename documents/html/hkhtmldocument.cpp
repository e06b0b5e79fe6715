#include <toviktwo/documents/html/hkhtmldocument.h>

#include <iostream>
#include <list>
#include <typeinfo>
#include <utility>

#include <toviktwo/foundation/hkexception.h>

// ---- doctype, script and style text ----

HKHTML_Doctype2::HKHTML_Doctype2(const std::string& text) : HKXMLGenericElement("HTMLDoctype", true), _text(text) {}

void HKHTML_Doctype2::print(std::ostream& os) const {
  _preprint();
  os << "<!DOCTYPE " << _text << ">\n";
}

HKJavaScriptHandler::HKJavaScriptHandler(const std::string& text, bool wrap) : HKXMLGenericElement("JavaScript", false) {
  if (wrap && text.find("<script") == std::string::npos) {
    _text = "<script>\n<!--\n" + text + "\n//-->\n</script>";
  } else {
    _text = text;
  }
}

void HKJavaScriptHandler::print(std::ostream& os) const {
  _preprint();
  os << _text;
}

HKJavaScriptHandler& HKJavaScriptHandler::operator=(const std::string& text) {
  _text = text;
  return *this;
}

HKCSSHandler::HKCSSHandler(const std::string& text) : HKXMLGenericElement("CSS", false), _text(text) {}

void HKCSSHandler::print(std::ostream& os) const {
  _preprint();
  os << _text;
}

HKCSSHandler& HKCSSHandler::operator=(const std::string& text) {
  _text = text;
  return *this;
}

// ---- script ----

HKHTML_script2::HKHTML_script2() : HKHTML_ElementType0("script") {
  ReplaceAttributeContent("src", _src);
  ReplaceAttributeContent("type", _type);
  _type = std::string("text/javascript");
}

HKHTML_script2::HKHTML_script2(const std::string& src, const std::string& content) : HKHTML_script2() {
  if (!src.empty()) _src = src;
  if (!content.empty()) PushBackChildElement(new HKJavaScriptHandler(content, false));
}

void HKHTML_script2::_beforeChildPrint(std::ostream& os) const { os << "\n<!--\n"; }

void HKHTML_script2::_afterChildPrint(std::ostream& os) const { os << "\n//-->\n"; }

// ---- style ----

HKHTML_style2::HKHTML_style2() : HKHTML_ElementType0("style") {
  ReplaceAttributeContent("src", _src);
  ReplaceAttributeContent("type", _type);
  _type = std::string("text/css");
}

HKHTML_style2::HKHTML_style2(const std::string& src, const std::string& content) : HKHTML_style2() {
  if (!src.empty()) _src = src;
  if (!content.empty()) {
    // The handler carries the style sheet as text: it is linked directly,
    // past the check that keeps read content to CSS elements.
    auto* handler = new HKCSSHandler(content);
    _children.push_back(handler);
    handler->setParent(this);
  }
}

std::string HKHTML_style2::dtdRequest(const std::string& dtd) {
  if (!dtd.empty()) {
    _setDTDName(dtd);
    return "css";
  }
  return GetDTDName();
}

void HKHTML_style2::_newChild(HKXMLComplexElement* child) {
  if (child == nullptr || dynamic_cast<HKXMLGenericText*>(child) != nullptr ||
      dynamic_cast<HKCSSHTMLComment*>(child) != nullptr || dynamic_cast<HKCSSMediaQuery*>(child) != nullptr ||
      dynamic_cast<HKCSSRule*>(child) != nullptr) {
    return;
  }
  throw HKException("must be an CSS element", __LINE__, "src");
}

// ---- the document ----

HKHTML_Document2::HKHTML_Document2(int) : HKHTML_BaseElement2("HTMLDocument", false, false) {}

HKHTML_Document2::HKHTML_Document2() : HKHTML_Document2(0) {
  auto* meta = new HKHTML_meta2();
  *meta << std::string("charset=\"utf-8\"");
  AddToHead(meta);
}

HKHTML_Document2::HKHTML_Document2(const std::string& title) : HKHTML_Document2() {
  if (!title.empty()) {
    auto* element = new HKHTML_title2();
    element->PushBackChildElement(new HKHTML_text2(title));
    AddToHead(element);
  }
}

void HKHTML_Document2::print(std::ostream& os) const {
  _preprint();
  for (const HKXMLComplexElement* child : _children) {
    if (child != nullptr) child->print(os);
  }
}

HKHTML_html2* HKHTML_Document2::Html() {
  std::list<HKXMLComplexElement*> found;
  findObjects("HTMLDoctype", found, -1);
  if (found.empty()) PushFrontChildElement(static_cast<HKXMLComplexElement*>(new HKHTML_Doctype2("html")));
  found.clear();
  findObjects("html", found, -1);
  if (found.empty()) return dynamic_cast<HKHTML_html2*>(PushBackChildElement(new HKHTML_html2()));
  return dynamic_cast<HKHTML_html2*>(found.front());
}

HKXMLGenericElement* HKHTML_Document2::AddToHead(HKXMLGenericElement* element) {
  HKHTML_html2* html = Html();
  if (html == nullptr) {
    delete element;
    return nullptr;
  }
  return *html->theHead() << element;
}

HKXMLGenericElement* HKHTML_Document2::AddToBody(HKXMLGenericElement* element) {
  HKHTML_html2* html = Html();
  if (html == nullptr) {
    delete element;
    return nullptr;
  }
  return *html->theBody() << element;
}

HKHTML_body2& HKHTML_Document2::_body() {
  HKHTML_html2* html = Html();
  if (html == nullptr) {
    std::cerr << "problem....";
    throw std::bad_cast();
  }
  return *html->theBody();
}

namespace {
// The body is found before the element is made, so that nothing is made
// when the document cannot give its body.
template <typename T, typename... Args>
T* hkAppendToBody(HKHTML_body2& body, Args&&... args) {
  return dynamic_cast<T*>(body.PushBackChildElement(new T(std::forward<Args>(args)...)));
}
}  // namespace

HKHTML_p2* HKHTML_Document2::p() { return hkAppendToBody<HKHTML_p2>(_body()); }
HKHTML_div2* HKHTML_Document2::div(const std::string& id) { return hkAppendToBody<HKHTML_div2>(_body(), id, false); }
HKHTML_h22* HKHTML_Document2::h2() { return hkAppendToBody<HKHTML_h22>(_body()); }
HKHTML_h32* HKHTML_Document2::h3() { return hkAppendToBody<HKHTML_h32>(_body()); }
HKHTML_hr2* HKHTML_Document2::hr() { return hkAppendToBody<HKHTML_hr2>(_body()); }
HKHTML_pre2* HKHTML_Document2::pre() { return hkAppendToBody<HKHTML_pre2>(_body()); }
HKHTML_script2* HKHTML_Document2::script(const std::string& src, const std::string& content) {
  return hkAppendToBody<HKHTML_script2>(_body(), src, content);
}
