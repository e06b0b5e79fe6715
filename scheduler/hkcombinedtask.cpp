#include <toviktwo/scheduler/hkcombinedtask.h>

#include <chrono>

#include <toviktwo/scheduler/hkjob.h>

HKCombinedTask::HKCombinedTask() { _thread = std::make_unique<std::thread>([this] { _messaging(); }); }

HKCombinedTask::~HKCombinedTask() {
  {
    // All locks together, so that no table change or delivery is half done
    // when the flag is set. They are released before the join: the bus
    // thread needs them to see the flag and end.
    std::scoped_lock locks(_task_mutex, _aux_mutex, _aux_recursive_mutex, _queue_mutex, _wait_mutex);
    _stop = 1;
    _events.fetch_add(1);
  }
  _queue_cv.notify_all();
  if (_thread && _thread->joinable()) _thread->join();
}

void HKCombinedTask::_wake() {
  {
    std::lock_guard<std::mutex> w(_wait_mutex);
    _events.fetch_add(1);
  }
  _queue_cv.notify_all();
}

void HKCombinedTask::_enterMemberNL(const std::string& task, HKJob& job) {
  _members[job.getID()] = &job;
  _tasks_of_job[job.getID()].insert(task);
  _jobs_of_task[task].insert(job.getID());
}

// The table operations below take their locks without first yielding the
// processor: a yield there only cost a system call for every message head
// and connection on its way through the transport (speed only).
std::string HKCombinedTask::createCombinedTask(HKJob& job, const std::string& name) {
  const std::string task = _taskidgen.getID();
  // The queue lock stays held while the member tables change as well: the
  // bus thread reads _members under it.
  std::scoped_lock locks(_task_mutex, _queue_mutex);
  _task_owner[task] = &job;
  _task_name[task] = name;
  _enterMemberNL(task, job);
  return task;
}

bool HKCombinedTask::joinTask(const std::string& task, HKJob& job) {
  std::scoped_lock locks(_task_mutex, _queue_mutex);
  if (_task_owner.find(task) == _task_owner.end()) return false;
  _enterMemberNL(task, job);
  return true;
}

void HKCombinedTask::_exitTaskNL(const std::string& task, const std::string& jobID) {
  auto members = _jobs_of_task.find(task);
  if (members != _jobs_of_task.end()) members->second.erase(jobID);
  auto tasks = _tasks_of_job.find(jobID);
  if (tasks != _tasks_of_job.end()) {
    tasks->second.erase(task);
    if (tasks->second.empty()) {
      _tasks_of_job.erase(tasks);
      _members.erase(jobID);
    }
  }
  auto owner = _task_owner.find(task);
  if (owner != _task_owner.end() && owner->second != nullptr && owner->second->getID() == jobID) {
    // A task doesn't outlive its creator: the remaining members are told.
    if (members != _jobs_of_task.end()) {
      for (const auto& member : members->second) {
        _queue.emplace_back(member, HKJobMessage(jobID, HKMSG_JOB_LEFT, task));
        ++_queue_count;
      }
    }
    _task_owner.erase(owner);
    _task_name.erase(task);
    if (members != _jobs_of_task.end()) _jobs_of_task.erase(members);
  }
}

// The bus is woken only when leaving queued messages for the remaining
// members; with nothing queued it has nothing to deliver (speed only).
void HKCombinedTask::exitTask(const std::string& task, const std::string& jobID) {
  bool queued = false;
  {
    std::scoped_lock locks(_task_mutex, _queue_mutex);
    const uint64_t before = _queue_count;
    _exitTaskNL(task, jobID);
    queued = _queue_count != before;
  }
  if (queued) _wake();
}

void HKCombinedTask::exitTasks(const std::string& jobID) {
  bool queued = false;
  {
    std::scoped_lock locks(_task_mutex, _queue_mutex);
    const uint64_t before = _queue_count;
    auto tasks = _tasks_of_job.find(jobID);
    if (tasks != _tasks_of_job.end()) {
      const std::set<std::string> copy = tasks->second;
      for (const auto& task : copy) _exitTaskNL(task, jobID);
    }
    queued = _queue_count != before;
  }
  if (queued) _wake();
}

void HKCombinedTask::sendTo(std::string jobID, HKJobMessage& message) {
  {
    std::lock_guard<std::mutex> q(_queue_mutex);
    _queue.emplace_back(std::move(jobID), message);
    ++_queue_count;
  }
  _wake();
}

long HKCombinedTask::countTasks() {
  std::scoped_lock locks(_task_mutex, _queue_mutex);
  return static_cast<long>(_task_owner.size());
}

void HKCombinedTask::forceMessageing() { _wake(); }

void HKCombinedTask::statistics() {}

void HKCombinedTask::_messaging() {
  using namespace std::chrono_literals;
  while (_stop == 0) {
    std::unique_lock<std::mutex> q(_queue_mutex);
    if (_queue.empty()) {
      // Any message queued after this point changes the event count, and
      // the wait ends at once; the bound is only a safety net.
      const uint64_t seen = _events.load();
      q.unlock();
      std::unique_lock<std::mutex> w(_wait_mutex);
      _queue_cv.wait_for(w, 100ms, [&] { return _events.load() != seen || _stop != 0; });
      continue;
    }
    auto& head = _queue.front();
    auto member = _members.find(head.first);
    if (member == _members.end()) {
      _queue.pop_front();  // the receiver isn't on the bus: lost
      --_queue_count;
      continue;
    }
    // Hand over hand: the job unlocks the queue once it holds its own mutex.
    // The head stays in place (only this thread removes entries), so the
    // receiver may work on it while others queue behind it.
    q.release();
    if (!member->second->messageReceive(_queue_mutex, head.second)) {
      // Busy receiver: the message stays at the head, and all behind it wait.
      _queue_mutex.unlock();
      std::this_thread::yield();
      continue;
    }
    // No yield after a delivery: on a busy machine each one gave away a
    // whole time slice, and a stream of messages (three for every closed
    // connection) then piled up faster than the bus let them go (speed only).
    std::lock_guard<std::mutex> again(_queue_mutex);
    _queue.pop_front();
    --_queue_count;
  }
}
