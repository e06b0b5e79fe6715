#include <toviktwo/application/hklurvoupdatemanager.h>

#include <cstdio>
#include <sstream>

#include <toviktwo/application/hkscenario.h>
#include <toviktwo/transport/hkxheader.h>

namespace {

const char* const kNoReference = "_none_";
const char* const kDefaultDelay = "500";
constexpr size_t kDelayTextSize = 32;

// The fixed part of the update script. Its length is part of the contract
// (2290 characters); pinned by tests/application/test_hklurvoupdatemanager.cpp.
const char* const kLurvoScript =
    "// The update channel: asks the server for news under its reference, puts\n"
    "// each reported element in place of the one with its id on the page\n"
    "(function (DOMParser) {\n"
    "  \"use strict\";\n"
    "  var proto = DOMParser.prototype, nativeParse = proto.parseFromString;\n"
    "  try {\n"
    "    if ((new DOMParser()).parseFromString(\"\", \"text/html\")) {\n"
    "      return;\n"
    "    }\n"
    "  } catch (ex) {}\n"
    "  proto.parseFromString = function (markup, type) {\n"
    "    if (/^\\s*text\\/html\\s*(?:;|$)/i.test(type)) {\n"
    "      var doc = document.implementation.createHTMLDocument(\"\");\n"
    "      if (markup.toLowerCase().indexOf(\"<!doctype\") > -1) {\n"
    "        doc.documentElement.innerHTML = markup;\n"
    "      } else {\n"
    "        doc.body.innerHTML = markup;\n"
    "      }\n"
    "      return doc;\n"
    "    } else {\n"
    "      return nativeParse.apply(this, arguments);\n"
    "    }\n"
    "  };\n"
    "}(DOMParser));\n"
    "\n"
    "var xmlhttp_tu = null;\n"
    "var localtimeout = null;\n"
    "if (window.XMLHttpRequest) {\n"
    "  xmlhttp_tu = new XMLHttpRequest();\n"
    "} else {\n"
    "  xmlhttp_tu = new ActiveXObject(\"Microsoft.XMLHTTP\");\n"
    "}\n"
    "xmlhttp_tu.onreadystatechange = function () {\n"
    "  if (xmlhttp_tu.readyState == 4 && (xmlhttp_tu.status == 200 || xmlhttp_tu.status == 201)) {\n"
    "    var parser = new DOMParser();\n"
    "    var answer = parser.parseFromString(xmlhttp_tu.responseText, \"text/html\");\n"
    "    var novidade = answer.getElementById(\"novidade\");\n"
    "    if (novidade) {\n"
    "      try {\n"
    "        var refs = novidade.getAttribute(\"lurvoref\");\n"
    "        if (localtimeout) {\n"
    "          clearTimeout(localtimeout);\n"
    "          localtimeout = null;\n"
    "        }\n"
    "        if (novidade.getAttribute(\"lurvofim\") != \"sim\") {\n"
    "          localtimeout = setTimeout(lurvoupdate, novidade.getAttribute(\"lurvoupdatetime\"), refs);\n"
    "        }\n"
    "      } catch (ex) {\n"
    "        alert(ex);\n"
    "      }\n"
    "      var childs = novidade.childNodes;\n"
    "      for (var i = 0; i < childs.length; i++) {\n"
    "        if (childs[i].tagName == \"DIV\") {\n"
    "          var target = document.getElementById(childs[i].getAttribute(\"id\"));\n"
    "          if (target) {\n"
    "            target.innerHTML = childs[i].innerHTML;\n"
    "          }\n"
    "        }\n"
    "      }\n"
    "    }\n"
    "  }\n"
    "};\n"
    "\n"
    "function lurvoupdate(reference) {\n"
    "  var data = new FormData();\n"
    "  data.append(\"tovikcommand\", \"lurvoupdate\");\n"
    "  data.append(\"reference\", reference);\n"
    "  data.append(\"tovikid\", tovikid);\n"
    "  xmlhttp_tu.open(\"POST\", lurvoupdatepagename, true);\n"
    "  xmlhttp_tu.send(data);\n"
    "}\n";

std::string printed(const HKXMLComplexElement& element) {
  std::ostringstream out;
  element.print(out);
  return out.str();
}

}  // namespace

HKLurvoUpdateManager::HKLurvoUpdateManager() = default;

HKLurvoUpdateManager::~HKLurvoUpdateManager() {
  // Not under the lock: a scenario's destructor waits for its actions, and
  // those may still report through this manager.
  for (auto& [id, scenario] : _scenarios) delete scenario;
  _scenarios.clear();
  std::lock_guard<std::recursive_mutex> guard(_lock);
  for (auto& [reference, response] : _responses) delete response.document;
  _responses.clear();
}

// ---- one exchange

std::string HKLurvoUpdateManager::lurvoUpdateResponse(HKXHeader& header, const std::string& field) {
  std::string reference = kNoReference;
  header.getFormString(field, reference);
  std::lock_guard<std::recursive_mutex> guard(_lock);
  Response& response = _responses[reference];
  delete response.document;
  response.document = new HKHTML_Document2();
  HKHTML_div2* novelty = response.document->div("");
  novelty->ReplaceAttributeContent("id", std::string("novidade"));
  novelty->ReplaceAttributeContent("lurvofim", std::string("sim"));
  novelty->ReplaceAttributeContent("lurvoupdatetime", std::string(kDefaultDelay));
  novelty->ReplaceAttributeContent("lurvoref", std::string(kNoReference));
  response.novelty = novelty;
  return reference;
}

