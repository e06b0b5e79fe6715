// Requests filled from document elements: a link's address, a GET form's
// query and a POST form's multipart body, checked byte for byte.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include <toviktwo/documents/html/hkhtmlelement.h>
#include <toviktwo/documents/html/hkhtmlform.h>
#include <toviktwo/foundation/hkstringtools.h>
#include <toviktwo/transport/hkxheader.h>

namespace {

// The head as written, then the body as it would follow on the wire.
std::string requestBytes(HKXHeader& h) {
  std::ostringstream out;
  EXPECT_TRUE(h.getHeader(out));
  HKStringBuf* body = h.getDataBuffer();
  return out.str() + std::string(body->getStart(0), body->getSizeWritten());
}

HKHTML_input2* named(HKHTML_input2* input, const std::string& type, const std::string& name,
                     const std::string& value) {
  input->type() = type;
  input->name() = name;
  input->value() = value;
  return input;
}

// A temporary file removed at the end of the test.
struct TempFile {
  std::string path;
  explicit TempFile(const std::string& bytes) {
    char tmpl[] = "/tmp/tovik-formdata-XXXXXX";
    const int fd = mkstemp(tmpl);
    EXPECT_GE(fd, 0);
    close(fd);
    path = tmpl;
    std::ofstream(path, std::ios::binary) << bytes;
  }
  ~TempFile() { std::remove(path.c_str()); }
};

const std::string kUA = "User-Agent: harnock/1.28.1(96)\r\n";

}  // namespace

TEST(RequestFromLink, FullHrefGivesItsGetRequest) {
  HKHTML_a2 link("http://example.test:8080/dir/page.html", "go");
  HKXRequestHeader r(HK_SCHEME_GET, false, HK_PROTO_HTTP);
  r.setData(link, "http://other.test/");
  EXPECT_EQ(requestBytes(r), "GET /dir/page.html HTTP/1.1\r\nHost: example.test\r\n" + kUA + "\r\n");
  EXPECT_EQ(r.getURLPort(), 8080);
  EXPECT_EQ(r.getUniqueURLHostDescriptor(), "http://example.test:8080");
  EXPECT_EQ(r.getHeaderType(), HK_HEADER_REQUEST);
  EXPECT_EQ(static_cast<int>(r.getState()), 6);
}

TEST(RequestFromLink, RelativeHrefIsJoinedToTheBase) {
  HKHTML_a2 link("sub/next.html", "next");
  HKXRequestHeader r(HK_SCHEME_GET, false, HK_PROTO_HTTP);
  r.setData(link, "http://example.test:81/dir/");
  EXPECT_EQ(r.getURLHostPart(), "example.test");
  EXPECT_EQ(r.getURLPort(), 81);
  EXPECT_EQ(r.getURLPath(), "/dir/sub/next.html");
}

TEST(RequestFromLink, HttpsHrefTakesTheHttpsProtocol) {
  HKHTML_a2 link("https://secure.test/x", "x");
  HKXRequestHeader r(HK_SCHEME_GET, false, HK_PROTO_HTTP);
  r.setData(link, "");
  EXPECT_EQ(r.getProtocol(), HK_PROTO_HTTPS);
  EXPECT_EQ(r.getURLPath(), "/x");
}

TEST(RequestFromLink, EmptyHrefGoesToHashOnLocalhost) {
  HKHTML_a2 link;
  HKXRequestHeader r(HK_SCHEME_GET, false, HK_PROTO_HTTP);
  r.setData(link, "http://example.test/");
  EXPECT_EQ(r.getURLPath(), "#");
  EXPECT_EQ(r.getURLHostPart(), "localhost");
  EXPECT_EQ(r.getHeaderType(), HK_HEADER_REQUEST);
  EXPECT_EQ(static_cast<int>(r.getState()), 6);
  EXPECT_EQ(requestBytes(r), "GET # HTTP/1.1\r\nHost: localhost\r\n" + kUA + "\r\n");
}

