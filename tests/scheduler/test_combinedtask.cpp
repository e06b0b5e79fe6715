// The job bus: tasks, membership, queue order, busy receivers.
#include <gtest/gtest.h>

#include <mutex>
#include <regex>
#include <thread>
#include <vector>

#include <toviktwo/scheduler/hkjob.h>
#include "test_support.h"

using namespace std::chrono_literals;
using tovik_test::staysFor;
using tovik_test::waitUntil;

namespace {

// Every delivery, in the order of the whole test.
struct Journal {
  std::mutex m;
  std::vector<std::string> entries;
  void add(const std::string& e) {
    std::lock_guard<std::mutex> g(m);
    entries.push_back(e);
  }
  std::vector<std::string> copy() {
    std::lock_guard<std::mutex> g(m);
    return entries;
  }
  size_t size() {
    std::lock_guard<std::mutex> g(m);
    return entries.size();
  }
};

class Receiver : public HKJob {
 public:
  Receiver(std::string name, Journal& journal) : _name(std::move(name)), _journal(journal) {}
  ~Receiver() override {
    _combinedTasks.exitTasks(getID());
    std::lock_guard<std::recursive_mutex> wait(_job_mutex);
  }
  std::recursive_mutex& jobMutex() { return _job_mutex; }
  std::function<void(HKJobMessage&)> onReceive;
  std::mutex lastMutex;
  std::thread::id lastThread;
  std::vector<HKJobMessage> got;

 protected:
  bool _messagereceive(HKJobMessage& message) override {
    _journal.add(_name + ":" + message._data);
    {
      std::lock_guard<std::mutex> g(lastMutex);
      lastThread = std::this_thread::get_id();
      got.push_back(message);
    }
    if (onReceive) onReceive(message);
    return true;
  }

 private:
  std::string _name;
  Journal& _journal;
};

void send(const std::string& to, const std::string& data) {
  HKJobMessage m("tester", HKMSG_CLIENT_SIGNAL, data);
  HKJob::_combinedTasks.sendTo(to, m);
}

}  // namespace

// ---- Edge cases of the bus ----

TEST(CombinedTaskEdge, CreateCombinedTaskGivesJoinedtaskForm) {
  Journal j;
  Receiver owner("owner", j);
  const std::string task = owner.createCombinedTask("name");
  EXPECT_TRUE(std::regex_match(task, std::regex("^joinedtask\\*[0-9]{18}$"))) << task;
  EXPECT_NE(owner.createCombinedTask("name"), task);
}

TEST(CombinedTaskEdge, JoinUnknownTaskIsFalseAndLastJoinedStillHoldsIt) {
  Journal j;
  Receiver job("job", j);
  EXPECT_FALSE(job.joinTask("joinedtask*no such task"));
  EXPECT_EQ(job.getLastJoinedTask(), "joinedtask*no such task");
  EXPECT_FALSE(HKJob::_combinedTasks.joinTask("nothing", job));
}

TEST(CombinedTaskEdge, MessageToJobThatLeftIsLostAndThoseBehindGoOn) {
  Journal j;
  Receiver owner("owner", j), leaver("leaver", j), stayer("stayer", j);
  const std::string task = owner.createCombinedTask("t");
  ASSERT_TRUE(leaver.joinTask(task));
  ASSERT_TRUE(stayer.joinTask(task));
  leaver.exitTask(task);
  send(leaver.getID(), "lost");
  send(stayer.getID(), "one");
  send(stayer.getID(), "two");
  ASSERT_TRUE(waitUntil([&] { return j.size() == 2; }));
  EXPECT_EQ(j.copy(), (std::vector<std::string>{"stayer:one", "stayer:two"}));
  EXPECT_TRUE(staysFor([&] { return j.size() == 2; }, 100ms));
}

TEST(CombinedTaskEdge, BusyReceiverHoldsMessageAtHeadAndNothingOvertakesIt) {
  Journal j;
  Receiver owner("owner", j), busy("busy", j), other("other", j);
  const std::string task = owner.createCombinedTask("t");
  ASSERT_TRUE(busy.joinTask(task));
  ASSERT_TRUE(other.joinTask(task));
  std::atomic<bool> holding{false}, release{false};
  std::thread holder([&] {
    std::lock_guard<std::recursive_mutex> g(busy.jobMutex());
    holding = true;
    waitUntil([&] { return release.load(); });
  });
  ASSERT_TRUE(waitUntil([&] { return holding.load(); }));
  send(busy.getID(), "first");
  send(other.getID(), "second");
  send(owner.getID(), "third");
  EXPECT_TRUE(staysFor([&] { return j.size() == 0; }, 300ms));
  release = true;
  holder.join();
  ASSERT_TRUE(waitUntil([&] { return j.size() == 3; }));
  EXPECT_EQ(j.copy(), (std::vector<std::string>{"busy:first", "other:second", "owner:third"}));
}

