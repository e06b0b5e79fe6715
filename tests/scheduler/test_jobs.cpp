// Jobs: identities, state, bus delivery, counts, time-outs.
#include <gtest/gtest.h>

#include <future>
#include <regex>
#include <set>
#include <stdexcept>
#include <thread>

#include <toviktwo/scheduler/hkjob.h>
#include "test_support.h"

using namespace std::chrono_literals;
using tovik_test::waitUntil;

namespace {

// A job whose state hook, receiver and mutex the tests control.
class ProbeJob : public HKJob {
 public:
  ~ProbeJob() override {
    // Leave the bus before this class's parts die.
    _combinedTasks.exitTasks(getID());
    std::lock_guard<std::recursive_mutex> wait(_job_mutex);
  }
  void setHook(std::function<bool()> hook) { _state_hook = std::move(hook); }
  std::recursive_mutex& jobMutex() { return _job_mutex; }
  std::atomic<int> received{0};
  bool throwOnReceive = false;

 protected:
  bool _messagereceive(HKJobMessage&) override {
    received.fetch_add(1);
    if (throwOnReceive) throw std::runtime_error("receiver failed");
    return true;
  }
};

HKJob::_jobstates_t state(int s) { return static_cast<HKJob::_jobstates_t>(s); }

// True when another thread can take `m` at this moment.
bool freeForOthers(std::mutex& m) {
  return std::async(std::launch::async, [&] {
           if (!m.try_lock()) return false;
           m.unlock();
           return true;
         }).get();
}

}  // namespace

// ---- Edge cases of jobs ----

TEST(JobEdge, TwoJobsHaveDifferentIdentitiesOfTheJobForm) {
  HKJob a;
  HKJob b;
  const std::regex form("^_job\\*[0-9]{18}$");
  EXPECT_TRUE(std::regex_match(a.getID(), form)) << a.getID();
  EXPECT_TRUE(std::regex_match(b.getID(), form)) << b.getID();
  EXPECT_NE(a.getID(), b.getID());
}

TEST(JobEdge, AnyStringHasCallersPrefixNoStarAnd19Characters) {
  HKJIDGenerator generator("x");
  const std::string s = generator.getAnyString("y");
  EXPECT_EQ(s.size(), 19u);
  EXPECT_EQ(s[0], 'y');
  EXPECT_EQ(s.find('*'), std::string::npos);
  EXPECT_TRUE(std::regex_match(s, std::regex("^y[0-9]{18}$"))) << s;
}

TEST(JobEdge, SetStateWithPresentValueDoesNotCallHook) {
  ProbeJob job;
  int calls = 0;
  job.setHook([&] {
    ++calls;
    return true;
  });
  EXPECT_TRUE(job.setState(state(0)));  // the initial state
  EXPECT_EQ(calls, 0);
  EXPECT_TRUE(job.setState(state(6)));
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(job.getState(), state(6));
  job.setState(state(6));
  EXPECT_EQ(calls, 1);
}

TEST(JobEdge, RefusingHookKeepsStateAndRepeatDoesNotCallItAgain) {
  ProbeJob job;
  int calls = 0;
  job.setHook([&] {
    ++calls;
    return false;
  });
  EXPECT_FALSE(job.setState(state(5)));
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(job.getState(), state(0));
  EXPECT_EQ(job.getStateWanted(), state(5));
  EXPECT_FALSE(job.setState(state(5)));
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(job.getState(), state(0));
  // Another value asks the hook again.
  job.setState(state(1));
  EXPECT_EQ(calls, 2);
}

TEST(JobEdge, MessageReceiveOnJobHeldByAnotherThreadReturnsFalseAndKeepsHeldLocked) {
  ProbeJob job;
  std::atomic<bool> holding{false}, release{false};
  std::thread holder([&] {
    std::lock_guard<std::recursive_mutex> g(job.jobMutex());
    holding = true;
    waitUntil([&] { return release.load(); });
  });
  ASSERT_TRUE(waitUntil([&] { return holding.load(); }));
  std::mutex held;
  held.lock();
  HKJobMessage message("tester", HKMSG_CLIENT_SIGNAL, "x");
  EXPECT_FALSE(job.messageReceive(held, message));
  EXPECT_FALSE(freeForOthers(held));  // still locked
  EXPECT_EQ(job.received.load(), 0);
  held.unlock();
  release = true;
  holder.join();
}

TEST(JobEdge, MessageReceiveWithThrowingReceiverReturnsTrue) {
  ProbeJob job;
  job.throwOnReceive = true;
  std::mutex held;
  held.lock();
  HKJobMessage message("tester", HKMSG_CLIENT_SIGNAL, "x");
  EXPECT_TRUE(job.messageReceive(held, message));
  EXPECT_EQ(job.received.load(), 1);
  EXPECT_TRUE(freeForOthers(held));  // released by the delivery
  EXPECT_TRUE(job.jobMutex().try_lock());  // and the job's own mutex too
  job.jobMutex().unlock();
}

TEST(JobEdge, SendToxOnPlainJobReturnsZero) {
  HKJob job;
  HKJobMessage message(job.getID(), HKMSG_CLIENT_SIGNAL, "hello");
  EXPECT_EQ(job.sendTox("somebody", message), 0);
}

