#include <toviktwo/persistence/hkxmldatabase.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <vector>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hkstringmap.h>
#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/xml/hkdtdelementreader.h>

namespace {

constexpr const char* kStringVariablePath = "project.stringvariables.stringvariable";

[[noreturn]] void fail(const std::string& text) { throw HKException(text, __LINE__, "src"); }

[[noreturn]] void failRead(const std::string& path, const std::string& reason) {
  fail("no config was found - " + path + " with " + reason);
}

// The first direct child named name (the element itself never counts);
// stops at the first hit instead of collecting every match.
HKXMLGenericElement* hkFirstChildNamed(HKXMLGenericElement* element, const std::string& name) {
  for (HKXMLComplexElement* child : element->Children()) {
    if (child == nullptr || child->GetTypeName() != name) continue;
    if (auto* generic = dynamic_cast<HKXMLGenericElement*>(child)) return generic;
  }
  return nullptr;
}

// Reads the whole file; false when it cannot be read.
bool readWhole(const std::string& path, std::string& out) {
  std::ifstream in(path, std::ios::in | std::ios::binary);
  if (!in) return false;
  std::ostringstream buffer;
  buffer << in.rdbuf();
  if (in.bad()) return false;
  out = std::move(buffer).str();
  return true;
}

// Writes all of `content` to `fd`; false with errno set on failure.
bool writeAll(int fd, const std::string& content) {
  std::size_t done = 0;
  while (done < content.size()) {
    const ssize_t n = ::write(fd, content.data() + done, content.size() - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    done += static_cast<std::size_t>(n);
  }
  return true;
}

// The folder part of a path ("." for a bare file name).
std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// Reads text in the grammar "xml" and returns its first structural element,
// detached and owned by the caller; null with the reason in error otherwise.
// An element still open at the end of the text (a truncated file) counts as
// an error: its content is incomplete.
HKXMLGenericElement* hkReadFirstElement(std::string& text, std::string& error) {
  // An empty text has no element (a text reader would call it a stream error).
  if (text.empty()) {
    error = "no element in the file";
    return nullptr;
  }
  try {
    HKDTDElementReaderString reader(text, 0);
    HKXMLComplexElement* top = reader.read("xml", false);
    HKXMLComplexElement* open = reader.Splitter().getCurrentElement();
    if (open != nullptr && open != top) {
      error = "the element '" + open->GetTypeName() + "' not closed at the end around line " +
              std::to_string(reader.line());
      return nullptr;
    }
    for (HKXMLComplexElement* child : top->Children()) {
      if (child == nullptr || !child->noSpecial()) continue;
      auto* element = dynamic_cast<HKXMLGenericElement*>(child);
      if (element == nullptr) break;
      top->DetachChild(element);
      element->setParent(nullptr);
      return element;
    }
    error = "no element in the file";
  } catch (const HKException& e) {
    error = e.what();
  } catch (const std::exception& e) {
    error = std::string("error while reading: ") + e.what();
  }
  return nullptr;
}

}  // namespace

HKXMLDatabase::HKXMLDatabase(std::string baseName) {
  _document = new HKXML_Document2("xmldocument");
  _document->PushBackChildElement(new HKXML_Declaration2("version=\"1.0\" encoding=\"UTF-8\""));
  if (baseName.empty()) return;
  _baseName = std::move(baseName);
  _base = new HKXMLGenericElement(_baseName, true);
  _document->PushBackChildElement(_base);
}

HKXMLDatabase::~HKXMLDatabase() { delete _document; }

// ---- paths

HKXMLGenericElement* HKXMLDatabase::_localize_Element(const std::string& path, std::string& attribute,
                                                      bool create) {
  if (_baseName.empty() || _base == nullptr) fail("the base element must have a length");
  std::vector<std::string> parts = HKStringMap1(path, ".", false).GetTheStrings();
  if (parts.size() < 2) fail("the element and attribute name can't be empty");
  attribute = parts.back();
  HKXMLGenericElement* current = _base;
  for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
    // Of children of the same name, the walk always takes the first.
    HKXMLGenericElement* child = hkFirstChildNamed(current, parts[i]);
    if (child != nullptr) {
      current = child;
    } else if (!create) {
      return nullptr;
    } else {
      auto* created = new HKXMLGenericElement(parts[i], true);
      current->PushBackChildElement(created);
      current = created;
    }
  }
  return current;
}

std::string HKXMLDatabase::_GetElementAttributeNL(std::string path, std::string defaultValue) {
  std::string attribute;
  HKXMLGenericElement* element = _localize_Element(path, attribute, false);
  if (element == nullptr) return defaultValue;
  return element->getAttributeText(attribute, defaultValue);
}

void HKXMLDatabase::_SetElementAttributeNL(std::string path, std::string value) {
  std::string attribute;
  HKXMLGenericElement* element = _localize_Element(path, attribute, true);
  *element << (attribute + "=\"" + value + "\"");
}

void HKXMLDatabase::SetElementAttribute(std::string path, std::string value) {
  std::lock_guard<std::mutex> guard(_lock);
  _SetElementAttributeNL(std::move(path), std::move(value));
}

std::string HKXMLDatabase::GetElementAttribute(std::string path, std::string defaultValue) {
  std::lock_guard<std::mutex> guard(_lock);
  return _GetElementAttributeNL(std::move(path), std::move(defaultValue));
}

std::string HKXMLDatabase::GetSetElementAttribute(std::string path, std::string defaultValue) {
  std::lock_guard<std::mutex> guard(_lock);
  std::string value = _GetElementAttributeNL(path, std::move(defaultValue));
  _SetElementAttributeNL(path, value);
  return value;
}

