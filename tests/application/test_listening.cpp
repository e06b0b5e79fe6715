// Listening interfaces: the interface record, the listening report (params
// keys and the browser start), AppStart and the "please, open document at "
// text. Browsers are stand-in scripts on a PATH of the test's own.
#include <gtest/gtest.h>

#include <chrono>
#include <iostream>
#include <sstream>
#include <string>

#include <toviktwo/application/hktovikapplication2.h>

#include "../scheduler/test_support.h"
#include "../support/standin_programs.h"

using namespace std::chrono_literals;
using tovik_test::readFile;
using tovik_test::ScopedPath;
using tovik_test::staysFor;
using tovik_test::TempDir;
using tovik_test::waitUntil;
using tovik_test::writeRecorder;

namespace {

class ReportApp : public HKTovikApplication2 {
 public:
  ReportApp(HKPersistentAppStorage& storage, std::map<std::string, std::string> params,
            std::vector<HKTovikInterfaceProps> interfaces = {})
      : HKTovikApplication2(storage, std::move(interfaces), std::move(params)) {}
  bool report(int32_t kind, const std::string& address, const std::string& port,
              const std::string& protocol) {
    HKServerCallback_t r;
    r.kind = kind;
    r.map = {{"address", address}, {"port", port}, {"protocolstring", protocol}, {"ID", "server*1"}};
    return _listeningReport(r);
  }
  static void please(const std::string& url) { _pleaseOpen(url); }
};

// A folder with a stand-in "opera" on PATH that records what it is given.
struct Browser {
  TempDir dir;
  ScopedPath path{dir.path()};
  std::string record = dir / "record";
  Browser() { writeRecorder(dir.path(), "opera", record); }
  ~Browser() { tovik_test::reapChildren(); }
  // The document the browser got, once it has started.
  std::string opened() {
    waitUntil([&] { return !readFile(record).empty(); });
    return readFile(record);
  }
  bool staysClosed() {
    return staysFor([&] { return readFile(record).empty(); }, 400ms);
  }
};

}  // namespace

// ---- the interface record

TEST(HKTovikInterfaceProps, CopiesShareTheClientAndOptionsHaveDefaults) {
  HKTovikInterfaceProps a("127.0.0.1", 2098, HK_PROTO_HTTPS, {{"privatekey", "k.pem"}});
  HKTovikInterfaceProps b = a;
  EXPECT_EQ(b.address, "127.0.0.1");
  EXPECT_EQ(b.port, 2098u);
  EXPECT_EQ(b.protocol, HK_PROTO_HTTPS);
  EXPECT_EQ(b.option(HKTovikInterfaceProps::kPrivateKeyOption, HKTovikInterfaceProps::kPrivateKeyDefault),
            "k.pem");
  EXPECT_EQ(b.option(HKTovikInterfaceProps::kCertificateOption, HKTovikInterfaceProps::kCertificateDefault),
            "cacert.pem");
  EXPECT_EQ(a.client.get(), b.client.get());
}

// ---- the listening report

TEST(ListeningReport, HttpWritesPortAndAddressAndOpensTheCommandUrl) {
  Browser browser;
  HKPersistentAppStorage storage;
  ReportApp app(storage, {{"_app_context_commandurl", "/start"}});
  EXPECT_TRUE(app.report(HK_SERVER_LISTENING, "127.0.0.1", "34567", "http"));
  EXPECT_EQ(app.getParams()["tcp_port_http"], "34567");
  EXPECT_EQ(app.getParams()["tcp_address_http"], "127.0.0.1");
  EXPECT_EQ(browser.opened(), "opera\nhttp://127.0.0.1:34567/start\n");
}

TEST(ListeningReport, EmptyCommandUrlOpensSlash) {
  Browser browser;
  HKPersistentAppStorage storage;
  ReportApp app(storage, {{"_app_context_commandurl", ""}});
  app.report(HK_SERVER_LISTENING, "127.0.0.1", "2098", "http");
  EXPECT_EQ(browser.opened(), "opera\nhttp://127.0.0.1:2098/\n");
  EXPECT_EQ(app.getParams()["_app_context_commandurl"], "");  // the params keep the empty value
}

