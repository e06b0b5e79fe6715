// The HTTP server level with real clients: raw sockets and curl on loopback.
#include <gtest/gtest.h>

#include <regex>

#include <toviktwo/foundation/hkexception.h>
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

// ---- reports and the access log

TEST(ServerHTTP, AccessLogLineHasItsExactForm) {
  TestServer server;
  RawClient c(server.port);
  c.send("GET /page?x=1 HTTP/1.1\r\nHost: h\r\nReferer: http://ref/\r\nUser-Agent: agent/1\r\n\r\n");
  c.readAnswers(1);
  ASSERT_TRUE(waitUntil([&] { return server.reports.logLines().size() == 1; }));
  const std::string line = server.reports.logLines().front();
  // 200 with "hello /page" (11 bytes) and a head of 64 bytes.
  const std::regex form(
      R"(^(::ffff:)?127\.0\.0\.1 - http - \[\w{3} \w{3} [ \d]\d \d\d:\d\d:\d\d \d{4}\] "GET /page\?x=1" --> 200 (\d+) "http://ref/" "agent/1"$)");
  std::smatch m;
  ASSERT_TRUE(std::regex_match(line, m, form)) << line;
  const std::string answer = c.readAnswers(1);
  EXPECT_EQ(std::stoul(m[2]), answer.size());
}

TEST(ServerHTTP, AccessLogLineWithoutRefererAndAgentShowsDashes) {
  TestServer server;
  server.get("/q");
  ASSERT_TRUE(waitUntil([&] { return server.reports.logLines().size() == 1; }));
  const std::string line = server.reports.logLines().front();
  EXPECT_NE(line.find("] \"GET /q\" --> 200 "), std::string::npos) << line;
  EXPECT_EQ(line.substr(line.size() - 7), "\"-\" \"-\"") << line;
}

TEST(ServerHTTP, ListeningAndConnectedReportsCarryTheirKeys) {
  TestServer server;
  server.get("/");
  auto listening = server.reports.ofKind(HK_SERVER_LISTENING);
  ASSERT_EQ(listening.size(), 1u);
  EXPECT_EQ(listening[0].map.size(), 4u);
  EXPECT_EQ(listening[0].map["address"], "127.0.0.1");
  EXPECT_EQ(listening[0].map["port"], std::to_string(server.port));
  EXPECT_EQ(listening[0].map["ID"], server.serverId);
  EXPECT_EQ(listening[0].map["protocolstring"], "http");
  ASSERT_TRUE(waitUntil([&] { return server.reports.ofKind(HK_SERVER_CONNECTED).size() == 1; }));
  auto connected = server.reports.ofKind(HK_SERVER_CONNECTED)[0];
  EXPECT_EQ(connected.map.size(), 6u);
  for (const char* key :
       {"remoteaddress", "remoteport", "ID", "localaddress", "localport", "localprotocolstring"})
    EXPECT_EQ(connected.map.count(key), 1u) << key;
  EXPECT_EQ(connected.map["localport"], std::to_string(server.port));
  EXPECT_EQ(connected.map["localprotocolstring"], "http");
  auto started = server.reports.ofKind(HK_SERVER_STARTED);
  ASSERT_EQ(started.size(), 1u);
  EXPECT_EQ(started[0].map["protocol"], "HTTP/HTTPS");
  EXPECT_EQ(started[0].map["ID"], server.serverId);
  EXPECT_EQ(started[0].map["roll"], "server");
}

TEST(ServerHTTP, ReportInfoPrintsTheLoggingLineOfKindSevenOnly) {
  HKServerCallback_t log{HK_SERVER_LOG, {{"logging", "a line"}}};
  HKServerCallback_t other{HK_SERVER_CONNECTED, {{"logging", "not this"}}};
  testing::internal::CaptureStdout();
  HKTransceiver::reportInfo(log);
  HKTransceiver::reportInfo(other);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "a line\n");
}

// ---- the read path

