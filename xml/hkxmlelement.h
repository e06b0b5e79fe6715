// The element tree: every document the library holds (page templates, charts,
// configuration and project files) is a tree of these elements.
//
// HKXMLComplexElement is a named node owning an ordered list of children and
// knowing its parent; HKXMLGenericElement adds an ordered attribute table.
// Serialisation is the virtual print(); nothing is escaped on output, so text
// that was read verbatim is written back verbatim.
#pragma once

#include <cstddef>
#include <list>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <utility>

#include <toviktwo/xml/hkxmlattribute.h>

class HKXMLComplexElement;
class HKXMLGenericElement;

// An element's view of the session's widget table. An element that carries a
// widget manager tells it from its destructor that it is going away.
class HKWidgetManager_base {
 public:
  virtual ~HKWidgetManager_base();
  // Does nothing here; the session's widget manager forgets the element.
  virtual void RemoveWidgetObject(HKXMLComplexElement* element);
};

// The children of an element: a double-ended queue of owned pointers, cheap
// at both ends (pages grow by appending, heads by prepending), kept in one
// block with room in front and behind. An empty queue is one null pointer,
// so that the many leaf nodes of a tree stay small.
class HKXMLChildQueue {
 public:
  using value_type = HKXMLComplexElement*;
  using iterator = HKXMLComplexElement**;
  using const_iterator = HKXMLComplexElement* const*;

  HKXMLChildQueue() = default;
  HKXMLChildQueue(const HKXMLChildQueue&) = delete;
  HKXMLChildQueue& operator=(const HKXMLChildQueue&) = delete;
  ~HKXMLChildQueue();

  std::size_t size() const { return _b == nullptr ? 0 : _b->end - _b->begin; }
  bool empty() const { return _b == nullptr || _b->end == _b->begin; }
  iterator begin() { return _b == nullptr ? nullptr : _data() + _b->begin; }
  iterator end() { return _b == nullptr ? nullptr : _data() + _b->end; }
  const_iterator begin() const { return _b == nullptr ? nullptr : _data() + _b->begin; }
  const_iterator end() const { return _b == nullptr ? nullptr : _data() + _b->end; }
  value_type front() const { return *begin(); }
  value_type back() const { return *(end() - 1); }
  value_type& operator[](std::size_t i) { return begin()[i]; }
  value_type operator[](std::size_t i) const { return begin()[i]; }

  void push_back(value_type p);
  void push_front(value_type p);
  void pop_front() { ++_b->begin; }
  void pop_back() { --_b->end; }
  iterator erase(iterator it);
  iterator find(const HKXMLComplexElement* p);
  // Forgets all entries (does not destroy the elements).
  void clear();
  void swap(HKXMLChildQueue& other) { std::swap(_b, other._b); }

 private:
  struct _Block {
    std::size_t begin;
    std::size_t end;
    std::size_t capacity;
  };
  value_type* _data() const { return reinterpret_cast<value_type*>(_b + 1); }
  void _grow(bool atFront);
  _Block* _b = nullptr;
};

class HKXMLComplexElement {
 public:
  // `permitted` is stored as (permitted OR forced).
  HKXMLComplexElement(std::string name, bool forced, bool permitted);
  HKXMLComplexElement(const HKXMLComplexElement&) = delete;
  HKXMLComplexElement& operator=(const HKXMLComplexElement&) = delete;

  // Element objects (of every derived class too) take their memory from the
  // library's pool for small tree objects, see xml/hkxmlnodepool.h.
  static void* operator new(std::size_t size);
  static void operator delete(void* p, std::size_t size) noexcept;

  // ---- hooks: empty here, overridden by subclasses ----
  // Runs at the start of print().
  virtual void _preprint() const;
  // Runs after a child was linked in.
  virtual void _newChild(HKXMLComplexElement* child);
  // Runs before a child is unlinked or destroyed.
  virtual void _deleteChild(HKXMLComplexElement* child);

  // Tells the widget manager (if any), then destroys the children. Very deep
  // trees are torn down without deep recursion (see the .cpp).
  virtual ~HKXMLComplexElement();

