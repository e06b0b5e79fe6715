// CSS as elements: properties, rules, media queries, HTML comments around a
// style sheet, and the style attribute of every HTML element.
//
// A style element switches the reader to the grammar "css"; a rule switches
// its content to "cssRule". The containers accept only the child classes
// that belong in them, so a style sheet that is to be read stands without
// whitespace between rules and between properties.
#pragma once

#include <list>
#include <map>
#include <memory>
#include <ostream>
#include <string>

#include <toviktwo/xml/hkxmlattribute.h>
#include <toviktwo/xml/hkxmlelement.h>

// One "name: value;" pair ("cssproperty").
class HKCSSProperty : public HKXMLComplexElement {
 public:
  // Strips blank, ";", line feed, tab and carriage return from both ends and
  // cuts at the first ":". Without ":" the text is the name when `nameOnly`,
  // otherwise it throws "CSS property not well formed (missing ':').". An
  // empty name throws "CSS property must have a name".
  HKCSSProperty(const std::string& text, bool nameOnly);

  const std::string& getProperty() const { return _name; }
  const std::string& getValue() const { return _value; }
  // The further text: free for reading code (kept, never printed).
  const std::string& getFurther() const { return _further; }
  void setFurther(const std::string& text) { _further = text; }
  bool isEmpty() const { return _value.empty(); }
  // Replaces the value.
  HKCSSProperty& operator=(const std::string& value);

  // "name: value;" when the value is not empty, else nothing.
  void print(std::ostream& os) const override;
  // A property has no children: always throws "no childs possible".
  void _newChild(HKXMLComplexElement* child) override;

 private:
  std::string _name;
  std::string _further;
  std::string _value;
};

// A rule: selector "{" properties "}" ("cssRule").
class HKCSSRule : public HKXMLComplexElement {
 public:
  explicit HKCSSRule(const std::string& selector);
  // Adds HKCSSProperty(text, false) for each non-empty text.
  HKCSSRule(const std::string& selector, const std::list<std::string>& properties);

  const std::string& getSelector() const { return _selector; }
  void print(std::ostream& os) const override;
  // Accepts text (comments), HTML comments and properties; anything else
  // throws "must be an CSS element".
  void _newChild(HKXMLComplexElement* child) override;
  // Entered with the grammar around it: stores it and reads its content in
  // "cssRule"; left with "": gives the stored grammar back.
  std::string dtdRequest(const std::string& dtd) override;

 private:
  std::string _selector;
};

// A media query: query "{" rules "}" ("cssmediaquery").
class HKCSSMediaQuery : public HKXMLComplexElement {
 public:
  explicit HKCSSMediaQuery(const std::string& query);
  const std::string& getQuery() const { return _query; }
  void print(std::ostream& os) const override;
  // Accepts text, HTML comments and rules; anything else throws
  // "must be an CSS element".
  void _newChild(HKXMLComplexElement* child) override;

 private:
  std::string _query;
};

// "<!--" ... "-->" around CSS ("csshtmlcomment").
class HKCSSHTMLComment : public HKXMLComplexElement {
 public:
  HKCSSHTMLComment();
  void print(std::ostream& os) const override;
  // Accepts HKXMLGenericText only; anything else throws "child must be text".
  void _newChild(HKXMLComplexElement* child) override;
};

// The style attribute: a table of properties in name order.
class HKStyleAttribute : public HKXMLComplexAttribute2 {
 public:
  using PropertyMap = std::map<std::string, std::shared_ptr<HKCSSProperty>>;

  HKStyleAttribute() = default;
  // Set when at least one property exists (even one with an empty value).
  bool AttributeIsSet() const override;
  // The non-empty properties in name order: "color: red;width: 1px;".
  void print(std::ostream& os) const override;
  // Parses "name:value;..." into the table; an earlier property of the same
  // name is replaced, others stay (assignment never clears the table).
  // A piece that is not exactly one "name:value" throws
  // "style syntax wrong at: >piece< ".
  const std::string& operator=(const std::string& text) override;
  // Forwards; null is ignored.
  const std::string& operator=(const char* text) override;
  // The same as assignment.
  virtual const std::string& operator+=(const std::string& text);
  // The property of that name, created empty if absent.
  virtual HKCSSProperty& operator[](const std::string& name);

  const PropertyMap& Properties() const { return _properties; }
  // Forgets all properties (the attribute is unset again).
  void clear() { _properties.clear(); }

 private:
  PropertyMap _properties;
};
