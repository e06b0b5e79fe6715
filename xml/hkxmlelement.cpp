#include <toviktwo/xml/hkxmlelement.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/xml/hkxmlnodepool.h>

// ---- HKWidgetManager_base ----

HKWidgetManager_base::~HKWidgetManager_base() = default;

void HKWidgetManager_base::RemoveWidgetObject(HKXMLComplexElement*) {}

// ---- HKXMLChildQueue ----

namespace {
// Child blocks come from the same pool as the elements (most are small).
std::size_t hkBlockBytes(std::size_t capacity) {
  return sizeof(std::size_t) * 3 + capacity * sizeof(HKXMLComplexElement*);
}
}  // namespace

HKXMLChildQueue::~HKXMLChildQueue() {
  if (_b != nullptr) HKXMLPoolFree(_b, hkBlockBytes(_b->capacity));
}

void HKXMLChildQueue::_grow(bool atFront) {
  const std::size_t n = size();
  const std::size_t capacity = std::max<std::size_t>(4, 2 * n + 2);
  static_assert(sizeof(_Block) == sizeof(std::size_t) * 3);
  auto* block = static_cast<_Block*>(HKXMLPoolAllocate(hkBlockBytes(capacity)));
  // Leave the new room on the side that ran out: a queue that grows at one
  // end keeps growing there.
  block->begin = atFront ? capacity - n - 1 : 1;
  block->end = block->begin + n;
  block->capacity = capacity;
  auto* data = reinterpret_cast<value_type*>(block + 1);
  if (n > 0) std::memcpy(data + block->begin, begin(), n * sizeof(value_type));
  if (_b != nullptr) HKXMLPoolFree(_b, hkBlockBytes(_b->capacity));
  _b = block;
}

void HKXMLChildQueue::push_back(value_type p) {
  if (_b == nullptr || _b->end == _b->capacity) _grow(false);
  _data()[_b->end++] = p;
}

void HKXMLChildQueue::push_front(value_type p) {
  if (_b == nullptr || _b->begin == 0) _grow(true);
  _data()[--_b->begin] = p;
}

HKXMLChildQueue::iterator HKXMLChildQueue::erase(iterator it) {
  const std::size_t tail = static_cast<std::size_t>(end() - it - 1);
  if (tail > 0) std::memmove(it, it + 1, tail * sizeof(value_type));
  --_b->end;
  return it;
}

HKXMLChildQueue::iterator HKXMLChildQueue::find(const HKXMLComplexElement* p) {
  for (iterator it = begin(); it != end(); ++it) {
    if (*it == p) return it;
  }
  return end();
}

void HKXMLChildQueue::clear() {
  if (_b != nullptr) _b->begin = _b->end = _b->capacity / 2;
}

// ---- HKXMLComplexElement ----

void* HKXMLComplexElement::operator new(std::size_t size) { return HKXMLPoolAllocate(size); }

void HKXMLComplexElement::operator delete(void* p, std::size_t size) noexcept { HKXMLPoolFree(p, size); }

HKXMLComplexElement::HKXMLComplexElement(std::string name, bool forced, bool permitted)
    : _typeName(std::move(name)), _shortTagForced(forced), _shortTagPermitted(permitted || forced) {}

namespace {
const std::string& hkEmptyText() {
  static const std::string empty;
  return empty;
}
}  // namespace

const std::string& HKXMLComplexElement::GetErrorText() const { return _extra ? _extra->errorText : hkEmptyText(); }

const std::string& HKXMLComplexElement::_emptyName() { return hkEmptyText(); }

void* HKXMLComplexElement::_Extra::operator new(std::size_t size) { return HKXMLPoolAllocate(size); }

void HKXMLComplexElement::_Extra::operator delete(void* p, std::size_t size) noexcept { HKXMLPoolFree(p, size); }

HKXMLComplexElement::_Extra& HKXMLComplexElement::_extraFields() {
  if (!_extra) _extra = std::make_unique<_Extra>();
  return *_extra;
}

