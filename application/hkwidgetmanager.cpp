#include <toviktwo/application/hkwidgetmanager.h>

#include <iostream>

#include <toviktwo/application/hkhtmlkontextn.h>
#include <toviktwo/transport/hkxheader.h>

namespace {

constexpr int kModalStep = 5;
constexpr int kModalLockBase = 1000;
constexpr int kModalEnvelopeBase = 1001;
const char* const kDummyName = "tovikdummy";
const char* const kFieldDefault = "nix";

// The script that removes the element with this id from the live page.
std::string removalText(const std::string& id) {
  return "{\nvar elem = document.getElementById(\"" + id + "\");\nelem.parentElement.removeChild(elem);\n}\n";
}

std::string setAttributeText(const std::string& id, const std::string& attribute, const std::string& value) {
  return "document.getElementById(\"" + id + "\").setAttribute(\"" + attribute + "\",\"" + value + "\");\n";
}

std::string hookText(const std::string& action) { return "tovikwidgethandler(this, '" + action + "');"; }

// Removes the element with this id from wherever it stands below `root`.
// An empty id removes nothing: elements without an id answer to "" and the
// head or body would go.
void removeByID(HKXMLGenericElement* root, const std::string& id) {
  if (id.empty()) return;
  HKXMLGenericElement* element = root->FindObject("id", id);
  if (element == nullptr || element == root) return;
  auto* parent = dynamic_cast<HKXMLGenericElement*>(element->getParent());
  if (parent != nullptr) parent->RemoveSubelement("id", id);
}

std::string formField(HKXHeader& header, const std::string& name) {
  std::string value = kFieldDefault;
  header.getFormString(name, value);
  return value;
}

}  // namespace

// The guard comes first: a widget script made by AsJavaScriptAdd ends with
// document.appendChild(newelem), which browsers refuse on a document that
// already has its root element; such an element goes to the body instead.
// Pinned by tests/application/test_hkwidgetmanager.cpp and the browser test.
const std::string HKWidgetManager::kWidgetScript =
    "if (!document.tovikAppendGuard) {\n"
    "  document.tovikAppendGuard = true;\n"
    "  document.tovikDocumentAppend = document.appendChild;\n"
    "  document.appendChild = function (elem) {\n"
    "    if (document.body) return document.body.appendChild(elem);\n"
    "    return document.tovikDocumentAppend.call(document, elem);\n"
    "  };\n"
    "}\n"
    "function tovikwidgethandlerP1(theobject, theaction, param1) {\n"
    "  var theform = document.getElementById(\"tovikwidgetform\");\n"
    "  document.getElementById(\"tovikactionfrm\").setAttribute(\"value\", theaction);\n"
    "  document.getElementById(\"tovikactionparam1frm\").setAttribute(\"value\", param1);\n"
    "  document.getElementById(\"tovikactionelementfrm\").setAttribute(\"value\", "
    "theobject.getAttribute(\"id\"));\n"
    "  toviksubmit(theform);\n"
    "}\n"
    "function tovikwidgethandler(theobject, theaction) {\n"
    "  tovikwidgethandlerP1(theobject, theaction, \"none\");\n"
    "}\n"
    "function tovikwidgetsuccess() {\n"
    "  var tovikanswer = this.responseText;\n"
    "  var tovikat = tovikanswer.indexOf(\"<!\");\n"
    "  if (tovikat < 0 || tovikat > 10) eval(tovikanswer);\n"
    "}\n"
    "function toviksubmit(theform) {\n"
    "  if (!theform.action) return;\n"
    "  var tovikrequest = new XMLHttpRequest();\n"
    "  tovikrequest.onload = tovikwidgetsuccess;\n"
    "  if (theform.method.toLowerCase() == \"post\") {\n"
    "    tovikrequest.open(\"post\", theform.action, true);\n"
    "    tovikrequest.send(new FormData(theform));\n"
    "  }\n"
    "}";

std::string HKWidgetManager::WidgetFormText(const std::string& tovikid) {
  return "<form action=\"tovikwidget.handler\" id=\"tovikwidgetform\" method=\"post\" "
         "enctype=\"multipart/form-data\" onsubmit=\"return false\">\n"
         "<input name=\"tovikid\" type=\"hidden\" value=\"" +
         tovikid +
         "\" />\n"
         "<input id=\"tovikactionfrm\" name=\"tovikaction\" type=\"hidden\" value=\"none\" />\n"
         "<input id=\"tovikactionelementfrm\" name=\"tovikactionelement\" type=\"hidden\" value=\"none\" />\n"
         "<input id=\"tovikactionparam1frm\" name=\"tovikactionparam1\" type=\"hidden\" value=\"none\" />\n"
         "</form>\n";
}

