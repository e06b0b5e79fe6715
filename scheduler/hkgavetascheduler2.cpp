#include <toviktwo/scheduler/hkgavetascheduler2.h>

#include <chrono>
#include <thread>

#include <toviktwo/foundation/hkexception.h>

namespace {

using namespace std::chrono_literals;

int64_t nowNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

// The service threads' waits are bounded as well as guarded by a predicate:
// a bounded wait is a spurious wake-up, which every loop here tolerates.
constexpr auto kServiceRecheck = 100ms;

// Waits for a future in rounds of a 20 ms timed wait and a yield.
template <class F>
void waitInRounds(F& future) {
  while (future.wait_for(20ms) != std::future_status::ready) std::this_thread::yield();
}

}  // namespace

// ---- parameter object ----

HKGavetaJobParametersAndResult::HKGavetaJobParametersAndResult(HK_GJA_type type,
                                                               unsigned long result_type)
    : id(0), resulttype(result_type), jobtype(type) {}

HKGavetaJobParametersAndResult::~HKGavetaJobParametersAndResult() = default;

HKGavetaJobParametersAndResult& HKGavetaJobParametersAndResult::operator=(
    HKGavetaJobParametersAndResult& other) {
  id = other.id;
  resulttype = other.resulttype;
  return *this;
}

// ---- job record ----

HKGavetaJobAndParams::HKGavetaJobAndParams(HKGavetaJobFunction job,
                                           HKGavetaJobParametersAndResult* parameters,
                                           HKGavetaJobAtttributes attributes)
    : _job(std::move(job)), _attributes(std::move(attributes)), params(parameters) {
  if (params == nullptr) params = new HKGavetaJobParametersAndResult(_attributes._jo_type, 1);
}

HKGavetaJobAndParams::~HKGavetaJobAndParams() { delete params; }

// ---- scheduler ----

std::atomic<unsigned long> HKGavetaScheduler2::_idxcnt{0};

HKGavetaScheduler2::HKGavetaScheduler2() : _max_jobs(0), _cycle_us(10000) {}

HKGavetaScheduler2::~HKGavetaScheduler2() {
  Stop();
  // A service thread that ended by an exception rethrows it here; leaving a
  // destructor by an exception ends the process. That is intended: the
  // scheduler was broken and nobody else could learn of it.
  if (_cycle_future) _cycle_future->get();
  if (_finish_future) _finish_future->get();
  if (_timing_future) _timing_future->get();
  _ready.clear();
  _timing.clear();
  for (auto& [id, job] : _jobs) delete job;
  _jobs.clear();
}

unsigned long HKGavetaScheduler2::_newindex(void*) { return ++_idxcnt; }

void HKGavetaScheduler2::_notify_cycle(bool all) {
  {
    std::lock_guard<std::mutex> w(_cycle_wait_mutex);
    _cycle_events.fetch_add(1);
  }
  if (all)
    _cycle_cv.notify_all();
  else
    _cycle_cv.notify_one();
}

unsigned long HKGavetaScheduler2::Inject(HKGavetaJobFunction job,
                                         HKGavetaJobParametersAndResult* params,
                                         HKGavetaJobAtttributes attributes) {
  auto* record = new HKGavetaJobAndParams(std::move(job), params, std::move(attributes));
  const unsigned long id = _newindex(nullptr);
  record->params->SetID(id);
  {
    std::lock_guard<std::mutex> s(_state_mutex);
    _jobs.emplace(id, record);
    _ready.push_back(record);
  }
  _notify_cycle(false);
  Start();
  return id;
}

long HKGavetaScheduler2::Start() {
  {
    std::lock_guard<std::mutex> s(_state_mutex);
    if (_ready.empty()) return 1;
    if (!_started) {
      _started = true;
      if (!_cycle_future && !_stopping) {
        _cycle_future = std::make_unique<ServiceFuture>(
            std::async(std::launch::async, [this] { return _cycletask(); }));
        _finish_future = std::make_unique<ServiceFuture>(
            std::async(std::launch::async, [this] { return _finishtask(); }));
        _timing_future = std::make_unique<ServiceFuture>(
            std::async(std::launch::async, [this] { return _timedtask(); }));
      }
    }
  }
  _notify_cycle(false);
  return 1;
}

