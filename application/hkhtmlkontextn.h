// One browser session: the server side of one browser page.
//
// A context holds the session's HTML document, its table of URL commands,
// its widget manager and its update manager. Applications derive from it.
// A page knows its context by one string, the form field "tovikid"; every
// later request of the page carries it, the application finds the context
// (HKTovikApplication2::invokeContext) and manageRequest dispatches on the
// URL path through the command map:
//   "/"                     _commandLurvoweb: the printed page, or with the
//                           command "lurvoupdate" one exchange of the update channel
//   "/tovikwidget.handler"  _requestWidget: a widget callback (HKWidgetManager)
// Derived classes add their own paths to the same map.
//
// Threads: requests that come through invokeContext run under the
// application's context lock, so a context sees one request at a time; the
// request that creates a context runs outside it, on the new context alone.
//
// Destruction order: update manager (with its scenarios), context ids,
// document, command map, widget manager.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include <toviktwo/application/hklurvoupdatemanager.h>
#include <toviktwo/application/hkwidgetmanager.h>
#include <toviktwo/persistence/hkstringstorage.h>

class HKTovikApplication2;
class HKGavetaScheduler2;
class HKHTML_Document2;
class HKHTML_body2;
class HKHTML_head2;
class HKXHeader;
class HKXResponseHeader;

// The event of _connect_element_method_POST. Whatever the value, the
// attribute written is "onclick".
enum HKEventAttribute : int {
  HK_EVENT_ONCLICK = 0,
  HK_EVENT_ONCHANGE = 1,
  HK_EVENT_ONSUBMIT = 2,
};

// A URL command of a session: (request, response, command field).
using HKKontextCommand = std::function<void(HKXHeader&, HKXResponseHeader&, const std::string&)>;

class HKHTMLKontextN {
 public:
  // The unsigned value and the string are accepted for derived classes and
  // not kept. A null application throws "App must be defined, but is nullptr".
  // Nothing is inserted, loaded or locked.
  HKHTMLKontextN(HKTovikApplication2* application, const std::string& mainContextID, unsigned int,
                 std::string, std::map<std::string, std::string>& extendedParams);
  HKHTMLKontextN(const HKHTMLKontextN&) = delete;
  HKHTMLKontextN& operator=(const HKHTMLKontextN&) = delete;

  // ---- hooks and page parts
  // Empty hooks for derived classes; nothing in the library calls the first.
  virtual void _reloadStatusPageHTML(std::string);
  // The body and head of the document, which must exist.
  virtual HKHTML_body2* _hk_kontextbody();
  virtual HKHTML_head2* _hk_kontexthead();
  // Called when the application closes the context for being idle or for
  // making room (with a request made for the purpose and the command
  // "&close"); empty here.
  virtual void _closeContext(HKXHeader& header, HKXResponseHeader& response, const std::string& command);
  // The printed document, or "" without one.
  virtual std::string _getBuffer();
  // Makes the element named elementName submit a plain POST form of its own
  // (id "formcommand<n>"); false when there is no such element.
  virtual bool _connect_element_method_POST(std::string elementName, HKEventAttribute event);
  virtual ~HKHTMLKontextN();

  // ---- identity
  virtual HKHTML_Document2* getTheDocument();
  // An empty id does nothing; otherwise the id becomes a main id (mark 0).
  virtual void SetMainContextID(const std::string& id);
  // The first id in key order with mark 0, or "".
  virtual std::string getMainContextID();
  virtual std::map<std::string, int> getContextIDs();
  // Ties the document to the session: a script variable tovikid in the head,
  // and "tovikid" and "tovikgeometry" fields in every form. Throws "the
  // document can't be a nullptr" without a document.
  virtual void insertFormTovikid(const std::string& id);
  // Dispatches on the reset path of the header, or else its URL path; an
  // unknown path leaves the response untouched (status 500).
  virtual void manageRequest(HKXHeader& header, HKXResponseHeader& response, const std::string& command);
  // The application's scheduler; throws "app must be set" without application.
  virtual HKGavetaScheduler2& getScheduler();

  std::map<std::string, std::string>* getExtendedParams() { return _extendedParams; }
  HKTovikApplication2* getApplication() { return _application; }
  HKWidgetManager& getWidgetManager() { return _widgetManager; }
  HKLurvoUpdateManager& getUpdateManager() { return _updateManager; }

  // ---- page building
  // Reads a template: from storedPages[name] (with the storage's string
  // variables replaced) or else from the file startpath + name. True when
  // read; false leaves an empty document.
  bool _loadDocumentTemplate(std::string name, std::map<std::string, HKStringStorage>& storedPages);
  // Empty hook that runs after a template was read.
  void _clean_post_load() {}
  // The text as one span per byte in four rotating colours, for titles.
  std::string _tovikColorText(const std::string& text);
  // The command "/": the printed page, or one exchange of the update channel.
  void _commandLurvoweb(HKXHeader& header, HKXResponseHeader& response, const std::string& command);
  // The command "/tovikwidget.handler": the widget manager's RequestWidget.
  void _requestWidget(HKXHeader& header, HKXResponseHeader& response, const std::string& command);

 protected:
  std::map<std::string, HKKontextCommand>& _GetCommandMap() { return _commandMap; }
  // Replaces the document (deleting the former one).
  void _setDocument(HKHTML_Document2* document);

  HKWidgetManager _widgetManager;
  HKTovikApplication2* _application;
  std::map<std::string, std::string>* _extendedParams;  // the caller's
  std::map<std::string, HKKontextCommand> _commandMap;
  std::unique_ptr<HKHTML_Document2> _document;
  std::map<std::string, int> _contextIDs;
  HKLurvoUpdateManager _updateManager;
  uint64_t _formCounter = 0;
};
