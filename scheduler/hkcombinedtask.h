// The message bus of the process.
//
// A combined task is a named group of jobs: a job creates a task, others
// join it, and messages are sent to any member by its text identity. There
// is exactly one bus, `HKJob::_combinedTasks`; its own thread delivers the
// queued messages, so a receiver's code runs in the bus thread and never in
// the sender's. Jobs aren't owned by the bus: a job leaves every task before
// it dies (the destructor of HKJob sees to that).
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>

#include <toviktwo/scheduler/hkjidgenerator.h>
#include <toviktwo/scheduler/hkjobmessage.h>

class HKJob;

class HKCombinedTask {
 public:
  // Starts the bus thread.
  HKCombinedTask();
  HKCombinedTask(const HKCombinedTask&) = delete;
  HKCombinedTask& operator=(const HKCombinedTask&) = delete;
  // Stops and joins the bus thread; queued messages are dropped.
  ~HKCombinedTask();

  // A new task of the form "joinedtask*" and 18 digits; its creator is its
  // first member and its owner.
  std::string createCombinedTask(HKJob& job, const std::string& name);
  // False when the task doesn't exist.
  bool joinTask(const std::string& task, HKJob& job);
  // The job leaves one task. When the owner leaves, the remaining members
  // are told by a message of kind 6 and the task ends.
  void exitTask(const std::string& task, const std::string& jobID);
  // The job leaves every task.
  void exitTasks(const std::string& jobID);
  // Queues a copy of the message for the job and wakes the bus thread. A
  // message to an identity that isn't on the bus is dropped later, silently.
  void sendTo(std::string jobID, HKJobMessage& message);
  long countTasks();
  void forceMessageing();
  void statistics();

  static HKJIDGenerator _taskidgen;

 private:
  void _messaging();
  // Caller holds _task_mutex and _queue_mutex.
  void _exitTaskNL(const std::string& task, const std::string& jobID);
  void _enterMemberNL(const std::string& task, HKJob& job);
  // Wakes the bus thread so that the wake-up cannot be lost: the event count
  // changes under the wait's mutex.
  void _wake();

  std::recursive_mutex _task_mutex;
  std::mutex _aux_mutex;
  std::recursive_mutex _aux_recursive_mutex;
  std::mutex _wait_mutex;
  std::mutex _queue_mutex;
  std::condition_variable _queue_cv;
  std::atomic<int> _stop{0};
  std::atomic<uint64_t> _events{0};  // changed under _wait_mutex
  std::unique_ptr<std::thread> _thread;
  std::map<std::string, HKJob*> _task_owner;
  std::map<std::string, std::string> _task_name;
  std::map<std::string, HKJob*> _members;
  std::map<std::string, std::set<std::string>> _tasks_of_job;
  std::map<std::string, std::set<std::string>> _jobs_of_task;
  std::list<std::pair<std::string, HKJobMessage>> _queue;
  uint64_t _queue_count = 0;
};