long HKGavetaScheduler2::Stop() {
  // 1. No further timing; the timing thread ends.
  _stopping = true;
  { std::lock_guard<std::mutex> t(_timing_mutex); }
  _timing_cv.notify_all();
  // 2.
  if (_timing_future) waitInRounds(*_timing_future);
  // 3. Ask every running job to end. The hooks run with the lock held.
  {
    std::lock_guard<std::mutex> s(_state_mutex);
    for (auto& [job, future] : _running) {
      job->_attributes._jo_stop();
      job->_attributes._jo_active = false;
    }
  }
  // 4. The cycle thread ends.
  _notify_cycle(true);
  if (_cycle_future) waitInRounds(*_cycle_future);
  // 5. Wait, without limit, for the running jobs.
  for (;;) {
    size_t running;
    {
      std::lock_guard<std::mutex> s(_state_mutex);
      running = _running.size();
    }
    std::this_thread::yield();
    std::this_thread::sleep_for(20ms);
    if (running == 0) break;
  }
  // 6. The finish thread collects what is left and ends.
  {
    std::lock_guard<std::mutex> f(_finish_mutex);
    _finish_stop = true;
  }
  _finish_cv.notify_all();
  if (_finish_future) waitInRounds(*_finish_future);
  return 1;
}

void HKGavetaScheduler2::StopID(unsigned long id) {
  std::lock_guard<std::mutex> t(_timing_mutex);
  _stop_ids.insert(id);
  for (auto it = _timing.begin(); it != _timing.end(); ++it) {
    if (*it != nullptr && (*it)->params != nullptr && (*it)->params->GetID() == id) {
      _timing.erase(it);
      break;
    }
  }
}

bool HKGavetaScheduler2::_in_flightNL(HKGavetaJobAndParams* job) {
  if (_running.count(job) != 0 || _finished.count(job) != 0) return true;
  for (auto* r : _ready)
    if (r == job) return true;
  for (auto* r : _timing)
    if (r == job) return true;
  return false;
}

bool HKGavetaScheduler2::IsReady(unsigned long id) {
  std::scoped_lock locks(_finish_mutex, _state_mutex, _timing_mutex);
  auto it = _jobs.find(id);
  if (it == _jobs.end()) return true;
  HKGavetaJobAndParams* job = it->second;
  if (job->result == nullptr) return false;
  // A stopped job is ready only when its last run has been collected: its
  // record is removed by the next GetResult, which must not happen while a
  // thread still works on it.
  if (_stop_ids.count(id) != 0 && _in_flightNL(job)) return false;
  return true;
}

HKGavetaJobParametersAndResult* HKGavetaScheduler2::GetResult(unsigned long id) {
  std::scoped_lock locks(_finish_mutex, _state_mutex, _timing_mutex);
  auto it = _jobs.find(id);
  if (it == _jobs.end() || it->second->result == nullptr) return nullptr;
  HKGavetaJobAndParams* job = it->second;
  const bool stopped = _stop_ids.count(id) != 0;
  if (stopped && _in_flightNL(job)) return nullptr;  // see IsReady
  HKGavetaJobParametersAndResult* result = job->result;
  job->result = nullptr;
  const uint64_t number = job->params != nullptr ? job->params->GetID() : id;
  if (_stop_ids.count(number) != 0) {
    _stop_ids.erase(number);
  } else if (job->_attributes._jo_type == HK_GJA_CYCLIC) {
    return result;  // the job goes on
  }
  _jobs.erase(it);
  if (result == job->params) job->params = nullptr;  // ownership passes to the caller
  delete job;
  return result;
}

