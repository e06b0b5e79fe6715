// The common base of everything that has an identity, a state and a place
// on the job bus: headers, connections, servers, clients, scenarios.
//
// An HKJob is not a unit of scheduling (a scheduler job is a function); it
// gives a unique text identity, a guarded state value, addressing by text
// through combined tasks, and a process-wide count of live jobs.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>

#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/scheduler/hkcombinedtask.h>
#include <toviktwo/scheduler/hkjidgenerator.h>
#include <toviktwo/scheduler/hkjobmessage.h>

class HKJob {
 public:
  // The base gives the numbers no meaning. 0 is the initial state.
  enum _jobstates_t : int {};

  // Takes an identity "_job*..." and counts the job.
  HKJob();
  HKJob(const HKJob&) = delete;
  HKJob& operator=(const HKJob&) = delete;

 protected:
  // Receives a message in the bus thread; the base version does nothing.
  virtual bool _messagereceive(HKJobMessage& message);
  // Sends a message; the base version does nothing and returns false.
  virtual bool _sendto(std::string target, HKJobMessage& message);
  virtual std::string _createCombinedTask(const std::string& name);
  virtual void _exitTask(const std::string& name);
  virtual void _exitTasks();

 public:
  // Leaves every task, waits for a delivery in progress, uncounts the job.
  virtual ~HKJob();
  // Asks the state hook; `_state` takes `s` when the hook agrees. A value
  // equal to the present or the wanted state does nothing and tells whether
  // the job is in that state.
  virtual bool setState(_jobstates_t s);
  // Stores `name` as the last joined task, then joins it.
  virtual bool joinTask(const std::string& name);
  // Leaves the task; with an empty name the last joined task (which is then
  // cleared).
  virtual void exitTask(const std::string& name);
  virtual std::string createCombinedTask(const std::string& name);
  virtual std::string getLastJoinedTask();

  static long countJobs();
  static long countTasks();
  std::string& getID() { return _jobID; }
  static std::string& getError() { return __commonError; }
  _jobstates_t getState() const { return _state.load(); }
  _jobstates_t getStateWanted() const { return _state_wanted.load(); }

  // Called by the bus with `held` locked. When the job's own mutex is taken
  // the answer is false and `held` stays locked. Otherwise `held` is
  // unlocked, the message delivered (a receiver's exception is dropped) and
  // the answer is true.
  bool messageReceive(std::mutex& held, HKJobMessage& message);
  // Sends through `_sendto`; 1 when it reports success, else 0.
  long sendTox(std::string target, HKJobMessage& message);

  static HKJIDGenerator _jobidgen;
  static std::string __commonError;
  static HKCombinedTask _combinedTasks;

 protected:
  std::recursive_mutex _job_mutex;
  std::string _jobID;
  std::mutex _state_mutex;
  std::atomic<_jobstates_t> _state{_jobstates_t{}};
  std::atomic<_jobstates_t> _state_wanted{_jobstates_t{}};
  std::function<bool()> _state_hook = [] { return true; };
  std::string _lastJoinedTask;

  static std::atomic<long> _HKJobCount;
};

// A job with a timer that expires once per period.
class HKJobWithTimeout : public HKJob {
 public:
  // `timeout` in microseconds; the timer starts now.
  explicit HKJobWithTimeout(long timeout);

  // Restarts the timer, only while the job is alive.
  virtual void _resetTimer();
  // True on the one call that finds the timer run out; the call after it
  // makes the job alive again and returns false.
  virtual bool Timeout();

  bool isAlive() const { return _alive.load(); }

 protected:
  std::recursive_mutex _timer_mutex;
  int64_t _timeout;
  HKusTimer _timer;
  std::atomic<bool> _alive;
};
