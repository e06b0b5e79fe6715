// A longer task of a session, run on the scheduler and reported to the page
// through the update channel.
//
// A derived session creates a scenario in a request, hands it to its update
// manager (addScenario), starts the work with _doAction (which registers the
// action id as a reference of the channel) and lets the page poll under that
// reference. The update function asks _getActionReady, reports elements and
// returns the next delay, or 0 when done. Reported elements land in the
// scenario's document (when a derived class set one), so that it stays a true
// picture of the page.
//
// Locks: the scenario's lock is recursive; it may be taken while the
// manager's lock is held (when an update function reports), never the other
// way round, and _doAction releases it before registering the reference.
// Lifetime: the manager owns the scenario. Its destructor waits until the
// jobs started by _doAction have ended, so an action may use the scenario to
// its end; an action must therefore not wait for the application's context
// lock, under which sessions may be deleted.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include <toviktwo/application/hklurvoupdatemanager.h>
#include <toviktwo/scheduler/hkjob.h>

class HKHTMLKontextN;

class HKScenario : public HKJobWithTimeout {
 public:
  // The time-out of the job base: 120 seconds, reported and never acted on.
  static constexpr long kTimeoutMicroseconds = 120000000;

  HKScenario(HKHTMLKontextN& context, HKLurvoUpdateManager& manager);
  ~HKScenario() override;

  // Empty hook for derived scenarios.
  virtual void _init(HKXHeader& header, HKXResponseHeader& response, std::string command);
  // Rebuilds the page for a browser that comes back; false here.
  virtual bool reproduce(HKXHeader& header, HKXResponseHeader& response, std::string command);

  // The job id.
  std::string getScenarioID() { return getID(); }
  // Runs action as a scheduler job and registers update under the new
  // action id, which it returns.
  std::string _doAction(std::function<void()> action, HKLurvoUpdateFunction update);
  // Calls action here and now; its result is the action id, registered with
  // update unless it is the common error text.
  std::string _doAction(std::function<std::string()> action, HKLurvoUpdateFunction update);
  // True when the action's job has ended, and for an unknown id; an id found
  // ready once is forgotten and stays ready.
  bool _getActionReady(std::string id);
  // Puts element in place of the content of the element with that id in the
  // scenario's document (which owns it from then on); deletes it otherwise.
  void addResponse(const std::string& id, HKXMLGenericElement* element);

  // The mirror of the page; empty until set.
  std::shared_ptr<HKHTML_Document2>& Document() { return _document; }
  void SetDocument(std::shared_ptr<HKHTML_Document2> document) { _document = std::move(document); }

 protected:
  std::recursive_mutex _lock;
  HKHTMLKontextN& _context;
  std::shared_ptr<HKHTML_Document2> _document;
  HKLurvoUpdateManager& _manager;
  std::map<std::string, uint64_t> _actions;  // action id -> job number; guarded by _lock
};
