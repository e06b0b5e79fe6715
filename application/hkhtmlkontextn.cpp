#include <toviktwo/application/hkhtmlkontextn.h>

#include <list>

#include <toviktwo/application/hktovikapplication2.h>
#include <toviktwo/documents/html/hkdatareader.h>
#include <toviktwo/documents/html/hkhtmldocument.h>
#include <toviktwo/documents/html/hkhtmlform.h>
#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/transport/hkxheader.h>

namespace {

const char* const kUpdateCommand = "lurvoupdate";
const char* const kUpdateField = "reference";
const char* const kColours[] = {"083cc1", "045c1e", "ad6d14", "7b3b81"};
constexpr size_t kColourCount = sizeof kColours / sizeof kColours[0];

// Sets "value" of every element below form named `name`, or appends a hidden
// input with that name and value when there is none.
void setOrAddField(HKXMLGenericElement& form, const std::string& name, const std::string& value) {
  std::list<HKXMLGenericElement*> fields;
  form.FindObjects("name", name, fields);
  fields.remove(&form);
  if (fields.empty()) {
    form.PushBackChildElement(new HKHTML_input2_hidden("", name, value));
    return;
  }
  for (HKXMLGenericElement* field : fields) field->ReplaceAttributeContent("value", value);
}

}  // namespace

HKHTMLKontextN::HKHTMLKontextN(HKTovikApplication2* application, const std::string& mainContextID,
                               unsigned int, std::string, std::map<std::string, std::string>& extendedParams)
    : _application(application), _extendedParams(&extendedParams) {
  if (_application == nullptr) throw HKException("App must be defined, but is nullptr", __LINE__, "src");
  SetMainContextID(mainContextID);
  _commandMap["/"] = [this](HKXHeader& h, HKXResponseHeader& r, const std::string& c) {
    _commandLurvoweb(h, r, c);
  };
  _commandMap["/tovikwidget.handler"] = [this](HKXHeader& h, HKXResponseHeader& r, const std::string& c) {
    _requestWidget(h, r, c);
  };
}

HKHTMLKontextN::~HKHTMLKontextN() = default;

// ---- hooks and page parts

void HKHTMLKontextN::_reloadStatusPageHTML(std::string) {}

HKHTML_body2* HKHTMLKontextN::_hk_kontextbody() { return _document->Html()->theBody(); }

HKHTML_head2* HKHTMLKontextN::_hk_kontexthead() { return _document->Html()->theHead(); }

void HKHTMLKontextN::_closeContext(HKXHeader&, HKXResponseHeader&, const std::string&) {}

std::string HKHTMLKontextN::_getBuffer() { return _document ? _document->GetBuffer() : std::string(); }

bool HKHTMLKontextN::_connect_element_method_POST(std::string elementName, HKEventAttribute) {
  if (!_document) return false;
  HKXMLGenericElement* element = _document->FindObject("name", elementName);
  if (element == nullptr) return false;
  const std::string formID = "formcommand" + std::to_string(_formCounter++);
  _hk_kontextbody()->PushBackChildElement(
      new HKHTML_CommandFormN1(formID, elementName, getMainContextID(), elementName));
  // Whatever the event, the attribute is "onclick"; pinned by tests/application/test_hkhtmlkontextn.cpp.
  element->ReplaceAttributeContent("onclick", "javascript:document.forms['" + formID + "'].submit();");
  return true;
}

// ---- identity

HKHTML_Document2* HKHTMLKontextN::getTheDocument() { return _document.get(); }

void HKHTMLKontextN::_setDocument(HKHTML_Document2* document) {
  _widgetManager.DocumentGone();
  _document.reset(document);
}

void HKHTMLKontextN::SetMainContextID(const std::string& id) {
  if (id.empty()) return;
  _contextIDs[id] = 0;
}

std::string HKHTMLKontextN::getMainContextID() {
  for (const auto& [id, mark] : _contextIDs)
    if (mark == 0) return id;
  return "";
}

std::map<std::string, int> HKHTMLKontextN::getContextIDs() { return _contextIDs; }

void HKHTMLKontextN::insertFormTovikid(const std::string& id) {
  if (!_document) throw HKException("the document can't be a nullptr", __LINE__, "src");
  _hk_kontexthead()->PushBackChildElement(new HKHTML_script2("", "tovikid=\"" + id + "\";"));
  std::list<HKXMLGenericElement*> forms;
  _document->findObjects("form", forms, -1);
  for (HKXMLGenericElement* form : forms) {
    setOrAddField(*form, "tovikid", id);
    setOrAddField(*form, "tovikgeometry", "empty");
  }
}

void HKHTMLKontextN::manageRequest(HKXHeader& header, HKXResponseHeader& response,
                                   const std::string& command) {
  const std::string& key = header.getResetURLPath().empty() ? header.getURLPath() : header.getResetURLPath();
  auto found = _commandMap.find(key);
  if (found == _commandMap.end()) return;
  found->second(header, response, command);
}

HKGavetaScheduler2& HKHTMLKontextN::getScheduler() {
  if (_application == nullptr) throw HKException("app must be set", __LINE__, "src");
  return _application->getScheduler();
}

// ---- page building

bool HKHTMLKontextN::_loadDocumentTemplate(std::string name,
                                           std::map<std::string, HKStringStorage>& storedPages) {
  try {
    _setDocument(new HKHTML_Document2(0));
    HKDataReader reader;
    bool read = false;
    auto stored = storedPages.find(name);
    if (stored != storedPages.end()) {
      std::string text = stored->second.str();
      if (_application != nullptr) _application->GetAppstorage().ReplaceStringVariables(text, "");
      read = reader.ReadHTMLDocumentFromString(text, *_document);
    } else {
      std::string path = DataPath(HKPathnameCorrection((*_extendedParams)["startpath"]), -1) + name;
      read = reader.ReadHTMLDocument(path, *_document);
    }
    // A template that could not be read counts as a failure: the reader
    // leaves its message on the page, which must not reach the user.
    if (!read) throw HKException("template can't be read", __LINE__, "src");
    _clean_post_load();
    return true;
  } catch (...) {
    _setDocument(new HKHTML_Document2(0));
    return false;
  }
}

std::string HKHTMLKontextN::_tovikColorText(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    out += "<span style=\"color : #";
    out += kColours[i % kColourCount];
    out += "; font-style : oblique;\">" + HTMLencode(std::string(1, text[i]), true) + "</span>\n";
  }
  return out;
}

void HKHTMLKontextN::_commandLurvoweb(HKXHeader& header, HKXResponseHeader& response,
                                      const std::string& command) {
  if (command != kUpdateCommand) {
    response.setHTTPResponse200(_getBuffer());
    return;
  }
  std::string reference = _updateManager.lurvoUpdateResponse(header, kUpdateField);
  if (_updateManager.lurvoUpdateResponseValid(reference)) {
    long delay = _updateManager.doResponse(reference);
    _updateManager.repeatLurvoUpdateResponse(reference, delay);
  }
  response.setHTTPResponse200(_updateManager.getBufferLurvoUpdateResponse(reference));
}

void HKHTMLKontextN::_requestWidget(HKXHeader& header, HKXResponseHeader& response, const std::string&) {
  _widgetManager.RequestWidget(header, response);
}