std::string HKReloadPostJS() { return "document.getElementById(\"tovikreloadbutton\").click();\n"; }

// ---- HKHTML_CommandFormN1

HKHTML_CommandFormN1::HKHTML_CommandFormN1(const std::string& formId, const std::string& action,
                                           const std::string& tovikid, const std::string&)
    : HKHTML_BaseElement2("form", false, false) {
  setID(formId);
  ReplaceAttributeContent("method", std::string("POST"));
  ReplaceAttributeContent("action", action);
  PushBackChildElement(new HKHTML_input2_hidden("", "tovikid", tovikid));
}

// ---- HKWidgetManager: setting up

HKWidgetManager::HKWidgetManager() = default;

HKWidgetManager::~HKWidgetManager() { _RemoveOldObjects(); }

void HKWidgetManager::clear() { _RemoveOldObjects(); }

void HKWidgetManager::DocumentGone() {
  _RemoveOldObjects();
  _document = nullptr;
}

void HKWidgetManager::_RemoveOldObjects() {
  for (auto& [id, set] : _handlers)
    if (set.element != nullptr) set.element->SetWidgetManager(nullptr);
  _handlers.clear();
}

void HKWidgetManager::_SetUpForDocument(HKHTMLKontextN& context) {
  if (context.getTheDocument() == _document) return;
  _contextID = context.getMainContextID();
  _RemoveOldObjects();
  _document = context.getTheDocument();
  _InsertScriptHandler();
}

void HKWidgetManager::_InsertScriptHandler() {
  if (_document == nullptr || _document->FindObject("id", "tovikwidget") != nullptr) return;
  auto* script = new HKHTML_script2("", kWidgetScript);
  *script << std::string("id='tovikwidget'");
  _document->Html()->theHead()->PushBackChildElement(script);
  _document->Html()->theBody()->PushBackChildElement(new HKHTML_text2(WidgetFormText(_contextID)));
}

// ---- HKWidgetManager: registering

std::string HKWidgetManager::AddWidgetObject(std::string id, HKHTMLKontextN& context, std::string action,
                                             HKWidgetFunction handler,
                                             std::map<std::string, std::string>& options) {
  _SetUpForDocument(context);
  if (_document == nullptr || id.empty()) return "";
  HKXMLGenericElement* element = _document->FindObject("id", id);
  if (element == nullptr) return "";
  auto found = _handlers.find(id);
  if (found == _handlers.end()) {
    HKWidgetHandlerSet set("", element);
    set.actions[action] = std::move(handler);
    _handlers[id] = std::move(set);
  } else {
    found->second.element = element;
    found->second.actions[action] = std::move(handler);
  }
  element->SetWidgetManager(this);
  if (options.count("silent") != 0) return "";
  *element << (action + "=\"" + hookText(action) + "\"");
  return setAttributeText(id, action, hookText(action));
}

std::string HKWidgetManager::AddWidgetObjectSilent(std::string id, HKHTMLKontextN& context,
                                                   std::string action, HKWidgetFunction handler,
                                                   std::map<std::string, std::string>& options) {
  options["silent"] = "true";
  return AddWidgetObject(std::move(id), context, std::move(action), std::move(handler), options);
}

std::string HKWidgetManager::AddModalWidget(std::string id, HKXMLGenericElement* element,
                                            HKHTMLKontextN& context) {
  _SetUpForDocument(context);
  if (id.empty() || element == nullptr || _document == nullptr) {
    delete element;  // handed over, so owned even when refused
    return "";
  }
  HKWidgetHandlerSet set(id, element);
  const int depth = static_cast<int>(_modalStack.size());
  const std::string z1 = std::to_string(kModalStep * depth + kModalLockBase);
  const std::string z2 = std::to_string(kModalStep * depth + kModalEnvelopeBase);
  HKHTML_body2* body = _document->Html()->theBody();

  auto* lock = new HKHTML_div2("modallock" + z1);
  *lock
      << ("style='position:fixed; top:0; left:0; width:100%; height:100%; background-color:green; "
          "opacity:0.8; z-index:" +
          z1 + ";'");
  std::string script = lock->AsJavaScriptAdd();
  body->PushBackChildElement(lock);
  set.lock = lock;

  auto* envelope = new HKHTML_div2("modalenvelope" + z2);
  *envelope << ("style='position:fixed; transform: translate(-50%, -50%); top:50%; left:50%; z-index:" + z2 +
                ";'");
  envelope->PushBackChildElement(element);
  script += envelope->AsJavaScriptAdd();
  body->PushBackChildElement(envelope);
  set.envelope = envelope;

  element->SetWidgetManager(this);
  _modalStack.push_back(element);
  _handlers[id] = std::move(set);
  return script;
}