TEST(JobEdge, CountJobsRisesByOneDuringTheLifeOfAJob) {
  const long before = HKJob::countJobs();
  {
    HKJob job;
    EXPECT_EQ(HKJob::countJobs(), before + 1);
  }
  EXPECT_EQ(HKJob::countJobs(), before);
}

TEST(JobEdge, TimeoutOfZeroFirstCallReturnsTrue) {
  HKJobWithTimeout job(0);
  EXPECT_TRUE(job.Timeout());
}

TEST(JobEdge, ExitTaskWithEmptyNameAfterJoinLeavesThatTaskAndClearsLastJoined) {
  ProbeJob owner;
  ProbeJob member;
  const std::string task = owner.createCombinedTask("a");
  ASSERT_TRUE(member.joinTask(task));
  EXPECT_EQ(member.getLastJoinedTask(), task);
  // While a member, messages reach it.
  HKJobMessage m1("tester", HKMSG_CLIENT_SIGNAL, "1");
  HKJob::_combinedTasks.sendTo(member.getID(), m1);
  ASSERT_TRUE(waitUntil([&] { return member.received.load() == 1; }));
  const long tasksBefore = HKJob::countTasks();
  member.exitTask("");
  EXPECT_EQ(member.getLastJoinedTask(), "");
  EXPECT_EQ(HKJob::countTasks(), tasksBefore);  // a member leaving doesn't end the task
  // Off the bus now: the next message is lost, the one behind it arrives.
  HKJobMessage m2("tester", HKMSG_CLIENT_SIGNAL, "2");
  HKJob::_combinedTasks.sendTo(member.getID(), m2);
  HKJob::_combinedTasks.sendTo(owner.getID(), m2);
  ASSERT_TRUE(waitUntil([&] { return owner.received.load() == 1; }));
  EXPECT_EQ(member.received.load(), 1);
}

// ---- further behaviours ----

TEST(JobBehaviour, TimeoutExpiresOnceThenFlipsBack) {
  HKJobWithTimeout job(20000);  // 20 ms
  EXPECT_FALSE(job.Timeout());
  ASSERT_TRUE(waitUntil([&] { return job.Timeout(); }));
  EXPECT_FALSE(job.isAlive());
  // The timer stays run out, yet the next poll sees no expiry...
  EXPECT_FALSE(job.Timeout());
  EXPECT_TRUE(job.isAlive());
  // ...and the one after it sees the expiry again.
  EXPECT_TRUE(job.Timeout());
}

TEST(JobBehaviour, ResetTimerStartsNewPeriodOnlyWhileAlive) {
  HKJobWithTimeout job(0);
  EXPECT_TRUE(job.Timeout());  // _alive now false
  job._resetTimer();           // does nothing
  EXPECT_FALSE(job.Timeout());  // flips back to alive
  HKJobWithTimeout longer(60000000);  // one minute
  EXPECT_FALSE(longer.Timeout());
  longer._resetTimer();
  EXPECT_FALSE(longer.Timeout());
}

TEST(JobBehaviour, EmptyStateHookIsBadFunctionCall) {
  ProbeJob job;
  job.setHook(nullptr);
  EXPECT_THROW(job.setState(state(6)), std::bad_function_call);
}

TEST(JobBehaviour, CommonErrorIsSharedAndReserved) {
  HKJob a;
  HKJob b;
  EXPECT_EQ(&a.getError(), &b.getError());
  EXPECT_TRUE(std::regex_match(HKJob::getError(), std::regex("^__commonError[0-9]{18}$")))
      << HKJob::getError();
}

TEST(JobBehaviour, OneGeneratorNeverRepeatsAnIdentity) {
  HKJIDGenerator generator("g");
  std::set<std::string> seen;
  for (int i = 0; i < 2000; ++i) EXPECT_TRUE(seen.insert(generator.getID()).second);
  // From several threads at once as well.
  std::mutex m;
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 300; ++i) {
        const std::string id = generator.getID();
        std::lock_guard<std::mutex> g(m);
        EXPECT_TRUE(seen.insert(id).second);
      }
    });
  for (auto& t : threads) t.join();
}

TEST(JobBehaviour, MessageCopiesAllFields) {
  HKJobMessage m("sender", HKMSG_ROLL_CALL, "data");
  EXPECT_TRUE(m._list.empty());
  EXPECT_TRUE(m._map.empty());
  m._list.push_back("server");
  m._map["k"] = "v";
  HKJobMessage copy = m;
  EXPECT_EQ(copy._sender, "sender");
  EXPECT_EQ(copy._data, "data");
  EXPECT_EQ(copy._type, HKMSG_ROLL_CALL);
  EXPECT_EQ(copy._list.front(), "server");
  EXPECT_EQ(copy._map["k"], "v");
}

TEST(JobBehaviour, JoinTaskReturnsTrueForExistingTask) {
  ProbeJob owner, member;
  const std::string task = owner.createCombinedTask("t");
  EXPECT_TRUE(member.joinTask(task));
  EXPECT_EQ(member.getLastJoinedTask(), task);
}
