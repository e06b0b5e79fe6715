// Feeds arbitrary bytes, cut into arbitrary pieces, to the message head
// parser and then to the body parser, as a connection would deliver them.
// The first byte chooses the piece size. The same bytes then go the client's
// read path: a head as an outgoing connection reads it and, for a complete
// answer, the web client's split into head and body and its scan of the
// page for images.
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include <toviktwo/transport/hkwebclient.h>
#include <toviktwo/transport/hkxheader.h>

namespace {

// Reaches the web client's scan of a page.
struct PageScan : HKTransceiverClientWEBClient {
  static void scan(HKWCinfo_t& info) { _collectImages(info); }
};

int feed(HKXHeader& h, const char* bytes, size_t n, size_t piece) {
  int r = 0;
  for (size_t at = 0; at < n && r == 0; at += piece) {
    const size_t len = at + piece <= n ? piece : n - at;
    h.getDataBuffer()->sputn(bytes + at, static_cast<std::streamsize>(len));
    r = h.parseInputData2([](HKXHeader&) { return true; });
  }
  return r;
}

// An answer as a client-side server reads it, then as the web client files it.
void clientReadPath(const char* bytes, size_t n, size_t piece) {
  HKXHeader h(HK_SCHEME_POST, false, HK_PROTO_HTTP);
  h.setHeaderType(HK_HEADER_REQUEST);
  if (feed(h, bytes, n, piece) != 2 || h.getHeaderType() != HK_HEADER_ANSWER) return;
  HKWCinfo_t info;
  info.hostDescriptor = "http://fuzz.test:80";
  info.urlDirectory = "dir";
  HKStringBuf* buffer = h.moveDataBuffer();
  if (buffer != nullptr) {
    info.responseBody.assign(buffer->getStartReadout(), buffer->getSizeReadable());
    info.responseHead.assign(buffer->getStart(0), buffer->getStartReadout() - buffer->getStart(0));
  }
  info.responseBuffer.reset(buffer);
  PageScan::scan(info);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const size_t piece = 1 + data[0] % 64;
  const char* bytes = reinterpret_cast<const char*>(data + 1);
  const size_t n = size - 1;
  clientReadPath(bytes, n, piece);
  HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  const int r = feed(h, bytes, n, piece);
  if (r == 2) {
    h.parseContent2();
    std::string v;
    for (const auto& [name, block] : h.allBlocks()) h.getFormString(name, v);
    auto response = h.createResponseHeader();
    response->setHTTPResponse200("x");
    std::ostringstream out;
    response->getHeader(out);
  }
  return 0;
}
