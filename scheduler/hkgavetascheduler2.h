// The job scheduler: the one place where threads are started for work.
//
// A job is a callable with a parameter object and an attribute record. Each
// job that may run gets a thread of its own for as long as it runs; there is
// no pool. Beside the job threads a scheduler has three service threads
// (cycle, finish, timing), started together by the first `Start` that finds
// a job to run:
//   - the cycle thread alone starts jobs from `_ready`;
//   - the finish thread collects results, joins job threads and queues
//     cyclic jobs again;
//   - the timing thread moves cyclic jobs from `_timing` back to `_ready`
//     when their delay is (nearly) over.
//
// Ownership: the scheduler owns every job record until `GetResult` hands the
// result over. A job function must never return null and must not let an
// exception escape: either failure disables parts of the scheduler for good
// (see the comments of `_finishtask` and of the job launch).
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <future>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

// What happens to a job after a run. Every value other than 1 behaves as 0.
enum HK_GJA_type : int {
  HK_GJA_ONCE = 0,    // one run, then the job ends
  HK_GJA_CYCLIC = 1,  // queued again after its delay, until stopped
};

// The polymorphic object that travels through a job: the parameter handed to
// the job function and, as a rule, what the function returns.
//
// The finish thread files a returned object under its `id`. A job that
// returns a new object must therefore give it the job's number, e.g. by
// assigning the parameter object to it (`*result = *params`), which copies
// `id` and `resulttype`; an object with an unknown number is deleted.
class HKGavetaJobParametersAndResult {
 public:
  HKGavetaJobParametersAndResult(HK_GJA_type type, unsigned long resulttype);
  HKGavetaJobParametersAndResult(const HKGavetaJobParametersAndResult&) = default;
  virtual ~HKGavetaJobParametersAndResult();
  // Copies `id` and `resulttype`; `jobtype` deliberately stays as it is.
  virtual HKGavetaJobParametersAndResult& operator=(HKGavetaJobParametersAndResult& other);

  void SetJobType(HK_GJA_type type) { jobtype = type; }
  HK_GJA_type GetJobType() const { return jobtype; }
  uint64_t GetID() const { return id; }
  void SetID(uint64_t value) { id = value; }
  uint64_t GetResulttype() const { return resulttype; }

 protected:
  uint64_t id;          // job number, 0 until the scheduler sets it
  uint64_t resulttype;  // free for the application; 1 for records' own objects
  HK_GJA_type jobtype;  // read by the finish thread after each run
};

// The value record given with each job; copied on every hand-over.
struct HKGavetaJobAtttributes {
  // The stop hook, called by `Stop` (with the scheduler's state lock held,
  // so it must not call the scheduler). The usual hook clears a run flag.
  std::function<void()> _jo_stop = [] {};
  bool _jo_active = true;          // set to false by `Stop`; read by nobody
  HK_GJA_type _jo_type = HK_GJA_ONCE;
  uint64_t _jo_blocking = 0;       // exclusion mask used when jobs start
  std::string _jo_name = "unknown";
  uint64_t _jo_delay_us = 0;       // pause before a further run, µs part
  uint64_t _jo_delay_ms = 0;       // pause before a further run, ms part
  int64_t _jo_due = 0;             // next run, ns since the system clock's epoch
};

using HKGavetaJobFunction =
    std::function<HKGavetaJobParametersAndResult*(HKGavetaJobParametersAndResult*)>;

// The scheduler's record of one job.
class HKGavetaJobAndParams {
 public:
  // A null `params` makes the record create its own parameter object, of the
  // attributes' job type and with result type 1. The record owns `params`.
  HKGavetaJobAndParams(HKGavetaJobFunction job, HKGavetaJobParametersAndResult* params,
                       HKGavetaJobAtttributes attributes);
  HKGavetaJobAndParams(const HKGavetaJobAndParams&) = delete;
  HKGavetaJobAndParams& operator=(const HKGavetaJobAndParams&) = delete;
  // Deletes `params`; `result` is not touched.
  ~HKGavetaJobAndParams();

  HKGavetaJobFunction _job;
  HKGavetaJobAtttributes _attributes;
  HKGavetaJobParametersAndResult* params;
  HKGavetaJobParametersAndResult* result = nullptr;  // last run's, not yet fetched
};

