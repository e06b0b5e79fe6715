// The HTTP server level with real clients: raw sockets and curl on loopback.
#include <gtest/gtest.h>

#include <regex>

#include "../support/net_test_support.h"

using namespace tovik_test;

TEST(ServerHTTP, GetIsAnsweredThroughTheClientsHandler) {
  TestServer server;
  ASSERT_NE(server.port, 0u);
  const std::string answer = server.get("/index.html");
  EXPECT_EQ(answer.rfind("HTTP/1.1 200 OK\r\n", 0), 0u) << answer;
  EXPECT_NE(answer.find("Content-Length: 17\r\n"), std::string::npos) << answer;
  EXPECT_EQ(answer.substr(answer.size() - 17), "hello /index.html");
}

TEST(ServerHTTP, CurlKeepAliveServesSeveralRequestsOnOneConnection) {
  TestServer server;
  const std::string base = "http://127.0.0.1:" + std::to_string(server.port);
  int status = -1;
  const std::string out =
      runCommand("curl -s --http1.1 " + base + "/a " + base + "/b " + base + "/c", &status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(out, "hello /ahello /bhello /c");
  // One connection for all three: one kind-5 report.
  EXPECT_EQ(server.reports.ofKind(HK_SERVER_CONNECTED).size(), 1u);
  EXPECT_EQ(server.client->requests.load(), 3);
}

TEST(ServerHTTPS, CurlGetsAnAnswerOverTLS) {
  TempDir dir;
  ASSERT_TRUE(makeKeyPair(dir));
  TestServer server(HK_PROTO_HTTPS,
                    {{"cacertificate", dir.file("cert.pem")}, {"privatekey", dir.file("key.pem")}});
  ASSERT_NE(server.port, 0u);
  const std::string base = "https://127.0.0.1:" + std::to_string(server.port);
  int status = -1;
  const std::string out = runCommand("curl -sk --http1.1 " + base + "/x " + base + "/y", &status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(out, "hello /xhello /y");
}
