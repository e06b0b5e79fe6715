// Message heads: the byte-by-byte parser, fields, writing the exact head
// lines, answers, requests and server headers.
#include <gtest/gtest.h>

#include <sstream>

#include <toviktwo/transport/hktransceiverserver.h>
#include <toviktwo/transport/hkxheader.h>

namespace {

const char* kBrowserGet =
    "GET /app/page.html?x=1&name=J%C3%BCrgen+M HTTP/1.1\r\n"
    "Host: localhost:2098\r\n"
    "User-Agent: Mozilla/5.0 (X11; Linux x86_64)\r\n"
    "Accept: text/html,application/xhtml+xml;q=0.9,*/*;q=0.8\r\n"
    "Accept-Language: en-US,en;q=0.5\r\n"
    "Accept-Encoding: gzip, deflate\r\n"
    "Connection: keep-alive\r\n"
    "Cookie: a=1\r\n"
    "Cookie: b=2\r\n"
    "Upgrade-Insecure-Requests: 1\r\n"
    "\r\n";

bool acceptHead(HKXHeader&) { return true; }

int feedWhole(HKXHeader& h, const std::string& bytes) {
  h.getDataBuffer()->stringput(bytes);
  return h.parseInputData2(acceptHead);
}

int feedBytewise(HKXHeader& h, const std::string& bytes) {
  int r = 0;
  for (const char c : bytes) {
    h.getDataBuffer()->sputc(c);
    r = h.parseInputData2(acceptHead);
    if (r != 0) break;
  }
  return r;
}

std::string head(HKXHeader& h) {
  std::ostringstream out;
  EXPECT_TRUE(h.getHeader(out));
  return out.str();
}

}  // namespace