TEST(RequestFromGetForm, TextAndHiddenFieldsFormTheQueryInOrder) {
  HKHTML_form2 form("GET", "http://example.test/search");
  form << named(new HKHTML_input2_text("", "q", "a b&c"), "text", "q", "a b&c");
  form << new HKHTML_input2_hidden("", "lang", "d\xC3\xBC");
  HKXRequestHeader r(HK_SCHEME_GET, false, HK_PROTO_HTTP);
  r.setData(form, "");
  EXPECT_EQ(r.getQuery(), "?q=a%20b%26c&lang=d%c3%bc");
  EXPECT_EQ(requestBytes(r),
            "GET /search?q=a%20b%26c&lang=d%c3%bc HTTP/1.1\r\nHost: example.test\r\n" + kUA + "\r\n");
}

TEST(RequestFromGetForm, PlainFieldsAreEncodedAsUrlEncodeEncodesThem) {
  const std::string value = "plain\xC3\xA4value";
  HKHTML_form2 form("GET", "http://example.test/search");
  form << new HKHTML_input2_text("", "k", value);
  HKXRequestHeader r(HK_SCHEME_GET, false, HK_PROTO_HTTP);
  r.setData(form, "");
  EXPECT_EQ(r.getQuery(), "?k=" + URLencode(value));
  EXPECT_EQ(r.getQuery(), "?k=plain%c3%a4value");
}

TEST(RequestFromGetForm, UnnamedFieldsAndOtherTypesAreLeftOut) {
  HKHTML_form2 form("GET", "http://example.test/search");
  form << new HKHTML_input2_text("", "", "unnamed");
  form << new HKHTML_input2_button("", "send", "Send");
  form << named(new HKHTML_input2(), "file", "upload", "/etc/hostname");
  form << new HKHTML_input2_text("", "kept", "1");
  HKXRequestHeader r(HK_SCHEME_GET, false, HK_PROTO_HTTP);
  r.setData(form, "");
  EXPECT_EQ(r.getQuery(), "?kept=1");
}

TEST(RequestFromGetForm, FormWithoutInputsKeepsTheQueryEmpty) {
  HKHTML_form2 form("GET", "http://example.test/search");
  HKXRequestHeader r(HK_SCHEME_GET, false, HK_PROTO_HTTP);
  r.setData(form, "");
  EXPECT_EQ(r.getQuery(), "");
  EXPECT_EQ(requestBytes(r), "GET /search HTTP/1.1\r\nHost: example.test\r\n" + kUA + "\r\n");
}

TEST(RequestFromGetForm, OnlyDirectChildrenAreFields) {
  HKHTML_form2 form("GET", "http://example.test/search");
  auto* div = new HKHTML_div2("");
  *div << new HKHTML_input2_text("", "inner", "1");
  form << div;
  form << new HKHTML_input2_text("", "outer", "2");
  HKXRequestHeader r(HK_SCHEME_GET, false, HK_PROTO_HTTP);
  r.setData(form, "");
  EXPECT_EQ(r.getQuery(), "?outer=2");
}

TEST(RequestFromGetForm, RelativeActionIsJoinedToTheBase) {
  HKHTML_form2 form("GET", "find");
  HKXRequestHeader r(HK_SCHEME_GET, false, HK_PROTO_HTTP);
  r.setData(form, "http://example.test:8081/app/");
  EXPECT_EQ(r.getURLPath(), "/app/find");
  EXPECT_EQ(r.getURLPort(), 8081);
}

TEST(RequestFromPostForm, BoundaryIsTheFormBoundaryPrefixAndAnIdentifier) {
  HKHTML_form2 form("POST", "http://example.test/submit");
  HKXRequestHeader r(HK_SCHEME_POST, false, HK_PROTO_HTTP);
  r.setData(form, "");
  const std::string b = r.getMultipartBoundary();
  ASSERT_EQ(b.rfind("------TovikFormBoundary", 0), 0u);
  EXPECT_EQ(b.size(), std::string("------TovikFormBoundary").size() + 18);
}

