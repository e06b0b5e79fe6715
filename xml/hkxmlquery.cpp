// The finding operations of the element tree: by attribute, by type name and
// by the small path language of query(); and GetFromConfig.
#include <fstream>
#include <sstream>

#include <toviktwo/xml/hkdtdelementreader.h>
#include <toviktwo/xml/hkxmlelement.h>

std::string HKXMLGenericElement::getAttributeText(const std::string& name, const std::string& fallback) {
  if (!_attributes) return fallback;
  auto it = _attributes->find(name);
  if (it == _attributes->end()) return fallback;
  const HKXMLComplexAttribute2* attribute = it->second;
  if (attribute == nullptr || !attribute->AttributeIsSet()) return std::string();
  // The common case needs no stream.
  if (auto* generic = dynamic_cast<const HKXMLGenericAttribute*>(attribute)) return generic->str();
  std::ostringstream os;
  attribute->print(os);
  return os.str();
}

bool HKXMLGenericElement::IdentAttribute(const std::string& name, const std::string& value) {
  if (!ContainsAttribute(name)) return false;
  return getAttributeText(name, std::string()) == value;
}

void HKXMLGenericElement::FindObjects(const std::string& name, const std::string& value, std::list<HKXMLGenericElement*>& out) {
  if (IdentAttribute(name, value)) out.push_back(this);
  for (HKXMLComplexElement* child : _children) {
    if (auto* generic = dynamic_cast<HKXMLGenericElement*>(child)) generic->FindObjects(name, value, out);
  }
}

void HKXMLGenericElement::FindObjects(std::list<HKXMLGenericElement*>& out, const std::string& typeName) {
  findObjects(typeName, out, -1);
}

HKXMLGenericElement* HKXMLGenericElement::FindObject(const std::string& name, const std::string& value) {
  std::list<HKXMLGenericElement*> found;
  FindObjects(name, value, found);
  return found.empty() ? nullptr : found.front();
}

void HKXMLGenericElement::findObjects(const std::string& typeName, std::list<HKXMLGenericElement*>& out, long depth) {
  std::list<HKXMLComplexElement*> all;
  HKXMLComplexElement::findObjects(typeName, all, depth);
  for (HKXMLComplexElement* element : all) {
    if (auto* generic = dynamic_cast<HKXMLGenericElement*>(element)) out.push_back(generic);
  }
}

bool HKXMLGenericElement::RemoveSubelement(const std::string& name, const std::string& value) {
  for (HKXMLComplexElement* child : _children) {
    auto* generic = dynamic_cast<HKXMLGenericElement*>(child);
    if (generic == nullptr || !generic->IdentAttribute(name, value)) continue;
    _deleteChild(generic);
    auto it = _children.find(generic);
    if (it != _children.end()) _children.erase(it);
    _destroyChild(generic);
    return true;
  }
  return false;
}

bool HKXMLGenericElement::ReplaceElement(HKXMLGenericElement* element, const std::string& name, const std::string& value) {
  if (element == nullptr) return false;
  if (_ReplaceElement(element, name, value)) return true;
  element->ReplaceAttributeContent(name, value);
  PushBackChildElement(element);
  return true;
}

bool HKXMLGenericElement::_ReplaceElement(HKXMLGenericElement* element, const std::string& name, const std::string& value) {
  if (element == nullptr) return false;
  // This level first, then each child's subtree in order.
  for (HKXMLComplexElement* child : _children) {
    auto* old = dynamic_cast<HKXMLGenericElement*>(child);
    if (old == nullptr || !old->IdentAttribute(name, value)) continue;
    _deleteChild(old);
    element->setParent(this);
    element->ReplaceAttributeContent(name, value);
    auto it = _children.find(old);
    if (it == _children.end()) return false;
    *it = element;
    _newChild(element);
    _destroyChild(old);
    return true;
  }
  for (HKXMLComplexElement* child : _children) {
    if (child != nullptr && child->_ReplaceElement(element, name, value)) return true;
  }
  return false;
}

std::list<HKXMLGenericElement*>* HKXMLGenericElement::query(const std::string& path) {
  auto* result = new std::list<HKXMLGenericElement*>();
  if (path.empty()) return result;
  const std::size_t cut = path.find_first_of(".[");
  if (cut == std::string::npos) {
    findObjects(path, *result, 1);
    return result;
  }
  std::list<HKXMLGenericElement*> selected;
  findObjects(path.substr(0, cut), selected, 1);
  std::string rest;
  if (path[cut] == '.') {
    rest = path.substr(cut + 1);
  } else {
    // A filter: "[name]" or "[name=value]" / "[name=\"value\"]".
    const std::size_t nameEnd = path.find_first_of("=]", cut + 1);
    if (nameEnd == std::string::npos) return result;
    const std::string name = path.substr(cut + 1, nameEnd - cut - 1);
    std::size_t close = nameEnd;
    bool byValue = false;
    std::string value;
    if (path[nameEnd] == '=') {
      close = path.find(']', nameEnd + 1);
      if (close == std::string::npos) return result;
      value = path.substr(nameEnd + 1, close - nameEnd - 1);
      if (value.size() >= 2 && value.front() == '"' && value.back() == '"') value = value.substr(1, value.size() - 2);
      byValue = true;
    }
    std::list<HKXMLGenericElement*> passed;
    for (HKXMLGenericElement* element : selected) {
      if (byValue ? element->IdentAttribute(name, value) : element->ContainsAttribute(name)) passed.push_back(element);
    }
    const std::string after = path.substr(close + 1);
    if (after.empty()) {
      result->splice(result->end(), passed);
      return result;
    }
    // Only a "." may follow a filter; anything else selects nothing.
    if (after[0] != '.') return result;
    selected.swap(passed);
    rest = after.substr(1);
  }
  for (HKXMLGenericElement* element : selected) {
    std::list<HKXMLGenericElement*>* sub = element->query(rest);
    result->splice(result->end(), *sub);
    delete sub;
  }
  return result;
}

std::string GetFromConfig(const std::string& path, const std::string& first, const std::string& second,
                          const std::string& third, const std::string& attribute, const std::string& fallback) {
  std::string result = fallback;
  std::ifstream in(path, std::ios::in | std::ios::binary);
  HKDTDElementReaderStream reader(in);
  HKXMLComplexElement* top = nullptr;
  try {
    top = reader.read("xml", false);
  } catch (...) {
    return result;
  }
  if (top == nullptr) return result;
  std::list<HKXMLComplexElement*> list1;
  top->findObjects(first, list1, -1);
  if (list1.empty()) return result;
  std::list<HKXMLComplexElement*> list2;
  list1.front()->findObjects(second, list2, -1);
  if (list2.size() != 1) return result;
  std::list<HKXMLComplexElement*> list3;
  list2.front()->findObjects(third, list3, -1);
  for (HKXMLComplexElement* element : list3) {
    if (auto* generic = dynamic_cast<HKXMLGenericElement*>(element)) result = generic->getAttributeText(attribute, fallback);
  }
  return result;
}