void HKXMLComplexElement::_setDTDName(const std::string& dtd) {
  // Setting the name a container has already (as the reader does on every
  // entry) changes nothing.
  if (_extra ? _extra->dtdName == dtd : dtd.empty()) return;
  _extraFields().dtdName = dtd;
}

namespace {
// Destruction recurses through the children. Below this many nested
// destructors a destructor hands its children to the outermost running
// destructor on the same thread instead, which destroys them in a loop: so
// a tree of any depth is destroyed without deep recursion, while ordinary
// trees are destroyed in plain depth-first order.
constexpr int kRecursiveDestroyDepth = 200;
// Plain values in the thread's static storage, reached without a call.
[[gnu::tls_model("initial-exec")]] thread_local int tl_destroyDepth = 0;
[[gnu::tls_model("initial-exec")]] thread_local std::vector<HKXMLComplexElement*>* tl_deferredDestroy = nullptr;
}  // namespace

HKXMLComplexElement::~HKXMLComplexElement() {
  if (_extra && _extra->widgetManager != nullptr) _extra->widgetManager->RemoveWidgetObject(this);
  if (_children.empty()) return;
  if (tl_destroyDepth >= kRecursiveDestroyDepth && tl_deferredDestroy != nullptr) {
    for (HKXMLComplexElement* child : _children) {
      if (child != nullptr) tl_deferredDestroy->push_back(child);
    }
    _children.clear();
    return;
  }
  const bool outermost = tl_deferredDestroy == nullptr;
  std::vector<HKXMLComplexElement*> deferred;
  if (outermost) tl_deferredDestroy = &deferred;
  ++tl_destroyDepth;
  for (HKXMLComplexElement* child : _children) delete child;
  _children.clear();
  if (outermost) {
    // Elements deferred while draining are appended and reached by the index.
    for (std::size_t i = 0; i < deferred.size(); ++i) delete deferred[i];
    tl_deferredDestroy = nullptr;
  }
  --tl_destroyDepth;
}

void HKXMLComplexElement::_destroyChild(HKXMLComplexElement* child) { delete child; }

void HKXMLComplexElement::_preprint() const {}
void HKXMLComplexElement::_newChild(HKXMLComplexElement*) {}
void HKXMLComplexElement::_deleteChild(HKXMLComplexElement*) {}
void HKXMLComplexElement::finishRead() {}

bool HKXMLComplexElement::noSpecial() const { return _noSpecial; }

std::string HKXMLComplexElement::dtdRequest(const std::string& dtd) {
  if (!dtd.empty()) _setDTDName(dtd);
  return GetDTDName();
}

void HKXMLComplexElement::AsText(std::ostream& os) const {
  for (const HKXMLComplexElement* child : _children) {
    if (child != nullptr) child->AsText(os);
  }
}

bool HKXMLComplexElement::ShortTagForced() const { return _shortTagForced; }
void HKXMLComplexElement::SetShortTagForced(bool forced) { _shortTagForced = forced; }
bool HKXMLComplexElement::ShortTagPermitted() const { return _shortTagPermitted; }
void HKXMLComplexElement::SetShortTagPermitted(bool permitted) { _shortTagPermitted = permitted; }

void HKXMLComplexElement::print(std::ostream& os) const {
  _preprint();
  os << '<' << _typeName;
  if (_shortTagForced || (_shortTagPermitted && _children.empty())) {
    os << " />";
    return;
  }
  os << '>';
  for (const HKXMLComplexElement* child : _children) {
    if (child != nullptr) child->print(os);
  }
  os << "</" << _typeName << '>';
}

HKXMLComplexElement* HKXMLComplexElement::PushBackChildElement(HKXMLComplexElement* child) {
  if (_shortTagForced) {
    // A refused free element is destroyed: it was handed over with the call.
    if (child != nullptr && child->_parent == nullptr) delete child;
    throw HKException("child elements not allowed for " + _typeName, __LINE__, "src");
  }
  if (child == nullptr) return nullptr;
  _children.push_back(child);
  child->_parent = this;
  _newChild(child);
  return child;
}

HKXMLComplexElement* HKXMLComplexElement::operator<<(HKXMLComplexElement* child) { return PushBackChildElement(child); }

