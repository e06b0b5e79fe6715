// The server's limits and its conduct with hostile or vanishing peers: head
// and body sizes, the head time-out, the connection limit, aborted
// connections (no descriptor or connection leaks, no SIGPIPE) and a set of
// nasty inputs, each with a defined outcome while the server serves on.
#include <csignal>
#include <gtest/gtest.h>

#include "../support/net_test_support.h"

using namespace tovik_test;

namespace {

// True when the connection ends without an answer.
bool closedWithoutAnswer(RawClient& c) {
  const std::string got = c.readToClose();
  return c.closed() && got.empty();
}

}  // namespace

TEST(ServerLimits, HeadOverTheLimitClosesTheConnection) {
  TestServer server(HK_PROTO_HTTP, {{"max_head_bytes", "1024"}});
  RawClient c(server.port);
  c.send("GET / HTTP/1.1\r\nX-Big: " + std::string(2000, 'a') + "\r\n\r\n");
  EXPECT_TRUE(closedWithoutAnswer(c));
  EXPECT_NE(server.get("/ok").find("hello /ok"), std::string::npos);
}

TEST(ServerLimits, DefaultHeadLimitKeepsABrowserSizedHeadWorking) {
  TestServer server;
  RawClient c(server.port);
  c.send("GET /b HTTP/1.1\r\nCookie: " + std::string(8000, 'c') + "\r\nUser-Agent: " + std::string(500, 'u') +
         "\r\n\r\n");
  EXPECT_NE(c.readAnswers(1).find("hello /b"), std::string::npos);
}

TEST(ServerLimits, DefaultHeadLimitIs64KiB) {
  TestServer server;
  RawClient c(server.port);
  c.send("GET / HTTP/1.1\r\n");
  for (int i = 0; i < 70; ++i) c.send("X-F" + std::to_string(i) + ": " + std::string(1000, 'f') + "\r\n");
  EXPECT_TRUE(closedWithoutAnswer(c));
}

TEST(ServerLimits, BodyOverTheLimitClosesBeforeItArrives) {
  TestServer server(HK_PROTO_HTTP, {{"max_body_bytes", "1000"}});
  RawClient c(server.port);
  c.send("POST /p HTTP/1.1\r\nContent-Length: 5000\r\n\r\n" + std::string(100, 'b'));
  EXPECT_TRUE(closedWithoutAnswer(c));
  EXPECT_EQ(server.client->requests.load(), 0);
}

TEST(ServerLimits, BodyWithinTheLimitIsServed) {
  TestServer server(HK_PROTO_HTTP, {{"max_body_bytes", "1000"}});
  RawClient c(server.port);
  c.send("POST /p HTTP/1.1\r\nContent-Length: 1000\r\n\r\n" + std::string(1000, 'b'));
  EXPECT_NE(c.readAnswers(1).find("hello /p"), std::string::npos);
}

TEST(ServerLimits, SlowHeadIsCutAtTheHeadTimeOut) {
  TestServer server(HK_PROTO_HTTP, {{"head_timeout_ms", "300"}});
  RawClient c(server.port);
  c.send("GET /slow HTTP/1.1\r\n");
  const auto start = std::chrono::steady_clock::now();
  // A byte now and then, never the end of the head.
  while (!c.closed() && std::chrono::steady_clock::now() - start < 5s) {
    c.send("X");
    c.readUntil([](const std::string&) { return false; }, 100ms);
  }
  EXPECT_TRUE(c.closed());
  EXPECT_LT(std::chrono::steady_clock::now() - start, 3s);
  EXPECT_NE(server.get("/fast").find("hello /fast"), std::string::npos);
}

TEST(ServerLimits, ConnectionsBeyondTheLimitAreClosedAndTheOthersServed) {
  TestServer server(HK_PROTO_HTTP, {{"max_connections", "2"}});
  RawClient a(server.port), b(server.port);
  ASSERT_TRUE(waitUntil([&] { return server.transceiver().countConnections() == 2; }));
  RawClient c(server.port);
  EXPECT_TRUE(closedWithoutAnswer(c));
  a.send("GET /a HTTP/1.1\r\n\r\n");
  EXPECT_NE(a.readAnswers(1).find("hello /a"), std::string::npos);
}