TEST(CombinedTaskEdge, CountTasksFallsByOneWhenCreatorExits) {
  Journal j;
  Receiver owner("owner", j), member("member", j);
  const std::string task = owner.createCombinedTask("t");
  ASSERT_TRUE(member.joinTask(task));
  const long before = HKJob::countTasks();
  owner.exitTask(task);
  EXPECT_EQ(HKJob::countTasks(), before - 1);
  // The task is gone: nobody can join it any more.
  Receiver late("late", j);
  EXPECT_FALSE(late.joinTask(task));
}

// ---- further behaviours ----

TEST(CombinedTaskBehaviour, OwnerLeavingTellsMembersByKindSix) {
  Journal j;
  Receiver member("member", j);
  std::string ownerID, task;
  {
    Receiver owner("owner", j);
    ownerID = owner.getID();
    task = owner.createCombinedTask("t");
    ASSERT_TRUE(member.joinTask(task));
  }  // the owner's destructor leaves every task
  ASSERT_TRUE(waitUntil([&] { return j.size() == 1; }));
  std::lock_guard<std::mutex> g(member.lastMutex);
  ASSERT_EQ(member.got.size(), 1u);
  EXPECT_EQ(member.got[0]._type, HKMSG_JOB_LEFT);
  EXPECT_EQ(member.got[0]._sender, ownerID);
  EXPECT_EQ(member.got[0]._data, task);
}

TEST(CombinedTaskBehaviour, DestroyedJobLeavesTheBus) {
  Journal j;
  Receiver owner("owner", j);
  const std::string task = owner.createCombinedTask("t");
  const long tasks = HKJob::countTasks();
  std::string goneID;
  {
    Receiver temporary("temporary", j);
    goneID = temporary.getID();
    ASSERT_TRUE(temporary.joinTask(task));
  }
  EXPECT_EQ(HKJob::countTasks(), tasks);
  send(goneID, "lost");
  send(owner.getID(), "kept");
  ASSERT_TRUE(waitUntil([&] { return j.size() == 1; }));
  EXPECT_EQ(j.copy().front(), "owner:kept");
}

TEST(CombinedTaskBehaviour, ReceiverRunsInBusThreadAndMaySendFromThere) {
  Journal j;
  Receiver owner("owner", j), relay("relay", j), target("target", j);
  const std::string task = owner.createCombinedTask("t");
  ASSERT_TRUE(relay.joinTask(task));
  ASSERT_TRUE(target.joinTask(task));
  const std::string targetID = target.getID();
  relay.onReceive = [targetID](HKJobMessage& m) {
    HKJobMessage forward("relay", HKMSG_CLIENT_SIGNAL, m._data + "+");
    HKJob::_combinedTasks.sendTo(targetID, forward);
  };
  send(relay.getID(), "ping");
  ASSERT_TRUE(waitUntil([&] { return j.size() == 2; }));
  EXPECT_EQ(j.copy(), (std::vector<std::string>{"relay:ping", "target:ping+"}));
  std::lock_guard<std::mutex> g(relay.lastMutex);
  EXPECT_NE(relay.lastThread, std::this_thread::get_id());
}

TEST(CombinedTaskBehaviour, ReceiverAnswersOnItsCopyOfTheMessage) {
  Journal j;
  Receiver owner("owner", j);
  owner.createCombinedTask("t");
  owner.onReceive = [](HKJobMessage& m) { m._list.push_back("answer"); };
  HKJobMessage m("tester", HKMSG_ROLL_CALL, "roll");
  HKJob::_combinedTasks.sendTo(owner.getID(), m);
  ASSERT_TRUE(waitUntil([&] { return j.size() == 1; }));
  EXPECT_TRUE(m._list.empty());  // the sender's message was copied
  std::lock_guard<std::mutex> g(owner.lastMutex);
  EXPECT_EQ(owner.got.at(0)._type, HKMSG_ROLL_CALL);
}

TEST(CombinedTaskBehaviour, ManyMessagesFromSeveralSendersAllArrive) {
  Journal j;
  Receiver owner("owner", j);
  owner.createCombinedTask("t");
  std::vector<std::thread> senders;
  for (int t = 0; t < 3; ++t)
    senders.emplace_back([&] {
      for (int i = 0; i < 100; ++i) send(owner.getID(), "m");
    });
  for (auto& t : senders) t.join();
  EXPECT_TRUE(waitUntil([&] { return j.size() == 300; }));
  HKJob::_combinedTasks.forceMessageing();
  HKJob::_combinedTasks.statistics();
  EXPECT_EQ(j.size(), 300u);
}