TEST(HKXHeaderParse, ByteByByteEqualsWhole) {
  HKXHeader whole(HK_SCHEME_NONE, true, HK_PROTO_HTTP), bytes(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  EXPECT_EQ(feedWhole(whole, kBrowserGet), 2);
  EXPECT_EQ(feedBytewise(bytes, kBrowserGet), 2);
  EXPECT_EQ(whole.getFields(), bytes.getFields());
  EXPECT_EQ(whole.getURLPath(), bytes.getURLPath());
  EXPECT_EQ(whole.getQuery(), bytes.getQuery());
  EXPECT_EQ(whole.getHeaderType(), HK_HEADER_REQUEST);
  EXPECT_EQ(bytes.getHeaderType(), HK_HEADER_REQUEST);
  EXPECT_EQ(whole.getMethod(), HK_SCHEME_GET);
  EXPECT_EQ(whole.getURLPath(), "/app/page.html");
  EXPECT_EQ(whole.getQuery(), "x=1&name=J%C3%BCrgen+M");
  EXPECT_EQ(whole.getField("host"), (std::vector<std::string>{"localhost:2098"}));
  // Blanks are removed from values wherever they stand.
  EXPECT_EQ(whole.getField("user-agent"), (std::vector<std::string>{"Mozilla/5.0(X11;Linuxx86_64)"}));
  EXPECT_EQ(whole.getField(":first:"),
            (std::vector<std::string>{"GET", "/app/page.html?x=1&name=J%C3%BCrgen+M", "HTTP/1.1"}));
}

TEST(HKXHeaderParse, ArbitraryPiecesEqualWhole) {
  const std::string msg = std::string(kBrowserGet);
  HKXHeader ref(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  ASSERT_EQ(feedWhole(ref, msg), 2);
  for (unsigned long piece : {2ul, 3ul, 7ul, 64ul}) {
    HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
    int r = 0;
    for (unsigned long at = 0; at < msg.size() && r == 0; at += piece) {
      h.getDataBuffer()->stringput(msg.substr(at, piece));
      r = h.parseInputData2(acceptHead);
    }
    EXPECT_EQ(r, 2) << piece;
    EXPECT_EQ(h.getFields(), ref.getFields()) << piece;
  }
}

TEST(HKXHeaderParse, LastByteIsHeldBack) {
  HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  h.getDataBuffer()->stringput("GET / HTTP/1.1\r\nHost: x\r\n\r");
  EXPECT_EQ(h.parseInputData2(acceptHead), 0);
  EXPECT_TRUE(h.isHeadPending());
  EXPECT_EQ(h.getDataBuffer()->getSizeReadable(), 1u);  // the final CR waits
  h.getDataBuffer()->stringput("\n");
  EXPECT_EQ(h.parseInputData2(acceptHead), 2);
  EXPECT_FALSE(h.isHeadPending());
}

TEST(HKXHeaderParse, ContentLengthExactShortAndLong) {
  const std::string headText = "POST /f HTTP/1.1\r\nContent-Length: 10\r\n\r\n";
  HKXHeader exact(HK_SCHEME_NONE, true, HK_PROTO_HTTP), shortBody(HK_SCHEME_NONE, true, HK_PROTO_HTTP),
      longBody(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  EXPECT_EQ(feedWhole(exact, headText + "0123456789"), 2);
  EXPECT_EQ(exact.contentLength(), 10u);
  EXPECT_EQ(feedWhole(shortBody, headText + "012345678"), 0);
  EXPECT_EQ(feedWhole(longBody, headText + "0123456789A"), 1);
  // The missing byte arrives later.
  shortBody.getDataBuffer()->stringput("9");
  EXPECT_EQ(shortBody.parseInputData2(acceptHead), 2);
}

TEST(HKXHeaderParse, NoContentLengthIsCompleteWhateverFollows) {
  HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  EXPECT_EQ(feedWhole(h, "GET / HTTP/1.1\r\n\r\nlots of bytes that follow"), 2);
}

TEST(HKXHeaderParse, ConnectionCloseIsCaseSensitive) {
  HKXHeader a(HK_SCHEME_NONE, true, HK_PROTO_HTTP), b(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  feedWhole(a, "GET / HTTP/1.1\r\nConnection: close\r\n\r\n");
  feedWhole(b, "GET / HTTP/1.1\r\nConnection: Close\r\n\r\n");
  EXPECT_TRUE(a.isConnectionClose());
  EXPECT_FALSE(b.isConnectionClose());
}

TEST(HKXHeaderParse, UnknownFirstLineStopsParsing) {
  HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  bool headSeen = false;
  h.getDataBuffer()->stringput("FOO / HTTP/1.1\r\nHost: x\r\n\r\n");
  const int r = h.parseInputData2([&](HKXHeader&) {
    headSeen = true;
    return true;
  });
  EXPECT_EQ(r, 2);
  EXPECT_EQ(h.getHeaderType(), HK_HEADER_NONE);
  EXPECT_FALSE(h.isHeadPending());
  EXPECT_FALSE(headSeen);
  EXPECT_FALSE(h.isSet("host"));
}

TEST(HKXHeaderParse, TovikAnswerLine) {
  HKXHeader h(HK_SCHEME_NONE, false, HK_PROTO_TOVIK);
  EXPECT_EQ(feedWhole(h, "TOVIK/1.0 200 OK\r\n\r\n"), 2);
  EXPECT_EQ(h.getHeaderType(), HK_HEADER_ANSWER);
  HKXHeader http(HK_SCHEME_NONE, false, HK_PROTO_HTTP);
  feedWhole(http, "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
  EXPECT_EQ(http.getHeaderType(), HK_HEADER_ANSWER);
  EXPECT_EQ(http.getField(":first:"), (std::vector<std::string>{"HTTP/1.1", "404", "NOT FOUND"}));
}

TEST(HKXHeaderParse, RepeatedFieldsKeptInOrder) {
  HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  feedWhole(h, kBrowserGet);
  EXPECT_EQ(h.getField("cookie"), (std::vector<std::string>{"a=1", "b=2"}));
}

TEST(HKXHeaderParse, EmptyValueDropped) {
  HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  feedWhole(h, "GET / HTTP/1.1\r\nX-Empty:   \r\nX-Full: v\r\n\r\n");
  EXPECT_FALSE(h.isSet("x-empty"));
  EXPECT_TRUE(h.isSet("x-full"));
}

TEST(HKXHeaderParse, FieldNameAndValueRules) {
  HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  feedWhole(h,
            "get / HTTP/1.1\r\n"
            ":Content-Type : multipart/form-data; boundary=x\r\n"
            "X Spaced\tName: a: b :c\r\n"
            "Colons: ::lead\r\n"
            "NoColonAtAll\r\n"
            "\r\n");
  EXPECT_EQ(h.getMethod(), HK_SCHEME_GET);  // the method is upper-cased
  EXPECT_EQ(h.getField("content-type"), (std::vector<std::string>{"multipart/form-data;boundary=x"}));
  EXPECT_EQ(h.getField("xspacedname"), (std::vector<std::string>{"a:b:c"}));
  EXPECT_EQ(h.getField("colons"), (std::vector<std::string>{"lead"}));
  EXPECT_FALSE(h.isSet("nocolonatall"));
}

TEST(HKXHeaderParse, FirstLineTokens) {
  HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  feedWhole(h, "  \tpost  /x  http/1.1 extra\r\n\r\n");
  EXPECT_EQ(h.getMethod(), HK_SCHEME_POST);
  // Token 3 is the rest of the line in upper case, blanks included.
  EXPECT_EQ(h.getField(":first:"), (std::vector<std::string>{"POST", "/x", " HTTP/1.1 EXTRA"}));
}

TEST(HKXHeaderParse, LoneLfAndCrAreLineBytes) {
  HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  feedWhole(h, "GET / HTTP/1.1\r\nA: x\ny\rz\r\n\r\n");
  EXPECT_EQ(h.getField("a"), (std::vector<std::string>{"x\ny\rz"}));
}

TEST(HKXHeaderParse, OnHeadRefusalDrops) {
  HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  h.getDataBuffer()->stringput("GET / HTTP/1.1\r\n\r\n");
  EXPECT_EQ(h.parseInputData2([](HKXHeader&) { return false; }), 1);
}

TEST(HKXHeaderParse, BadContentLengthFollowsNumberRules) {
  HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  EXPECT_EQ(feedWhole(h, "POST / HTTP/1.1\r\nContent-Length: 3abc\r\n\r\nxyz"), 2);
  EXPECT_EQ(h.contentLength(), 3u);
  HKXHeader g(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  EXPECT_EQ(feedWhole(g, "POST / HTTP/1.1\r\nContent-Length: junk\r\n\r\n"), 2);
  EXPECT_EQ(g.contentLength(), 0u);
}

TEST(HKXHeaderParse, OverlongHeadLineIsDropped) {
  HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  h.getDataBuffer()->stringput("GET /" + std::string(HKXHeader::kMaxHeadLine + 10, 'a'));
  EXPECT_EQ(h.parseInputData2(acceptHead), 1);
  EXPECT_TRUE(h.isProblematic());
}

TEST(HKXHeaderParse, PostQueryStaysEmpty) {
  HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  feedWhole(h, "POST /form?a=1 HTTP/1.1\r\nContent-Length: 0\r\n\r\n");
  EXPECT_EQ(h.getURLPath(), "/form");
  EXPECT_EQ(h.getQuery(), "");
  EXPECT_TRUE(h.allBlocks().empty());
}

TEST(HKXHeaderParse, QueryBecomesDecodedBlocks) {
  HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  feedWhole(h, "GET /p?a=1&flag&b=x%20y+z&a=2 HTTP/1.1\r\n\r\n");
  EXPECT_EQ(h.messageBlocks().size(), 3u);
  std::string v;
  EXPECT_TRUE(h.getFormString("b", v));
  EXPECT_EQ(v, "x y+z");  // URL decoding only: "+" stays
  // The same name twice: the map by name points to the later block.
  EXPECT_TRUE(h.getFormString("a", v));
  EXPECT_EQ(v, "2");
  EXPECT_EQ(h.indexBlocks().at("0")->asString(), "1");
  EXPECT_EQ(h.indexBlocks().at("2")->asString(), "2");
  EXPECT_TRUE(h.urlBlocks().isSet("a"));
  EXPECT_FALSE(h.getFormString("flag", v));
  EXPECT_TRUE(h.emptyBlocks().empty());
}

TEST(HKXHeaderParse, PathParts) {
  HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  feedWhole(h, "GET //dir/sub//file.txt HTTP/1.1\r\n\r\n");
  EXPECT_EQ(h.getURLPathDir(), "dir/sub");
  EXPECT_EQ(h.getURLPathFile(), "file.txt");
  HKXHeader n(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  feedWhole(n, "GET name HTTP/1.1\r\n\r\n");
  EXPECT_EQ(n.getURLPathDir(), "");
  EXPECT_EQ(n.getURLPathFile(), "");
}

// ---------------------------------------------------------------- writing

TEST(HKXHeaderWrite, NewHeaderReportsFiveHundredAndIgnoresUnknownCodes) {
  HKXResponseHeader r(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  EXPECT_EQ(r.statusCode(), 500u);
  r.setStatusCode(418);
  EXPECT_EQ(r.statusCode(), 500u);
  r.setStatusCode(404);
  EXPECT_EQ(r.statusCode(), 404u);
  r.setStatusCode(418);
  EXPECT_EQ(r.statusCode(), 404u);
  EXPECT_TRUE(r.getOk());
}

TEST(HKXHeaderWrite, StatusTableRows) {
  const std::map<uint64_t, std::string> expected = {{200, "OK"},
                                                    {201, "Created"},
                                                    {303, "Redirect"},
                                                    {400, "Bad Request"},
                                                    {404, "Not Found"},
                                                    {417, "Expectation Failed"},
                                                    {500, "Internal Error"},
                                                    {502, "Server Error"}};
  EXPECT_EQ(HKXHeader::statusCodes(), expected);
}

TEST(HKXHeaderWrite, AnswerHeadLines) {
  HKXResponseHeader r(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  std::ostringstream early;
  EXPECT_FALSE(r.getHeader(early));  // state 0: nothing is written
  EXPECT_EQ(early.str(), "");
  r.setHTTPResponse200("<p>hi</p>");
  EXPECT_TRUE(r.readyToWrite());
  EXPECT_EQ(head(r),
            "HTTP/1.1 200 OK\r\n"
            "Server: harnock/1.28.1(96)\r\n"
            "Content-Length: 9\r\n"
            "\r\n");
  EXPECT_EQ(r.bytes2Write(), 9u);
  EXPECT_TRUE(r.headWritten());
  EXPECT_FALSE(r.readyToWrite());
}

TEST(HKXHeaderWrite, RedirectHasLocation) {
  HKXResponseHeader r(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  r.Redirect("/elsewhere", 0);
  EXPECT_EQ(head(r),
            "HTTP/1.1 303 Redirect\r\n"
            "Server: harnock/1.28.1(96)\r\n"
            "Content-Length: 0\r\n"
            "Location: /elsewhere\r\n"
            "\r\n");
}

TEST(HKXHeaderWrite, FileLengthComesFromBytesToWrite) {
  HKXResponseHeader r(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  r.setFilename("/var/www/big.bin", 123456);
  r.setStatusCode(200);
  r.setJobState(6);
  EXPECT_EQ(r.getFilename(), "/var/www/big.bin");
  EXPECT_NE(head(r).find("Content-Length: 123456\r\n"), std::string::npos);
}

TEST(HKXHeaderWrite, CgiHeadLinesEndTheHead) {
  HKXResponseHeader r(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  r.setHTTPResponse200("Content-Type: text/plain\r\nX-Cgi: 1\r\n\r\nbody!");
  r.setCGIindicator();
  EXPECT_EQ(head(r),
            "HTTP/1.1 200 OK\r\n"
            "Server: harnock/1.28.1(96)\r\n"
            "Content-Length: 5\r\n"
            "Content-Type: text/plain\r\nX-Cgi: 1\r\n\r\n");
  HKStringBuf* body = r.getDataBuffer();
  EXPECT_EQ(std::string(body->getStartReadout(), body->getSizeReadable()), "body!");
}

TEST(HKXHeaderWrite, CgiWithoutBlankLineGoesOutAsNormalAnswer) {
  HKXResponseHeader r(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  r.setHTTPResponse200("no head here\r\n");
  r.setCGIindicator();
  EXPECT_EQ(head(r),
            "HTTP/1.1 200 OK\r\n"
            "Server: harnock/1.28.1(96)\r\n"
            "Content-Length: 14\r\n"
            "\r\n");
  EXPECT_FALSE(r.getCGIindicator());
  HKStringBuf* body = r.getDataBuffer();
  EXPECT_EQ(std::string(body->getStartReadout(), body->getSizeReadable()), "no head here\r\n");
}

TEST(HKXHeaderWrite, ServerSideStateFiveCanBeWritten) {
  HKXResponseHeader server(HK_SCHEME_ANSWER, true, HK_PROTO_HTTP);
  server.setJobState(5);
  std::ostringstream o;
  EXPECT_TRUE(server.getHeader(o));
  EXPECT_EQ(o.str().rfind("HTTP/1.1 500 Internal Error\r\n", 0), 0u);
  HKXResponseHeader client(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  client.setJobState(5);
  std::ostringstream p;
  EXPECT_FALSE(client.getHeader(p));
  EXPECT_TRUE(client.readyToWrite());
}

TEST(HKXHeaderWrite, RequestHeadLines) {
  HKXRequestHeader get(HK_SCHEME_GET, false, HK_PROTO_HTTP);
  get.setAddress("http://example.test:8080/a/b", "");
  get.setFullURL("http://example.test:8080/a/b?x=1&y=2");
  EXPECT_EQ(head(get),
            "GET /a/b?x=1&y=2 HTTP/1.1\r\n"
            "Host: example.test\r\n"
            "User-Agent: harnock/1.28.1(96)\r\n"
            "\r\n");
  std::string v;
  EXPECT_TRUE(get.getFormString("y", v));
  EXPECT_EQ(v, "2");

  HKXRequestHeader post(HK_SCHEME_POST, false, HK_PROTO_HTTP);
  post.setAddress("http://h/form", "");
  EXPECT_EQ(head(post),
            "POST /form HTTP/1.1\r\n"
            "Host: h\r\n"
            "User-Agent: harnock/1.28.1(96)\r\n"
            "Content-Length: 0\r\n"
            "\r\n");
}

TEST(HKXHeaderWriteDeathTest, HeaderWithoutMethodEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        HKXHeader h(HK_SCHEME_NONE, false, HK_PROTO_HTTP);
        h.setJobState(6);
        std::ostringstream o;
        h.getHeader(o);
      },
      "header without method");
}

TEST(HKXHeaderWrite, GetFormWithoutInputsKeepsQueryEmpty) {
  HKXRequestHeader get(HK_SCHEME_GET, false, HK_PROTO_HTTP);
  get.setFullURL("/form");
  EXPECT_EQ(get.getQuery(), "");
  EXPECT_EQ(get.getHeaderType(), HK_HEADER_REQUEST);
  HKXRequestHeader post(HK_SCHEME_POST, false, HK_PROTO_HTTP);
  post.setFullURL("/form?a=1");  // only for GET
  EXPECT_EQ(post.getQuery(), "");
}

TEST(HKXHeaderWrite, SetAddressForms) {
  HKXRequestHeader r(HK_SCHEME_GET, false, HK_PROTO_HTTP);
  r.setAddress("https://joe@secure.test/x", "");
  EXPECT_EQ(r.getURLPath(), "/x");
  EXPECT_EQ(r.getURLHostPart(), "secure.test");
  EXPECT_EQ(r.getURLPort(), 443);
  EXPECT_EQ(r.getProtocol(), HK_PROTO_HTTPS);
  EXPECT_EQ(r.getUniqueURLHostDescriptor(), "https://joe@secure.test:443");
  EXPECT_EQ(static_cast<int>(r.getState()), 6);
  EXPECT_TRUE(r.readyToRead());

  HKXRequestHeader rel(HK_SCHEME_GET, false, HK_PROTO_HTTP);
  rel.setAddress("img/a.png", "http://base.test:81/dir");
  EXPECT_EQ(rel.getURLHostPart(), "base.test");
  EXPECT_EQ(rel.getURLPort(), 81);
  EXPECT_EQ(rel.getURLPath(), "/dir/img/a.png");
  EXPECT_EQ(rel.getUniqueURLHostDescriptor(), "http://base.test:81");

  HKXRequestHeader none(HK_SCHEME_GET, false, HK_PROTO_HTTP);
  EXPECT_EQ(none.getUniqueURLHostDescriptor(), "");
  none.setAddress("", "");
  EXPECT_EQ(none.getURLPath(), "/");
  EXPECT_EQ(none.getURLHostPart(), "localhost");
  EXPECT_EQ(static_cast<int>(none.getState()), 6);
}

TEST(HKXHeaderWrite, CreateResponseHeaderCopiesAndReverses) {
  HKXHeader req(HK_SCHEME_NONE, true, HK_PROTO_HTTPS);
  feedWhole(req, "GET /index.html?a=b HTTP/1.1\r\nHost: h\r\n\r\n");
  req.addAnswerPath("connection-id");
  req.addAnswerPath("server-id");
  auto resp = req.createResponseHeader();
  EXPECT_EQ(resp->getHeaderType(), HK_HEADER_ANSWER);
  EXPECT_EQ(resp->getMethod(), HK_SCHEME_ANSWER);
  EXPECT_EQ(resp->getProtocol(), HK_PROTO_HTTPS);
  EXPECT_EQ(resp->getURLPath(), "/index.html");
  EXPECT_EQ(resp->getHTTPFirstLine(), "GET /index.html?a=b");
  EXPECT_EQ(resp->getInitialField("host"), (std::vector<std::string>{"h"}));
  EXPECT_EQ(resp->answerPath(0), "server-id");
  EXPECT_EQ(resp->answerPath(1), "connection-id");
  EXPECT_EQ(resp->answerPath(2), "");
  EXPECT_EQ(resp->requestTime(), req.requestTime());
  HKXHeader empty(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  EXPECT_EQ(empty.createResponseHeader()->getHTTPFirstLine(), "-");
}

TEST(HKXHeaderWrite, InfoMapAndBuffers) {
  HKXResponseHeader r(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  r.setStatusCode(201);
  std::map<std::string, std::string> m;
  r.fillInfoMap(m);
  EXPECT_EQ(m.at("status_code"), "201");
  EXPECT_NE(m.at("time_used").find('.'), std::string::npos);
  EXPECT_GE(std::stod(m.at("time_used")), 0.0);
  HKStringBuf* b = r.getDataBuffer();
  EXPECT_EQ(r.getDataBuffer(), b);
  HKStringBuf* moved = r.moveDataBuffer();
  EXPECT_EQ(moved, b);
  EXPECT_EQ(r.moveDataBuffer(), nullptr);
  delete moved;
}

TEST(HKXHeaderWrite, ResetKontextPair) {
  HKXResponseHeader r(HK_SCHEME_ANSWER, false, HK_PROTO_HTTP);
  EXPECT_EQ(r.resetKontext().first, "");
  EXPECT_EQ(r.resetKontext().second, nullptr);
  auto* fake = reinterpret_cast<HKHTMLKontextN*>(0x10);
  r.resetKontext("ctx", fake);
  EXPECT_EQ(r.resetKontext().first, "ctx");
  EXPECT_EQ(r.resetKontext().second, fake);
}

namespace {
class CountingServer : public HKTransceiverServerL0 {
 public:
  explicit CountingServer(HKGavetaScheduler2& scheduler)
      : HKTransceiverServerL0(scheduler, "client", "server", "hook", nullptr) {}
  void stop() override { ++stops; }
  int stops = 0;
};
}  // namespace

TEST(HKXServerHeaderTest, OptionsTypesAndStop) {
  HKGavetaScheduler2 scheduler;
  HKXServerHeader s(true, HK_PROTO_HTTP);
  EXPECT_TRUE(s.isToBeDeleted());
  EXPECT_EQ(s.getMethod(), HK_SCHEME_POST);
  EXPECT_EQ(s.getOption("tcp_port", "2098"), "2098");
  s.setOption("tcp_port", "0");
  EXPECT_EQ(s.getOption("tcp_port", "2098"), "0");
  for (const char* ok : {"HTTP", "HTTPS", "DirectSocket", "TOVIK"}) {
    std::map<std::string, std::string> m{{"type", ok}};
    EXPECT_TRUE(s.incomingConnection(m)) << ok;
  }
  std::map<std::string, std::string> other{{"type", "FTP"}}, none;
  EXPECT_FALSE(s.incomingConnection(other));
  EXPECT_FALSE(s.incomingConnection(none));
  s.stop();  // no server: nothing happens
  auto server = std::make_shared<CountingServer>(scheduler);
  s.setTransceiverServer(server);
  s.stop();
  EXPECT_EQ(server->stops, 1);
}

TEST(HKXHeaderJob, HeadersAreJobsWithIdentities) {
  HKXHeader a(HK_SCHEME_NONE, true, HK_PROTO_HTTP), b(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  EXPECT_NE(a.getID(), b.getID());
  EXPECT_EQ(a.getID().rfind("_job*", 0), 0u);
}