TEST(ListeningReport, NoBrowserPopupZeroSuppressesTheBrowser) {
  Browser browser;
  HKPersistentAppStorage storage;
  ReportApp app(storage, {{"no_browser_popup", "0"}});
  app.report(HK_SERVER_LISTENING, "127.0.0.1", "2098", "http");
  EXPECT_EQ(app.getParams()["tcp_port_http"], "2098");
  EXPECT_TRUE(browser.staysClosed());
}

TEST(ListeningReport, NoBrowserPopupFalseSuppressesTheBrowser) {
  Browser browser;
  HKPersistentAppStorage storage;
  ReportApp app(storage, {{"no_browser_popup", "false"}});
  app.report(HK_SERVER_LISTENING, "127.0.0.1", "2098", "http");
  EXPECT_TRUE(browser.staysClosed());
}

TEST(ListeningReport, HttpsWritesItsKeysButNeverStartsABrowser) {
  Browser browser;
  HKPersistentAppStorage storage;
  ReportApp app(storage, {});
  EXPECT_TRUE(app.report(HK_SERVER_LISTENING, "::1", "2099", "https"));
  EXPECT_EQ(app.getParams()["tcp_port_https"], "2099");
  EXPECT_EQ(app.getParams()["tcp_address_https"], "::1");
  EXPECT_EQ(app.getParams().count("tcp_port_http"), 0u);
  EXPECT_TRUE(browser.staysClosed());
}

TEST(ListeningReport, OtherKindsWriteNothingAndAnswerTrue) {
  Browser browser;
  HKPersistentAppStorage storage;
  ReportApp app(storage, {});
  EXPECT_TRUE(app.report(HK_SERVER_BIND_FAILED, "127.0.0.1", "2098", "http"));
  EXPECT_TRUE(app.report(HK_SERVER_STARTED, "127.0.0.1", "2098", "http"));
  EXPECT_TRUE(app.getParams().empty());
  EXPECT_TRUE(browser.staysClosed());
}

TEST(ListeningReport, EmptyPortStartsNoBrowser) {
  Browser browser;
  HKPersistentAppStorage storage;
  ReportApp app(storage, {});
  app.report(HK_SERVER_LISTENING, "127.0.0.1", "", "http");
  EXPECT_EQ(app.getParams()["tcp_address_http"], "127.0.0.1");
  EXPECT_TRUE(browser.staysClosed());
}

// ---- AppStart

TEST(AppStart, EmptyAddressAndPortZeroWithoutInterfacesGiveEmptyHostAndPortZero) {
  Browser browser;
  HKPersistentAppStorage storage;
  ReportApp app(storage, {});
  app.AppStart("", 0, "http");
  EXPECT_EQ(browser.opened(), "opera\nhttp://:0\n");
}

TEST(AppStart, EmptyAddressAndPortZeroTakeTheFirstInterface) {
  Browser browser;
  HKPersistentAppStorage storage;
  ReportApp app(storage, {}, {HKTovikInterfaceProps("127.0.0.1", 2098, HK_PROTO_HTTP)});
  app.AppStart("", 0, "http");
  EXPECT_EQ(browser.opened(), "opera\nhttp://127.0.0.1:2098\n");
}

TEST(AppStart, GivenAddressAndPortAreUsedAsTheyAre) {
  Browser browser;
  HKPersistentAppStorage storage;
  ReportApp app(storage, {}, {HKTovikInterfaceProps("127.0.0.1", 2098, HK_PROTO_HTTP)});
  app.AppStart("localhost", -5, "https");
  EXPECT_EQ(browser.opened(), "opera\nhttps://localhost:-5\n");
}

TEST(AppStart, PleaseOpenTextHasItsLineEnds) {
  std::ostringstream out;
  auto* old = std::cout.rdbuf(out.rdbuf());
  ReportApp::please("http://h:1/");
  std::cout.rdbuf(old);
  EXPECT_EQ(out.str(), "\nplease, open document at http://h:1/\n\n");
}
