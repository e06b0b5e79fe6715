// A small keyed store whose whole content is one XML tree in memory.
//
// Values are attributes addressed by dotted paths: in "a.b.c" the elements
// "a" and "b" are walked from the base element (always taking the first child
// of that name) and "c" is the attribute. Reading replaces the whole tree by
// the file's root element, which then is both document and base element.
// Every open project of the application storage is one such database, and
// the application storage itself derives from it.
//
// Writing: by default DBWriteOnDisk writes nothing and says so on the error
// stream ("writing: <path> to disk is blocked!!"); callers go on calling it
// as if it wrote, and all changes are lost at the end of the process. An
// application that wants its files saved switches writing on with
// EnableDiskWriting(true) (the application storage does it for every
// database it holds when its option "persistentwriting" is "true"). Writing
// is then safe: the tree goes to a temporary file in the same folder, is
// flushed and synced, and is renamed over the old file, so that a crash or a
// full disk leaves either the old file or the new one, never a part of one.
//
// Bad input: a file that is missing (after onMissing), empty, not XML,
// broken, nested deeper than the reader allows (1024 levels) or larger
// than kMaxReadBytes ends
// in HKException "no config was found - <path> with <reason>", and the
// former tree stays untouched.
//
// Threads: one plain (not recursive) lock per database guards the tree; the
// operations ending in NL expect the caller to hold it. Referrer() and
// GetBaseDir() take no lock.
#pragma once

#include <cstddef>
#include <functional>
#include <list>
#include <mutex>
#include <set>
#include <string>

#include <toviktwo/xml/hkxmlelement.h>

class HKXMLDatabase {
 public:
  using OnMissing = std::function<void(std::string)>;

  // Files larger than this are refused before reading.
  static constexpr unsigned long kMaxReadBytes = 64ul * 1024 * 1024;

  // A document "xmldocument" with an XML declaration; with a non-empty name
  // also a base element of that name. With an empty name there is no base
  // element until a read, and every path access throws.
  explicit HKXMLDatabase(std::string baseName);
  HKXMLDatabase(const HKXMLDatabase&) = delete;
  HKXMLDatabase& operator=(const HKXMLDatabase&) = delete;

  // ---- access without the lock (the caller holds it)
  virtual void _SetElementAttributeNL(std::string path, std::string value);
  virtual std::string _GetElementAttributeNL(std::string path, std::string defaultValue);

  // Deletes the document.
  virtual ~HKXMLDatabase();

  // ---- files
  // Writes nothing unless writing is enabled (see above); then writes the
  // document safely and throws HKException "writing: <path> failed: <reason>"
  // when it cannot, leaving the old file as it was.
  virtual void DBWriteOnDisk(std::string path);
  // Replaces the tree by the file's root element; a file that cannot be
  // opened is first handed to onMissing (an empty one is a bad-function-call
  // failure). Throws "no config was found - <path> with <error>".
  virtual void DBReadFromDisk(std::string path, OnMissing onMissing);

  // ---- values
  // Creates the elements on the path as needed; setting twice changes the value in place.
  virtual void SetElementAttribute(std::string path, std::string value);
  // The value, or defaultValue when element or attribute is missing; creates
  // nothing. A path of one part throws "the element and attribute name can't be empty".
  virtual std::string GetElementAttribute(std::string path, std::string defaultValue);
  // Reads with the default and writes the result back: a first read puts the
  // default into the tree, creating the path.
  virtual std::string GetSetElementAttribute(std::string path, std::string defaultValue);
  // Appends the elements at the path (all parts are element names, the last
  // one the elements wanted); creates nothing. "x" gives the base element's children named x.
  virtual void GetElements(std::string path, std::list<HKXMLGenericElement*>& result);
  // Appends every element of that name below the base element, at any depth
  // (the base element itself included when it bears the name).
  virtual void GetElementsOfType(std::string name, std::list<HKXMLGenericElement*>& result);
  // The users of this database (see HKPersistentAppStorage); no lock.
  virtual std::set<std::string>& Referrer();
  // The printed content of the first "project.stringvariables.stringvariable"
  // whose "name" is name, or defaultValue.
  virtual std::string GetStringVariable(std::string name, std::string defaultValue);
  virtual bool IsStringVariable(std::string name);

  // ---- state
  // The folder of the file read last, with its trailing "/" ("" before any read).
  std::string GetBaseDir() const { return _baseDir; }
  const std::string& GetBaseName() const { return _baseName; }
  // "HKXMLDatabase::Dump()>", the printed document, "<" to standard output.
  void Dump();
  // The document printed as it would be written to disk.
  std::string Printed();
  // Switches real writing on or off (off by default).
  void EnableDiskWriting(bool on) { _writeEnabled = on; }
  bool DiskWritingEnabled() const { return _writeEnabled; }

 protected:
  // The element at the path and, through attribute, the attribute's name;
  // null when a part is missing and create is false.
  HKXMLGenericElement* _localize_Element(const std::string& path, std::string& attribute, bool create);
  // Reads the file's root element without touching the tree; throws as DBReadFromDisk.
  HKXMLGenericElement* _readRoot(const std::string& path, const OnMissing& onMissing);
  // Makes root document and base element, deleting the old document; under the lock.
  void _installRoot(HKXMLGenericElement* root, const std::string& path);
  void _writeSafely(const std::string& path, const std::string& content);

  std::string _baseDir;
  std::string _baseName;
  HKXMLGenericElement* _document = nullptr;  // owned; guarded by _lock
  HKXMLGenericElement* _base = nullptr;      // in _document or _document itself; guarded by _lock
  std::set<std::string> _referrers;
  std::mutex _lock;
  bool _writeEnabled = false;
};