  // Whether this element is a structural tag (as opposed to character-like
  // content); steers the line feeds of HKXMLGenericElement::print.
  virtual bool noSpecial() const;
  // Stores a non-empty grammar name; returns the grammar that applies to the
  // content of this element (here: the stored name).
  virtual std::string dtdRequest(const std::string& dtd);
  // Writes the text content of the subtree, depth first.
  virtual void AsText(std::ostream& os) const;
  virtual bool ShortTagForced() const;
  virtual void SetShortTagForced(bool forced);
  virtual bool ShortTagPermitted() const;
  virtual void SetShortTagPermitted(bool permitted);
  // "<name />" when forced or (permitted and childless), else
  // "<name>" children "</name>"; no attributes, no line feeds.
  virtual void print(std::ostream& os) const;
  // Throws "child elements not allowed for <name>" when short-tag-forced
  // (a refused child without parent is destroyed: it was handed over); null
  // is returned as null; else appends, links and calls _newChild.
  virtual HKXMLComplexElement* PushBackChildElement(HKXMLComplexElement* child);
  // Destroys all children (after _deleteChild for each), then appends `x`.
  virtual void replaceInnerChildsBy(HKXMLComplexElement* x);
  virtual bool IsXMLText();
  virtual const std::string& GetTypeName() const;
  // Appends this element if its type name is `typeName`, then searches the
  // children while depth > 0 (depth -1: unlimited).
  virtual void findObjects(const std::string& typeName, std::list<HKXMLComplexElement*>& out, long depth);
  // The first/second/third child that is neither "procinst" nor "comment"
  // (nor "xmltext" when skipText); whitespace nodes count.
  virtual HKXMLComplexElement* FirstElement(bool skipText);
  virtual HKXMLComplexElement* SecondElement(bool skipText);
  virtual HKXMLComplexElement* ThirdElement(bool skipText);
  virtual void GetChilds(std::list<HKXMLComplexElement*>& out);
  // Returns false here; HKXMLGenericElement searches by attribute.
  virtual bool _ReplaceElement(HKXMLGenericElement* element, const std::string& name, const std::string& value);
  // Wraps the direct child `oldElement` into `newElement`, which takes its place.
  virtual bool ExchangeElement(HKXMLComplexElement* oldElement, HKXMLComplexElement* newElement);
  // `newElement` takes the place of the direct child `oldElement`, which is destroyed.
  virtual bool ResetElement(HKXMLComplexElement* oldElement, HKXMLComplexElement* newElement);
  virtual void RemoveSubelements();
  // Runs once when the reader has finished this element.
  virtual void finishRead();

  // ---- tree editing ----
  HKXMLComplexElement* operator<<(HKXMLComplexElement* child);
  HKXMLComplexElement* operator+=(HKXMLComplexElement* child);
  // Prepends without the short-tag check.
  HKXMLComplexElement* PushFrontChildElement(HKXMLComplexElement* child);
  // Unlinks a direct child without destroying it; ownership passes to the caller.
  bool DetachChild(HKXMLComplexElement* child);
  // Wraps this element into `newElement` in its parent's child list.
  HKXMLComplexElement* operator-=(HKXMLComplexElement* newElement);
  // Moves all children of `other` to the end of this element.
  void PickUpElements(HKXMLComplexElement* other);

  HKXMLComplexElement* getParent() const { return _parent; }
  void setParent(HKXMLComplexElement* parent) { _parent = parent; }
  void SetWidgetManager(HKWidgetManager_base* manager) {
    if (manager != nullptr || _extra) _extraFields().widgetManager = manager;
  }
  HKWidgetManager_base* GetWidgetManager() const { return _extra ? _extra->widgetManager : nullptr; }
  void MarkError(const std::string& text);
  bool HasError() const { return _error; }
  const std::string& GetErrorText() const;
  const std::string& GetDTDName() const { return _extra ? _extra->dtdName : _emptyName(); }
  const HKXMLChildQueue& Children() const { return _children; }
  std::size_t ChildCount() const { return _children.size(); }

 protected:
  HKXMLComplexElement* _nthElement(int n, bool skipText);
  // Destroys one child that is no longer in the queue.
  static void _destroyChild(HKXMLComplexElement* child);

  // Stores the grammar name that dtdRequest remembers.
  void _setDTDName(const std::string& dtd);

  // Trees hold many small nodes (every word is one): the fields are packed,
  // and what leaves do not carry lives outside: the error text (hardly any
  // node has one), the grammar name (only containers get one) and the
  // widget manager.
  struct _Extra {
    std::string errorText;
    std::string dtdName;
    HKWidgetManager_base* widgetManager = nullptr;
    static void* operator new(std::size_t size);
    static void operator delete(void* p, std::size_t size) noexcept;
  };
  _Extra& _extraFields();
  static const std::string& _emptyName();

  std::string _typeName;
  HKXMLChildQueue _children;
  HKXMLComplexElement* _parent = nullptr;
  std::unique_ptr<_Extra> _extra;
  bool _shortTagForced;
  bool _shortTagPermitted;
  bool _error = false;
  bool _noSpecial = false;
};

class HKXMLGenericElement : public HKXMLComplexElement {
 public:
  // Ordered by byte-wise name comparison; attributes print in this order.
  using AttributeTable = std::map<std::string, HKXMLComplexAttribute2*>;

  // Short tag not forced, permitted: a childless generic element prints "<name />".
  HKXMLGenericElement(std::string name, bool noSpecial);
  // Destroys the attribute table first, then (in the base) the children.
  ~HKXMLGenericElement() override;

  void print(std::ostream& os) const override;
  bool _ReplaceElement(HKXMLGenericElement* element, const std::string& name, const std::string& value) override;
  using HKXMLComplexElement::findObjects;
  using HKXMLComplexElement::GetChilds;

