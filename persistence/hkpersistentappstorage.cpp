#include <toviktwo/persistence/hkpersistentappstorage.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hkstringmap.h>
#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/persistence/hkcommandcompiler.h>

// The lines this class writes to standard output ("closing ", "csd: " and
// the others) are part of its behaviour; pinned by
// tests/persistence/test_persistentappstorage*.cpp.

namespace {

constexpr const char* kBaseElement = "tovik";
constexpr const char* kNotSelected = "no application selected";
constexpr const char* kNoBase = "could not read the application config base 'tovik'";

[[noreturn]] void fail(const std::string& text) { throw HKException(text, __LINE__, "src"); }

void noFile(std::string) {}

// The elements named name in the tree below element, at any depth.
std::list<HKXMLGenericElement*> elementsNamed(HKXMLGenericElement* element, const std::string& name) {
  std::list<HKXMLGenericElement*> found;
  if (element != nullptr) element->findObjects(name, found, -1);
  return found;
}

}  // namespace

HKPersistentAppStorage::HKPersistentAppStorage() : HKXMLDatabase(kBaseElement) {}

HKPersistentAppStorage::HKPersistentAppStorage(std::string applicationName) : HKXMLDatabase("") {
  ReadFromDisk(std::move(applicationName));
}

HKPersistentAppStorage::~HKPersistentAppStorage() {
  for (auto& [name, database] : _openProjects) delete database;
}

std::string HKPersistentAppStorage::_configPath(const std::string& name) const {
  return HKGetAppStoragePath(name) + "/" + name + ".xml";
}

std::string HKPersistentAppStorage::_projectRoot() const {
  return HKGetStoragePath(_applicationName) + "/" + _applicationName + "_projects";
}

void HKPersistentAppStorage::_requireSelected() const {
  if (!_selected) fail(kNotSelected);
}

// ---- configuration file

void HKPersistentAppStorage::WriteOnDisk(std::string name) {
  DBWriteOnDisk(_configPath(name.empty() ? _applicationName : name));
}

void HKPersistentAppStorage::ReadFromDisk(std::string name) {
  const std::string path = _configPath(name);
  HKXMLGenericElement* root = _readRoot(path, noFile);
  // Checked before the tree is replaced, so that a configuration without
  // its one base element leaves everything as it was.
  if (elementsNamed(root, kBaseElement).size() != 1) {
    delete root;
    fail(kNoBase);
  }
  _installRoot(root, path);
  _applicationName = name;
  _selected = false;
  SelectApplication(name);
}

void HKPersistentAppStorage::SelectApplication(std::string name) {
  {
    std::lock_guard<std::mutex> guard(_lock);
    std::list<HKXMLGenericElement*> bases = elementsNamed(_document, kBaseElement);
    if (bases.size() != 1) fail(kNoBase);
    _base = bases.front();
    if (elementsNamed(_base, name).empty()) _base->PushBackChildElement(new HKXMLGenericElement(name, true));
  }
  _applicationName = name;
  _selected = true;
  std::map<std::string, std::string> options;
  GetAppOptions(options);
  if (options[kPersistentWritingOption] == "true") SetPersistentWriting(true);
}

void HKPersistentAppStorage::SetPersistentWriting(bool on) {
  _persistentWriting = on;
  EnableDiskWriting(on);
}

// ---- application

void HKPersistentAppStorage::GetProjectNameList(std::list<std::string>& result, HKUserCredentials&) {
  _requireSelected();
  result.clear();
  std::list<HKXMLGenericElement*> found;
  GetElements(_applicationName + ".projects.project", found);
  for (HKXMLGenericElement* element : found) {
    std::string name = element->getAttributeText("name", "");
    if (!name.empty()) result.push_back(std::move(name));
  }
}

void HKPersistentAppStorage::GetAppOptions(std::map<std::string, std::string>& result) {
  _requireSelected();
  result.clear();
  std::list<HKXMLGenericElement*> found;
  GetElements(_applicationName + ".options.option", found);
  for (HKXMLGenericElement* element : found) {
    const std::string name = element->getAttributeText("name", "");
    if (!name.empty()) result[name] = element->getAttributeText("value", "");
  }
}

// ---- project folders

std::string HKPersistentAppStorage::GetProjectDir() { return _projectRoot(); }

void HKPersistentAppStorage::SelectProjectDir(std::string) {
  std::cout << "projectstorage: " << _projectRoot() << std::endl;
}

bool HKPersistentAppStorage::CheckStorageDirectory(std::string path, std::string& result, bool create) {
  std::cout << "*#*#*#* " << path << std::endl;
  const bool absolute = !path.empty() && path.front() == '/';
  const std::string root = _projectRoot() + "/";
  std::string full = path;
  if (!absolute && path.rfind(root, 0) != 0) full = root + path;
  std::cout << "csd: " << full << std::endl;
  const std::vector<std::string> parts = HKStringMap1(full, "/", true).GetTheStrings();
  // Nothing but separators: no folder to make sure of.
  if (parts.empty()) return false;
  std::string current = absolute ? "/" : "";
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) current += "/";
    current += parts[i];
    if (!TryOpenDirectory(current, create)) return false;
  }
  result = full;
  return true;
}

// ---- projects

HKXMLDatabase* HKPersistentAppStorage::_readProject(const std::string& path) {
  auto database = std::make_unique<HKXMLDatabase>("");
  database->DBReadFromDisk(path, noFile);
  database->EnableDiskWriting(_persistentWriting);
  return database.release();
}

