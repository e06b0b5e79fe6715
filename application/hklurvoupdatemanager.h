// The update channel: server work that reaches an open page over time.
//
// A page asks the server at intervals, under a reference string, for news.
// The answer is a small HTML document with one div "novidade" whose
// attributes say whether to ask again ("lurvofim" "sim"/"nao"), when
// ("lurvoupdatetime", milliseconds) and under which reference ("lurvoref");
// each child div replaces the content of the element with its id in the live
// page. HKLurvoUpdateManager keeps the references with their update
// functions, the answers being built, and the scenarios (HKScenario) that do
// the long work on the scheduler.
//
// One exchange (driven by the session's "/" command with "lurvoupdate"):
// lurvoUpdateResponse, lurvoUpdateResponseValid, doResponse (runs the update
// function, which reports elements with add2LurvoUpdateResponse and returns
// the next delay; below 1 ends the channel), repeatLurvoUpdateResponse,
// getBufferLurvoUpdateResponse.
//
// Threads and locks: the manager's lock is recursive and held while an update
// function runs; a scenario's lock may be taken inside it, never the other
// way round. Requests of one session are serialised by the application's
// context lock; the manager's lock guards against scenario jobs.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include <toviktwo/documents/html/hkhtmldocument.h>

class HKScenario;
class HKXHeader;
class HKXResponseHeader;

// Called with the reference; reports elements and returns the delay in ms to
// the next request, or a value below 1 to end the channel.
using HKLurvoUpdateFunction = std::function<long(const std::string&)>;

class HKLurvoUpdateManager {
 public:
  HKLurvoUpdateManager();
  HKLurvoUpdateManager(const HKLurvoUpdateManager&) = delete;
  HKLurvoUpdateManager& operator=(const HKLurvoUpdateManager&) = delete;
  // Deletes every scenario (each waits for its running actions), then every
  // answer document.
  ~HKLurvoUpdateManager();

  // ---- one exchange
  // Starts the answer for the reference read from form field `field`
  // ("_none_" if absent); returns the reference.
  std::string lurvoUpdateResponse(HKXHeader& header, const std::string& field);
  // True when the reference is registered; the answer then carries it as "lurvoref".
  bool lurvoUpdateResponseValid(const std::string& reference);
  // Runs the update function under the lock; -2 for an unknown reference.
  long doResponse(const std::string& reference);
  // A delay below 1 finishes the channel ("lurvofim" "sim", reference
  // dropped); otherwise "lurvofim" "nao" and "lurvoupdatetime" the delay.
  void repeatLurvoUpdateResponse(const std::string& reference, long delay);
  // The printed answer, which is then dropped; "" when there is none.
  std::string getBufferLurvoUpdateResponse(const std::string& reference);

  // ---- reporting and registering
  // Takes `element` and reports it under id; with no answer for the
  // reference it returns at once and the element stays with the caller.
  // Without a scenario the element is deleted after printing, otherwise the
  // scenario's document gets it. Always 0.
  long add2LurvoUpdateResponse(const std::string& reference, const std::string& id,
                               HKXMLGenericElement* element);
  // Stores the update function under the reference (replacing an earlier
  // one) and ties it to the scenario; returns the reference.
  std::string registerReference(const std::string& scenarioId, const std::string& reference,
                                HKLurvoUpdateFunction updateFunction);
  void releaseReference(const std::string& reference);
  // Takes the scenario under its id (deleting one that stood there); returns
  // the id, or "" for null.
  std::string addScenario(HKScenario* scenario);
  // False for an unknown id, else the scenario's reproduce.
  bool reproduceScenario(const std::string& scenarioId, HKXHeader& header, HKXResponseHeader& response,
                         std::string command);

  // ---- inspection
  bool hasReference(const std::string& reference);
  size_t countResponses();
  size_t countScenarios();

 private:
  struct Response {
    HKHTML_Document2* document = nullptr;    // owned
    HKXMLGenericElement* novelty = nullptr;  // the "novidade" div inside it
  };

  std::recursive_mutex _lock;
  std::map<std::string, Response> _responses;                // guarded by _lock
  std::map<std::string, HKLurvoUpdateFunction> _references;  // guarded by _lock
  std::map<std::string, std::string> _scenarioOfReference;   // guarded by _lock
  std::map<std::string, HKScenario*> _scenarios;             // owned; changed only in requests
};

// The update script for a page: the globals tovikid and lurvoupdatepagename,
// then a fixed script of 2290 characters (a DOMParser shim, one request
// object, the answer handler and the function lurvoupdate(reference)).
std::string hkcommonLurvoJS(const std::string& tovikid, const std::string& pagename);

// Prepares a page for the channel: the update script (page name "/") in the
// head, and in the body a script that calls lurvoupdate(reference).
void addLurvoUpdate(HKHTML_Document2& document, const std::string& tovikid, const std::string& reference);

// The first half of addLurvoUpdate alone: the update script in the head, so
// that a later click can start the polling with lurvoUpdateCallJS.
void addLurvoUpdateScript(HKHTML_Document2& document, const std::string& tovikid);

// The statement that starts the polling in a live page that holds the
// update script: lurvoupdate("reference");
std::string lurvoUpdateCallJS(const std::string& reference);
