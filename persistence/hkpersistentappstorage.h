// The storage of one application: its configuration file, its projects, its
// built-in (stored) pages and its global string variables.
//
// HKPersistentAppStorage is an HKXMLDatabase over the configuration file
// "./<application>.xml", whose one element "tovik" becomes the base element:
//   <tovik>
//     <demo>                                    (named like the application)
//       <projects><project name="p" projectpath="dir"/></projects>
//       <options><option name="o" value="v"/></options>
//     </demo>
//   </tovik>
// Projects lie in "./<application>_projects/<projectpath>/<project>.xml"
// (an absolute projectpath is taken as it is); their string variables are
// the printed content of project/stringvariables/stringvariable name="...".
// The viewport makes the storage with the default constructor and hands it
// to its storage initialiser, which typically calls ReadFromDisk (or
// SelectApplication), SetStoredPages and SetStringVariable.
//
// Order of use: CheckProject records where a project's file lies, and only
// then OpenProject works; OpenProject and CloseProject count users per
// project, and the last CloseProject writes (see below) and deletes the
// project's database.
//
// Writing: off by default, as for every HKXMLDatabase: WriteOnDisk and the
// last CloseProject only report "writing: <path> to disk is blocked!!" on the
// error stream. The application option "persistentwriting" with the value
// "true" in the configuration file (or SetPersistentWriting(true)) switches
// safe writing on for the configuration and every project opened afterwards.
//
// Bad input: a configuration file that cannot be read, or that has not
// exactly one element "tovik", leaves the storage as it was (tree,
// application name and selection) and throws.
//
// Threads: the maps of this class have no lock; the application's context
// lock serialises the requests that use them. The configuration tree and
// each open project have the lock of their HKXMLDatabase.
#pragma once

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <toviktwo/persistence/hkstringstorage.h>
#include <toviktwo/persistence/hkxmldatabase.h>

// Identifies a user; passed along, never looked at.
struct HKUserCredentials {};

class HKPersistentAppStorage : public HKXMLDatabase {
 public:
  // The option that switches safe writing on.
  static constexpr const char* kPersistentWritingOption = "persistentwriting";
  // Expansions of one ReplaceStringVariables call stop after this many.
  static constexpr unsigned long kMaxReplacements = 100000;

  // Base element "tovik", nothing selected.
  HKPersistentAppStorage();
  // Reads "./<applicationName>.xml" and selects the application; throws as ReadFromDisk.
  explicit HKPersistentAppStorage(std::string applicationName);
  // Deletes every open project's database without writing it.
  ~HKPersistentAppStorage() override;

  // ---- configuration file
  // Writes the configuration of name (empty: the selected application); see above.
  virtual void WriteOnDisk(std::string name);
  // Reads "./<name>.xml" and selects name; throws "no config was found - ..."
  // or "could not read the application config base 'tovik'".
  virtual void ReadFromDisk(std::string name);
  // Makes the one element "tovik" the base element and finds (or creates in
  // memory) the element named name below it. Throws "could not read the
  // application config base 'tovik'" unless there is exactly one "tovik".
  virtual void SelectApplication(std::string name);

  // ---- application
  // The non-empty names of <name>.projects.project in file order. Throws "no application selected".
  virtual void GetProjectNameList(std::list<std::string>& result, HKUserCredentials& credentials);
  // name -> value of <name>.options.option; a later option of a name wins. Throws "no application selected".
  virtual void GetAppOptions(std::map<std::string, std::string>& result);

  // ---- projects
  // Whether the project is listed and its file can be read; records its
  // path for OpenProject. With create, a missing "projectpath" is set to the
  // project's name and missing folders are made, and a read failure throws
  // "closing on catch... with <message>"; without, both give false.
  virtual bool CheckProject(std::string name, bool create, OnMissing onMissing,
                            HKUserCredentials& credentials);
  // Makes sure the folder exists (making it with create); relative paths lie
  // below the project root. "/" alone gives false and leaves result untouched.
  virtual bool CheckStorageDirectory(std::string path, std::string& result, bool create);
  // Writes "projectstorage: <project root>" to standard output; keeps nothing.
  virtual void SelectProjectDir(std::string path);
  // "./<application>_projects".
  virtual std::string GetProjectDir();
  // The project's database, read on first use and shared by all users.
  // Throws "project <name>not found" for a project CheckProject did not record.
  virtual HKXMLDatabase* OpenProject(std::string project, std::string user);
  // Reads the project's file again into a new database for user. The old
  // database stays valid for those who hold it (it lives as long as the
  // storage). A failed read of a project that is not open ends the process.
  virtual HKXMLDatabase* RefreshProject(std::string project, std::string user);
  // Removes user; the last one closes (writes, deletes) the project. Always
  // writes "closing <project>" to standard output.
  virtual void CloseProject(std::string project, std::string user);

  // ---- stored pages
  virtual void SetStoredPages(const std::map<std::string, HKStringStorage>& pages);
  virtual std::map<std::string, HKStringStorage>& GetStoredPages();
  // The MIME type of the page, or 0 (HK_MIME_TYPE_NONE) when there is none; creates nothing.
  virtual HKMIMEtype PageStored(std::string name);

  // ---- string variables
  // Replaces every "[[key]]" in text: "!..." keys by the command compiler's
  // CSS, then the open project's variable, then the global one, else "".
  // Replacements are scanned again. An unclosed "[[" and everything behind
  // it stays as it is, and expansion stops after kMaxReplacements (a
  // variable whose value holds itself).
  virtual void ReplaceStringVariables(std::string& text, std::string project);
  virtual void SetStringVariable(std::string name, std::string value);
  virtual void RemoveStringVariable(std::string name);

  // ---- state
  const std::string& GetApplicationName() const { return _applicationName; }
  bool IsSelected() const { return _selected; }
  // The recorded file of the project, or "".
  std::string GetProjectPath(const std::string& project) const;
  bool IsProjectOpen(const std::string& project) const { return _openProjects.count(project) != 0; }
  std::map<std::string, std::string>& GetStringVariables() { return _stringVariables; }
  // Safe writing for the configuration and projects opened from now on.
  void SetPersistentWriting(bool on);

 protected:
  std::string _configPath(const std::string& name) const;
  std::string _projectRoot() const;
  void _requireSelected() const;
  // The project's database read from its file; throws HKException.
  HKXMLDatabase* _readProject(const std::string& path);
  bool _checkProjectElement(HKXMLGenericElement* element, const std::string& name, bool create,
                            const OnMissing& onMissing);
  std::string _commandinterpreter(const std::string& key);
  std::string _variable(const std::string& key, const std::string& project);

  std::string _applicationName;
  bool _selected = false;
  std::map<std::string, std::string> _projectPaths;
  std::map<std::string, HKXMLDatabase*> _openProjects;  // owned
  std::map<std::string, HKStringStorage> _storedPages;
  std::map<std::string, std::string> _stringVariables;
  // Databases replaced by RefreshProject, kept so that their holders' pointers stay valid.
  std::vector<std::unique_ptr<HKXMLDatabase>> _replacedProjects;
  bool _persistentWriting = false;
};