TEST(RequestFromPostForm, FormWithoutInputsSendsOnlyTheClosingDelimiter) {
  HKHTML_form2 form("POST", "http://example.test/submit");
  HKXRequestHeader r(HK_SCHEME_POST, false, HK_PROTO_HTTP);
  r.setData(form, "");
  const std::string b = r.getMultipartBoundary();
  const std::string body = "--" + b + "--\r\n";
  EXPECT_EQ(requestBytes(r), "POST /submit HTTP/1.1\r\nHost: example.test\r\n" + kUA +
                                 "Content-Length: " + std::to_string(body.size()) +
                                 "\r\nContent-Type: multipart/form-data; boundary=" + b + "\r\n\r\n" + body);
}

TEST(RequestFromPostForm, TextHiddenFileAndBlobPartsAreWrittenExactly) {
  TempFile file(std::string("bin\0\r\nary", 9));
  HKHTML_form2 form("POST", "http://example.test/submit");
  form << new HKHTML_input2_text("", "t", "text value");
  form << new HKHTML_input2_hidden("", "h", "x&y");
  form << named(new HKHTML_input2_file("", "f", ""), "file", "f", file.path);
  form << new HKHTML_input2_blob("", "b", std::string("\x01\x02", 2));
  HKXRequestHeader r(HK_SCHEME_POST, false, HK_PROTO_HTTP);
  r.setData(form, "");
  const std::string b = r.getMultipartBoundary();
  const std::string body = "--" + b + "\r\nContent-Disposition: form-data; name=\"t\"\r\n\r\ntext value\r\n" +
                           "--" + b + "\r\nContent-Disposition: form-data; name=\"h\"\r\n\r\nx&y\r\n" + "--" +
                           b + "\r\nContent-Disposition: form-data; name=\"f\"; filename=\"" + file.path +
                           "\"\r\nContent-Type: application/octet-stream\r\n\r\n" +
                           std::string("bin\0\r\nary", 9) + "\r\n" + "--" + b +
                           "\r\nContent-Disposition: form-data; name=\"b\"; blob\r\nContent-Type: "
                           "application/octet-stream\r\n\r\n" +
                           std::string("\x01\x02", 2) + "\r\n" + "--" + b + "--\r\n";
  EXPECT_EQ(requestBytes(r), "POST /submit HTTP/1.1\r\nHost: example.test\r\n" + kUA +
                                 "Content-Length: " + std::to_string(body.size()) +
                                 "\r\nContent-Type: multipart/form-data; boundary=" + b + "\r\n\r\n" + body);
  EXPECT_EQ(r.bytes2Write(), body.size());
}

TEST(RequestFromPostForm, UnreadableFileAndUnknownTypesAreLeftOut) {
  HKHTML_form2 form("POST", "http://example.test/submit");
  form << named(new HKHTML_input2(), "file", "f", "/nonexistent/tovik-no-such-file");
  form << new HKHTML_input2_button("", "send", "Send");
  form << named(new HKHTML_input2(), "blob", "notablob", "x");
  form << new HKHTML_input2_hidden("", "", "unnamed");
  HKXRequestHeader r(HK_SCHEME_POST, false, HK_PROTO_HTTP);
  r.setData(form, "");
  HKStringBuf* body = r.getDataBuffer();
  EXPECT_EQ(std::string(body->getStart(0), body->getSizeWritten()),
            "--" + r.getMultipartBoundary() + "--\r\n");
}

TEST(RequestFromPostForm, BodyReadsBackAsTheSameBlocks) {
  HKHTML_form2 form("POST", "http://example.test/submit");
  form << new HKHTML_input2_text("", "first", "1");
  form << new HKHTML_input2_hidden("", "second", "two words");
  HKXRequestHeader sent(HK_SCHEME_POST, false, HK_PROTO_HTTP);
  sent.setData(form, "");
  HKXRequestHeader read(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  read.getDataBuffer()->stringput(requestBytes(sent));
  ASSERT_EQ(read.parseInputData2([](HKXHeader&) { return true; }), 2);
  ASSERT_EQ(read.parseContent2(), 2);
  std::string v;
  EXPECT_TRUE(read.getFormString("first", v));
  EXPECT_EQ(v, "1");
  EXPECT_TRUE(read.getFormString("second", v));
  EXPECT_EQ(v, "two words");
}
