// The application's table of session contexts: insertion, look-up,
// invokeContext with resetKontext, and the optional idle and count limits.
#include <toviktwo/application/hktovikapplication2.h>

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "support/hktestrequests.h"
#include "support/hktestsession.h"

using hktest::TestApplication;
using hktest::TestSession;
using namespace std::chrono_literals;

namespace {

HKXResponseHeader NewResponse() { return HKXResponseHeader(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP); }

// Asks for the page of the session with this id; the status of the answer.
uint64_t Reload(HKTovikApplication2& app, const std::string& id) {
  auto request = hktest::Get("/?tovikid=" + id);
  HKXResponseHeader response = NewResponse();
  app.invokeContext(id, *request, response, "");
  return response.statusCode();
}

}  // namespace

TEST(ContextTable, DefaultCreateNewContextIsNull) {
  HKPersistentAppStorage storage;
  HKTovikApplication2 app(storage, {}, {});
  EXPECT_EQ(app.createNewContext("tovikid"), nullptr);
  EXPECT_EQ(app.insertNewContext(nullptr), nullptr);
  EXPECT_EQ(app.countContexts(), 0u);
}

TEST(ContextTable, NewIDCarriesTheSuggestionAsPrefix) {
  TestApplication app;
  EXPECT_EQ(app.newID("sess").rfind("sess", 0), 0u);
}

TEST(ContextTable, InvokeContextDispatchesToTheSessionOfTheId) {
  TestApplication app;
  HKHTMLKontextN* session = app.createNewContext("tovikid");
  const std::string id = session->getMainContextID();
  EXPECT_TRUE(app.checkContext(id));
  auto request = hktest::Get("/?tovikid=" + id);
  HKXResponseHeader response = NewResponse();
  app.invokeContext(id, *request, response, "");
  EXPECT_EQ(response.statusCode(), 200u);
  EXPECT_EQ(hktest::Body(response), session->_getBuffer());
}

TEST(ContextTable, UnknownIdLeavesTheResponseAt500) {
  TestApplication app;
  app.createNewContext("tovikid");
  EXPECT_EQ(Reload(app, "no-such-id"), 500u);
  EXPECT_FALSE(app.checkContext("no-such-id"));
}

TEST(ContextTable, SecondContextWithTheSameIdReplacesTheFirstWhichStaysAlive) {
  TestApplication app;
  int deaths = 0;
  auto* first = new TestSession(&app, "same");
  auto* second = new TestSession(&app, "same");
  first->closed = &deaths;
  app.insertNewContext(first);
  app.insertNewContext(second);
  EXPECT_EQ(app.countContexts(), 1u);
  EXPECT_EQ(deaths, 0);
  EXPECT_EQ(first->getMainContextID(), "same");  // alive, and no longer reachable
  delete first;
}

TEST(ContextTable, ResetKontextReplacesTheEntryWithoutDeletingTheFormer) {
  TestApplication app;
  int deaths = 0;
  auto* former = new TestSession(&app, "s1");
  former->closed = &deaths;
  auto* successor = new TestSession(&app, "s1", "<html><body><p id=\"new\">new page</p></body></html>");
  former->_GetCommandMap()["/switch"] = [&](HKXHeader&, HKXResponseHeader& r, const std::string&) {
    r.resetKontext("s1", successor);
    r.setHTTPResponse200("switched");
  };
  app.insertNewContext(former);
  auto request = hktest::Get("/switch?tovikid=s1");
  HKXResponseHeader response = NewResponse();
  app.invokeContext("s1", *request, response, "");
  EXPECT_EQ(deaths, 0);
  auto reload = hktest::Get("/?tovikid=s1");
  HKXResponseHeader page = NewResponse();
  app.invokeContext("s1", *reload, page, "");
  EXPECT_NE(hktest::Body(page).find("new page"), std::string::npos);
  delete former;
}

TEST(ContextTable, ResetKontextForAnotherIdIsIgnored) {
  TestApplication app;
  auto* session = new TestSession(&app, "s1");
  TestSession stranger(&app, "s2");
  session->_GetCommandMap()["/switch"] = [&](HKXHeader&, HKXResponseHeader& r, const std::string&) {
    r.resetKontext("s2", &stranger);
  };
  app.insertNewContext(session);
  auto request = hktest::Get("/switch");
  HKXResponseHeader response = NewResponse();
  app.invokeContext("s1", *request, response, "");
  EXPECT_FALSE(app.checkContext("s2"));
  EXPECT_TRUE(app.checkContext("s1"));
}

