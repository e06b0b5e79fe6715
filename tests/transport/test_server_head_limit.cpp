// The head limit of the HTTP read path counts head bytes only: a body that
// arrives in the same read as the end of its head is not taken for head.
#include <gtest/gtest.h>

#include <string>

#include "../support/net_test_support.h"

using namespace tovik_test;

TEST(ServerHeadLimit, BodyArrivingWithTheHeadDoesNotCountAsHead) {
  TestServer server(HK_PROTO_HTTP, {}, [](TestClient& c, HKXHeader& h) {
    return c.answer(h, 200, std::to_string(h.contentLength()));
  });
  const std::string body(200 * 1024, 'b');
  RawClient raw(server.port);
  ASSERT_TRUE(raw.send("POST /upload HTTP/1.1\r\nHost: localhost\r\nContent-Length: " +
                       std::to_string(body.size()) + "\r\n\r\n" + body));
  const std::string answer = raw.readAnswers(1);
  EXPECT_EQ(answer.rfind("HTTP/1.1 200 OK\r\n", 0), 0u);
  EXPECT_NE(answer.find("\r\n\r\n204800"), std::string::npos);
}

TEST(ServerHeadLimit, HeadLongerThanTheLimitInOneReadIsRefused) {
  TestServer server;
  RawClient raw(server.port);
  ASSERT_TRUE(raw.send("GET / HTTP/1.1\r\nX-Filler: " + std::string(100 * 1024, 'x') + "\r\n\r\n"));
  raw.readToClose();
  EXPECT_TRUE(raw.closed());
  EXPECT_EQ(server.client->requests.load(), 0);
}
