#include <toviktwo/scheduler/hkjob.h>

// The process-wide statics of jobs and of the bus, defined in one place so
// that they are set up in this order: the generators first, then the name
// reserved for errors, then the bus with its thread.
HKJIDGenerator HKJob::_jobidgen("_job");
HKJIDGenerator HKCombinedTask::_taskidgen("joinedtask");
std::string HKJob::__commonError = HKJob::_jobidgen.getAnyString("__commonError");
std::atomic<long> HKJob::_HKJobCount{0};
HKCombinedTask HKJob::_combinedTasks;

HKJob::HKJob() : _jobID(_jobidgen.getID()) { _HKJobCount.fetch_add(1); }

HKJob::~HKJob() {
  _combinedTasks.exitTasks(_jobID);
  // The bus may be delivering to this job right now (it found the job before
  // it left); that delivery holds _job_mutex, so waiting for it here keeps
  // the bus from touching a freed object.
  { std::lock_guard<std::recursive_mutex> wait(_job_mutex); }
  _HKJobCount.fetch_sub(1);
}

bool HKJob::_messagereceive(HKJobMessage&) { return true; }

bool HKJob::_sendto(std::string, HKJobMessage&) { return false; }

std::string HKJob::_createCombinedTask(const std::string& name) {
  return _combinedTasks.createCombinedTask(*this, name);
}

void HKJob::_exitTask(const std::string& name) { _combinedTasks.exitTask(name, _jobID); }

void HKJob::_exitTasks() { _combinedTasks.exitTasks(_jobID); }

bool HKJob::setState(_jobstates_t s) {
  {
    std::lock_guard<std::mutex> lock(_state_mutex);
    if (s == _state.load()) return true;
    if (s == _state_wanted.load()) return false;
    _state_wanted = s;
  }
  // Outside the lock: the hook may take its own locks. An empty hook is a
  // bad-function-call failure.
  const bool agreed = _state_hook();
  if (agreed) _state = s;
  return agreed;
}

bool HKJob::joinTask(const std::string& name) {
  _lastJoinedTask = name;
  return _combinedTasks.joinTask(name, *this);
}

void HKJob::exitTask(const std::string& name) {
  if (!name.empty()) {
    _exitTask(name);
    return;
  }
  const std::string last = _lastJoinedTask;
  _lastJoinedTask.clear();
  _exitTask(last);
}

std::string HKJob::createCombinedTask(const std::string& name) { return _createCombinedTask(name); }

std::string HKJob::getLastJoinedTask() { return _lastJoinedTask; }

long HKJob::countJobs() { return _HKJobCount.load(); }

long HKJob::countTasks() { return _combinedTasks.countTasks(); }

bool HKJob::messageReceive(std::mutex& held, HKJobMessage& message) {
  if (!_job_mutex.try_lock()) return false;
  held.unlock();
  // The base receiver does nothing, so calling it is the same as skipping it.
  try {
    _messagereceive(message);
  } catch (...) {
  }
  _job_mutex.unlock();
  return true;
}

long HKJob::sendTox(std::string target, HKJobMessage& message) {
  // The base `_sendto` does nothing and reports false, which gives 0.
  return _sendto(std::move(target), message) ? 1 : 0;
}

// ---- HKJobWithTimeout ----

HKJobWithTimeout::HKJobWithTimeout(long timeout) : _timeout(timeout), _timer(timeout), _alive(true) {}

void HKJobWithTimeout::_resetTimer() {
  std::lock_guard<std::recursive_mutex> lock(_timer_mutex);
  if (_alive) _timer.Restart(static_cast<long>(_timeout));
}

bool HKJobWithTimeout::Timeout() {
  std::lock_guard<std::recursive_mutex> lock(_timer_mutex);
  if (_alive) {
    if (_timer.Reached()) _alive = false;
  } else {
    // The expiry was seen once; the next poll sees none.
    _alive = true;
  }
  return !_alive;
}
