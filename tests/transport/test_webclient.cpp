// The web client against a server of our own: the records of request and
// response, readiness, release, keep-alive through the pool, forms, and the
// image list of a page.
#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include <toviktwo/documents/html/hkhtmlform.h>
#include "../support/webclient_support.h"

using namespace tovik_test;
using namespace std::chrono_literals;

namespace {

const char* kPageWithImages =
    "<html><body><p>x</p><img src=\"a.png\" /><p><img alt=\"b\" src=\"/abs/b.png\"/></p>"
    "<img src=\"http://other.test:81/c.png\" /></body></html>";

// Our own server, answering "/site/images.html" with the page above.
TestServer pageServer() {
  return TestServer(HK_PROTO_HTTP, {}, [](TestClient& c, HKXHeader& h) {
    if (h.getURLPath() == "/site/images.html") return c.answer(h, 200, kPageWithImages);
    return c.answer(h, 200, "hello " + h.getURLPath());
  });
}

}  // namespace

TEST(WebClient, FetchesABodyAndItsHeadFromOurServer) {
  TestServer server;
  WebClientHarness web;
  const std::string id = web.fetch(localURL(server.port, "/page.html"));
  ASSERT_TRUE(web.client->requestReady(id));
  EXPECT_EQ(web.client->getResponseBody(id), "hello /page.html");
  EXPECT_EQ(web.client->getResponseHeader(id),
            "HTTP/1.1 200 OK\r\nServer: harnock/1.28.1(96)\r\nContent-Length: 16\r\n\r\n");
  EXPECT_EQ(web.client->getRequestError(id), "");
}

TEST(WebClient, RequestHeadIsKeptAsSent) {
  TestServer server;
  WebClientHarness web;
  const std::string id = web.fetch(localURL(server.port, "/x"));
  EXPECT_EQ(web.client->getRequestHeader(id),
            "GET /x HTTP/1.1\r\nHost: 127.0.0.1\r\nUser-Agent: harnock/1.28.1(96)\r\n\r\n");
  EXPECT_EQ(web.client->getRequestBody(id), "");
}

TEST(WebClient, RequestIsNotReadyUntilTheResponseIsComplete) {
  std::atomic<bool> release{false};
  TestServer server(HK_PROTO_HTTP, {}, [&release](TestClient& c, HKXHeader& h) {
    waitUntil([&] { return release.load(); }, 10s);
    return c.answer(h, 200, "late");
  });
  WebClientHarness web;
  const std::string id = web.send(localURL(server.port, "/slow"));
  ASSERT_FALSE(id.empty());
  EXPECT_TRUE(staysFor([&] { return !web.client->requestReady(id); }, 300ms));
  EXPECT_NE(web.client->getRequestHeader(id), "");  // in progress, the request is known
  EXPECT_EQ(web.client->getResponseBody(id), "");
  release = true;
  ASSERT_TRUE(web.ready(id));
  EXPECT_EQ(web.client->getResponseBody(id), "late");
}

TEST(WebClient, AfterReleaseIDEveryGetterIsEmpty) {
  TestServer server;
  WebClientHarness web;
  const std::string id = web.fetch(localURL(server.port, "/r"));
  ASSERT_TRUE(web.client->requestReady(id));
  web.client->releaseID(id);
  EXPECT_FALSE(web.client->requestReady(id));
  EXPECT_EQ(web.client->getRequestHeader(id), "");
  EXPECT_EQ(web.client->getRequestBody(id), "");
  EXPECT_EQ(web.client->getResponseHeader(id), "");
  EXPECT_EQ(web.client->getResponseBody(id), "");
  EXPECT_EQ(web.client->getResponseImages(id), "");
}

TEST(WebClient, UnknownIdentifierGivesEmptyTexts) {
  WebClientHarness web;
  EXPECT_FALSE(web.client->requestReady("nothing"));
  EXPECT_EQ(web.client->getRequestHeader("nothing"), "");
  EXPECT_EQ(web.client->getResponseImages("nothing"), "");
}

TEST(WebClient, KeepAliveReusesOneConnectionForSuccessiveRequests) {
  TestServer server;
  WebClientHarness web;
  constexpr int kRequests = 5;
  for (int i = 0; i < kRequests; ++i) {
    const std::string id = web.fetchAndSettle(localURL(server.port, "/k" + std::to_string(i)));
    ASSERT_EQ(web.client->getResponseBody(id), "hello /k" + std::to_string(i));
  }
  EXPECT_EQ(server.client->requests.load(), kRequests);
  EXPECT_LT(server.reports.ofKind(HK_SERVER_CONNECTED).size(), static_cast<size_t>(kRequests));
}

TEST(WebClient, PageWithoutImagesHasOnlyTheMarker) {
  TestServer server;
  WebClientHarness web;
  const std::string id = web.fetch(localURL(server.port, "/plain.html"));
  EXPECT_EQ(web.client->getResponseImages(id), "AA noch nix fertig : nixda\n");
}

TEST(WebClient, ImagesOfAPageAreListedAsCompleteURLs) {
  TestServer server = pageServer();
  WebClientHarness web;
  const std::string id = web.fetch(localURL(server.port, "/site/images.html"));
  const std::string body = kPageWithImages;
  const std::string base = "http://127.0.0.1:" + std::to_string(server.port);
  const auto first = body.find("<img");
  const auto second = body.find("<img", first + 1);
  const auto third = body.find("<img", second + 1);
  auto key = [&body](size_t start) {
    return std::to_string(start) + ":" + std::to_string(body.find("/>", start) + 2) + " : ";
  };
  EXPECT_EQ(web.client->getResponseImages(id),
            key(first) + base + "/site/a.png\n" + key(second) + base + "/abs/b.png\n" + key(third) +
                "http://other.test:81/c.png\n" + "AA noch nix fertig : nixda\n");
}

TEST(WebClient, RelativeImageSourceIsResolvedAgainstThePageDirectory) {
  TestServer server = pageServer();
  WebClientHarness web;
  const std::string id = web.fetch(localURL(server.port, "/site/images.html"));
  EXPECT_NE(web.client->getResponseImages(id).find(" : http://127.0.0.1:" + std::to_string(server.port) +
                                                   "/site/a.png\n"),
            std::string::npos);
}

TEST(WebClient, PostedFormReachesTheServerAndItsBodyIsKept) {
  std::string seen;
  TestServer server(HK_PROTO_HTTP, {}, [&seen](TestClient& c, HKXHeader& h) {
    h.parseContent2();
    h.getFormString("who", seen);
    return c.answer(h, 200, "posted");
  });
  WebClientHarness web;
  HKHTML_form2 form("POST", localURL(server.port, "/form"));
  form << new HKHTML_input2_text("", "who", "tovik");
  auto request = std::make_shared<HKXRequestHeader>(HK_SCHEME_POST, false, HK_PROTO_HTTP);
  request->setData(form, "");
  const std::string id = web.client->send(request, false);
  ASSERT_TRUE(web.ready(id));
  EXPECT_EQ(web.client->getResponseBody(id), "posted");
  EXPECT_EQ(seen, "tovik");
  EXPECT_NE(web.client->getRequestBody(id).find("name=\"who\"\r\n\r\ntovik\r\n"), std::string::npos);
}
