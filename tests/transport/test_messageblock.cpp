// Named blocks of a request: multipart/form-data as browsers send it,
// urlencoded bodies, and blocks made from a single "name=value".
#include <gtest/gtest.h>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/transport/hkxheader.h>

namespace {

// Reads a whole request (head and body) into a server-side header.
std::unique_ptr<HKXHeader> request(const std::string& contentType, const std::string& body) {
  auto h = std::make_unique<HKXHeader>(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  std::string text = "POST /tovikwidget.handler HTTP/1.1\r\nHost: localhost\r\n";
  if (!contentType.empty()) text += "Content-Type: " + contentType + "\r\n";
  text += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
  h->getDataBuffer()->stringput(text);
  EXPECT_EQ(h->parseInputData2([](HKXHeader&) { return true; }), 2);
  return h;
}

const std::string kBoundary = "----WebKitFormBoundary7MA4YWxkTrZu0gW";

std::string part(const std::string& disposition, const std::string& content,
                 const std::string& type = std::string()) {
  std::string p = "--" + kBoundary + "\r\nContent-Disposition: " + disposition + "\r\n";
  if (!type.empty()) p += "Content-Type: " + type + "\r\n";
  return p + "\r\n" + content + "\r\n";
}

}  // namespace

TEST(HKHTTPMessageBlockTest, NewBlockDefaults) {
  HKHTTPMessageBlock b;
  EXPECT_EQ(b.attributes().at("mimetype"), "application/octet-stream");
  EXPECT_EQ(b.attributes().at("name"), "");
  EXPECT_EQ(b.content(), nullptr);
  EXPECT_EQ(b.asString(), "");
  b.dump();
}

TEST(HKHTTPMessageBlockTest, FromQuestion) {
  HKHTTPMessageBlock pair("  key = value ");
  EXPECT_EQ(pair.name(), "key");
  EXPECT_EQ(pair.asString(), "value");
  HKHTTPMessageBlock alone("flag");
  EXPECT_EQ(alone.name(), "flag");
  EXPECT_EQ(alone.content(), nullptr);
}

TEST(HKHTTPMessageBlockTest, BadQuestionsRaise) {
  for (const char* q : {"a=b=c", "", "   ", "="}) {
    try {
      HKHTTPMessageBlock b(q);
      FAIL() << "no exception for \"" << q << "\"";
    } catch (const HKException& e) {
      EXPECT_STREQ(e.what(), "can't create message block from empty question");
    }
  }
}

TEST(HKHTTPMessageBlockTest, MovesNotCopies) {
  HKHTTPMessageBlock a("n=v");
  HKStringBuf* content = a.content();
  HKHTTPMessageBlock b(std::move(a));
  EXPECT_EQ(b.content(), content);
  EXPECT_EQ(a.content(), nullptr);  // NOLINT: moved-from state is defined
  HKHTTPMessageBlock c;
  c = std::move(b);
  EXPECT_EQ(c.asString(), "v");
  EXPECT_EQ(c.name(), "n");
}

TEST(HKHTTPMessageBlockTest, AsStringIgnoresReadPosition) {
  HKHTTPMessageBlock b("n=abcdef");
  char two[2];
  b.content()->sgetn(two, 2);
  EXPECT_EQ(b.asString(), "abcdef");
}

TEST(ParseContent, MultipartAsBrowsersSendIt) {
  const std::string body =
      part("form-data; name=\"tovikaction\"", "onclick") +
      part("form-data; name=\"tovikactionelement\"", "button_1") +
      part("form-data; name=\"upload\"; filename=\"notes.txt\"", "line 1\r\nline 2", "text/plain") +
      part("form-data; name=\"empty\"", "") + "--" + kBoundary + "--\r\n";
  auto h = request("multipart/form-data; boundary=" + kBoundary, body);
  EXPECT_EQ(h->parseContent2(), 2);
  ASSERT_EQ(h->messageBlocks().size(), 4u);
  std::string v;
  EXPECT_TRUE(h->getFormString("tovikaction", v));
  EXPECT_EQ(v, "onclick");
  EXPECT_TRUE(h->getFormString("tovikactionelement", v));
  EXPECT_EQ(v, "button_1");
  // A part with a filename keeps the closing quote of its name.
  EXPECT_FALSE(h->getFormString("upload", v));
  ASSERT_TRUE(h->bodyBlocks().isSet("upload\""));
  HKHTTPMessageBlock* file = h->bodyBlocks().at("upload\"");
  EXPECT_EQ(file->asString(), "line 1\r\nline 2");
  EXPECT_EQ(file->attributes().at("mimetype"), "text/plain");
  EXPECT_EQ(file->fields().at("content-disposition"),
            (std::vector<std::string>{"form-data; name=\"upload\"; filename=\"notes.txt\""}));
  // An empty part has no content.
  HKHTTPMessageBlock* empty = h->bodyBlocks().at("empty");
  EXPECT_EQ(empty->content(), nullptr);
  EXPECT_EQ(empty->asString(), "");
  EXPECT_EQ(h->indexBlocks().size(), 4u);
  EXPECT_EQ(h->indexBlocks().at("1")->name(), "tovikactionelement");
  EXPECT_TRUE(h->allBlocks().isSet("tovikaction"));
}

TEST(ParseContent, BinaryFilePartIntact) {
  std::string data;
  for (int i = 0; i < 3000; ++i) data += static_cast<char>((i * 131) & 0xff);
  data += "\r\n--";  // looks like a boundary start, but is not one
  const std::string body =
      part("form-data; name=\"f\"; filename=\"x.bin\"", data, "application/octet-stream") + "--" + kBoundary +
      "--\r\n";
  auto h = request("multipart/form-data; boundary=" + kBoundary, body);
  EXPECT_EQ(h->parseContent2(), 2);
  ASSERT_EQ(h->messageBlocks().size(), 1u);
  EXPECT_EQ(h->messageBlocks()[0].asString(), data);
}

TEST(ParseContent, NameOnlyPart) {
  auto h = request("multipart/form-data; boundary=" + kBoundary,
                   part("form-data; name=\"f\"", "v") + "--" + kBoundary + "--\r\n");
  h->parseContent2();
  std::string v;
  EXPECT_TRUE(h->getFormString("f", v));
  EXPECT_EQ(v, "v");
}

TEST(ParseContent, BodyWithoutBoundaryHasNoBlocks) {
  auto h = request("multipart/form-data; boundary=" + kBoundary, "just some text, no boundary");
  EXPECT_EQ(h->parseContent2(), 2);
  EXPECT_TRUE(h->messageBlocks().empty());
  EXPECT_TRUE(h->allBlocks().empty());
}

TEST(ParseContent, HeadLineWithoutColonIsReported) {
  const std::string body = "--" + kBoundary +
                           "\r\nContent-Disposition: form-data; name=\"a\"\r\nbogus line\r\n\r\nvalue\r\n--" +
                           kBoundary + "--\r\n";
  auto h = request("multipart/form-data; boundary=" + kBoundary, body);
  testing::internal::CaptureStderr();
  EXPECT_EQ(h->parseContent2(), 2);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "oh oh ... problem...\n");
  std::string v;
  EXPECT_TRUE(h->getFormString("a", v));
  EXPECT_EQ(v, "value");
}

