#include <toviktwo/application/hkscenario.h>

#include <chrono>
#include <thread>

#include <toviktwo/application/hkhtmlkontextn.h>
#include <toviktwo/scheduler/hkgavetascheduler2.h>

namespace {

// The stop paths of the library poll with this pause.
constexpr std::chrono::milliseconds kWaitPause{20};

}  // namespace

HKScenario::HKScenario(HKHTMLKontextN& context, HKLurvoUpdateManager& manager)
    : HKJobWithTimeout(kTimeoutMicroseconds), _context(context), _manager(manager) {}

HKScenario::~HKScenario() {
  // An action may still be running and use this scenario: wait for it.
  std::map<std::string, uint64_t> running;
  {
    std::lock_guard<std::recursive_mutex> guard(_lock);
    running.swap(_actions);
  }
  if (running.empty()) return;
  HKGavetaScheduler2& scheduler = _context.getScheduler();
  for (const auto& [id, job] : running) {
    while (!scheduler.IsReady(job)) std::this_thread::sleep_for(kWaitPause);
    delete scheduler.GetResult(job);
  }
}

void HKScenario::_init(HKXHeader&, HKXResponseHeader&, std::string) {}

bool HKScenario::reproduce(HKXHeader&, HKXResponseHeader&, std::string) { return false; }

std::string HKScenario::_doAction(std::function<void()> action, HKLurvoUpdateFunction update) {
  HKGavetaJobAtttributes attributes;
  attributes._jo_name = "HKScenario_doAction" + getScenarioID();
  attributes._jo_stop = [] {};
  std::string actionID = HKJob::_jobidgen.getID();
  {
    std::lock_guard<std::recursive_mutex> guard(_lock);
    HKGavetaScheduler2& scheduler = _context.getScheduler();
    // A job must not let an exception escape; the action's is dropped.
    auto job = [action = std::move(action)](HKGavetaJobParametersAndResult* params) {
      try {
        action();
      } catch (...) {
      }
      return params;
    };
    _actions[actionID] = scheduler.Inject(job, nullptr, attributes);
  }
  if (actionID != HKJob::getError()) _manager.registerReference(getScenarioID(), actionID, std::move(update));
  return actionID;
}

std::string HKScenario::_doAction(std::function<std::string()> action, HKLurvoUpdateFunction update) {
  std::string actionID = action();
  if (actionID != HKJob::getError()) _manager.registerReference(getScenarioID(), actionID, std::move(update));
  return actionID;
}

bool HKScenario::_getActionReady(std::string id) {
  std::lock_guard<std::recursive_mutex> guard(_lock);
  auto found = _actions.find(id);
  if (found == _actions.end()) return true;
  HKGavetaScheduler2& scheduler = _context.getScheduler();
  if (!scheduler.IsReady(found->second)) return false;
  // The scheduler keeps a finished job's record until its result is fetched.
  delete scheduler.GetResult(found->second);
  _actions.erase(found);
  return true;
}

void HKScenario::addResponse(const std::string& id, HKXMLGenericElement* element) {
  std::lock_guard<std::recursive_mutex> guard(_lock);
  HKXMLGenericElement* target = _document ? _document->FindObject("id", id) : nullptr;
  if (target == nullptr || id.empty()) {
    delete element;
    return;
  }
  target->replaceInnerChildsBy(element);
}
