#include <toviktwo/persistence/hksmallxmltable.h>

#include <unistd.h>

#include <list>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hklogstream.h>
#include <toviktwo/xml/hkdtd.h>
#include <toviktwo/xml/hkdtdelementreader.h>

namespace {

constexpr const char* kTableTag = "hksmallxmltable";
constexpr const char* kSetTag = "set";
constexpr const char* kItemTag = "item";

HKXMLComplexElement* hkMakeTableElement(const std::string& content, HKDTD&) {
  return createSmallXMLTableElement(content);
}
HKXMLComplexElement* hkMakeText(const std::string& content, HKDTD&) { return new HKXMLGenericText(content); }
HKXMLComplexElement* hkMakeWhitespace(const std::string& content, HKDTD&) {
  return new HKXMLGenericWhitespace(content);
}
HKXMLComplexElement* hkMakeProcInst(const std::string& content, HKDTD&) {
  return new HKXML_ProcInst2(content);
}
HKXMLComplexElement* hkMakeComment(const std::string& content, HKDTD&) { return new HKXML_Comment2(content); }

// The grammar "smallxmltable": white space, elements through the table's
// factory, text, processing instructions and comments.
HKDTD hkSmallTableGrammar() {
  HKDTD dtd("smallxmltable");
  dtd.insertDTDElementRead(new HKDTDElementRead_WhitespaceText());
  dtd.insertDTDElementRead(new HKDTDElementRead_Element());
  dtd.insertDTDElementRead(new HKDTDElementRead_Text());
  dtd.insertDTDElementRead(new HKDTDElementRead_ProcInst());
  dtd.insertDTDElementRead(new HKDTDElementRead_Comment());
  dtd.insertIntoDTDObjectFactory("xmlwhitespace", hkMakeWhitespace);
  dtd.insertIntoDTDObjectFactory("xmlelement", hkMakeTableElement);
  dtd.insertIntoDTDObjectFactory("xmltext", hkMakeText);
  dtd.insertIntoDTDObjectFactory("xmlprocinst", hkMakeProcInst);
  dtd.insertIntoDTDObjectFactory("xmlcomment", hkMakeComment);
  dtd.insertIntoSubelementContainer("xmlelement");
  return dtd;
}

// A set counts when the reader has closed it: an unclosed one may have lost items.
bool hkIsComplete(HKXMLComplexElement* element, HKXMLComplexElement* open) {
  for (HKXMLComplexElement* e = open; e != nullptr; e = e->getParent()) {
    if (e == element) return false;
  }
  return true;
}

}  // namespace

HKXMLComplexElement* createSmallXMLTableElement(const std::string& name) {
  if (name == kTableTag) return new HKSmallXMLTable();
  if (name == kSetTag) return new HKSmallXMLTableSet();
  if (name == kItemTag) return new HKSmallXMLTableItem();
  return new HKXMLGenericElement(name, true);
}

// ---- item and set

HKSmallXMLTableItem::HKSmallXMLTableItem() : HKXMLGenericElement(kItemTag, true) {
  ReplaceAttributeContent("name", _name);
  ReplaceAttributeContent("value", _value);
}

HKSmallXMLTableItem::~HKSmallXMLTableItem() = default;

HKSmallXMLTableSet::HKSmallXMLTableSet() : HKXMLGenericElement(kSetTag, true) {}

void HKSmallXMLTableSet::finishRead() {
  for (HKXMLComplexElement* child : Children()) {
    if (auto* item = dynamic_cast<HKSmallXMLTableItem*>(child)) _items[item->getName()] = item;
  }
}

std::string HKSmallXMLTableSet::getItem(const std::string& name, const std::string& defaultValue) const {
  auto it = _items.find(name);
  return it == _items.end() ? defaultValue : it->second->getValue();
}

// ---- table

HKSmallXMLTable::HKSmallXMLTable() : HKXMLGenericElement(kTableTag, true) {}

HKSmallXMLTable::HKSmallXMLTable(const std::string& directory)
    : HKXMLGenericElement(kTableTag, true), _directory(directory) {}

HKSmallXMLTable::HKSmallXMLTable(const std::string& directory, const std::string& file)
    : HKXMLGenericElement(kTableTag, true), _directory(directory) {
  _read(file);
  finishRead();
}

HKSmallXMLTable::~HKSmallXMLTable() { _close(false); }

void HKSmallXMLTable::_read(const std::string& file) {
  std::ifstream in(_directory.str() + file, std::ios::in | std::ios::binary);
  HKDTDElementReaderStream reader(in);
  HKDTD grammar = hkSmallTableGrammar();
  reader.addDTD(grammar);
  try {
    reader.read("smallxmltable", false);
  } catch (const HKException& e) {
    _readError = e.what();
  }
  // Whatever is still open at the end has not been read whole.
  HKXMLComplexElement* open = reader.Splitter().getCurrentElement();
  HKXMLComplexElement* top = reader.Splitter().getTopElement();
  if (top == nullptr) return;
  // The sets inside the root element and those behind it (appended after
  // an end tag) become children of this table, in file order.
  std::list<HKXMLComplexElement*> found;
  for (HKXMLComplexElement* child : top->Children()) {
    if (dynamic_cast<HKSmallXMLTable*>(child) != nullptr) {
      for (HKXMLComplexElement* set : child->Children()) found.push_back(set);
    } else {
      found.push_back(child);
    }
  }
  for (HKXMLComplexElement* element : found) {
    auto* set = dynamic_cast<HKSmallXMLTableSet*>(element);
    if (set == nullptr || !hkIsComplete(set, open)) continue;
    element->getParent()->DetachChild(set);
    set->setParent(nullptr);
    PushBackChildElement(set);
  }
}

void HKSmallXMLTable::finishRead() {
  _sets.clear();
  for (HKXMLComplexElement* child : Children()) {
    if (auto* set = dynamic_cast<HKSmallXMLTableSet*>(child)) _sets.push_back(set);
  }
}

// ---- writing

void HKSmallXMLTable::_close(bool withEndTag) {
  if (!_output) return;
  if (withEndTag) *_output << "</" << kTableTag << ">" << std::endl;
  _output->close();
  _output.reset();
}

bool HKSmallXMLTable::_writeLine(const std::string& line) {
  *_output << line << std::endl;
  return _output->good();
}

void HKSmallXMLTable::writeContent(const std::string& file, const std::map<std::string, std::string>& items) {
  if (_output && file != _currentFile) _close(true);
  if (!_output && !file.empty()) {
    const bool existed = TryOpenFile(_directory.str() + file, nullptr);
    _output = std::make_unique<std::ofstream>(_directory.str() + file, std::ios::out | std::ios::app);
    if (_output->good() && !existed) _writeLine(std::string("<") + kTableTag + ">");
  }
  _currentFile = file;
  if (!_output || !_output->good()) return;
  const std::string path = _directory.str() + file;
  unsigned long before = 0;
  const bool sized = TryOpenFile(path, &before);
  bool ok = _writeLine("<set>");
  for (auto it = items.begin(); ok && it != items.end(); ++it) {
    ok = _writeLine("<item name=\"" + it->first + "\" value=\"" + it->second + "\"/>");
  }
  ok = ok && _writeLine("</set>");
  // A set that could not be written whole is cut off again, so that the
  // file ends behind the last complete set. The stream goes first: it
  // would otherwise try to write what it still holds when it is closed.
  if (ok) return;
  _output.reset();
  if (sized && ::truncate(path.c_str(), static_cast<off_t>(before)) != 0) {
    __logger.Debugstream(log_default)
        << "small table: could not cut off the incomplete set in " << path << std::endl;
  }
}
