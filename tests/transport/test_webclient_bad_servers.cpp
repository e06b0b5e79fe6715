// The web client against servers that misbehave: each bad answer ends its
// request with an error, and the client goes on serving further requests.
#include <gtest/gtest.h>

#include <string>

#include "../support/http_peers.h"
#include "../support/webclient_support.h"

using namespace tovik_test;
using namespace std::chrono_literals;

namespace {

constexpr const char* kTimeoutMs = "500";

// Fetches from a scripted server and checks the error; then fetches a good
// page from our own server through the same client.
void expectErrorAndRecovery(const ScriptedServer::Reply& reply, bool closeAfter) {
  ScriptedServer bad(reply, closeAfter);
  TestServer good;
  WebClientHarness web(WebClientHarness::Options{{"request_timeout_ms", kTimeoutMs}});
  const std::string id = web.send(localURL(bad.port, "/bad"));
  ASSERT_FALSE(id.empty());
  ASSERT_TRUE(web.ready(id, 10s));
  EXPECT_EQ(web.client->getRequestError(id), "no complete response");
  EXPECT_EQ(web.client->getResponseBody(id), "");
  const std::string next = web.fetch(localURL(good.port, "/after"));
  EXPECT_EQ(web.client->getResponseBody(next), "hello /after");
}

}  // namespace

TEST(WebClientBadServer, ServerThatClosesEarlyEndsTheRequestWithAnError) {
  expectErrorAndRecovery(
      [](const std::string&) { return "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nshort"; }, true);
}

TEST(WebClientBadServer, ServerThatClosesWithoutAnyAnswerEndsTheRequestWithAnError) {
  expectErrorAndRecovery([](const std::string&) { return std::string(); }, true);
}

TEST(WebClientBadServer, ServerThatNeverAnswersEndsTheRequestAfterTheTimeOut) {
  expectErrorAndRecovery([](const std::string&) { return std::string(); }, false);
}

TEST(WebClientBadServer, BodyShorterThanItsContentLengthTimesOut) {
  expectErrorAndRecovery(
      [](const std::string&) { return "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nshort"; }, false);
}

TEST(WebClientBadServer, BodyLongerThanItsContentLengthIsAnError) {
  expectErrorAndRecovery(
      [](const std::string&) { return "HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nabcdef"; }, false);
}

TEST(WebClientBadServer, BadStatusLineIsAnError) {
  expectErrorAndRecovery([](const std::string&) { return "FOO 200 OK\r\nContent-Length: 2\r\n\r\nok"; },
                         false);
}

TEST(WebClientBadServer, HugeHeadIsAnError) {
  expectErrorAndRecovery(
      [](const std::string&) {
        return "HTTP/1.1 200 OK\r\nX-Filler: " + std::string(200 * 1024, 'x') +
               "\r\nContent-Length: 2\r\n\r\nok";
      },
      false);
}

TEST(WebClientBadServer, GarbageIsAnError) {
  expectErrorAndRecovery(
      [](const std::string&) { return std::string("\x01\x02\xff garbage\r\n\r\n\x7f", 17); }, false);
}