void HKXMLDatabase::GetElements(std::string path, std::list<HKXMLGenericElement*>& result) {
  std::lock_guard<std::mutex> guard(_lock);
  if (path.empty() || _base == nullptr) fail("the base element must have a length");
  std::vector<std::string> parts = HKStringMap1(path, ".", false).GetTheStrings();
  if (parts.empty()) fail("the element name can't be empty");
  HKXMLGenericElement* current = _base;
  for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
    current = hkFirstChildNamed(current, parts[i]);
    if (current == nullptr) return;
  }
  for (HKXMLComplexElement* child : current->Children()) {
    if (child == nullptr || child->GetTypeName() != parts.back()) continue;
    if (auto* generic = dynamic_cast<HKXMLGenericElement*>(child)) result.push_back(generic);
  }
}

void HKXMLDatabase::GetElementsOfType(std::string name, std::list<HKXMLGenericElement*>& result) {
  std::lock_guard<std::mutex> guard(_lock);
  if (_base == nullptr) return;
  _base->findObjects(name, result, -1);
}

std::set<std::string>& HKXMLDatabase::Referrer() { return _referrers; }

// ---- string variables

namespace {
HKXMLGenericElement* hkFindVariable(const std::list<HKXMLGenericElement*>& found, const std::string& name) {
  for (HKXMLGenericElement* element : found) {
    if (element->getAttributeText("name", "") == name) return element;
  }
  return nullptr;
}
}  // namespace

std::string HKXMLDatabase::GetStringVariable(std::string name, std::string defaultValue) {
  std::list<HKXMLGenericElement*> found;
  GetElements(kStringVariablePath, found);
  HKXMLGenericElement* variable = hkFindVariable(found, name);
  if (variable == nullptr) return defaultValue;
  std::list<HKXMLComplexElement*> children;
  variable->HKXMLComplexElement::GetChilds(children);
  std::ostringstream os;
  for (HKXMLComplexElement* child : children) child->print(os);
  return os.str();
}

bool HKXMLDatabase::IsStringVariable(std::string name) {
  std::list<HKXMLGenericElement*> found;
  GetElements(kStringVariablePath, found);
  return hkFindVariable(found, name) != nullptr;
}

// ---- reading

HKXMLGenericElement* HKXMLDatabase::_readRoot(const std::string& path, const OnMissing& onMissing) {
  if (!TryOpenFile(path, nullptr)) onMissing(path);
  unsigned long size = 0;
  if (TryOpenFile(path, &size) && size > kMaxReadBytes) {
    failRead(path, "a file larger than " + std::to_string(kMaxReadBytes) + " bytes");
  }
  // The file is read whole and scanned in place: much faster than reading
  // through a stream, with the same tree and the same messages.
  std::string text;
  if (!readWhole(path, text)) failRead(path, "a file that cannot be read");
  std::string error;
  HKXMLGenericElement* root = hkReadFirstElement(text, error);
  if (root == nullptr) failRead(path, error);
  return root;
}

void HKXMLDatabase::_installRoot(HKXMLGenericElement* root, const std::string& path) {
  std::lock_guard<std::mutex> guard(_lock);
  delete _document;
  _document = root;
  _base = root;
  _baseName = root->GetTypeName();
  _baseDir = path.substr(0, path.size() - FilenameLastPart(path).size());
}

void HKXMLDatabase::DBReadFromDisk(std::string path, OnMissing onMissing) {
  _installRoot(_readRoot(path, onMissing), path);
}

// ---- writing

std::string HKXMLDatabase::Printed() {
  std::lock_guard<std::mutex> guard(_lock);
  std::ostringstream os;
  if (_document != nullptr) _document->print(os);
  return os.str();
}

void HKXMLDatabase::DBWriteOnDisk(std::string path) {
  if (!_writeEnabled) {
    // Required message: writing is switched off unless enabled; pinned by
    // tests/persistence/test_xmldatabase.cpp.
    std::cerr << "writing: " << path << " to disk is blocked!!" << std::endl;
    std::lock_guard<std::mutex> guard(_lock);
    return;
  }
  _writeSafely(path, Printed());
}

void HKXMLDatabase::_writeSafely(const std::string& path, const std::string& content) {
  std::string temp = path + ".XXXXXX";
  std::vector<char> name(temp.begin(), temp.end());
  name.push_back('\0');
  const int fd = ::mkstemp(name.data());
  if (fd < 0) fail("writing: " + path + " failed: " + std::strerror(errno));
  temp = name.data();
  const bool written = writeAll(fd, content) && ::fsync(fd) == 0;
  const int writeError = errno;
  const bool closed = ::close(fd) == 0;
  if (!written || !closed) {
    ::unlink(temp.c_str());
    fail("writing: " + path + " failed: " + std::strerror(written ? errno : writeError));
  }
  ::chmod(temp.c_str(), 0644);
  if (::rename(temp.c_str(), path.c_str()) != 0) {
    const int renameError = errno;
    ::unlink(temp.c_str());
    fail("writing: " + path + " failed: " + std::strerror(renameError));
  }
  // The rename itself is made durable by syncing the folder.
  const int dir = ::open(folderOf(path).c_str(), O_RDONLY | O_DIRECTORY);
  if (dir >= 0) {
    ::fsync(dir);
    ::close(dir);
  }
}

void HKXMLDatabase::Dump() {
  std::lock_guard<std::mutex> guard(_lock);
  if (_document == nullptr) return;
  // Required console output of the dump.
  std::cout << "HKXMLDatabase::Dump()>";
  _document->print(std::cout);
  std::cout << "<" << std::endl;
}