class HKGavetaScheduler2 {
 public:
  HKGavetaScheduler2();
  HKGavetaScheduler2(const HKGavetaScheduler2&) = delete;
  HKGavetaScheduler2& operator=(const HKGavetaScheduler2&) = delete;
  // Stops, fetches the service threads' results and deletes the records
  // left. An exception kept by a service thread ends the process here.
  virtual ~HKGavetaScheduler2();

  // Registers a job and returns its number; the first job of the process
  // gets 1. A job injected after `Stop` is kept and never runs.
  unsigned long Inject(HKGavetaJobFunction job, HKGavetaJobParametersAndResult* params,
                       HKGavetaJobAtttributes attributes);
  // Starts the service threads when there is a job to run; returns 1.
  long Start();
  // Stops everything (see the implementation for the order); returns 1.
  // Has no time limit: it lasts as long as the slowest job needs to end.
  long Stop();
  // No further run for this number. A running job is not told.
  void StopID(unsigned long id);
  // True when the job has a result to fetch, and when the number is
  // unknown. A stopped job whose last run has not yet ended isn't ready.
  bool IsReady(unsigned long id);
  // Hands the result over, or null. A one-shot or stopped job is removed
  // and the caller owns the object. A cyclic job stays: when the object is
  // the job's own parameter object it still belongs to the job.
  HKGavetaJobParametersAndResult* GetResult(unsigned long id);
  // Queues a job for its next run after its delay (finish thread).
  void Inject_Timing(HKGavetaJobAndParams* job);
  // Called in a job's thread when its function has returned.
  void JobFinished(HKGavetaJobAndParams* job);
  // Placeholders of the interface: they do nothing and return 0.
  long Pause(long);
  long InjectImmediate(HKGavetaJobAndParams*);
  // Recomputes the exclusion mask from the running jobs. Nothing in the
  // library calls it: mask bits otherwise only accumulate.
  void _evaluate_tasks_blocking();

 protected:
  static unsigned long _newindex(void*);
  HKGavetaJobAndParams* _jobremove(HKGavetaJobAndParams* job);
  uint64_t _start_new_jobNL();
  long _cycletask();
  long _finishtask();
  long _timedtask();

  // Wakes the cycle thread so that the wake-up cannot be lost: the event
  // count changes under the wait's mutex.
  void _notify_cycle(bool all);
  // True while a record is somewhere between `_ready` and the end of the
  // finish thread's handling of its run. Caller holds all three locks.
  bool _in_flightNL(HKGavetaJobAndParams* job);

  using JobFuture = std::future<HKGavetaJobParametersAndResult*>;
  using ServiceFuture = std::future<long>;

  std::mutex _state_mutex;
  uint64_t _max_jobs = 0;
  uint64_t _cycle_us = 10000;
  std::atomic<bool> _stopping{false};
  bool _started = false;

  std::mutex _cycle_wait_mutex;
  std::condition_variable _cycle_cv;
  std::atomic<uint64_t> _cycle_events{0};  // changed under _cycle_wait_mutex
  std::unique_ptr<ServiceFuture> _cycle_future;

  std::mutex _finish_mutex;
  std::condition_variable _finish_cv;
  bool _finish_stop = false;  // under _finish_mutex: Stop's last wake-up was sent
  std::unique_ptr<ServiceFuture> _finish_future;

  std::condition_variable _timing_cv;
  std::unique_ptr<ServiceFuture> _timing_future;

  std::map<HKGavetaJobAndParams*, std::unique_ptr<JobFuture>> _running;   // _state_mutex
  std::map<HKGavetaJobAndParams*, std::unique_ptr<JobFuture>> _finished;  // _finish_mutex
  std::map<uint64_t, HKGavetaJobAndParams*> _jobs;                        // _state_mutex, owner
  std::list<HKGavetaJobAndParams*> _ready;                                // _state_mutex
  uint64_t _blocking_mask = 0;                                            // _state_mutex

  int64_t _next_due = 0;  // _timing_mutex
  bool _next_due_valid = false;
  std::list<HKGavetaJobAndParams*> _timing;  // _timing_mutex
  std::set<uint64_t> _stop_ids;              // _timing_mutex
  std::mutex _timing_mutex;

  // Shared by all schedulers of the process.
  static std::atomic<unsigned long> _idxcnt;
};
