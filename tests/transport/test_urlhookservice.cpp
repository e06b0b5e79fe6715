// The pool of outgoing connections: the limit of hooks with its waiting
// stack, idle hooks, time-outs, counts, and hosts that cannot be reached.
#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "../support/http_peers.h"
#include "../support/webclient_support.h"

using namespace tovik_test;
using namespace std::chrono_literals;

namespace {

std::string descriptorOf(unsigned int port) { return "http://127.0.0.1:" + std::to_string(port); }

// A server of ours whose answers wait until `release` is set.
TestServer heldServer(std::atomic<bool>& release) {
  return TestServer(HK_PROTO_HTTP, {}, [&release](TestClient& c, HKXHeader& h) {
    waitUntil([&] { return release.load(); }, 10s);
    return c.answer(h, 200, "held " + h.getURLPath());
  });
}

}  // namespace

TEST(URLHookService, WithOneHookASecondRequestWaitsOnTheStackAndGoesOutOnTheSameHook) {
  std::atomic<bool> release{false};
  TestServer server = heldServer(release);
  WebClientHarness web;
  const std::string first = web.send(localURL(server.port, "/1"));
  auto pool = web.pool(descriptorOf(server.port));
  ASSERT_TRUE(pool);
  pool->maxHooks(1);
  const std::string second = web.send(localURL(server.port, "/2"));
  EXPECT_EQ(pool->sizeMessageStack(), 1u);
  EXPECT_EQ(pool->sizeRunningJobs(), 2u);
  release = true;
  ASSERT_TRUE(web.ready(first));
  ASSERT_TRUE(web.ready(second));
  EXPECT_EQ(web.client->getResponseBody(first), "held /1");
  EXPECT_EQ(web.client->getResponseBody(second), "held /2");
  EXPECT_EQ(pool->sizeHooks(), 1u);
  EXPECT_EQ(server.reports.ofKind(HK_SERVER_CONNECTED).size(), 1u);
}

TEST(URLHookService, RunningJobsAreZeroWhenAllHooksAreIdle) {
  TestServer server;
  WebClientHarness web;
  web.fetch(localURL(server.port, "/a"));
  auto pool = web.pool(descriptorOf(server.port));
  ASSERT_TRUE(pool);
  EXPECT_TRUE(waitUntil([&] { return pool->sizeRunningJobs() == 0; }, 5s));
  EXPECT_EQ(pool->sizeMessageStack(), 0u);
  EXPECT_EQ(pool->sizeHooks(), 1u);
}

TEST(URLHookService, ARunningRequestCountsAsARunningJob) {
  std::atomic<bool> release{false};
  TestServer server = heldServer(release);
  WebClientHarness web;
  const std::string id = web.send(localURL(server.port, "/r"));
  auto pool = web.pool(descriptorOf(server.port));
  ASSERT_TRUE(pool);
  EXPECT_EQ(pool->sizeRunningJobs(), 1u);
  release = true;
  ASSERT_TRUE(web.ready(id));
}

TEST(URLHookService, IdleHookThatHasTimedOutIsNotReused) {
  TestServer server;
  WebClientHarness web(WebClientHarness::Options{{"request_timeout_ms", "200"}});
  ASSERT_EQ(web.client->getResponseBody(web.fetchAndSettle(localURL(server.port, "/1"))), "hello /1");
  std::this_thread::sleep_for(400ms);
  ASSERT_EQ(web.client->getResponseBody(web.fetch(localURL(server.port, "/2"))), "hello /2");
  EXPECT_EQ(server.reports.ofKind(HK_SERVER_CONNECTED).size(), 2u);
}

TEST(URLHookService, ConcurrentRequestsOpenUpToTheLimitOfHooks) {
  std::atomic<bool> release{false};
  TestServer server = heldServer(release);
  WebClientHarness web;
  std::vector<std::string> ids{web.send(localURL(server.port, "/0"))};
  auto pool = web.pool(descriptorOf(server.port));
  ASSERT_TRUE(pool);
  pool->maxHooks(3);
  for (int i = 1; i < 5; ++i) ids.push_back(web.send(localURL(server.port, "/" + std::to_string(i))));
  EXPECT_EQ(pool->sizeHooks(), 3u);
  EXPECT_EQ(pool->sizeMessageStack(), 2u);
  release = true;
  for (const auto& id : ids) ASSERT_TRUE(web.ready(id));
  EXPECT_EQ(server.reports.ofKind(HK_SERVER_CONNECTED).size(), 3u);
}

TEST(URLHookService, HostThatRefusesTheConnectionGivesTheErrorIdentifier) {
  const unsigned int port = freeLoopbackPort();  // nothing listens there
  WebClientHarness web;
  EXPECT_EQ(web.send(localURL(port, "/none")), HKJob::getError());
}
