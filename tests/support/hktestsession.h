// An application and a session context for tests: the session reads its page
// from a template text, as an application's createNewContext does.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <toviktwo/application/hkhtmlkontextn.h>
#include <toviktwo/application/hktovikapplication2.h>
#include <toviktwo/documents/html/hkdatareader.h>
#include <toviktwo/documents/html/hkhtmldocument.h>

namespace hktest {

// A small page with a button, a text field, a form and a progress holder.
inline const std::string kSessionTemplate =
    "<!DOCTYPE html>\n<html><head><title>Test</title></head><body>"
    "<button id=\"b1\" name=\"b1\">Press</button><p id=\"out\">start</p>"
    "<form id=\"f1\" action=\"/\" method=\"post\"><input name=\"who\" type=\"text\" value=\"\" /></form>"
    "<div id=\"bar\">0</div>"
    "</body></html>";

// A session whose page is read from a text; the text's "[[id]]" stays as it is.
class TestSession : public HKHTMLKontextN {
 public:
  TestSession(HKTovikApplication2* app, const std::string& id, const std::string& page = kSessionTemplate)
      : HKHTMLKontextN(app, id, 0, "", _params) {
    std::map<std::string, HKStringStorage> pages{
        {"page.html", HKStringStorage("page.html", HK_MIME_TYPE_TEXT_HTML, page, false)}};
    _loadDocumentTemplate("page.html", pages);
  }
  ~TestSession() override {
    if (closed != nullptr) ++*closed;
  }
  void _closeContext(HKXHeader&, HKXResponseHeader&, const std::string& command) override {
    closeCommands.push_back(command);
    if (closeLog != nullptr) closeLog->push_back(getMainContextID() + " " + command);
  }
  using HKHTMLKontextN::_GetCommandMap;
  using HKHTMLKontextN::_setDocument;

  std::vector<std::string> closeCommands;
  std::vector<std::string>* closeLog = nullptr;  // outlives the session
  int* closed = nullptr;                         // counts destructions

 private:
  std::map<std::string, std::string> _params;
};

// An application without interfaces whose createNewContext makes, inserts
// and returns a TestSession with a fresh id.
class TestApplication : public HKTovikApplication2 {
 public:
  explicit TestApplication(std::map<std::string, std::string> params = {})
      : HKTovikApplication2(_storage, {}, std::move(params)) {}
  HKHTMLKontextN* createNewContext(const std::string&) override {
    std::string id;
    do id = newID("s");
    while (checkContext(id));
    auto* session = new TestSession(this, id);
    session->insertFormTovikid(id);
    return insertNewContext(session);
  }

 private:
  static inline HKPersistentAppStorage _storage;
};

}  // namespace hktest
