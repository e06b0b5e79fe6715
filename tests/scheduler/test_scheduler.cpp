// The job scheduler: numbering, results and their ownership, cyclic jobs,
// stopping, masks, and the failure behaviours.
#include <gtest/gtest.h>

#include <dirent.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <vector>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/scheduler/hkgavetascheduler2.h>
#include "test_support.h"

using namespace std::chrono_literals;
using tovik_test::staysFor;
using tovik_test::waitUntil;

namespace {

using Params = HKGavetaJobParametersAndResult;

// A parameter object that reports its death.
class Counted : public HKGavetaJobParametersAndResult {
 public:
  Counted(HK_GJA_type type, std::atomic<int>* deaths) : HKGavetaJobParametersAndResult(type, 7), _deaths(deaths) {}
  using HKGavetaJobParametersAndResult::operator=;
  ~Counted() override {
    if (_deaths != nullptr) _deaths->fetch_add(1);
  }

 private:
  std::atomic<int>* _deaths;
};

// Access to the scheduler's inner state, for checks only.
class InspectableScheduler : public HKGavetaScheduler2 {
 public:
  explicit InspectableScheduler(uint64_t maxJobs = 0) { _max_jobs = maxJobs; }
  bool started() {
    std::lock_guard<std::mutex> s(_state_mutex);
    return _started;
  }
  size_t readySize() {
    std::lock_guard<std::mutex> s(_state_mutex);
    return _ready.size();
  }
  size_t jobCount() {
    std::lock_guard<std::mutex> s(_state_mutex);
    return _jobs.size();
  }
  size_t runningCount() {
    std::lock_guard<std::mutex> s(_state_mutex);
    return _running.size();
  }
  bool isStopID(uint64_t id) {
    std::lock_guard<std::mutex> t(_timing_mutex);
    return _stop_ids.count(id) != 0;
  }
  // The attributes of a job record that is still kept.
  bool recordActive(uint64_t id) {
    std::lock_guard<std::mutex> s(_state_mutex);
    return _jobs.at(id)->_attributes._jo_active;
  }
  bool hasServiceThreads() {
    std::lock_guard<std::mutex> s(_state_mutex);
    return _cycle_future != nullptr && _finish_future != nullptr && _timing_future != nullptr;
  }
};

HKGavetaJobAtttributes named(const std::string& name, HK_GJA_type type = HK_GJA_ONCE) {
  HKGavetaJobAtttributes a;
  a._jo_name = name;
  a._jo_type = type;
  return a;
}

// Returns its own parameter object.
HKGavetaJobFunction returnParams() {
  return [](Params* p) { return p; };
}

// Polls IsReady with a bound, then fetches.
Params* fetch(HKGavetaScheduler2& s, unsigned long id) {
  if (!waitUntil([&] { return s.IsReady(id); })) return nullptr;
  return s.GetResult(id);
}

size_t threadCount() {
  size_t n = 0;
  if (DIR* d = opendir("/proc/self/task")) {
    while (dirent* e = readdir(d))
      if (e->d_name[0] != '.') ++n;
    closedir(d);
  }
  return n;
}

// A gate that job threads wait on, bounded so that no test can hang.
struct Gate {
  std::atomic<bool> open{false};
  std::atomic<int> waiting{0};
  void pass() {
    waiting.fetch_add(1);
    waitUntil([&] { return open.load(); }, 20000ms);
    waiting.fetch_sub(1);
  }
};

}  // namespace

// ---- Edge cases of the scheduler ----