HKXMLComplexElement* HKXMLComplexElement::operator+=(HKXMLComplexElement* child) { return PushBackChildElement(child); }

HKXMLComplexElement* HKXMLComplexElement::PushFrontChildElement(HKXMLComplexElement* child) {
  if (child == nullptr) return nullptr;
  _children.push_front(child);
  child->_parent = this;
  _newChild(child);
  return child;
}

bool HKXMLComplexElement::DetachChild(HKXMLComplexElement* child) {
  if (child == nullptr) return false;
  auto it = _children.find(child);
  if (it == _children.end()) return false;
  _deleteChild(child);
  // The hook may have changed the queue: look again.
  it = _children.find(child);
  if (it != _children.end()) _children.erase(it);
  return true;
}

bool HKXMLComplexElement::ExchangeElement(HKXMLComplexElement* oldElement, HKXMLComplexElement* newElement) {
  if (oldElement == nullptr || newElement == nullptr) return false;
  auto it = _children.find(oldElement);
  if (it == _children.end()) return false;
  _deleteChild(oldElement);
  *newElement << oldElement;
  it = _children.find(oldElement);
  if (it == _children.end()) return false;
  *it = newElement;
  newElement->_parent = this;
  oldElement->_parent = newElement;
  _newChild(newElement);
  return true;
}

HKXMLComplexElement* HKXMLComplexElement::operator-=(HKXMLComplexElement* newElement) {
  if (_parent == nullptr) throw HKException("missing parent.", __LINE__, "src");
  if (!_parent->ExchangeElement(this, newElement)) throw HKException("structure incorrect.", __LINE__, "src");
  return newElement;
}

bool HKXMLComplexElement::ResetElement(HKXMLComplexElement* oldElement, HKXMLComplexElement* newElement) {
  if (oldElement == nullptr || newElement == nullptr) return false;
  auto it = _children.find(oldElement);
  if (it == _children.end()) return false;
  _deleteChild(oldElement);
  it = _children.find(oldElement);
  if (it == _children.end()) return false;
  *it = newElement;
  newElement->_parent = this;
  _newChild(newElement);
  _destroyChild(oldElement);
  return true;
}

void HKXMLComplexElement::PickUpElements(HKXMLComplexElement* other) {
  if (other == nullptr || other == this) return;
  while (!other->_children.empty()) {
    HKXMLComplexElement* child = other->_children.front();
    other->_children.pop_front();
    try {
      PushBackChildElement(child);
    } catch (...) {
      other->_children.push_front(child);
      throw;
    }
  }
}

void HKXMLComplexElement::replaceInnerChildsBy(HKXMLComplexElement* x) {
  {
    // Hooks first for every child, then the children go.
    std::vector<HKXMLComplexElement*> current(_children.begin(), _children.end());
    for (HKXMLComplexElement* child : current) _deleteChild(child);
  }
  HKXMLChildQueue old;
  old.swap(_children);
  for (HKXMLComplexElement* child : old) _destroyChild(child);
  PushBackChildElement(x);
}

void HKXMLComplexElement::RemoveSubelements() {
  while (!_children.empty()) {
    HKXMLComplexElement* child = _children.front();
    _deleteChild(child);
    auto it = _children.find(child);
    if (it != _children.end()) _children.erase(it);
    _destroyChild(child);
  }
}

bool HKXMLComplexElement::IsXMLText() { return false; }

const std::string& HKXMLComplexElement::GetTypeName() const { return _typeName; }

void HKXMLComplexElement::findObjects(const std::string& typeName, std::list<HKXMLComplexElement*>& out, long depth) {
  if (_typeName == typeName) out.push_back(this);
  if (depth > 0 || depth == -1) {
    const long next = depth == -1 ? -1 : depth - 1;
    for (HKXMLComplexElement* child : _children) {
      if (child != nullptr) child->findObjects(typeName, out, next);
    }
  }
}