bool HKPersistentAppStorage::_checkProjectElement(HKXMLGenericElement* element, const std::string& name,
                                                  bool create, const OnMissing& onMissing) {
  std::string path = element->getAttributeText("projectpath", "");
  if (path.empty()) {
    if (!create) return false;
    {
      std::lock_guard<std::mutex> guard(_lock);
      *element << ("projectpath=\"" + name + "\"");
    }
    path = name;
  }
  std::string directory;
  if (!CheckStorageDirectory(path, directory, create)) return false;
  const std::string file = directory + "/" + name + ".xml";
  try {
    HKXMLDatabase probe(kBaseElement);
    probe.DBReadFromDisk(file, onMissing);
    _projectPaths[name] = file;
  } catch (const HKException& e) {
    if (create) fail(std::string("closing on catch... with ") + e.what());
    std::cout << "closing on catch..." << std::endl;
    return false;
  }
  return true;
}

bool HKPersistentAppStorage::CheckProject(std::string name, bool create, OnMissing onMissing,
                                          HKUserCredentials& credentials) {
  if (name.empty()) return false;
  std::list<std::string> names;
  GetProjectNameList(names, credentials);
  if (std::find(names.begin(), names.end(), name) == names.end()) return false;
  std::list<HKXMLGenericElement*> found;
  GetElements(_applicationName + ".projects.project", found);
  bool usable = true;
  for (HKXMLGenericElement* element : found) {
    if (element->getAttributeText("name", "") != name) continue;
    if (!_checkProjectElement(element, name, create, onMissing)) usable = false;
  }
  return usable;
}

std::string HKPersistentAppStorage::GetProjectPath(const std::string& project) const {
  auto it = _projectPaths.find(project);
  return it == _projectPaths.end() ? std::string() : it->second;
}

HKXMLDatabase* HKPersistentAppStorage::OpenProject(std::string project, std::string user) {
  auto path = _projectPaths.find(project);
  // Required text: no blank before "not found".
  if (path == _projectPaths.end()) fail("project " + project + "not found");
  auto open = _openProjects.find(project);
  if (open == _openProjects.end()) open = _openProjects.emplace(project, _readProject(path->second)).first;
  open->second->Referrer().insert(user);
  return open->second;
}

HKXMLDatabase* HKPersistentAppStorage::RefreshProject(std::string project, std::string user) {
  auto path = _projectPaths.find(project);
  if (path == _projectPaths.end()) fail("project " + project + "not found");
  auto open = _openProjects.find(project);
  HKXMLDatabase* fresh = nullptr;
  if (open != _openProjects.end()) {
    fresh = _readProject(path->second);
    _replacedProjects.emplace_back(open->second);
  } else {
    std::cout << "reading DB again" << std::endl;
    try {
      fresh = _readProject(path->second);
    } catch (const HKException& e) {
      // The last resort of a project that vanished under a running application.
      std::cout << "%%%%%%%%%%**************%%%%%%%%%%%%%%%%%%%%%%%% " << e.what() << std::endl;
      std::exit(0);
    }
  }
  fresh->Referrer().insert(user);
  _openProjects[project] = fresh;
  return fresh;
}

void HKPersistentAppStorage::CloseProject(std::string project, std::string user) {
  auto open = _openProjects.find(project);
  if (open != _openProjects.end()) {
    HKXMLDatabase* database = open->second;
    database->Referrer().erase(user);
    if (database->Referrer().empty()) {
      // Written before it goes: a failed (enabled) write keeps the project
      // open, so that nothing is lost and the close can be tried again.
      database->DBWriteOnDisk(_projectPaths[project]);
      _openProjects.erase(open);
      delete database;
    }
  }
  std::cout << "closing " << project << std::endl;
}

// ---- stored pages

void HKPersistentAppStorage::SetStoredPages(const std::map<std::string, HKStringStorage>& pages) {
  _storedPages = pages;
}

std::map<std::string, HKStringStorage>& HKPersistentAppStorage::GetStoredPages() { return _storedPages; }

HKMIMEtype HKPersistentAppStorage::PageStored(std::string name) {
  auto it = _storedPages.find(name);
  return it == _storedPages.end() ? HK_MIME_TYPE_NONE : it->second.MIMEType();
}

// ---- string variables

void HKPersistentAppStorage::SetStringVariable(std::string name, std::string value) {
  _stringVariables[std::move(name)] = std::move(value);
}

void HKPersistentAppStorage::RemoveStringVariable(std::string name) { _stringVariables.erase(name); }

std::string HKPersistentAppStorage::_commandinterpreter(const std::string& key) {
  HKCommandCompiler compiler;
  return compiler.CSSCommand(key);
}

std::string HKPersistentAppStorage::_variable(const std::string& key, const std::string& project) {
  if (!key.empty() && key.front() == '!') return _commandinterpreter(key);
  auto open = _openProjects.find(project);
  if (open != _openProjects.end() && open->second->IsStringVariable(key)) {
    return open->second->GetStringVariable(key, "");
  }
  auto global = _stringVariables.find(key);
  return global == _stringVariables.end() ? std::string() : global->second;
}

void HKPersistentAppStorage::ReplaceStringVariables(std::string& text, std::string project) {
  std::size_t pos = text.find("[[");
  for (unsigned long done = 0; pos != std::string::npos && done < kMaxReplacements; ++done) {
    const std::size_t end = text.find("]]", pos);
    // An opening without a closing: the rest of the text stays as it is.
    if (end == std::string::npos) return;
    const std::string key = text.substr(pos + 2, end - pos - 2);
    text.replace(pos, end - pos + 2, _variable(key, project));
    pos = text.find("[[", pos);
  }
}
