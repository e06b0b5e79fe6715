// The web client against nginx serving a folder of our files, plain and
// over TLS: bodies as on disk, keep-alive seen from the server's side, the
// image list of a page, and a response larger than 10 MB.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "../support/http_peers.h"
#include "../support/webclient_support.h"

using namespace tovik_test;
using namespace std::chrono_literals;

namespace {

constexpr size_t kLargeBytes = 11 * 1024 * 1024;
const char* kIndex = "<html><body><img src=\"logo.png\" /><p>files</p></body></html>\n";

class WebClientNginx : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!nginxInstalled()) GTEST_SKIP() << "nginx is not installed";
    std::ofstream(_files.file("index.html")) << kIndex;
    std::ofstream(_files.file("small.txt")) << std::string(1400, 's');
    std::string large(kLargeBytes, '\0');
    for (size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>('a' + (i * 7) % 26);
    std::ofstream(_files.file("large.bin"), std::ios::binary) << large;
    _large = large;
    _nginx = std::make_unique<NginxServer>(_files.path());
    ASSERT_TRUE(_nginx->running()) << "nginx did not start";
  }

  TempDir _files;
  std::string _large;
  std::unique_ptr<NginxServer> _nginx;
};

}  // namespace

TEST_F(WebClientNginx, PlainFetchGivesTheFileAsOnDisk) {
  WebClientHarness web;
  const std::string id = web.fetch(localURL(_nginx->port, "/index.html"));
  EXPECT_EQ(web.client->getResponseBody(id), kIndex);
  EXPECT_EQ(web.client->getResponseHeader(id).rfind("HTTP/1.1 200 OK\r\n", 0), 0u);
}

TEST_F(WebClientNginx, TlsFetchGivesTheFileAsOnDisk) {
  WebClientHarness web;
  const std::string id = web.fetchAndSettle(localURL(_nginx->tlsPort, "/small.txt", "https"));
  EXPECT_EQ(web.client->getRequestError(id), "");
  EXPECT_EQ(web.client->getResponseBody(id), std::string(1400, 's'));
}

TEST_F(WebClientNginx, KeepAliveServesManyRequestsOnFewerConnections) {
  WebClientHarness web;
  constexpr size_t kRequests = 10;
  for (size_t i = 0; i < kRequests; ++i)
    ASSERT_EQ(web.client->getResponseBody(web.fetchAndSettle(localURL(_nginx->port, "/small.txt"))),
              std::string(1400, 's'));
  EXPECT_EQ(_nginx->loggedRequests(), kRequests);
  EXPECT_LT(_nginx->loggedConnections(), kRequests);
}

TEST_F(WebClientNginx, TlsKeepAliveServesManyRequestsOnFewerConnections) {
  WebClientHarness web;
  constexpr size_t kRequests = 5;
  for (size_t i = 0; i < kRequests; ++i)
    ASSERT_EQ(
        web.client->getResponseBody(web.fetchAndSettle(localURL(_nginx->tlsPort, "/small.txt", "https"))),
        std::string(1400, 's'));
  EXPECT_LT(_nginx->loggedConnections(), kRequests);
}

TEST_F(WebClientNginx, ImagesOfThePageAreListed) {
  WebClientHarness web;
  const std::string id = web.fetch(localURL(_nginx->port, "/index.html"));
  const std::string body = kIndex;
  const auto start = body.find("<img");
  const auto end = body.find("/>", start) + 2;
  EXPECT_EQ(web.client->getResponseImages(id), std::to_string(start) + ":" + std::to_string(end) +
                                                   " : http://127.0.0.1:" + std::to_string(_nginx->port) +
                                                   "/logo.png\nAA noch nix fertig : nixda\n");
}

TEST_F(WebClientNginx, ResponseLargerThanTenMegabytesArrivesWhole) {
  WebClientHarness web;
  const std::string id = web.fetch(localURL(_nginx->port, "/large.bin"), 60s);
  ASSERT_TRUE(web.client->requestReady(id));
  const std::string body = web.client->getResponseBody(id);
  EXPECT_EQ(web.client->getRequestError(id), "");
  EXPECT_EQ(body.size(), kLargeBytes);
  EXPECT_TRUE(body == _large);
}