HKGavetaJobAndParams* HKGavetaScheduler2::_jobremove(HKGavetaJobAndParams* job) {
  std::lock_guard<std::mutex> t(_timing_mutex);
  if (job == nullptr) return nullptr;
  if (job->params != nullptr && _stop_ids.count(job->params->GetID()) != 0) return nullptr;
  return job;
}

void HKGavetaScheduler2::_evaluate_tasks_blocking() {
  {
    std::lock_guard<std::mutex> s(_state_mutex);
    uint64_t mask = 0;
    for (auto& [job, future] : _running) mask |= job->_attributes._jo_blocking;
    _blocking_mask = mask;
  }
  _notify_cycle(false);
}

uint64_t HKGavetaScheduler2::_start_new_jobNL() {
  for (auto it = _ready.begin(); it != _ready.end();) {
    HKGavetaJobAndParams* job = *it;
    if (job == nullptr || (_blocking_mask & job->_attributes._jo_blocking) != 0) {
      ++it;  // stays in the list
      continue;
    }
    if (_jobremove(job) == nullptr) {
      it = _ready.erase(it);  // stopped: stays in _jobs only, never runs
      continue;
    }
    _blocking_mask |= job->_attributes._jo_blocking;
    if (_running.count(job) != 0) {
      // A record runs on one thread at a time; a second entry is dropped.
      it = _ready.erase(it);
      continue;
    }
    // A new thread in all cases. If the job function throws, JobFinished is
    // skipped, the exception stays in the future and the record stays in
    // _running for good (Stop then never ends): job functions must catch.
    auto future = std::make_unique<JobFuture>(std::async(std::launch::async, [this, job] {
      HKGavetaJobParametersAndResult* value = job->_job(job->params);
      JobFinished(job);
      return value;
    }));
    _running.emplace(job, std::move(future));
    it = _ready.erase(it);
  }
  return _running.size();
}

void HKGavetaScheduler2::JobFinished(HKGavetaJobAndParams* job) {
  {
    std::scoped_lock locks(_finish_mutex, _state_mutex);
    auto it = _running.find(job);
    std::unique_ptr<JobFuture> future;
    if (it != _running.end()) future = std::move(it->second);
    if (_finished.count(job) == 0) {
      _finished.emplace(job, std::move(future));
    } else if (future) {
      // Cannot happen (a record is queued again only after its last run was
      // collected). Destroying the future here would wait for this very
      // thread, so it is let go instead.
      (void)future.release();
    }
    if (it != _running.end()) _running.erase(it);
  }
  _notify_cycle(false);
  _finish_cv.notify_one();
}

void HKGavetaScheduler2::Inject_Timing(HKGavetaJobAndParams* job) {
  {
    std::lock_guard<std::mutex> t(_timing_mutex);
    if (job->params != nullptr && _stop_ids.count(job->params->GetID()) != 0) return;
    job->_attributes._jo_due = nowNs() + static_cast<int64_t>(job->_attributes._jo_delay_ms) * 1000000 +
                               static_cast<int64_t>(job->_attributes._jo_delay_us) * 1000;
    if (!_next_due_valid || job->_attributes._jo_due < _next_due) {
      _next_due = job->_attributes._jo_due;
      _next_due_valid = true;
    }
    _timing.push_back(job);
  }
  _timing_cv.notify_one();
  _notify_cycle(false);
}

long HKGavetaScheduler2::_cycletask() {
  uint64_t running = 0;
  while (!_stopping) {
    {
      std::lock_guard<std::mutex> s(_state_mutex);
      if (!_stopping && (_max_jobs == 0 || _max_jobs > running))
        running = _start_new_jobNL();
      else
        running = _running.size();
    }
    bool again;
    uint64_t seen;
    {
      std::lock_guard<std::mutex> s(_state_mutex);
      again = !_ready.empty() && (_max_jobs == 0 || running < _max_jobs);
      // Every change of the state is followed by an event; one that comes
      // after this point ends the wait below at once.
      seen = _cycle_events.load();
    }
    if (again) continue;  // e.g. a job held back by its mask: the loop spins
    {
      std::unique_lock<std::mutex> w(_cycle_wait_mutex);
      _cycle_cv.wait_for(w, kServiceRecheck,
                         [&] { return _cycle_events.load() != seen || _stopping.load(); });
    }
    if (_stopping) return 0;
  }
  return 0;
}