TEST(SchedulerEdge, ConsecutiveNumbersAndFirstOfProcessIsOne) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // A fresh process: its first job gets 1, the next 2.
  EXPECT_EXIT(
      {
        HKGavetaScheduler2 s;
        const unsigned long a = s.Inject(returnParams(), nullptr, named("a"));
        const unsigned long b = s.Inject(returnParams(), nullptr, named("b"));
        const bool ok = a == 1 && b == 2 && fetch(s, a) != nullptr && fetch(s, b) != nullptr;
        std::_Exit(ok ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
  // And in this process: back to back, consecutive.
  HKGavetaScheduler2 s;
  const unsigned long a = s.Inject(returnParams(), nullptr, named("a"));
  const unsigned long b = s.Inject(returnParams(), nullptr, named("b"));
  EXPECT_EQ(b, a + 1);
  delete fetch(s, a);
  delete fetch(s, b);
}

TEST(SchedulerEdge, StartWithoutJobsStartsNoThreadAndReturnsOne) {
  InspectableScheduler s;
  const size_t before = threadCount();
  EXPECT_EQ(s.Start(), 1);
  std::this_thread::sleep_for(50ms);
  EXPECT_FALSE(s.started());
  EXPECT_FALSE(s.hasServiceThreads());
  EXPECT_EQ(threadCount(), before);
}

TEST(SchedulerEdge, UnknownNumberIsReadyAndHasNoResult) {
  HKGavetaScheduler2 s;
  EXPECT_TRUE(s.IsReady(987654321));
  EXPECT_EQ(s.GetResult(987654321), nullptr);
}

TEST(SchedulerEdge, GetResultOfRunningJobIsNullAndLeavesJob) {
  InspectableScheduler s;
  Gate gate;
  const unsigned long id = s.Inject(
      [&](Params* p) {
        gate.pass();
        return p;
      },
      nullptr, named("held"));
  ASSERT_TRUE(waitUntil([&] { return gate.waiting.load() == 1; }));
  EXPECT_EQ(s.GetResult(id), nullptr);
  EXPECT_FALSE(s.IsReady(id));
  EXPECT_EQ(s.jobCount(), 1u);
  gate.open = true;
  Params* r = fetch(s, id);
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->GetID(), id);
  delete r;
}

TEST(SchedulerEdge, OneShotGetResultRemovesJob) {
  InspectableScheduler s;
  const unsigned long id = s.Inject(returnParams(), nullptr, named("once"));
  Params* r = fetch(s, id);
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(s.GetResult(id), nullptr);
  EXPECT_TRUE(s.IsReady(id));
  EXPECT_EQ(s.jobCount(), 0u);
  delete r;
}

TEST(SchedulerEdge, JobReturningItsParamsHandsThemOverAndTheySurvive) {
  HKGavetaScheduler2 s;
  std::atomic<int> deaths{0};
  auto* params = new Counted(HK_GJA_ONCE, &deaths);
  const unsigned long id = s.Inject(returnParams(), params, named("own"));
  Params* r = fetch(s, id);
  EXPECT_EQ(r, params);
  EXPECT_EQ(deaths.load(), 0);  // the record died without deleting it
  EXPECT_EQ(r->GetResulttype(), 7u);
  delete r;
  EXPECT_EQ(deaths.load(), 1);
}

TEST(SchedulerEdge, JobReturningNewObjectCallerOwnsItParamsDieWithRecord) {
  HKGavetaScheduler2 s;
  std::atomic<int> paramDeaths{0}, resultDeaths{0};
  auto* params = new Counted(HK_GJA_ONCE, &paramDeaths);
  const unsigned long id = s.Inject(
      [&](Params* p) {
        auto* fresh = new Counted(HK_GJA_ONCE, &resultDeaths);
        *fresh = *p;  // carries the job's number
        return fresh;
      },
      params, named("new"));
  Params* r = fetch(s, id);
  ASSERT_NE(r, nullptr);
  EXPECT_NE(r, params);
  EXPECT_EQ(r->GetID(), id);
  EXPECT_EQ(paramDeaths.load(), 1);
  EXPECT_EQ(resultDeaths.load(), 0);
  delete r;
  EXPECT_EQ(resultDeaths.load(), 1);
}

TEST(SchedulerEdge, CyclicJobWithZeroDelayRunsAgain) {
  HKGavetaScheduler2 s;
  std::atomic<int> runs{0};
  s.Inject(
      [&](Params* p) {
        runs.fetch_add(1);
        return p;
      },
      nullptr, named("cyclic0", HK_GJA_CYCLIC));
  EXPECT_TRUE(waitUntil([&] { return runs.load() >= 5; }));
}

TEST(SchedulerEdge, CyclicJobWith100msRunsNotEarlierThan90msAfterTheRunBefore) {
  HKGavetaScheduler2 s;
  std::mutex m;
  std::vector<std::chrono::steady_clock::time_point> starts, ends;
  HKGavetaJobAtttributes a = named("cyclic100", HK_GJA_CYCLIC);
  a._jo_delay_ms = 100;
  s.Inject(
      [&](Params* p) {
        std::lock_guard<std::mutex> g(m);
        starts.push_back(std::chrono::steady_clock::now());
        ends.push_back(std::chrono::steady_clock::now());
        return p;
      },
      nullptr, a);
  ASSERT_TRUE(waitUntil([&] {
    std::lock_guard<std::mutex> g(m);
    return starts.size() >= 4;
  }));
  std::lock_guard<std::mutex> g(m);
  for (size_t i = 1; i < starts.size(); ++i)
    EXPECT_GE(std::chrono::duration_cast<std::chrono::milliseconds>(starts[i] - ends[i - 1]).count(), 90)
        << "run " << i;
}

TEST(SchedulerEdge, DelayPartsAddUp) {
  HKGavetaScheduler2 s;
  std::mutex m;
  std::vector<std::chrono::steady_clock::time_point> times;
  HKGavetaJobAtttributes a = named("parts", HK_GJA_CYCLIC);
  a._jo_delay_ms = 60;
  a._jo_delay_us = 60000;  // 60 ms more: 120 ms in all
  s.Inject(
      [&](Params* p) {
        std::lock_guard<std::mutex> g(m);
        times.push_back(std::chrono::steady_clock::now());
        return p;
      },
      nullptr, a);
  ASSERT_TRUE(waitUntil([&] {
    std::lock_guard<std::mutex> g(m);
    return times.size() >= 3;
  }));
  std::lock_guard<std::mutex> g(m);
  for (size_t i = 1; i < times.size(); ++i)
    EXPECT_GE(std::chrono::duration_cast<std::chrono::milliseconds>(times[i] - times[i - 1]).count(), 110);
}

TEST(SchedulerEdge, CyclicResultReplacedEachRunFormerDeletedGetResultKeepsJob) {
  InspectableScheduler s;
  std::atomic<int> paramDeaths{0}, resultDeaths{0}, runs{0};
  auto* params = new Counted(HK_GJA_CYCLIC, &paramDeaths);
  HKGavetaJobAtttributes a = named("replacing", HK_GJA_CYCLIC);
  a._jo_delay_ms = 5;
  const unsigned long id = s.Inject(
      [&](Params* p) {
        auto* fresh = new Counted(HK_GJA_CYCLIC, &resultDeaths);
        *fresh = *p;
        runs.fetch_add(1);
        return fresh;
      },
      params, a);
  // Each collected run deletes the result of the run before.
  ASSERT_TRUE(waitUntil([&] { return resultDeaths.load() >= 3; }));
  EXPECT_EQ(paramDeaths.load(), 0);
  ASSERT_TRUE(waitUntil([&] { return s.IsReady(id); }));
  Params* r = s.GetResult(id);
  ASSERT_NE(r, nullptr);
  EXPECT_NE(r, params);
  EXPECT_EQ(s.jobCount(), 1u);  // the job stays
  const int seen = runs.load();
  EXPECT_TRUE(waitUntil([&] { return runs.load() > seen + 1; }));  // and goes on
  delete r;
  // Tidy: stop it, take its last result, which removes it.
  s.StopID(id);
  Params* last = fetch(s, id);
  ASSERT_NE(last, nullptr);
  EXPECT_NE(last, params);
  delete last;
  EXPECT_EQ(s.jobCount(), 0u);
  EXPECT_EQ(paramDeaths.load(), 1);
}

TEST(SchedulerEdge, CyclicJobReturningSameObjectKeepsIt) {
  HKGavetaScheduler2 s;
  std::atomic<int> deaths{0}, runs{0};
  auto* params = new Counted(HK_GJA_CYCLIC, &deaths);
  s.Inject(
      [&](Params* p) {
        runs.fetch_add(1);
        return p;
      },
      params, named("same", HK_GJA_CYCLIC));
  ASSERT_TRUE(waitUntil([&] { return runs.load() >= 4; }));
  EXPECT_EQ(deaths.load(), 0);
}

TEST(SchedulerEdge, CyclicJobAfterStopIDNotQueuedAgainGetResultRemovesIt) {
  InspectableScheduler s;
  std::atomic<int> runs{0}, deaths{0};
  auto* params = new Counted(HK_GJA_CYCLIC, &deaths);
  HKGavetaJobAtttributes a = named("stopped", HK_GJA_CYCLIC);
  a._jo_delay_ms = 20;
  const unsigned long id = s.Inject(
      [&](Params* p) {
        runs.fetch_add(1);
        return p;
      },
      params, a);
  ASSERT_TRUE(waitUntil([&] { return runs.load() >= 2; }));
  s.StopID(id);
  EXPECT_TRUE(s.isStopID(id));
  Params* r = fetch(s, id);
  EXPECT_EQ(r, params);
  EXPECT_FALSE(s.isStopID(id));  // the number left the stop set
  EXPECT_EQ(s.jobCount(), 0u);
  EXPECT_TRUE(s.IsReady(id));
  EXPECT_EQ(s.GetResult(id), nullptr);
  const int after = runs.load();
  EXPECT_TRUE(staysFor([&] { return runs.load() == after; }, 300ms));
  EXPECT_EQ(deaths.load(), 0);  // removed: the caller owns it now
  delete r;
  EXPECT_EQ(deaths.load(), 1);
}

TEST(SchedulerEdge, StopIDOfJobStillInReadyDropsItUnrun) {
  InspectableScheduler s;
  Gate gate;
  std::atomic<bool> secondRan{false};
  HKGavetaJobAtttributes a = named("first");
  a._jo_blocking = 1;
  const unsigned long first = s.Inject(
      [&](Params* p) {
        gate.pass();
        return p;
      },
      nullptr, a);
  ASSERT_TRUE(waitUntil([&] { return gate.waiting.load() == 1; }));
  a._jo_name = "second";  // shares the mask bit: held in _ready
  const unsigned long second = s.Inject(
      [&](Params* p) {
        secondRan = true;
        return p;
      },
      nullptr, a);
  EXPECT_EQ(s.readySize(), 1u);
  s.StopID(second);
  gate.open = true;
  delete fetch(s, first);
  // Mask bits accumulate; recomputing them lets the cycle thread look at the
  // stopped job, which it then drops.
  s._evaluate_tasks_blocking();
  EXPECT_TRUE(waitUntil([&] { return s.readySize() == 0; }));
  EXPECT_TRUE(staysFor([&] { return !s.IsReady(second); }, 300ms));
  EXPECT_EQ(s.GetResult(second), nullptr);
  EXPECT_FALSE(secondRan.load());
  EXPECT_EQ(s.jobCount(), 1u);  // kept until the scheduler dies
}

TEST(SchedulerEdge, StopWithJobIgnoringItsHookBlocksUntilItEnds) {
  auto s = std::make_unique<InspectableScheduler>();
  std::atomic<bool> release{false}, stopped{false};
  std::atomic<int> hookCalls{0};
  HKGavetaJobAtttributes a = named("stubborn");
  a._jo_stop = [&] { hookCalls.fetch_add(1); };
  std::atomic<bool> inside{false};
  const unsigned long id = s->Inject(
      [&](Params* p) {
        inside = true;
        waitUntil([&] { return release.load(); }, 20000ms);
        return p;
      },
      nullptr, a);
  ASSERT_TRUE(waitUntil([&] { return inside.load(); }));
  std::thread stopper([&] {
    s->Stop();
    stopped = true;
  });
  EXPECT_TRUE(waitUntil([&] { return hookCalls.load() == 1; }));
  EXPECT_TRUE(staysFor([&] { return !stopped.load(); }, 400ms));
  release = true;
  EXPECT_TRUE(waitUntil([&] { return stopped.load(); }));
  stopper.join();
  EXPECT_EQ(hookCalls.load(), 1);
  EXPECT_FALSE(s->recordActive(id));  // Stop marked the running job inactive
  delete s->GetResult(id);
}

TEST(SchedulerEdge, PauseAndInjectImmediateReturnZeroAndChangeNothing) {
  InspectableScheduler s;
  std::atomic<bool> ran{false};
  HKGavetaJobAndParams record(
      [&](Params* p) {
        ran = true;
        return p;
      },
      nullptr, named("immediate"));
  EXPECT_EQ(s.Pause(5), 0);
  EXPECT_EQ(s.InjectImmediate(&record), 0);
  EXPECT_EQ(s.jobCount(), 0u);
  EXPECT_EQ(s.readySize(), 0u);
  EXPECT_FALSE(s.started());
  std::this_thread::sleep_for(50ms);
  EXPECT_FALSE(ran.load());
}

TEST(SchedulerEdge, MaxJobsOneWithThreeReadyFirstPassStartsAllThree) {
  InspectableScheduler s(1);
  Gate first;
  Gate others;
  const unsigned long a = s.Inject(
      [&](Params* p) {
        first.pass();
        return p;
      },
      nullptr, named("a"));
  ASSERT_TRUE(waitUntil([&] { return first.waiting.load() == 1; }));
  std::vector<unsigned long> ids;
  for (const char* name : {"b", "c", "d"}) {
    ids.push_back(s.Inject(
        [&](Params* p) {
          others.pass();
          return p;
        },
        nullptr, named(name)));
  }
  // The limit holds them while "a" runs.
  EXPECT_TRUE(staysFor([&] { return s.readySize() == 3 && others.waiting.load() == 0; }, 200ms));
  first.open = true;
  // One pass starts all three at once, over the limit.
  EXPECT_TRUE(waitUntil([&] { return others.waiting.load() == 3; }));
  EXPECT_EQ(s.runningCount(), 3u);
  others.open = true;
  delete fetch(s, a);
  for (auto id : ids) delete fetch(s, id);
}

// ---- further stated behaviours ----

TEST(SchedulerBehaviour, RecordMakesItsOwnParamsOfTypeAndResultTypeOne) {
  HKGavetaJobAndParams record(returnParams(), nullptr, named("own", HK_GJA_CYCLIC));
  ASSERT_NE(record.params, nullptr);
  EXPECT_EQ(record.params->GetJobType(), HK_GJA_CYCLIC);
  EXPECT_EQ(record.params->GetResulttype(), 1u);
  EXPECT_EQ(record.params->GetID(), 0u);
  EXPECT_EQ(record.result, nullptr);
}

TEST(SchedulerBehaviour, ParamsAssignmentCopiesIdAndResulttypeNotJobtype) {
  Params a(HK_GJA_CYCLIC, 3), b(HK_GJA_ONCE, 9);
  a.SetID(42);
  b = a;
  EXPECT_EQ(b.GetID(), 42u);
  EXPECT_EQ(b.GetResulttype(), 3u);
  EXPECT_EQ(b.GetJobType(), HK_GJA_ONCE);
}

TEST(SchedulerBehaviour, AttributeDefaults) {
  HKGavetaJobAtttributes a;
  EXPECT_TRUE(a._jo_active);
  EXPECT_EQ(a._jo_type, HK_GJA_ONCE);
  EXPECT_EQ(a._jo_blocking, 0u);
  EXPECT_EQ(a._jo_name, "unknown");
  EXPECT_EQ(a._jo_delay_us, 0u);
  EXPECT_EQ(a._jo_delay_ms, 0u);
  EXPECT_EQ(a._jo_due, 0);
  ASSERT_TRUE(static_cast<bool>(a._jo_stop));
  a._jo_stop();  // the default hook does nothing
}

TEST(SchedulerBehaviour, CyclicJobEndsItsCycleByReturningAnotherType) {
  InspectableScheduler s;
  std::atomic<int> runs{0};
  // Each run returns a new object (the job's own parameter object would
  // still be in use by the next run while the caller looks at it).
  const unsigned long id = s.Inject(
      [&](Params* p) {
        const bool last = runs.fetch_add(1) + 1 == 3;
        auto* fresh = new Params(last ? HK_GJA_ONCE : HK_GJA_CYCLIC, 0);
        *fresh = *p;
        return fresh;
      },
      nullptr, named("three", HK_GJA_CYCLIC));
  bool ended = false;
  ASSERT_TRUE(waitUntil([&] {
    Params* r = s.IsReady(id) ? s.GetResult(id) : nullptr;
    if (r != nullptr) {
      ended = r->GetJobType() == HK_GJA_ONCE;
      delete r;
    }
    return ended;
  }));
  EXPECT_EQ(runs.load(), 3);
  EXPECT_EQ(s.jobCount(), 0u);  // once no longer cyclic, GetResult removed it
  EXPECT_TRUE(staysFor([&] { return runs.load() == 3; }, 200ms));
}

TEST(SchedulerBehaviour, StopIDDoesNotCallTheStopHook) {
  HKGavetaScheduler2 s;
  Gate gate;
  std::atomic<int> hookCalls{0};
  HKGavetaJobAtttributes a = named("quiet");
  a._jo_stop = [&] { hookCalls.fetch_add(1); };
  const unsigned long id = s.Inject(
      [&](Params* p) {
        gate.pass();
        return p;
      },
      nullptr, a);
  ASSERT_TRUE(waitUntil([&] { return gate.waiting.load() == 1; }));
  s.StopID(id);
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(hookCalls.load(), 0);
  gate.open = true;
  delete fetch(s, id);
}

TEST(SchedulerBehaviour, StoppedJobIsNotReadyWhileItsLastRunIsUnderWay) {
  InspectableScheduler s;
  Gate gate;
  std::atomic<int> runs{0};
  auto* params = new Counted(HK_GJA_CYCLIC, nullptr);
  const unsigned long id = s.Inject(
      [&](Params* p) {
        if (runs.fetch_add(1) + 1 == 2) gate.pass();
        return p;
      },
      params, named("second run held", HK_GJA_CYCLIC));
  ASSERT_TRUE(waitUntil([&] { return gate.waiting.load() == 1; }));
  // The first run's result is there, but the job still works on its record.
  s.StopID(id);
  EXPECT_FALSE(s.IsReady(id));
  EXPECT_EQ(s.GetResult(id), nullptr);
  EXPECT_EQ(s.jobCount(), 1u);
  gate.open = true;
  Params* r = fetch(s, id);
  EXPECT_EQ(r, params);
  EXPECT_EQ(runs.load(), 2);
  EXPECT_EQ(s.jobCount(), 0u);
  delete r;
}

TEST(SchedulerBehaviour, StopTwiceAndStopOfIdleSchedulerReturnOne) {
  HKGavetaScheduler2 idle;
  EXPECT_EQ(idle.Stop(), 1);
  EXPECT_EQ(idle.Stop(), 1);
  HKGavetaScheduler2 s;
  delete fetch(s, s.Inject(returnParams(), nullptr, named("one")));
  EXPECT_EQ(s.Stop(), 1);
  EXPECT_EQ(s.Stop(), 1);
}

TEST(SchedulerBehaviour, JobInjectedAfterStopIsKeptAndNeverRuns) {
  InspectableScheduler s;
  delete fetch(s, s.Inject(returnParams(), nullptr, named("before")));
  s.Stop();
  std::atomic<bool> ran{false};
  const unsigned long id = s.Inject(
      [&](Params* p) {
        ran = true;
        return p;
      },
      nullptr, named("after"));
  EXPECT_TRUE(staysFor([&] { return !ran.load() && !s.IsReady(id); }, 200ms));
  EXPECT_EQ(s.jobCount(), 1u);
  InspectableScheduler never;
  never.Stop();
  never.Inject(returnParams(), nullptr, named("after stop"));
  EXPECT_FALSE(never.hasServiceThreads());
}

TEST(SchedulerBehaviour, StopCallsHooksOfRunningJobsOnly) {
  auto s = std::make_unique<InspectableScheduler>();
  std::atomic<int> runningHook{0}, timedHook{0};
  std::atomic<bool> run{true};
  HKGavetaJobAtttributes looping = named("loop");
  looping._jo_stop = [&] {
    runningHook.fetch_add(1);
    run = false;
  };
  std::atomic<bool> inside{false};
  s->Inject(
      [&](Params* p) {
        inside = true;
        waitUntil([&] { return !run.load(); }, 20000ms);
        return p;
      },
      nullptr, looping);
  HKGavetaJobAtttributes waiting = named("timed", HK_GJA_CYCLIC);
  waiting._jo_delay_ms = 60000;  // waits in _timing after its first run
  waiting._jo_stop = [&] { timedHook.fetch_add(1); };
  std::atomic<int> timedRuns{0};
  s->Inject(
      [&](Params* p) {
        timedRuns.fetch_add(1);
        return p;
      },
      nullptr, waiting);
  ASSERT_TRUE(waitUntil([&] { return inside.load() && timedRuns.load() == 1; }));
  std::this_thread::sleep_for(30ms);
  EXPECT_EQ(s->Stop(), 1);
  EXPECT_EQ(runningHook.load(), 1);
  EXPECT_EQ(timedHook.load(), 0);
  EXPECT_EQ(timedRuns.load(), 1);
}

TEST(SchedulerBehaviour, MaskBitsAccumulateUntilRecomputed) {
  InspectableScheduler s;
  HKGavetaJobAtttributes a = named("masked");
  a._jo_blocking = 2;
  delete fetch(s, s.Inject(returnParams(), nullptr, a));
  // The first job has ended, and still its bit blocks the next one.
  std::atomic<bool> ran{false};
  const unsigned long second = s.Inject(
      [&](Params* p) {
        ran = true;
        return p;
      },
      nullptr, a);
  HKGavetaJobAtttributes other = named("other bit");
  other._jo_blocking = 4;
  delete fetch(s, s.Inject(returnParams(), nullptr, other));  // not blocked
  EXPECT_TRUE(staysFor([&] { return !ran.load(); }, 200ms));
  s._evaluate_tasks_blocking();
  Params* r = fetch(s, second);
  EXPECT_NE(r, nullptr);
  EXPECT_TRUE(ran.load());
  delete r;
}

TEST(SchedulerBehaviour, ManyQuickJobsAreAllCollected) {
  // Quick one-shot jobs finish before the finish thread waits again; none of
  // their results may be stranded.
  HKGavetaScheduler2 s;
  for (int i = 0; i < 200; ++i) {
    const unsigned long id = s.Inject(returnParams(), nullptr, named("quick"));
    Params* r = fetch(s, id);
    ASSERT_NE(r, nullptr) << "job " << i;
    delete r;
  }
}

TEST(SchedulerBehaviour, ConcurrentInjectorsGetDistinctNumbersAndAllResults) {
  HKGavetaScheduler2 s;
  std::mutex m;
  std::vector<unsigned long> ids;
  std::vector<std::thread> injectors;
  for (int t = 0; t < 4; ++t) {
    injectors.emplace_back([&] {
      for (int i = 0; i < 25; ++i) {
        const unsigned long id = s.Inject(returnParams(), nullptr, named("parallel"));
        std::lock_guard<std::mutex> g(m);
        ids.push_back(id);
      }
    });
  }
  for (auto& t : injectors) t.join();
  std::sort(ids.begin(), ids.end());
  EXPECT_EQ(std::unique(ids.begin(), ids.end()), ids.end());
  for (auto id : ids) {
    Params* r = fetch(s, id);
    ASSERT_NE(r, nullptr);
    delete r;
  }
}

// ---- failures that are part of the contract ----

TEST(SchedulerFailure, EmptyStopHookIsBadFunctionCallOutOfStop) {
  InspectableScheduler s;
  std::atomic<bool> release{false}, inside{false};
  HKGavetaJobAtttributes a = named("no hook");
  a._jo_stop = nullptr;
  const unsigned long id = s.Inject(
      [&](Params* p) {
        inside = true;
        waitUntil([&] { return release.load(); }, 20000ms);
        return p;
      },
      nullptr, a);
  ASSERT_TRUE(waitUntil([&] { return inside.load(); }));
  EXPECT_THROW(s.Stop(), std::bad_function_call);
  release = true;
  ASSERT_TRUE(waitUntil([&] { return s.runningCount() == 0; }));
  EXPECT_EQ(s.Stop(), 1);  // nothing runs now, so no hook is called
  delete s.GetResult(id);
}

TEST(SchedulerFailure, NullResultEndsFinishThreadAndTheProcessAtDestruction) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        auto* s = new HKGavetaScheduler2;
        s->Inject([](Params*) -> Params* { return nullptr; }, nullptr, named("null"));
        std::this_thread::sleep_for(300ms);
        // The finish thread has ended: no further result is collected.
        const unsigned long later = s->Inject(returnParams(), nullptr, named("later"));
        if (!staysFor([&] { return !s->IsReady(later); }, 400ms)) std::_Exit(3);
        delete s;  // rethrows the kept exception in a destructor
        std::_Exit(4);
      },
      ::testing::KilledBySignal(SIGABRT), "irregular return condition \\(nullptr\\) for a task");
}

TEST(SchedulerFailure, ThrowingJobStaysRunningAndStopNeverEnds) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        auto* s = new InspectableScheduler;
        const unsigned long id =
            s->Inject([](Params*) -> Params* { throw std::runtime_error("job failed"); }, nullptr, named("throws"));
        std::this_thread::sleep_for(200ms);
        if (s->IsReady(id) || s->runningCount() != 1) std::_Exit(3);
        std::atomic<bool> stopped{false};
        std::thread([&] {
          s->Stop();
          stopped = true;
        }).detach();
        if (!staysFor([&] { return !stopped.load(); }, 500ms)) std::_Exit(4);
        std::_Exit(0);  // the scheduler can't be destroyed: leave it
      },
      ::testing::ExitedWithCode(0), "");
}

TEST(SchedulerFailure, EmptyJobFunctionBehavesAsThrowingJob) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        auto* s = new InspectableScheduler;
        const unsigned long id = s->Inject(HKGavetaJobFunction(), nullptr, named("empty"));
        std::this_thread::sleep_for(200ms);
        std::_Exit(!s->IsReady(id) && s->runningCount() == 1 ? 0 : 3);
      },
      ::testing::ExitedWithCode(0), "");
}
