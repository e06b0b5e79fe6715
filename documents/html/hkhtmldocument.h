// A whole page: doctype and html element, with head and body, and the
// elements that carry script and style sheet text.
#pragma once

#include <ostream>
#include <string>

#include <toviktwo/documents/html/hkhtmlelement.h>


// "<!DOCTYPE " text ">" and a line feed ("HTMLDoctype").
class HKHTML_Doctype2 : public HKXMLGenericElement {
 public:
  explicit HKHTML_Doctype2(const std::string& text = "html");
  void print(std::ostream& os) const override;
  const std::string& GetText() const { return _text; }

 private:
  std::string _text;
};

// Script text written as it stands ("JavaScript").
class HKJavaScriptHandler : public HKXMLGenericElement {
 public:
  // With wrap, a text without "<script" is enclosed in
  // "<script>\n<!--\n" ... "\n//-->\n</script>".
  explicit HKJavaScriptHandler(const std::string& text = "", bool wrap = false);
  void print(std::ostream& os) const override;
  HKJavaScriptHandler& operator=(const std::string& text);
  const std::string& GetText() const { return _text; }

 private:
  std::string _text;
};

// Style sheet text written as it stands ("CSS").
class HKCSSHandler : public HKXMLGenericElement {
 public:
  explicit HKCSSHandler(const std::string& text = "");
  void print(std::ostream& os) const override;
  HKCSSHandler& operator=(const std::string& text);
  const std::string& GetText() const { return _text; }

 private:
  std::string _text;
};

// A script; its children are written inside "<!--" ... "//-->" so that old
// parsers skip them.
class HKHTML_script2 : public HKHTML_ElementType0 {
 public:
  HKHTML_script2();
  // Type "text/javascript", a non-empty src, and for a non-empty content a
  // child HKJavaScriptHandler(content, false).
  HKHTML_script2(const std::string& src, const std::string& content);
  void _beforeChildPrint(std::ostream& os) const override;
  void _afterChildPrint(std::ostream& os) const override;
  HKXMLStringHKAttribute& src() { return _src; }
  HKXMLStringHKAttribute& type() { return _type; }

 private:
  HKXMLStringHKAttribute _src;
  HKXMLStringHKAttribute _type;
};

// A style sheet; its content is read in the grammar "css" and may hold CSS
// elements only.
class HKHTML_style2 : public HKHTML_ElementType0 {
 public:
  HKHTML_style2();
  // Type "text/css", a non-empty src, and for a non-empty content a child
  // HKCSSHandler with the text as it stands.
  HKHTML_style2(const std::string& src, const std::string& content);
  // Entered with the grammar around it: stores it and reads the content in
  // "css"; left with "": gives the stored grammar back.
  std::string dtdRequest(const std::string& dtd) override;
  // Accepts text, HKCSSHTMLComment, HKCSSMediaQuery, HKCSSRule (and null);
  // anything else throws "must be an CSS element".
  void _newChild(HKXMLComplexElement* child) override;
  HKXMLStringHKAttribute& src() { return _src; }
  HKXMLStringHKAttribute& type() { return _type; }

 private:
  HKXMLStringHKAttribute _src;
  HKXMLStringHKAttribute _type;
};

// A page ("HTMLDocument"): no tag of its own; its children (normally a
// doctype and an html element) are written one after the other.
class HKHTML_Document2 : public HKHTML_BaseElement2 {
 public:
  // A head with meta charset="utf-8".
  HKHTML_Document2();
  // The same, and a title when `title` is not empty.
  explicit HKHTML_Document2(const std::string& title);
  // An empty document, for a reader to fill.
  explicit HKHTML_Document2(int);

  void print(std::ostream& os) const override;

  // The html child. Repairs the document to the shape doctype, html: a
  // missing doctype "html" is put in front, a missing html appended. Null
  // when the element of that name is not an HKHTML_html2.
  HKHTML_html2* Html();
  // Appends to head or body; returns the child, or null.
  HKXMLGenericElement* AddToHead(HKXMLGenericElement* element);
  HKXMLGenericElement* AddToBody(HKXMLGenericElement* element);

  // Creating operations: append to the body and return the typed element.
  // When the document cannot give its html element they write "problem...."
  // to the standard error stream and throw std::bad_cast.
  HKHTML_p2* p();
  HKHTML_div2* div(const std::string& id);
  HKHTML_h22* h2();
  HKHTML_h32* h3();
  HKHTML_hr2* hr();
  HKHTML_pre2* pre();
  HKHTML_script2* script(const std::string& src, const std::string& content);

 private:
  HKHTML_body2& _body();
};
