#include <toviktwo/application/hkintention.h>

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/foundation/hklogstream.h>
#include <toviktwo/foundation/hkprogrampath.h>
#include <toviktwo/scheduler/hkgavetascheduler2.h>

extern char** environ;

namespace {

// The one candidate that is started in a private window.
constexpr const char* kIncognitoBrowser = "google-chrome";
constexpr const char* kIncognitoArgument = "--incognito";
// Exit code of the child when no candidate could be started.
constexpr int kNoBrowserExit = 127;
// The longest pause of the waiting parent between looks at the child and at
// the scheduler's stop.
constexpr auto kWaitRound = std::chrono::milliseconds(100);
// Pause while the destructor waits for running launches to leave.
constexpr auto kLeaveRound = std::chrono::milliseconds(20);

// What the child needs for one candidate, made before fork.
struct HKLaunchCandidate {
  std::string line;  // "testing: <name>  <document>\n"
  std::vector<std::string> paths;
  std::vector<std::string> args;
  std::vector<char*> argv;
};

std::vector<HKLaunchCandidate> prepareCandidates(const std::list<std::string>& names,
                                                 const std::string& document) {
  std::vector<HKLaunchCandidate> all(names.size());
  size_t i = 0;
  for (const std::string& name : names) {
    HKLaunchCandidate& c = all[i++];
    c.line = "testing: " + name + "  " + document + "\n";
    c.paths = HKProgramCandidates(name);
    c.args = {name};
    if (name == kIncognitoBrowser) c.args.emplace_back(kIncognitoArgument);
    c.args.push_back(document);
    for (std::string& a : c.args) c.argv.push_back(a.data());
    c.argv.push_back(nullptr);
  }
  return all;
}

// The child's side: async-signal-safe calls only, and never a return.
[[noreturn]] void tryCandidates(std::vector<HKLaunchCandidate>& all) {
  for (HKLaunchCandidate& c : all) {
    (void)!write(STDOUT_FILENO, c.line.data(), c.line.size());
    for (const std::string& path : c.paths) execve(path.c_str(), c.argv.data(), environ);
  }
  _exit(kNoBrowserExit);
}

}  // namespace

// Shared between the intention and its jobs, so that a job that starts after
// the intention is gone finds out and does nothing.
struct HKIntentionState {
  std::mutex lock;
  bool alive = true;                  // guarded by lock
  int active = 0;                     // launches under way; guarded by lock
  std::atomic<bool> stopping{false};  // set by the jobs' stop hook
};

HKIntention::HKIntention(HKGavetaScheduler2& scheduler)
    : _scheduler(scheduler), _state(std::make_shared<HKIntentionState>()) {}

HKIntention::~HKIntention() {
  _state->stopping = true;
  for (;;) {
    {
      std::lock_guard<std::mutex> g(_state->lock);
      if (_state->active == 0) {
        _state->alive = false;
        return;
      }
    }
    std::this_thread::sleep_for(kLeaveRound);
  }
}

const std::vector<std::string>& HKIntention::browserCandidates() {
  static const std::vector<std::string> candidates = {
      "opera", "chromium", "chromium-browser", "google-chrome", "firefox", "konqueror", "epiphany"};
  return candidates;
}

bool HKIntention::RunApplication(std::string document, std::string mimeType) {
  if (mimeType != "text/html") return false;
  std::shared_ptr<HKIntentionState> state = _state;
  HKGavetaJobAtttributes attributes;
  attributes._jo_name = "intention";
  attributes._jo_stop = [state] { state->stopping = true; };
  _scheduler.Inject(
      [this, state, document](HKGavetaJobParametersAndResult* p) {
        {
          std::lock_guard<std::mutex> g(state->lock);
          if (!state->alive) return p;
          ++state->active;
        }
        try {
          const auto& all = browserCandidates();
          _run_something(std::list<std::string>(all.begin(), all.end()), document);
        } catch (const std::exception& e) {
          std::lock_guard<std::mutex> log(__logger.GetMtxOrdem0());
          __logger.Debugstream(log_default) << "intention: " << e.what() << std::endl;
        }
        std::lock_guard<std::mutex> g(state->lock);
        --state->active;
        return p;
      },
      nullptr, attributes);
  return true;
}

void HKIntention::_run_something(std::list<std::string> candidates, std::string document) {
  std::vector<HKLaunchCandidate> prepared = prepareCandidates(candidates, document);
  const pid_t pid = fork();
  if (pid < 0) throw HKException("fork failed, cant call external process", __LINE__, "src");
  if (pid == 0) tryCandidates(prepared);
  // The job stays here while the browser lives, unless the scheduler stops.
  auto nap = std::chrono::milliseconds(1);
  for (;;) {
    int status = 0;
    const pid_t r = waitpid(pid, &status, WNOHANG);
    if (r == pid || (r < 0 && errno != EINTR)) return;
    if (_state->stopping) return;  // the application ends; the browser stays open
    std::this_thread::sleep_for(nap);
    nap = std::min(nap * 2, kWaitRound);
  }
}
