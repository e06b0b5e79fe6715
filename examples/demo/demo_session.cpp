// The demo's session page, as a tutorial: read top to bottom to build your own.
//
// 1. A browser asks for "/" (the application parameter _app_context_commandurl)
//    without a session id. The library calls DemoApplication::createNewContext,
//    which builds a DemoSession: the page is read from templates/session.html
//    and lives on the server for as long as the session does.
// 2. The constructor registers widget callbacks. Registering an element puts
//    the widget script and the hidden widget form into the page and a hook
//    such as onclick="tovikwidgethandler(this, 'onclick');" on the element.
// 3. A click posts the widget form to "/tovikwidget.handler" with the session
//    id; the library finds the session and calls the callback. What the
//    callback returns is JavaScript that the page runs. ChangeWidgetHTML and
//    friends change the server's copy of the page AND return that JavaScript,
//    so a reload shows the same page.
// 4. Long work runs on the scheduler through an HKScenario; the page polls the
//    update channel and the update function reports progress.
#include "demo_session.h"

#include <chrono>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>

namespace {

constexpr int kTaskSteps = 20;
constexpr auto kTaskStepTime = std::chrono::milliseconds(100);
constexpr long kPollDelayMs = 200;

// The library puts texts into JavaScript strings as they are: a quote or a
// backslash typed by the user must not reach the script unescaped.
std::string fitForPage(const std::string& text) {
  std::string out;
  for (char c : HTMLencode(text, false)) out += c == '\\' ? std::string("&#92;") : std::string(1, c);
  return out.empty() ? std::string("(empty)") : out;
}

// Keeps the session id in the address bar, so that a reload ("/?tovikid=...")
// comes back to this session instead of opening a new one.
const char* const kKeepSessionInURL =
    "if (window.history && location.search.indexOf('tovikid=') == -1)\n"
    "  history.replaceState(null, '', '/?tovikid=' + encodeURIComponent(tovikid));";

// The style sheet without the blanks around braces and semicolons and
// between rules: the library's CSS reader takes a rule's blanks only within
// its declarations.
std::string compactStyleSheet(const std::string& path) {
  std::ifstream in(path);
  std::string out, line;
  auto sticky = [](char c) { return c == '{' || c == '}' || c == ';'; };
  while (std::getline(in, line)) {
    for (size_t i = 0; i < line.size(); ++i) {
      const char c = line[i];
      const bool blank = c == ' ' || c == '\t';
      const bool nextSticky = i + 1 < line.size() && sticky(line[i + 1]);
      if (blank && (out.empty() || sticky(out.back()) || out.back() == ' ' || nextSticky)) continue;
      out += c;
    }
    while (!out.empty() && out.back() == ' ') out.pop_back();
  }
  return out;
}

}  // namespace

// ---- the session

DemoSession::DemoSession(HKTovikApplication2* app, const std::string& id,
                         std::map<std::string, std::string>& params, const std::string& styleSheet)
    : HKHTMLKontextN(app, id, 0, "", params) {
  std::map<std::string, HKStringStorage> noStoredPages;  // read from "startpath" instead
  if (!_loadDocumentTemplate("session.html", noStoredPages))
    getTheDocument()->p()->PushBackChildElement(
        new HKHTML_text2("The template session.html could not be read."));
  getTheDocument()->AddToHead(new HKHTML_style2("", styleSheet));
  insertFormTovikid(id);                        // the page's forms and scripts carry the id
  addLurvoUpdateScript(*getTheDocument(), id);  // the update channel's script, for the long task
  getTheDocument()->script("", kKeepSessionInURL);

  for (const char* id : {"count", "echo", "dialogstate", "sessionid"}) watch(id);
  getWidgetManager().ChangeWidgetHTML("sessionid", id);
  onClick("countbutton", &DemoSession::onCount);
  onClick("dialogbutton", &DemoSession::onOpenDialog);
  onClick("taskbutton", &DemoSession::onStartTask);
  // The echo button calls tovikwidgethandlerP1 itself (see the template) to
  // send the field's text as parameter: it is registered without a hook.
  getWidgetManager().AddWidgetObjectSilent(
      "echobutton", *this, "onclick", [this](std::string e, HKXHeader& r) { return onEcho(e, r); }, _options);
  _options.erase("silent");
}

void DemoSession::watch(const std::string& id) {
  std::map<std::string, std::string> silent{{"silent", "true"}};
  getWidgetManager().AddWidgetObject(
      id, *this, "none", [](std::string, HKXHeader&) { return std::string(); }, silent);
}

std::string DemoSession::onClick(const std::string& id,
                                 std::string (DemoSession::*callback)(std::string, HKXHeader&)) {
  return getWidgetManager().AddWidgetObject(
      id, *this, "onclick", [this, callback](std::string e, HKXHeader& r) { return (this->*callback)(e, r); },
      _options);
}