// ---- HKWidgetManager: removing

void HKWidgetManager::RemoveWidgetObject(HKXMLGenericElement* element) {
  for (auto it = _handlers.begin(); it != _handlers.end(); ++it) {
    if (it->second.element == element) {
      _handlers.erase(it);
      return;
    }
  }
}

void HKWidgetManager::RemoveWidgetObject(HKXMLComplexElement* element) {
  for (auto it = _handlers.begin(); it != _handlers.end();) {
    if (it->second.element == element)
      it = _handlers.erase(it);
    else
      ++it;
  }
}

std::string HKWidgetManager::RemoveWidgetObject(std::string id, HKHTMLKontextN&) {
  std::string result;
  auto found = _handlers.find(id);
  if (found != _handlers.end()) {
    HKWidgetHandlerSet set = found->second;
    std::string lockID, envelopeID;
    result += removalText(id);
    if (set.lock != nullptr) {
      lockID = set.lock->getAttributeText("id", "");
      result += removalText(lockID);
    }
    if (set.envelope != nullptr) {
      envelopeID = set.envelope->getAttributeText("id", "");
      result += removalText(envelopeID);
      if (!_modalStack.empty()) _modalStack.pop_back();
    }
    RemoveWidgetObject(set.element);
    if (_document != nullptr) {
      HKHTML_html2* html = _document->Html();
      removeByID(html, id);
      removeByID(html, lockID);
      removeByID(html, envelopeID);
    }
  }
  // Required console output; pinned by tests/application/test_hkwidgetmanager.cpp.
  std::cout << "ret: " << result << std::endl;
  return result;
}

std::string HKWidgetManager::RemoveActionWidgetObject(std::string id, std::string action) {
  auto found = _handlers.find(id);
  if (found == _handlers.end() || found->second.actions.count(action) == 0 ||
      found->second.element == nullptr)
    return "";
  found->second.element->ReplaceAttributeContent(action, std::string());
  return setAttributeText(id, action, "");
}

// ---- HKWidgetManager: changing

HKWidgetHandlerSet& HKWidgetManager::_FindWidgetObject(const std::string& id) {
  auto found = _handlers.find(id);
  return found == _handlers.end() ? _dummy : found->second;
}

HKWidgetHandlerSet& HKWidgetManager::_FindWidgetObject(HKXMLGenericElement* element) {
  for (auto& [id, set] : _handlers)
    if (set.element == element) return set;
  return _dummy;
}

std::string HKWidgetManager::ChangeWidgetAttribute(std::string id, std::string attribute, std::string value) {
  HKWidgetHandlerSet& set = _FindWidgetObject(id);
  if (set.name == kDummyName || set.element == nullptr) return "";
  set.element->ReplaceAttributeContent(attribute, value);
  return setAttributeText(id, attribute, value);
}

std::string HKWidgetManager::ChangeWidgetHTML(std::string id, std::string html) {
  HKWidgetHandlerSet& set = _FindWidgetObject(id);
  if (set.name == kDummyName || set.element == nullptr) return "";
  set.element->RemoveSubelements();
  set.element->PushBackChildElement(new HKHTML_text2(html));
  return "document.getElementById(\"" + id + "\").innerHTML=\"" + html + "\";\n";
}

// ---- HKWidgetManager: answering

void HKWidgetManager::RequestWidget(HKXHeader& header, HKXResponseHeader& response) {
  const std::string action = formField(header, "tovikaction");
  const std::string elementID = formField(header, "tovikactionelement");
  const std::string param1 = formField(header, "tovikactionparam1");
  // Required console output; pinned by tests/application/test_hkwidgetmanager.cpp.
  std::cout << "content: " << action << std::endl;
  std::cout << "content1: " << elementID << std::endl;
  std::cout << "content2: " << param1 << std::endl;
  std::string answer = "// TovikWidget handler\n";
  HKWidgetHandlerSet& set = _FindWidgetObject(elementID);
  auto function = set.actions.find(action);
  if (set.name != kDummyName && function != set.actions.end()) {
    // A copy: the handler may remove its own widget, and with it this entry.
    HKWidgetFunction handler = function->second;
    answer += handler(elementID, header);
  } else
    answer += "// a handler for " + elementID + "/" + action + " was not found.\n";
  response.setHTTPResponse200(answer);
}