TEST(ServerLimits, AThousandAbortedConnectionsLeakNoDescriptorAndNoConnection) {
  TestServer server(HK_PROTO_HTTP, {}, [](TestClient& client, HKXHeader& request) -> bool {
    // A large answer, so that some aborts happen while it is being written.
    return client.answer(request, 200, std::string(256 * 1024, 'z'));
  });
  server.get("/warm");
  ASSERT_TRUE(waitUntil([&] { return server.transceiver().countConnections() == 0; }));
  const size_t before = countOpenDescriptors();
  for (int i = 0; i < 1000; ++i) {
    RawClient c(server.port);
    // One at a time through the back-log of 16, as the accept job takes them.
    waitUntil(
        [&] { return server.reports.ofKind(HK_SERVER_CONNECTED).size() >= static_cast<size_t>(i + 2); });
    switch (i % 4) {
      case 0: break;  // connect and go
      case 1:
        c.send("GET /x HTT");  // mid-head
        break;
      case 2:
        c.send("POST /x HTTP/1.1\r\nContent-Length: 100\r\n\r\nabc");  // mid-body
        break;
      default:
        c.send("GET /x HTTP/1.1\r\n\r\n");  // mid-answer
        break;
    }
    if (i % 2 == 0) c.reset();  // a reset instead of a close
  }

  ASSERT_TRUE(waitUntil([&] { return server.transceiver().countConnections() == 0; }, 20000ms));

  ASSERT_TRUE(waitUntil([&] { return server.transceiver().countSockets() == 0; }));
  EXPECT_TRUE(waitUntil([&] { return countOpenDescriptors() <= before; }));
  // The last holder of a connection object may be a job that is just
  // finishing with it: the count reaches zero when that lets go.
  EXPECT_TRUE(waitUntil([&] { return server.http()->openConnections() == 0; }))
      << server.http()->openConnections() << " connections still counted";
  EXPECT_TRUE(waitUntil([&] { return server.http()->headsInProgress() == 0; }));
  EXPECT_NE(server.get("/after").find("HTTP/1.1 200 OK"), std::string::npos);
}