// ---- the callbacks

std::string DemoSession::onCount(std::string, HKXHeader&) {
  return getWidgetManager().ChangeWidgetHTML("count", std::to_string(++_clicks));
}

std::string DemoSession::onEcho(std::string, HKXHeader& request) {
  std::string text;
  request.getFormString("tovikactionparam1", text);  // the parameter of tovikwidgethandlerP1
  return getWidgetManager().ChangeWidgetHTML("echo", "The server read: <b>" + fitForPage(text) + "</b>");
}

std::string DemoSession::onOpenDialog(std::string, HKXHeader&) {
  if (getWidgetManager().Handlers().count("dialog") != 0) return "";  // already open
  auto* dialog = new HKHTML_div2("dialog");
  dialog->cssClass() = std::string("dialog");
  HKXMLGenericElement* text = nullptr;
  HKDataReader().ReadHTMLElement(
      "<div><h3>A modal dialog</h3><p class=\"hint\">The page under it is locked until you close it.</p>"
      "<button id=\"dialogclose\" class=\"btn primary\">Close</button></div>",
      text);
  if (text != nullptr) dialog->PushBackChildElement(text);
  std::string script = getWidgetManager().AddModalWidget("dialog", dialog, *this);
  script += onClick("dialogclose", &DemoSession::onCloseDialog);  // ids inside the dialog, after it is added
  return script + getWidgetManager().ChangeWidgetHTML("dialogstate", "open");
}

std::string DemoSession::onCloseDialog(std::string, HKXHeader&) {
  std::string script = getWidgetManager().RemoveWidgetObject("dialog", *this);
  return script + getWidgetManager().ChangeWidgetHTML("dialogstate", "closed");
}

// ---- the long task

std::string DemoSession::onStartTask(std::string, HKXHeader&) {
  if (!_taskReference.empty()) return "";  // one task at a time
  if (_task == nullptr) {
    _task = new HKScenario(*this, getUpdateManager());
    // The scenario's mirror is the page itself, so a reload shows the progress.
    _task->SetDocument(std::shared_ptr<HKHTML_Document2>(getTheDocument(), [](HKHTML_Document2*) {}));
    getUpdateManager().addScenario(_task);
  }
  _taskStep = 0;
  _taskReference = _task->_doAction(std::function<void()>([this] {  // runs on a job of the scheduler
                                      for (int i = 1; i <= kTaskSteps; ++i) {
                                        std::this_thread::sleep_for(kTaskStepTime);
                                        _taskStep = i;
                                      }
                                    }),
                                    [this](const std::string& reference) { return reportTask(reference); });
  getTheDocument()->script("", lurvoUpdateCallJS(_taskReference));  // a reload keeps polling
  return lurvoUpdateCallJS(_taskReference);                         // the live page starts polling
}

long DemoSession::reportTask(const std::string& reference) {
  const bool done = _task->_getActionReady(reference);
  const int step = done ? kTaskSteps : _taskStep.load();
  HKHTML_progress2 bar;
  bar.setMaxValue(kTaskSteps, step);
  std::string label = done ? "done" : std::to_string(step) + " of " + std::to_string(kTaskSteps) + " steps";
  // The new content of "taskprogress": the bar and its label.
  auto* content = new HKHTML_text2(bar.GetBuffer() + "<span class=\"label\">" + label + "</span>");
  getUpdateManager().add2LurvoUpdateResponse(reference, "taskprogress", content);
  if (!done) return kPollDelayMs;
  _taskReference.clear();
  return 0;  // ends the channel
}

// ---- the application

DemoApplication::DemoApplication(HKPersistentAppStorage& storage,
                                 std::vector<HKTovikInterfaceProps> interfaces,
                                 std::map<std::string, std::string> params, const std::string& templateDir)
    : HKTovikApplication2(storage, std::move(interfaces), std::move(params)),
      _sessionParams{{"startpath", templateDir}} {
  // The style sheet is read once by the library's CSS classes and printed
  // back, so every page gets it checked and in one shape.
  HKXMLGenericElement* style = nullptr;
  HKDataReader().ReadHTMLElement("<style>" + compactStyleSheet(templateDir + "/session.css") + "</style>",
                                 style);
  if (style != nullptr) {
    std::ostringstream printed;
    for (HKXMLComplexElement* rule : style->Children()) rule->print(printed);
    _styleSheet = printed.str();
    delete style;
  }
}

HKHTMLKontextN* DemoApplication::createNewContext(const std::string&) {
  // Session ids must not be guessable: a random prefix before the generator's digits.
  static thread_local std::mt19937_64 random{std::random_device{}()};
  std::string id;
  do {
    std::ostringstream prefix;
    prefix << std::hex << random() << "_";
    id = newID(prefix.str());
  } while (checkContext(id));
  return insertNewContext(new DemoSession(this, id, _sessionParams, _styleSheet));
}