TEST(ContextLimits, WithoutLimitsContextsStayAndAreNeverClosed) {
  TestApplication app;
  std::vector<std::string> closes;
  for (int i = 0; i < 5; ++i) {
    auto* session = new TestSession(&app, "s" + std::to_string(i));
    session->closeLog = &closes;
    app.insertNewContext(session);
  }
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(app.closeIdleContexts(), 0u);
  EXPECT_EQ(app.countContexts(), 5u);
  EXPECT_TRUE(closes.empty());
}

TEST(ContextLimits, IdleContextIsClosedThenDeletedAndItsIdLeadsNowhere) {
  TestApplication app(std::map<std::string, std::string>{{"_app_context_idle_seconds", "0.2"}});
  std::vector<std::string> closes;
  int deaths = 0;
  auto* session = new TestSession(&app, "idle");
  session->closeLog = &closes;
  session->closed = &deaths;
  app.insertNewContext(session);
  EXPECT_EQ(Reload(app, "idle"), 200u);
  std::this_thread::sleep_for(300ms);
  EXPECT_EQ(Reload(app, "idle"), 500u);
  EXPECT_EQ(closes, (std::vector<std::string>{"idle &close"}));
  EXPECT_EQ(deaths, 1);
  EXPECT_EQ(app.countContexts(), 0u);
}

TEST(ContextLimits, RequestsKeepAContextAlive) {
  TestApplication app(std::map<std::string, std::string>{{"_app_context_idle_seconds", "0.3"}});
  auto* busy = new TestSession(&app, "busy");
  app.insertNewContext(busy);
  app.insertNewContext(new TestSession(&app, "quiet"));
  for (int i = 0; i < 6; ++i) {
    std::this_thread::sleep_for(60ms);
    EXPECT_EQ(Reload(app, "busy"), 200u);
  }
  EXPECT_TRUE(app.checkContext("busy"));
  EXPECT_FALSE(app.checkContext("quiet"));
}

TEST(ContextLimits, MaximumCountClosesTheLeastRecentlyUsedFirst) {
  TestApplication app(std::map<std::string, std::string>{{"_app_context_max_count", "2"}});
  std::vector<std::string> closes;
  for (const char* id : {"a", "b"}) {
    auto* session = new TestSession(&app, id);
    session->closeLog = &closes;
    app.insertNewContext(session);
  }
  EXPECT_EQ(Reload(app, "a"), 200u);  // b is now the oldest idle one
  app.insertNewContext(new TestSession(&app, "c"));
  EXPECT_EQ(closes, (std::vector<std::string>{"b &close"}));
  EXPECT_TRUE(app.checkContext("a"));
  EXPECT_FALSE(app.checkContext("b"));
  EXPECT_TRUE(app.checkContext("c"));
  EXPECT_EQ(app.countContexts(), 2u);
}

TEST(ContextLimits, ContextCreatedInsideARequestDoesNotCloseTheOneServing) {
  TestApplication app(std::map<std::string, std::string>{{"_app_context_max_count", "1"}});
  auto* session = new TestSession(&app, "a");
  session->_GetCommandMap()["/spawn"] = [&](HKXHeader&, HKXResponseHeader& r, const std::string&) {
    app.insertNewContext(new TestSession(&app, "b"));
    r.setHTTPResponse200("ok");
  };
  app.insertNewContext(session);
  auto request = hktest::Get("/spawn");
  HKXResponseHeader response = NewResponse();
  app.invokeContext("a", *request, response, "");
  EXPECT_EQ(hktest::Body(response), "ok");
  EXPECT_TRUE(app.checkContext("a"));
  EXPECT_TRUE(app.checkContext("b"));
}

TEST(ContextLimits, ZeroOrUnreadableValuesLeaveTheLimitsOff) {
  TestApplication app(std::map<std::string, std::string>{{"_app_context_idle_seconds", "0"},
                                                         {"_app_context_max_count", "many"}});
  for (int i = 0; i < 3; ++i) app.insertNewContext(new TestSession(&app, "s" + std::to_string(i)));
  std::this_thread::sleep_for(10ms);
  EXPECT_EQ(app.countContexts(), 3u);
}