TEST(ServerLimits, NastyInputsEachHaveADefinedOutcomeAndTheServerServesOn) {
  TestServer server(HK_PROTO_HTTP, {{"head_timeout_ms", "500"}});
  std::string manyFields = "GET /f HTTP/1.1\r\n";
  for (int i = 0; i < 10000; ++i) manyFields += "F" + std::to_string(i) + ": v\r\n";
  manyFields += "\r\n";
  struct Case {
    std::string input;
    bool answered;  // a 200 (true) or the end of the connection without a 200
    bool closeEarly = false;
  };
  const std::vector<Case> cases = {
      {"GET / HTTP/1.1\r\nX: " + std::string(200000, 'h') + "\r\n\r\n", false},  // huge head line
      {manyFields, false},                                                       // 10,000 fields
      {"POST / HTTP/1.1\r\nContent-Length: abc\r\n\r\nxyz", false},              // bad length, surplus body
      {"POST / HTTP/1.1\r\nContent-Length: 3\r\nContent-Length: 5\r\n\r\nabc", true},  // first length counts
      {"POST / HTTP/1.1\r\nContent-Length: 99999999999999999999\r\n\r\n",
       true},  // unreadable length counts as 0
      {"POST / HTTP/1.1\r\nContent-Length: -1\r\n\r\n", false},
      {"POST / HTTP/1.1\r\nContent-Length: 2\r\n\r\nabcdef", false},  // surplus
      {std::string(5000, '\0'), false},
      {"\r\n\r\n\r\n", false},
      {"GET\r\n\r\n", true},
      {"GET / HTTP/1.1\n\n", false},  // bare line feeds never end the head
      {"get /lower HTTP/1.1\r\n\r\n", true},
      {"DELETE / HTTP/1.1\r\n\r\n", false},
      {"OPTIONS * HTTP/1.1\r\n\r\n", false},
      {"CONNECT a:443 HTTP/1.1\r\n\r\n", false},
      {"TOVIK/1.0 200 OK\r\n\r\n", false},
      {"HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n", false},
      {"GET / HTTP/1.1\r\n: novalue\r\n:\r\n\r\n", true},
      {"GET /%00%ff%zz HTTP/1.1\r\n\r\n", true},
      {"GET /?a=%&b==&&= HTTP/1.1\r\n\r\n", true},
      {"POST / HTTP/1.1\r\nContent-Type: multipart/form-data; boundary=\r\nContent-Length: 4\r\n\r\n----",
       true},
      {"POST / HTTP/1.1\r\nContent-Type: multipart/form-data;boundary=zz\r\nContent-Length: "
       "10\r\n\r\n--zz\r\n--zz",
       true},
      // no length: the chunks are surplus, so the answer comes, then the close
      {"POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n0\r\n\r\n", true},
      {"GET / HTTP/1.1\r\n\r\n\xff\xfe\xfd", true},  // trailing garbage: answer, then the close
      {"GET / HTTP/1.1\r\nHost: a\r\nHost: b\r\nConnection: close, close\r\n\r\n", true},
      {"GET / HTTP/1.1\r", false, true},                                 // early close mid-head
      {"GET / HTTP/1.1\r\nX", false, true},                              // early close mid-field
      {"POST / HTTP/1.1\r\nContent-Length: 10\r\n\r\n12", false, true},  // early close mid-body
      {"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", false},           // a TLS hello to a plain server
      {std::string(70000, 'A'), false},                                  // no line end at all
  };
  ASSERT_EQ(cases.size(), 30u);
  for (size_t i = 0; i < cases.size(); ++i) {
    RawClient c(server.port);
    c.send(cases[i].input);
    if (cases[i].closeEarly) shutdown(c.fd(), SHUT_WR);
    const std::string got = cases[i].answered ? c.readAnswers(1, 5000ms) : c.readToClose(5000ms);
    EXPECT_TRUE(cases[i].answered || c.closed()) << "case " << i << " left the client waiting";
    EXPECT_EQ(got.rfind("HTTP/1.1 200 OK", 0) == 0, cases[i].answered)
        << "case " << i << ": " << got.substr(0, 80);
  }
  EXPECT_NE(server.get("/still").find("hello /still"), std::string::npos);
}

// TLS writes with plain write(2); a client that leaves while a large answer
// is being written must not end the program by SIGPIPE, even with the
// signal's default disposition.
TEST(ServerLimits, TlsClientsLeavingMidAnswerDoNotEndTheProgram) {
  signal(SIGPIPE, SIG_DFL);
  TempDir dir;
  ASSERT_TRUE(makeKeyPair(dir));
  TestServer server(HK_PROTO_HTTPS,
                    {{"cacertificate", dir.file("cert.pem")}, {"privatekey", dir.file("key.pem")}},
                    [](TestClient& client, HKXHeader& request) -> bool {
                      return client.answer(request, 200, std::string(256 << 10, 'z'));
                    });
  // wrk ends each run by closing its keep-alive connections, whatever
  // answer is still on the way; a few short runs make many such exits.
  if (runCommand("sh -c 'command -v wrk'").empty()) GTEST_SKIP() << "wrk is not installed";
  const std::string load = "wrk -t1 -c8 -d1s https://127.0.0.1:" + std::to_string(server.port) + "/big";
  for (int i = 0; i < 3; ++i) runCommand(load);
  int status = -1;
  const std::string small = runCommand(
      "sh -c \"curl -sk --http1.1 https://127.0.0.1:" + std::to_string(server.port) + "/t | head -c 3\"", &status);
  EXPECT_EQ(small, "zzz");
}
