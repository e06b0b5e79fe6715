// Scenarios: actions on the scheduler, readiness, the mirror document, and a
// whole long task reported through the update channel.
#include <toviktwo/application/hkscenario.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include <toviktwo/scheduler/hkjob.h>

#include "support/hktestrequests.h"
#include "support/hktestsession.h"

using hktest::TestApplication;
using hktest::TestSession;
using namespace std::chrono_literals;

namespace {

constexpr int kWaitRounds = 500;  // 500 x 10 ms

template <typename Predicate>
bool WaitFor(Predicate done) {
  for (int i = 0; i < kWaitRounds; ++i) {
    if (done()) return true;
    std::this_thread::sleep_for(10ms);
  }
  return done();
}

class ScenarioTest : public ::testing::Test {
 protected:
  TestApplication app;
  TestSession session{&app, "s1"};
  HKLurvoUpdateManager& updates = session.getUpdateManager();
  HKScenario* scenario = new HKScenario(session, updates);
  void SetUp() override { updates.addScenario(scenario); }
};

}  // namespace

TEST_F(ScenarioTest, ScenarioIdIsItsJobIdAndItsTimeoutIs120Seconds) {
  EXPECT_EQ(scenario->getScenarioID(), scenario->getID());
  EXPECT_EQ(HKScenario::kTimeoutMicroseconds, 120000000);
  EXPECT_FALSE(scenario->Timeout());
}

TEST_F(ScenarioTest, ActionRunsOnTheSchedulerAndIsReadyWhenItEnds) {
  std::atomic<bool> release{false}, ran{false};
  std::thread::id where;
  std::string id = scenario->_doAction(std::function<void()>([&] {
                                         where = std::this_thread::get_id();
                                         while (!release) std::this_thread::sleep_for(1ms);
                                         ran = true;
                                       }),
                                       [](const std::string&) { return 0L; });
  EXPECT_TRUE(updates.hasReference(id));
  EXPECT_FALSE(scenario->_getActionReady(id));
  release = true;
  EXPECT_TRUE(WaitFor([&] { return scenario->_getActionReady(id); }));
  EXPECT_TRUE(ran);
  EXPECT_NE(where, std::this_thread::get_id());
  // Once ready, always ready.
  EXPECT_TRUE(scenario->_getActionReady(id));
}

TEST_F(ScenarioTest, UnknownActionIdIsReady) { EXPECT_TRUE(scenario->_getActionReady("never")); }

TEST_F(ScenarioTest, StringActionRunsHereAndItsResultIsTheRegisteredId) {
  std::thread::id where;
  std::string id = scenario->_doAction(std::function<std::string()>([&] {
                                         where = std::this_thread::get_id();
                                         return std::string("mine");
                                       }),
                                       [](const std::string&) { return 0L; });
  EXPECT_EQ(id, "mine");
  EXPECT_EQ(where, std::this_thread::get_id());
  EXPECT_TRUE(updates.hasReference("mine"));
}

TEST_F(ScenarioTest, StringActionReturningTheCommonErrorIsNotRegistered) {
  std::string id = scenario->_doAction(std::function<std::string()>([] { return HKJob::getError(); }),
                                       [](const std::string&) { return 0L; });
  EXPECT_EQ(id, HKJob::getError());
  EXPECT_FALSE(updates.hasReference(id));
}

TEST_F(ScenarioTest, ResponseReplacesTheContentInTheScenariosDocument) {
  auto mirror = std::make_shared<HKHTML_Document2>();
  mirror->div("bar")->PushBackChildElement(new HKHTML_text2("0"));
  scenario->SetDocument(mirror);
  scenario->addResponse("bar", new HKHTML_text2("75"));
  std::ostringstream out;
  mirror->FindObject("id", "bar")->print(out);
  EXPECT_EQ(out.str(), "<div id=\"bar\">75</div>");
}

TEST_F(ScenarioTest, ActionThatThrowsStillEnds) {
  std::string id = scenario->_doAction(std::function<void()>([] { throw std::runtime_error("x"); }),
                                       [](const std::string&) { return 0L; });
  EXPECT_TRUE(WaitFor([&] { return scenario->_getActionReady(id); }));
}

TEST_F(ScenarioTest, DeletingTheSessionWaitsForARunningAction) {
  auto* other = new TestSession(&app, "s2");
  auto* late = new HKScenario(*other, other->getUpdateManager());
  other->getUpdateManager().addScenario(late);
  std::atomic<int> progress{0};
  late->_doAction(std::function<void()>([&progress, late] {
                    std::this_thread::sleep_for(50ms);
                    late->addResponse("bar", new HKHTML_text2("done"));  // the scenario is still alive
                    progress = 1;
                  }),
                  [](const std::string&) { return 0L; });
  delete other;
  EXPECT_EQ(progress.load(), 1);
}

TEST_F(ScenarioTest, LongTaskReachesThePageThroughTheChannelUntilDone) {
  // The page itself is the scenario's mirror, so a reload shows the progress.
  scenario->SetDocument(
      std::shared_ptr<HKHTML_Document2>(session.getTheDocument(), [](HKHTML_Document2*) {}));
  std::atomic<int> step{0};
  std::atomic<bool> release{false};
  std::string ref = scenario->_doAction(
      std::function<void()>([&] {
        for (int i = 1; i <= 4; ++i) {
          while (!release) std::this_thread::sleep_for(1ms);
          step = i;
        }
      }),
      [&](const std::string& r) {
        updates.add2LurvoUpdateResponse(r, "bar", new HKHTML_text2(std::to_string(step.load() * 25) + "%"));
        return scenario->_getActionReady(r) ? 0L : 100L;
      });
  auto poll = [&] {
    auto request = hktest::UpdatePoll("s1", ref);
    HKXResponseHeader response(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
    session.manageRequest(*request, response, "lurvoupdate");
    return hktest::Body(response);
  };
  std::string first = poll();
  EXPECT_NE(first.find("lurvofim=\"nao\""), std::string::npos);
  EXPECT_NE(first.find("<div id=\"bar\">0%</div>"), std::string::npos);
  release = true;
  ASSERT_TRUE(WaitFor([&] { return step == 4 && scenario->_getActionReady(ref); }));
  std::string last = poll();
  EXPECT_NE(last.find("lurvofim=\"sim\""), std::string::npos);
  EXPECT_NE(last.find("<div id=\"bar\">100%</div>"), std::string::npos);
  EXPECT_NE(session._getBuffer().find("<div id=\"bar\">100%</div>"), std::string::npos);
}