TEST(ServerHTTP, RequestInThreeSegmentsIsAssembledUnderOneHead) {
  TestServer server;
  RawClient c(server.port);
  c.send("GET /three HTTP/1.1\r\n");
  ASSERT_TRUE(waitUntil([&] { return server.http()->headsInProgress() == 1; }));
  c.send("Host: x\r\n");
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(server.http()->headsInProgress(), 1u);
  c.send("\r\n");
  const std::string answer = c.readAnswers(1);
  EXPECT_NE(answer.find("hello /three"), std::string::npos) << answer;
  EXPECT_EQ(server.client->requests.load(), 1);
}

TEST(ServerHTTP, PipelinedRequestBehindAContentLengthBodyClosesWithoutAnswer) {
  TestServer server;
  RawClient c(server.port);
  c.send("POST /a HTTP/1.1\r\nContent-Length: 2\r\n\r\nxyGET /b HTTP/1.1\r\n\r\n");
  const std::string got = c.readToClose();
  EXPECT_TRUE(c.closed());
  EXPECT_EQ(got, "");
  EXPECT_EQ(server.client->requests.load(), 0);
}

TEST(ServerHTTP, PipelinedRequestWithoutLengthGetsTheFirstAnswerThenTheClose) {
  TestServer server;
  RawClient c(server.port);
  c.send("GET /a HTTP/1.1\r\n\r\nGET /b HTTP/1.1\r\n\r\n");
  const std::string got = c.readToClose();
  EXPECT_TRUE(c.closed());
  EXPECT_EQ(RawClient::countAnswers(got), 1u) << got;
  EXPECT_NE(got.find("hello /a"), std::string::npos);
}

TEST(ServerHTTP, ConnectionCloseInTheHeadClosesAfterTheAnswer) {
  TestServer server;
  RawClient c(server.port);
  c.send("GET /bye HTTP/1.1\r\nConnection: close\r\n\r\n");
  const std::string got = c.readToClose();
  EXPECT_TRUE(c.closed());
  EXPECT_NE(got.find("hello /bye"), std::string::npos) << got;
}

TEST(ServerHTTP, ClientRefusingTheHeadClosesTheConnection) {
  TestServer server;
  server.client->authorize = false;
  RawClient c(server.port);
  c.send("GET /no HTTP/1.1\r\n\r\n");
  EXPECT_EQ(c.readToClose(), "");
  EXPECT_TRUE(c.closed());
  EXPECT_EQ(server.client->requests.load(), 0);
}

TEST(ServerHTTP, ExceptionFromTheHandlerClosesThatConnectionAndTheServerServesOn) {
  TestServer server(HK_PROTO_HTTP, {}, [](TestClient& client, HKXHeader& request) -> bool {
    if (request.getURLPath() == "/throw") throw std::runtime_error("handler failed");
    return client.answer(request, 200, "fine");
  });
  RawClient bad(server.port);
  bad.send("GET /throw HTTP/1.1\r\n\r\n");
  EXPECT_EQ(bad.readToClose(), "");
  EXPECT_TRUE(bad.closed());
  EXPECT_NE(server.get("/next").find("fine"), std::string::npos);
}

TEST(ServerHTTP, ResponseForAClosedConnectionProducesNoLogLine) {
  std::atomic<bool> clientGone{false};
  TestServer server(HK_PROTO_HTTP, {}, [&](TestClient& client, HKXHeader& request) -> bool {
    waitUntil([&] { return clientGone.load(); });
    std::this_thread::sleep_for(100ms);  // the receive job sees the close meanwhile
    return client.answer(request, 200, "late");
  });
  {
    RawClient c(server.port);
    c.send("GET /late HTTP/1.1\r\n\r\n");
    ASSERT_TRUE(waitUntil([&] { return server.client->requests.load() == 1; }));
  }
  ASSERT_TRUE(waitUntil([&] { return server.transceiver().countConnections() == 0; }));
  clientGone = true;
  EXPECT_TRUE(staysFor([&] { return server.reports.logLines().empty(); }, 300ms));
}

