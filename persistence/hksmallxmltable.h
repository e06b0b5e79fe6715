// Small XML tables: an append-only log of name-and-value sets in one XML file.
//
// File format:
//   <hksmallxmltable>
//   <set>
//   <item name="n" value="v"/>
//   </set>
//   </hksmallxmltable>
// Writing (HKSmallXMLTable(directory) and writeContent) appends one set per
// call to the current file; the end tag is written when the writer moves on
// to another file (or is given an empty name). The destructor closes the
// file without the end tag, and a writer that returns to a file that has one
// appends its sets behind it: the reader takes the sets inside and behind
// the root element alike. Names and values are not escaped.
//
// Failure: a set whose writing fails (disk full, file size limit) is cut off
// again, so the file keeps exactly the earlier sets; the file is closed,
// and the next call opens it again and tries anew. A file that breaks off inside a
// set (a crash while writing) still gives every complete set before the
// break; ReadError() tells what stopped the reader.
//
// Threads: no locks; an object serves one thread.
#pragma once

#include <cstdint>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/xml/hkxmlattribute.h>
#include <toviktwo/xml/hkxmlelement.h>

// One entry: <item name="..." value="..."/>.
class HKSmallXMLTableItem : public HKXMLGenericElement {
 public:
  HKSmallXMLTableItem();
  ~HKSmallXMLTableItem() override;
  std::string getName() const { return _name.str(); }
  std::string getValue() const { return _value.str(); }

 protected:
  HKXMLStringHKAttribute _name;
  HKXMLStringHKAttribute _value;
};

// One set of entries; the children are the items.
class HKSmallXMLTableSet : public HKXMLGenericElement {
 public:
  HKSmallXMLTableSet();
  // Files the item children by name; a later item of a name replaces an earlier one.
  void finishRead() override;
  // The value of the item called name, or defaultValue.
  std::string getItem(const std::string& name, const std::string& defaultValue) const;
  const std::map<std::string, HKSmallXMLTableItem*>& Items() const { return _items; }

 protected:
  std::map<std::string, HKSmallXMLTableItem*> _items;  // not owned: the children are
};

class HKSmallXMLTable : public HKXMLGenericElement {
 public:
  HKSmallXMLTable();
  // For writing into files of this folder.
  explicit HKSmallXMLTable(const std::string& directory);
  // For reading: reads directory + file at once.
  HKSmallXMLTable(const std::string& directory, const std::string& file);
  // Closes an open file without the end tag.
  ~HKSmallXMLTable() override;

  // Appends one set with the entries in key order to file (see above).
  void writeContent(const std::string& file, const std::map<std::string, std::string>& items);
  // Collects the set children.
  void finishRead() override;

  const std::vector<HKSmallXMLTableSet*>& Sets() const { return _sets; }
  // What ended reading early ("" when the file was read whole).
  const std::string& ReadError() const { return _readError; }

 protected:
  void _read(const std::string& file);
  void _close(bool withEndTag);
  bool _writeLine(const std::string& line);

  HKPath _directory;
  std::string _currentFile;
  std::unique_ptr<std::ofstream> _output;
  std::vector<HKSmallXMLTableSet*> _sets;  // not owned: the children are
  std::string _readError;
};

// The element factory of the small-table grammar: "hksmallxmltable", "set"
// and "item" give the classes above, any other name a generic element.
HKXMLComplexElement* createSmallXMLTableElement(const std::string& name);
