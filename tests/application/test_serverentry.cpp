// The procedural server entry and its C wrappers: the refused options, the
// null handle, port 0 and a negative port, and a file fetched over HTTPS.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include <toviktwo/application/hkserverentry.h>
#include <toviktwo/application/hkserverentry_c.h>
#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/persistence/hkpersistentappstorage.h>
#include "../support/http_peers.h"

using namespace tovik_test;

namespace {

std::string messageOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const HKException& e) {
    return e.what();
  }
  return "";
}

// Files and a key pair for one server.
struct Site {
  Site() {
    keys = makeKeyPair(dir);
    std::ofstream(dir.file("hello.txt")) << "hello from the entry\n";
  }
  void* start(int port) {
    return StartHTTPServer("127.0.0.1", port, dir.path().c_str(), dir.path().c_str(),
                           dir.file("cert.pem").c_str(), dir.file("key.pem").c_str());
  }
  TempDir dir;
  bool keys = false;
};

}  // namespace

TEST(ServerEntry, MissingAddressStartpathOrCgibinpathThrowsOptionsAreMissing) {
  EXPECT_EQ(messageOf([] { StartHTTPServer(nullptr, 0, "/tmp", "/tmp", "c", "k"); }), "options are missing");
  EXPECT_EQ(messageOf([] { StartHTTPServer("127.0.0.1", 0, nullptr, "/tmp", "c", "k"); }),
            "options are missing");
  EXPECT_EQ(messageOf([] { StartHTTPServer("127.0.0.1", 0, "/tmp", nullptr, "c", "k"); }),
            "options are missing");
}

TEST(ServerEntry, MissingCertificateOrKeyThrowsKeysAreMissing) {
  EXPECT_EQ(messageOf([] { StartHTTPServer("127.0.0.1", 0, "/tmp", "/tmp", nullptr, "k"); }),
            "keys are missing");
  EXPECT_EQ(messageOf([] { StartHTTPServer("127.0.0.1", 0, "/tmp", "/tmp", "c", nullptr); }),
            "keys are missing");
}

TEST(ServerEntry, NullHandleStopsWithZeroAndHasPortZero) {
  EXPECT_EQ(StopHTTPserver(nullptr), 0);
  EXPECT_EQ(ServerPort(nullptr), 0u);
}

TEST(ServerEntry, PortZeroReportsTheAssignedPortAndServesAFileOverHttps) {
  Site site;
  ASSERT_TRUE(site.keys);
  void* handle = site.start(0);
  ASSERT_NE(handle, nullptr);
  const unsigned long early = ServerPort(handle);  // may be 0: the report comes from the server's job
  ASSERT_TRUE(waitUntil([&] { return ServerPort(handle) != 0; }, 10000ms));
  const unsigned long port = ServerPort(handle);
  EXPECT_TRUE(early == 0 || early == port);
  int status = -1;
  const std::string body =
      runCommand("curl -sk https://127.0.0.1:" + std::to_string(port) + "/hello.txt", &status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(body, "hello from the entry\n");
  EXPECT_EQ(StopHTTPserver(handle), 0);
}

TEST(ServerEntry, NegativePortCountsAsPositive) {
  Site site;
  ASSERT_TRUE(site.keys);
  const unsigned int free = freeLoopbackPort();
  void* handle = site.start(-static_cast<int>(free));
  ASSERT_TRUE(waitUntil([&] { return ServerPort(handle) != 0; }, 10000ms));
  EXPECT_EQ(ServerPort(handle), free);
  EXPECT_EQ(StopHTTPserver(handle), 0);
}

TEST(ServerEntryC, WrappersAnswerNullAndZeroInsteadOfThrowing) {
  EXPECT_EQ(HKStartHTTPServerC(nullptr, 0, "/tmp", "/tmp", "c", "k"), nullptr);
  EXPECT_EQ(HKStartHTTPServerC("127.0.0.1", 0, "/tmp", "/tmp", nullptr, "k"), nullptr);
  EXPECT_EQ(HKServerPortC(nullptr), 0u);
  EXPECT_EQ(HKStopHTTPServerC(nullptr), 0);
}

TEST(ServerEntryC, UnusableKeyFilesGiveANullHandle) {
  TempDir dir;
  EXPECT_EQ(HKStartHTTPServerC("127.0.0.1", 0, dir.path().c_str(), dir.path().c_str(),
                               dir.file("none.pem").c_str(), dir.file("none.pem").c_str()),
            nullptr);
}

TEST(ServerEntry, TheHandleStartsWithTheStorageWithTheLibraryApplicationSelected) {
  Site site;
  ASSERT_TRUE(site.keys);
  void* handle = site.start(0);
  ASSERT_NE(handle, nullptr);
  auto* storage = static_cast<HKPersistentAppStorage*>(handle);
  EXPECT_EQ(storage->GetApplicationName(), "toviktwodll");
  ASSERT_TRUE(waitUntil([&] { return ServerPort(handle) != 0; }, 10000ms));
  EXPECT_EQ(StopHTTPserver(handle), 0);
}

// Stopping before the server has reported its port: the servers are ended
// and their jobs waited for before the application goes.
TEST(ServerEntry, StopRightAfterStartLeavesTheProgramRunning) {
  Site site;
  ASSERT_TRUE(site.keys);
  for (int i = 0; i < 5; ++i) {
    void* handle = site.start(0);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(StopHTTPserver(handle), 0);
  }
}
