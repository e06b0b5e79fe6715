// Feeds arbitrary bytes, cut into arbitrary pieces, to the message head
// parser and then to the body parser, as a connection would deliver them.
// The first byte chooses the piece size.
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include <toviktwo/transport/hkxheader.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const size_t piece = 1 + data[0] % 64;
  const char* bytes = reinterpret_cast<const char*>(data + 1);
  const size_t n = size - 1;
  HKXHeader h(HK_SCHEME_NONE, true, HK_PROTO_HTTP);
  int r = 0;
  for (size_t at = 0; at < n && r == 0; at += piece) {
    const size_t len = at + piece <= n ? piece : n - at;
    h.getDataBuffer()->sputn(bytes + at, static_cast<std::streamsize>(len));
    r = h.parseInputData2([](HKXHeader&) { return true; });
  }
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