HKXMLComplexElement* HKXMLComplexElement::_nthElement(int n, bool skipText) {
  for (HKXMLComplexElement* child : _children) {
    if (child == nullptr) continue;
    const std::string& t = child->GetTypeName();
    if (t == "procinst" || t == "comment" || (skipText && t == "xmltext")) continue;
    if (n == 0) return child;
    --n;
  }
  return nullptr;
}

HKXMLComplexElement* HKXMLComplexElement::FirstElement(bool skipText) { return _nthElement(0, skipText); }
HKXMLComplexElement* HKXMLComplexElement::SecondElement(bool skipText) { return _nthElement(1, skipText); }
HKXMLComplexElement* HKXMLComplexElement::ThirdElement(bool skipText) { return _nthElement(2, skipText); }

void HKXMLComplexElement::GetChilds(std::list<HKXMLComplexElement*>& out) {
  for (HKXMLComplexElement* child : _children) out.push_back(child);
}

bool HKXMLComplexElement::_ReplaceElement(HKXMLGenericElement*, const std::string&, const std::string&) { return false; }

void HKXMLComplexElement::MarkError(const std::string& text) {
  _error = true;
  _extraFields().errorText = text;
}

// ---- HKXMLGenericElement ----

HKXMLGenericElement::HKXMLGenericElement(std::string name, bool noSpecial)
    : HKXMLComplexElement(std::move(name), false, true) {
  _noSpecial = noSpecial;
}

HKXMLGenericElement::~HKXMLGenericElement() {
  if (_attributes) {
    for (auto& entry : *_attributes) delete entry.second;
    _attributes.reset();
  }
}

const HKXMLGenericElement::AttributeTable& HKXMLGenericElement::Attributes() const {
  static const AttributeTable empty;
  return _attributes ? *_attributes : empty;
}

HKXMLGenericElement::AttributeTable& HKXMLGenericElement::_table() {
  if (!_attributes) _attributes = std::make_unique<AttributeTable>();
  return *_attributes;
}

void HKXMLGenericElement::_beforeChildPrint(std::ostream&) const {}
void HKXMLGenericElement::_afterChildPrint(std::ostream&) const {}

void HKXMLGenericElement::print(std::ostream& os) const {
  _preprint();
  os << '<' << _typeName;
  for (const auto& [name, attribute] : Attributes()) {
    if (attribute == nullptr) {
      os << ' ' << name;
    } else if (attribute->AttributeIsSet()) {
      os << ' ' << name << "=\"";
      attribute->print(os);
      os << '"';
    }
  }
  if (_shortTagForced || (_shortTagPermitted && _children.empty())) {
    os << " />";
    return;
  }
  os << '>';
  _beforeChildPrint(os);
  // A line feed stands only between two structural children and after a
  // structural last child; text and whitespace children suppress it.
  bool previousStructural = false;
  for (const HKXMLComplexElement* child : _children) {
    if (child == nullptr) continue;
    const bool structural = child->noSpecial();
    if (previousStructural && structural) os << '\n';
    child->print(os);
    previousStructural = structural;
  }
  _afterChildPrint(os);
  if (previousStructural && !_children.empty()) os << '\n';
  os << "</" << _typeName << '>';
}

void HKXMLGenericElement::GetChilds(std::list<HKXMLGenericElement*>& out) {
  for (HKXMLComplexElement* child : _children) {
    if (auto* generic = dynamic_cast<HKXMLGenericElement*>(child)) out.push_back(generic);
  }
}

bool HKXMLGenericElement::ReplaceAttributeContent(const std::string& name, const std::string& value) {
  AttributeTable& table = _table();
  auto it = table.find(name);
  if (it != table.end() && it->second != nullptr) {
    *it->second = value;
  } else if (it != table.end()) {
    it->second = new HKXMLGenericAttribute(value);
  } else {
    table.emplace(name, new HKXMLGenericAttribute(value));
  }
  return true;
}

bool HKXMLGenericElement::ReplaceAttributeContent(const std::string& name, HKXMLComplexAttribute2* attribute) {
  AttributeTable& table = _table();
  if (table.find(name) != table.end()) {
    delete attribute;
    throw 2;
  }
  table.emplace(name, attribute);
  return true;
}