  virtual void _beforeChildPrint(std::ostream& os) const;
  virtual void _afterChildPrint(std::ostream& os) const;
  // Appends the direct children that are generic elements.
  virtual void GetChilds(std::list<HKXMLGenericElement*>& out);
  // Assigns through an existing attribute's virtual operator= (so a typed
  // attribute parses the text), or creates an HKXMLGenericAttribute.
  virtual bool ReplaceAttributeContent(const std::string& name, const std::string& value);
  // Takes an assignment of the form name="value"; see the .cpp for the exact cut.
  virtual const std::string& operator<<(const std::string& assignment);
  // The attribute of that name, created as an empty generic attribute if missing.
  virtual HKXMLComplexAttribute2& operator[](const std::string& name);
  // The printed value of the attribute, or `fallback` when it is not in the table.
  virtual std::string getAttributeText(const std::string& name, const std::string& fallback);
  // Whether the attribute exists and prints exactly as `value`.
  virtual bool IdentAttribute(const std::string& name, const std::string& value);
  virtual bool ContainsAttribute(const std::string& name);
  virtual bool RemoveAttribute(const std::string& name);
  virtual bool ReplaceElement(HKXMLGenericElement* element, const std::string& name, const std::string& value);
  virtual void FindObjects(const std::string& name, const std::string& value, std::list<HKXMLGenericElement*>& out);
  virtual void FindObjects(std::list<HKXMLGenericElement*>& out, const std::string& typeName);
  virtual HKXMLGenericElement* FindObject(const std::string& name, const std::string& value);
  virtual void findObjects(const std::string& typeName, std::list<HKXMLGenericElement*>& out, long depth);
  virtual bool RemoveSubelement(const std::string& name, const std::string& value);
  // The small path language ("a.b[id=\"x\"].c"); the list belongs to the caller.
  virtual std::list<HKXMLGenericElement*>* query(const std::string& path);

  // Registers an attribute object and takes ownership; throws the plain
  // integer 2 when the name is present already (the object is destroyed).
  bool ReplaceAttributeContent(const std::string& name, HKXMLComplexAttribute2* attribute);
  // Registers a proxy to an attribute owned elsewhere (a member).
  bool ReplaceAttributeContent(const std::string& name, HKXMLComplexAttribute2& attribute);
  bool ReplaceAttributeContent(const std::string& name, const char* value) {
    return ReplaceAttributeContent(name, std::string(value != nullptr ? value : ""));
  }
  bool MergeAttributeContent(const std::string& name, const std::string& text);

  using HKXMLComplexElement::operator<<;
  using HKXMLComplexElement::operator+=;
  using HKXMLComplexElement::PushFrontChildElement;
  HKXMLGenericElement* operator<<(HKXMLGenericElement* child);
  HKXMLGenericElement* operator+=(HKXMLGenericElement* child);
  HKXMLGenericElement* PushFrontChildElement(HKXMLGenericElement* child);

  const AttributeTable& Attributes() const;

 protected:
  // The table, created on first use (most nodes never have attributes).
  AttributeTable& _table();
  std::unique_ptr<AttributeTable> _attributes;
};

// ---- leaves ----

// A word of text ("xmltext"); prints its content as it stands.
class HKXMLGenericText : public HKXMLGenericElement {
 public:
  explicit HKXMLGenericText(std::string content = "");
  void print(std::ostream& os) const override;
  void AsText(std::ostream& os) const override;
  const std::string& GetContent() const { return _content; }
  void SetContent(std::string content) { _content = std::move(content); }

 protected:
  std::string _content;
};

// Whitespace as read ("xmlwhitespace"); prints its content as it stands.
class HKXMLGenericWhitespace : public HKXMLGenericElement {
 public:
  explicit HKXMLGenericWhitespace(std::string content = "");
  void print(std::ostream& os) const override;
  const std::string& GetContent() const { return _content; }

 protected:
  std::string _content;
};

// A comment ("comment"); prints "<!--" content "-->".
class HKXML_Comment2 : public HKXMLGenericElement {
 public:
  explicit HKXML_Comment2(std::string content = "");
  void print(std::ostream& os) const override;
  const std::string& GetContent() const { return _content; }

 protected:
  std::string _content;
};

// A processing instruction ("procinst"); prints "<?" content "?>".
class HKXML_ProcInst2 : public HKXMLGenericElement {
 public:
  explicit HKXML_ProcInst2(std::string content = "");
  void print(std::ostream& os) const override;
  const std::string& GetContent() const { return _content; }

 protected:
  std::string _content;
};

// The XML declaration, a processing instruction of the type "procinst".
class HKXML_Declaration2 : public HKXML_ProcInst2 {
 public:
  explicit HKXML_Declaration2(std::string content = "");
};

// A document: no tag of its own, prints its children one after the other.
class HKXML_Document2 : public HKXMLGenericElement {
 public:
  explicit HKXML_Document2(std::string name = "xmldocument");
  void print(std::ostream& os) const override;
};

// Reads one attribute value from a configuration file in the grammar "xml":
// the elements `first`, then `second` below the first hit, then `third` below
// the single hit of `second`; the last hit's attribute wins. Any failure gives
// `fallback`.
std::string GetFromConfig(const std::string& path, const std::string& first, const std::string& second,
                          const std::string& third, const std::string& attribute, const std::string& fallback);