TEST(ServerHTTP, UnroutedFirstLinesGetA400AndTheClose) {
  TestServer server;
  for (const std::string request : {"HEAD / HTTP/1.1\r\n\r\n", "PUT /x HTTP/1.1\r\nContent-Length: 0\r\n\r\n",
                                    "HTTP/1.1 200 OK\r\n\r\n", "\x01\x02garbage\r\n\r\n"}) {
    RawClient c(server.port);
    c.send(request);
    const std::string got = c.readToClose();
    EXPECT_TRUE(c.closed()) << request;
    EXPECT_EQ(got.rfind("HTTP/1.1 400 Bad Request\r\n", 0), 0u) << request << " -> " << got;
  }
  EXPECT_EQ(server.client->requests.load(), 0);
  EXPECT_NE(server.get("/after").find("hello /after"), std::string::npos);
}

TEST(ServerHTTP, CurlUploadReachesTheHandlerWhole) {
  TempDir dir;
  const std::string payload(200000, 'u');
  {
    FILE* f = fopen(dir.file("up.bin").c_str(), "wb");
    fwrite(payload.data(), 1, payload.size(), f);
    fclose(f);
  }
  TestServer server(HK_PROTO_HTTP, {}, [](TestClient& client, HKXHeader& request) -> bool {
    return client.answer(request, 200, std::to_string(request.getDataBuffer()->getSizeReadable()));
  });
  int status = -1;
  const std::string out = runCommand("curl -s --http1.1 -H 'Expect:' --data-binary @" + dir.file("up.bin") +
                                         " http://127.0.0.1:" + std::to_string(server.port) + "/up",
                                     &status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(out, "200000");
}

TEST(ServerHTTP, ManyConcurrentClientsAreAllAnswered) {
  TestServer server;
  constexpr int kClients = 32;
  constexpr int kEach = 10;
  std::atomic<int> answered{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kClients; ++t) {
    threads.emplace_back([&, t] {
      RawClient c(server.port);
      std::string all;
      for (int i = 0; i < kEach; ++i) all += "GET /c" + std::to_string(t) + " HTTP/1.1\r\n\r\n";
      // One at a time on a kept connection.
      for (int i = 0; i < kEach; ++i) {
        c.send("GET /c" + std::to_string(t) + " HTTP/1.1\r\n\r\n");
        if (RawClient::countAnswers(c.readAnswers(static_cast<size_t>(i + 1))) == static_cast<size_t>(i + 1))
          ++answered;
      }
    });
  }
  for (auto& th : threads) th.join();
  EXPECT_EQ(answered.load(), kClients * kEach);
}

// ---- binding

TEST(ServerHTTP, PortInUseReportsKindThreeAndWaitsThirtySecondsBeforeTheNextTry) {
  TestServer first;
  TestServer second(HK_PROTO_HTTP, {{"tcp_port", std::to_string(first.port)}});
  ASSERT_TRUE(waitUntil([&] { return second.reports.ofKind(HK_SERVER_BIND_FAILED).size() == 1; }));
  auto failed = second.reports.ofKind(HK_SERVER_BIND_FAILED)[0];
  EXPECT_EQ(failed.map["port"], std::to_string(first.port));
  EXPECT_EQ(failed.map["address"], "127.0.0.1");
  EXPECT_EQ(failed.map["protocolstring"], "http");
  // The next attempt is 30 seconds away: no second report meanwhile.
  EXPECT_TRUE(staysFor([&] { return second.reports.ofKind(HK_SERVER_BIND_FAILED).size() == 1; }, 1200ms));
  EXPECT_TRUE(second.reports.ofKind(HK_SERVER_LISTENING).empty());
}

TEST(ServerHTTP, StoppingAServerBetweenBindAttemptsEndsItsJobWithinHalfASecond) {
  TestServer first;
  auto second = std::make_unique<TestServer>(
      HK_PROTO_HTTP, std::map<std::string, std::string>{{"tcp_port", std::to_string(first.port)}});
  ASSERT_TRUE(waitUntil([&] { return second->reports.ofKind(HK_SERVER_BIND_FAILED).size() == 1; }));
  const auto start = std::chrono::steady_clock::now();
  second.reset();  // stops the server and waits for its accept job
  EXPECT_LT(std::chrono::steady_clock::now() - start, 1500ms);
}

TEST(ServerHTTPS, ServerWithoutCertificateOptionsFailsInItsConstructor) {
  HKGavetaScheduler2 scheduler;
  HKTransceiver transceiver(scheduler);
  auto client = std::make_shared<TestClient>(nullptr, nullptr);
  transceiver.connect(client);
  auto header = std::make_shared<HKXServerHeader>(false, HK_PROTO_HTTPS);
  header->setOption("tcp_port", "0");
  try {
    client->receive(header);
    FAIL() << "no exception";
  } catch (const HKException_SSL& e) {
    EXPECT_STREQ(e.what(), "(SSL) can't find ca certificate and/or private key");
  }
  EXPECT_EQ(transceiver.countServers(), 0u);
  transceiver.disconnect(client);
}

TEST(ServerHTTPS, UnreadableKeyPairFailsWithItsMessage) {
  HKXServerHeader header(false, HK_PROTO_HTTPS);
  header.setOption("cacertificate", "/nonexistent/cert.pem");
  header.setOption("privatekey", "/nonexistent/key.pem");
  try {
    HKTransceiverServerL1_SSLAddon addon(header);
    FAIL() << "no exception";
  } catch (const HKException_SSL& e) {
    EXPECT_STREQ(e.what(), "(SSL) problem with SSL key pair");
  }
}

TEST(ServerHTTPS, OpensslSClientGetsTheAnswer) {
  TempDir dir;
  ASSERT_TRUE(makeKeyPair(dir));
  TestServer server(HK_PROTO_HTTPS,
                    {{"cacertificate", dir.file("cert.pem")}, {"privatekey", dir.file("key.pem")}});
  const std::string out = runCommand(
      "sh -c \"printf 'GET /s HTTP/1.1\\r\\nHost: x\\r\\nConnection: close\\r\\n\\r\\n' | openssl s_client "
      "-quiet -connect 127.0.0.1:" +
      std::to_string(server.port) + " 2>/dev/null\"");
  EXPECT_NE(out.find("HTTP/1.1 200 OK"), std::string::npos) << out;
  EXPECT_NE(out.find("hello /s"), std::string::npos) << out;
}

TEST(ServerHTTPS, SilentTLSClientDoesNotHoldTheAcceptJob) {
  TempDir dir;
  ASSERT_TRUE(makeKeyPair(dir));
  TestServer server(HK_PROTO_HTTPS, {{"cacertificate", dir.file("cert.pem")},
                                     {"privatekey", dir.file("key.pem")},
                                     {"tls_handshake_timeout_ms", "300"}});
  RawClient silent(server.port);  // connects and sends nothing
  ASSERT_TRUE(silent.ok());
  std::this_thread::sleep_for(50ms);
  int status = -1;
  const std::string out =
      runCommand("curl -sk --http1.1 https://127.0.0.1:" + std::to_string(server.port) + "/t", &status, 10);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(out, "hello /t");
}

TEST(ServerTOVIK, RequestThatNothingTakesGetsA404WithAnEmptyBody) {
  TestServer server(HK_PROTO_TOVIK, {}, [](TestClient&, HKXHeader&) { return false; });
  const std::string got = server.get("/t");
  EXPECT_EQ(got, std::string("HTTP/1.1 404 Not Found\r\nServer: ") + HKServerSoftware +
                     "\r\nContent-Length: 0\r\n\r\n");
}

TEST(ServerHTTP, RequestThatNoRouteTakesGetsA404) {
  TestServer server(HK_PROTO_HTTP, {}, [](TestClient&, HKXHeader&) { return false; });
  EXPECT_EQ(server.get("/none").rfind("HTTP/1.1 404 Not Found\r\n", 0), 0u);
}