bool HKXMLGenericElement::ReplaceAttributeContent(const std::string& name, HKXMLComplexAttribute2& attribute) {
  return ReplaceAttributeContent(name, static_cast<HKXMLComplexAttribute2*>(new HKXMLComplexAttributeProxy2(attribute)));
}

bool HKXMLGenericElement::MergeAttributeContent(const std::string& name, const std::string& text) {
  return ReplaceAttributeContent(name, getAttributeText(name, "") + text);
}

const std::string& HKXMLGenericElement::operator<<(const std::string& assignment) {
  const std::size_t eq = assignment.find('=');
  if (eq == std::string::npos) return assignment;
  // The value lies between the character after "=" and the last character:
  // the enclosing quotes are dropped without being looked at.
  const std::size_t from = eq + 2;
  const std::size_t to = assignment.size() - 1;
  const std::string value = from < to ? assignment.substr(from, to - from) : std::string();
  try {
    ReplaceAttributeContent(assignment.substr(0, eq), value);
  } catch (...) {
    MarkError("error catched while assigning attritutes");
  }
  return assignment;
}

HKXMLComplexAttribute2& HKXMLGenericElement::operator[](const std::string& name) {
  HKXMLComplexAttribute2*& slot = _table()[name];
  if (slot == nullptr) slot = new HKXMLGenericAttribute();
  return *slot;
}

bool HKXMLGenericElement::ContainsAttribute(const std::string& name) {
  return _attributes && _attributes->find(name) != _attributes->end();
}

bool HKXMLGenericElement::RemoveAttribute(const std::string& name) {
  if (!_attributes) return false;
  auto it = _attributes->find(name);
  if (it == _attributes->end()) return false;
  delete it->second;
  _attributes->erase(it);
  return true;
}

HKXMLGenericElement* HKXMLGenericElement::operator<<(HKXMLGenericElement* child) {
  return dynamic_cast<HKXMLGenericElement*>(PushBackChildElement(child));
}

HKXMLGenericElement* HKXMLGenericElement::operator+=(HKXMLGenericElement* child) {
  return dynamic_cast<HKXMLGenericElement*>(PushBackChildElement(child));
}

HKXMLGenericElement* HKXMLGenericElement::PushFrontChildElement(HKXMLGenericElement* child) {
  return dynamic_cast<HKXMLGenericElement*>(HKXMLComplexElement::PushFrontChildElement(child));
}

// ---- leaves ----

HKXMLGenericText::HKXMLGenericText(std::string content) : HKXMLGenericElement("xmltext", false), _content(std::move(content)) {}

void HKXMLGenericText::print(std::ostream& os) const {
  _preprint();
  os << _content;
}

void HKXMLGenericText::AsText(std::ostream& os) const { os << _content; }

HKXMLGenericWhitespace::HKXMLGenericWhitespace(std::string content)
    : HKXMLGenericElement("xmlwhitespace", false), _content(std::move(content)) {}

void HKXMLGenericWhitespace::print(std::ostream& os) const {
  _preprint();
  os << _content;
}

HKXML_Comment2::HKXML_Comment2(std::string content) : HKXMLGenericElement("comment", false), _content(std::move(content)) {}

void HKXML_Comment2::print(std::ostream& os) const {
  _preprint();
  os << "<!--" << _content << "-->";
}

HKXML_ProcInst2::HKXML_ProcInst2(std::string content) : HKXMLGenericElement("procinst", false), _content(std::move(content)) {}

void HKXML_ProcInst2::print(std::ostream& os) const {
  _preprint();
  os << "<?" << _content << "?>";
}

HKXML_Declaration2::HKXML_Declaration2(std::string content) : HKXML_ProcInst2(std::move(content)) {}

HKXML_Document2::HKXML_Document2(std::string name) : HKXMLGenericElement(std::move(name), true) {}

void HKXML_Document2::print(std::ostream& os) const {
  _preprint();
  for (const HKXMLComplexElement* child : _children) {
    if (child != nullptr) child->print(os);
  }
}
