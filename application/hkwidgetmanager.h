// The widget manager: server-side callbacks for elements of a session's page.
//
// The user interface runs in the browser, the logic on the server. The
// manager registers, per element id, one callback function per action (an
// action is the name of an event attribute such as "onclick"), and puts into
// the session's document one hidden form ("tovikwidgetform") and one script
// (id "tovikwidget"). A click runs `tovikwidgethandler(this, 'onclick')` in the
// page, which fills the form and posts it as multipart data to
// "tovikwidget.handler"; the session sends the request to RequestWidget,
// which runs the callback and answers with JavaScript that the page evaluates.
//
// Every operation that changes a widget does two things in step: it changes
// the element in the server's document (so a reload shows the same page) and
// returns the JavaScript that does the same in the live page. Nothing is
// quoted or escaped: a double quote in a value breaks the statement, and
// callers pass texts that fit.
//
// Threads: no lock of its own. Every operation runs inside a request of its
// session, which the application's context lock serialises.
//
// Element lifetime: a registered element knows the manager (SetWidgetManager)
// and tells it from its destructor, so the table never keeps an element that
// is gone, whichever way its document dies.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <string>

#include <toviktwo/documents/html/hkhtmldocument.h>
#include <toviktwo/documents/html/hkhtmlform.h>
#include <toviktwo/xml/hkxmlelement.h>

class HKHTMLKontextN;
class HKXHeader;
class HKXResponseHeader;

// A widget callback: gets the element id and the request, returns JavaScript.
using HKWidgetFunction = std::function<std::string(std::string, HKXHeader&)>;

// What is registered under one element id.
class HKWidgetHandlerSet {
 public:
  HKWidgetHandlerSet() = default;
  HKWidgetHandlerSet(std::string name, HKXMLGenericElement* element)
      : name(std::move(name)), element(element) {}

  std::string name;                         // "tovikdummy" in the dummy set, else the widget id or ""
  HKXMLGenericElement* element = nullptr;   // not owned
  HKXMLGenericElement* lock = nullptr;      // modal cover div, owned by the document
  HKXMLGenericElement* envelope = nullptr;  // modal envelope div, owned by the document
  std::map<std::string, HKWidgetFunction> actions;
};

// A plain form that posts to `action` and carries the session id in a hidden
// "tovikid" field. The fourth argument is accepted and not used.
class HKHTML_CommandFormN1 : public HKHTML_BaseElement2 {
 public:
  HKHTML_CommandFormN1(const std::string& formId, const std::string& action, const std::string& tovikid,
                       const std::string& unused);
};

// The statement that presses the button of a page's HKHTMLReloadPost form, so
// that the page reloads itself by POST with its session id in the form (which
// insertFormTovikid fills). A widget callback returns it to reload the page.
std::string HKReloadPostJS();

class HKWidgetManager : public HKWidgetManager_base {
 public:
  // The texts put into the page; the script begins with a guard that sends
  // an element appended to the document object itself to the body.
  static const std::string kWidgetScript;
  // The hidden widget form, carrying the session id in its "tovikid" field.
  static std::string WidgetFormText(const std::string& tovikid);

  HKWidgetManager();
  HKWidgetManager(const HKWidgetManager&) = delete;
  HKWidgetManager& operator=(const HKWidgetManager&) = delete;
  ~HKWidgetManager() override;

  // Forgets every registration (the modal stack stays).
  virtual void clear();
  // Told by the session when its document is replaced or deleted: forgets
  // the registrations and the document, so that the next registration sets
  // up the new one even if it was allocated at the old one's address.
  void DocumentGone();
  // Forgets the first set that holds `element`; no JavaScript, no change to
  // the document. The element's destructor reaches the overload below.
  virtual void RemoveWidgetObject(HKXMLGenericElement* element);
  // Called by a registered element's destructor: forgets every set holding it.
  void RemoveWidgetObject(HKXMLComplexElement* element) override;
  // Removes the widget (and a modal's cover and envelope) from the table, the
  // document and the live page; returns the removal script ("" for an
  // unknown id) and writes "ret: " and it to standard output.
  virtual std::string RemoveWidgetObject(std::string id, HKHTMLKontextN& context);
  // Registers `handler` for action `action` on the element with that id and
  // adds the hook attribute; returns the script that adds the hook in the live
  // page, or "" when the id is not in the document or options holds "silent".
  virtual std::string AddWidgetObject(std::string id, HKHTMLKontextN& context, std::string action,
                                      HKWidgetFunction handler, std::map<std::string, std::string>& options);
  // The same without the hook: sets options["silent"] = "true" (in the caller's map too).
  virtual std::string AddWidgetObjectSilent(std::string id, HKHTMLKontextN& context, std::string action,
                                            HKWidgetFunction handler,
                                            std::map<std::string, std::string>& options);
  // Puts `element` over the page under a translucent cover; returns the
  // script that adds cover and envelope to the live page ("" when id is
  // empty or element null; a refused element is deleted). Registers no action.
  virtual std::string AddModalWidget(std::string id, HKXMLGenericElement* element, HKHTMLKontextN& context);
  // Answers a posted widget form: 200 with "// TovikWidget handler\n" and the
  // handler's script, or a "// a handler for ... was not found." comment.
  virtual void RequestWidget(HKXHeader& header, HKXResponseHeader& response);
  // Clears the hook attribute (the function stays registered); "" when the
  // id or action is unknown.
  virtual std::string RemoveActionWidgetObject(std::string id, std::string action);
  // Sets an attribute of a registered element here and in the page; "" for an unknown id.
  virtual std::string ChangeWidgetAttribute(std::string id, std::string attribute, std::string value);
  // Replaces the content of a registered element by `html`; "" for an unknown id.
  // A line end in `html` makes a script that does not parse.
  virtual std::string ChangeWidgetHTML(std::string id, std::string html);

  // ---- inspection (for applications and tests)
  const std::map<std::string, HKWidgetHandlerSet>& Handlers() const { return _handlers; }
  size_t ModalDepth() const { return _modalStack.size(); }
  HKHTML_Document2* Document() const { return _document; }
  const std::string& ContextID() const { return _contextID; }

 protected:
  // The set under id, or the dummy set.
  HKWidgetHandlerSet& _FindWidgetObject(const std::string& id);
  // The first set holding element, or the dummy set.
  HKWidgetHandlerSet& _FindWidgetObject(HKXMLGenericElement* element);
  void _InsertScriptHandler();
  void _RemoveOldObjects();
  // A context with another document gets a clean manager for it.
  void _SetUpForDocument(HKHTMLKontextN& context);

 private:
  HKWidgetHandlerSet _dummy{"tovikdummy", nullptr};
  std::map<std::string, HKWidgetHandlerSet> _handlers;
  HKHTML_Document2* _document = nullptr;  // not owned
  std::string _contextID;
  std::deque<HKXMLGenericElement*> _modalStack;  // only its size counts
};