TEST(ParseContent, UrlencodedPairs) {
  auto one = request("application/x-www-form-urlencoded", "a=1&b");
  EXPECT_EQ(one->parseContent2(), 2);
  EXPECT_EQ(one->messageBlocks().size(), 1u);
  auto two = request("application/x-www-form-urlencoded", "a=1&b=2");
  EXPECT_EQ(two->parseContent2(), 2);
  EXPECT_EQ(two->messageBlocks().size(), 2u);
  auto decoded = request("application/x-www-form-urlencoded; charset=UTF-8", "n%20x=a+b%2Bc&e=");
  EXPECT_EQ(decoded->parseContent2(), 2);
  std::string v;
  EXPECT_TRUE(decoded->getFormString("n x", v));
  EXPECT_EQ(v, "a b c");
  EXPECT_TRUE(decoded->getFormString("e", v));
  EXPECT_EQ(v, "");
}

TEST(ParseContent, SameNameTwiceLaterWinsBothByIndex) {
  auto h = request("application/x-www-form-urlencoded", "x=first&x=second");
  h->parseContent2();
  std::string v;
  EXPECT_TRUE(h->getFormString("x", v));
  EXPECT_EQ(v, "second");
  EXPECT_EQ(h->indexBlocks().at("0")->asString(), "first");
  EXPECT_EQ(h->indexBlocks().at("1")->asString(), "second");
}

TEST(ParseContent, UnknownContentTypeIsReported) {
  auto h = request("text/plain", "hello");
  testing::internal::CaptureStderr();
  EXPECT_EQ(h->parseContent2(), 2);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "content type not defined (text/plain)\n");
  EXPECT_TRUE(h->messageBlocks().empty());
}

TEST(ParseContent, NoContentTypeGivesTwo) {
  auto h = request("", "abc");
  EXPECT_EQ(h->parseContent2(), 2);
  EXPECT_TRUE(h->messageBlocks().empty());
}

TEST(ParseContent, LengthComparedFirst) {
  auto h = std::make_unique<HKXHeader>(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  h->getDataBuffer()->stringput(
      "POST / HTTP/1.1\r\nContent-Type: application/x-www-form-urlencoded\r\nContent-Length: 5\r\n\r\na=1");
  EXPECT_EQ(h->parseInputData2([](HKXHeader&) { return true; }), 0);
  EXPECT_EQ(h->parseContent2(), 0);
  h->getDataBuffer()->stringput("&b=2");
  EXPECT_EQ(h->parseContent2(), 1);
  EXPECT_TRUE(h->messageBlocks().empty());
}

TEST(ParseContent, DataBufferStaysAsItIs) {
  auto h = request("application/x-www-form-urlencoded", "a=1&b=2");
  const unsigned long before = h->getDataBuffer()->getSizeReadable();
  h->parseContent2();
  EXPECT_EQ(h->getDataBuffer()->getSizeReadable(), before);
}

TEST(ParseContent, QueryBlocksAndBodyBlocksTogether) {
  auto h = std::make_unique<HKXHeader>(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  h->getDataBuffer()->stringput(
      "GET /p?q=1 HTTP/1.1\r\nContent-Type: application/x-www-form-urlencoded\r\nContent-Length: "
      "3\r\n\r\nb=2");
  ASSERT_EQ(h->parseInputData2([](HKXHeader&) { return true; }), 2);
  EXPECT_EQ(h->parseContent2(), 2);
  std::string v;
  EXPECT_TRUE(h->getFormString("q", v));  // still valid after more blocks were added
  EXPECT_EQ(v, "1");
  EXPECT_TRUE(h->getFormString("b", v));
  EXPECT_EQ(v, "2");
}