long HKGavetaScheduler2::_finishtask() {
  for (;;) {
    {
      std::unique_lock<std::mutex> f(_finish_mutex);
      _finish_cv.wait_for(f, kServiceRecheck, [&] { return !_finished.empty() || _finish_stop; });
    }
    {
      std::lock_guard<std::mutex> f(_finish_mutex);
      for (auto it = _finished.begin(); it != _finished.end();) {
        HKGavetaJobParametersAndResult* value = nullptr;
        if (it->second) {
          waitInRounds(*it->second);
          value = it->second->get();  // joins the job's thread; rethrows
        }
        if (value == nullptr)
          throw HKException("irregular return condition (nullptr) for a task", __LINE__, "src");
        {
          std::lock_guard<std::mutex> s(_state_mutex);
          auto found = _jobs.find(value->GetID());
          if (found == _jobs.end()) {
            delete value;
          } else {
            HKGavetaJobAndParams* job = found->second;
            if (value != job->result) {
              HKGavetaJobParametersAndResult* former = job->result;
              job->result = value;
              // The job's own parameter object is never deleted here: the
              // record still owns it and the next run uses it.
              if (former != nullptr && former != job->params) delete former;
            }
            job->_attributes._jo_type = value->GetJobType();
            if (job->_attributes._jo_type == HK_GJA_CYCLIC && !_stopping) Inject_Timing(job);
          }
        }
        it = _finished.erase(it);
      }
    }
    {
      std::scoped_lock locks(_finish_mutex, _state_mutex);
      if (_stopping && _running.empty() && _finished.empty()) return 0;
    }
  }
}

long HKGavetaScheduler2::_timedtask() {
  while (!_stopping) {
    {
      std::unique_lock<std::mutex> t(_timing_mutex);
      if (_stopping) continue;
      if (_timing.empty()) {
        _timing_cv.wait_for(t, kServiceRecheck, [&] { return !_timing.empty() || _stopping.load(); });
        continue;
      }
    }
    int64_t horizon = nowNs() + static_cast<int64_t>(_cycle_us) * 1000;
    {
      // The state lock is needed to move records to _ready; both are taken
      // together so that this thread's order (timing, then state) cannot
      // deadlock against the other threads' (state, then timing).
      std::scoped_lock locks(_state_mutex, _timing_mutex);
      if (!_next_due_valid) {
        horizon += static_cast<int64_t>(_cycle_us) * 1000;
      } else {
        if (_next_due <= horizon) {
          bool moved = false;
          for (auto it = _timing.begin(); it != _timing.end();) {
            if ((*it)->_attributes._jo_due <= horizon) {
              _ready.push_back(*it);
              _notify_cycle(false);
              it = _timing.erase(it);
              moved = true;
            } else {
              ++it;
            }
          }
          if (moved) {
            _next_due_valid = false;
            for (auto* job : _timing) {
              if (!_next_due_valid || job->_attributes._jo_due < _next_due) {
                _next_due = job->_attributes._jo_due;
                _next_due_valid = true;
              }
            }
          }
        }
        if (_next_due_valid && _next_due < horizon) horizon = _next_due;
      }
    }
    // Sleep until the horizon on the system clock; an interrupted sleep is
    // resumed with the rest recomputed from the clock.
    std::this_thread::sleep_until(std::chrono::system_clock::time_point(
        std::chrono::duration_cast<std::chrono::system_clock::duration>(std::chrono::nanoseconds(horizon))));
    if (_stopping) return 0;
  }
  return 0;
}

long HKGavetaScheduler2::Pause(long) { return 0; }

long HKGavetaScheduler2::InjectImmediate(HKGavetaJobAndParams*) { return 0; }