bool HKLurvoUpdateManager::lurvoUpdateResponseValid(const std::string& reference) {
  std::lock_guard<std::recursive_mutex> guard(_lock);
  if (_references.count(reference) == 0) return false;
  auto found = _responses.find(reference);
  if (found != _responses.end()) found->second.novelty->ReplaceAttributeContent("lurvoref", reference);
  return true;
}

long HKLurvoUpdateManager::doResponse(const std::string& reference) {
  std::lock_guard<std::recursive_mutex> guard(_lock);
  auto found = _references.find(reference);
  if (found == _references.end()) return -2;
  // A copy: the function may release its own reference.
  HKLurvoUpdateFunction update = found->second;
  return update(reference);
}

void HKLurvoUpdateManager::repeatLurvoUpdateResponse(const std::string& reference, long delay) {
  std::lock_guard<std::recursive_mutex> guard(_lock);
  auto found = _responses.find(reference);
  if (found == _responses.end()) return;
  HKXMLGenericElement* novelty = found->second.novelty;
  if (delay < 1) {
    novelty->ReplaceAttributeContent("lurvofim", std::string("sim"));
    _references.erase(reference);
    return;
  }
  char text[kDelayTextSize];
  std::snprintf(text, sizeof text, "%ld", delay);
  novelty->ReplaceAttributeContent("lurvofim", std::string("nao"));
  novelty->ReplaceAttributeContent("lurvoupdatetime", std::string(text));
}

std::string HKLurvoUpdateManager::getBufferLurvoUpdateResponse(const std::string& reference) {
  std::lock_guard<std::recursive_mutex> guard(_lock);
  auto found = _responses.find(reference);
  if (found == _responses.end()) return "";
  std::string text = found->second.document->GetBuffer();
  delete found->second.document;
  _responses.erase(found);
  return text;
}

// ---- reporting and registering

long HKLurvoUpdateManager::add2LurvoUpdateResponse(const std::string& reference, const std::string& id,
                                                   HKXMLGenericElement* element) {
  std::lock_guard<std::recursive_mutex> guard(_lock);
  auto found = _responses.find(reference);
  if (found == _responses.end()) return 0;
  auto* update = new HKHTML_div2(id);
  update->PushBackChildElement(new HKHTML_text2(element != nullptr ? printed(*element) : std::string()));
  found->second.novelty->PushBackChildElement(update);
  auto scenarioID = _scenarioOfReference.find(reference);
  auto scenario =
      scenarioID == _scenarioOfReference.end() ? _scenarios.end() : _scenarios.find(scenarioID->second);
  if (scenario == _scenarios.end()) {
    delete element;
    return 0;
  }
  scenario->second->addResponse(id, element);
  return 0;
}

std::string HKLurvoUpdateManager::registerReference(const std::string& scenarioId,
                                                    const std::string& reference,
                                                    HKLurvoUpdateFunction updateFunction) {
  std::lock_guard<std::recursive_mutex> guard(_lock);
  _references[reference] = std::move(updateFunction);
  _scenarioOfReference[reference] = scenarioId;
  return reference;
}

void HKLurvoUpdateManager::releaseReference(const std::string& reference) {
  std::lock_guard<std::recursive_mutex> guard(_lock);
  if (_references.erase(reference) != 0) _scenarioOfReference.erase(reference);
}

std::string HKLurvoUpdateManager::addScenario(HKScenario* scenario) {
  if (scenario == nullptr) return "";
  std::string id = scenario->getScenarioID();
  HKScenario*& slot = _scenarios[id];
  if (slot != scenario) delete slot;
  slot = scenario;
  return id;
}

bool HKLurvoUpdateManager::reproduceScenario(const std::string& scenarioId, HKXHeader& header,
                                             HKXResponseHeader& response, std::string command) {
  auto found = _scenarios.find(scenarioId);
  if (found == _scenarios.end()) return false;
  return found->second->reproduce(header, response, std::move(command));
}

// ---- inspection

bool HKLurvoUpdateManager::hasReference(const std::string& reference) {
  std::lock_guard<std::recursive_mutex> guard(_lock);
  return _references.count(reference) != 0;
}

size_t HKLurvoUpdateManager::countResponses() {
  std::lock_guard<std::recursive_mutex> guard(_lock);
  return _responses.size();
}

size_t HKLurvoUpdateManager::countScenarios() { return _scenarios.size(); }

// ---- page side

std::string hkcommonLurvoJS(const std::string& tovikid, const std::string& pagename) {
  return "tovikid = \"" + tovikid + "\";\nlurvoupdatepagename = \"" + pagename + "\";\n\n" + kLurvoScript;
}

void addLurvoUpdateScript(HKHTML_Document2& document, const std::string& tovikid) {
  document.AddToHead(new HKJavaScriptHandler(hkcommonLurvoJS(tovikid, "/"), true));
}

void addLurvoUpdate(HKHTML_Document2& document, const std::string& tovikid, const std::string& reference) {
  addLurvoUpdateScript(document, tovikid);
  HKHTML_script2* call = document.script("", "lurvoupdate(\"" + reference + "\");");
  call->ReplaceAttributeContent("async", std::string("yes"));
}

std::string lurvoUpdateCallJS(const std::string& reference) {
  return "lurvoupdate(\"" + reference + "\");\n";
}
