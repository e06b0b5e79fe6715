// Arbitrary text as a URL, alone and relative to a base.
#include <cstddef>
#include <cstdint>
#include <string>

#include <toviktwo/foundation/hkexception.h>
#include <toviktwo/transport/hkurl.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string s(reinterpret_cast<const char*>(data), size);
  try {
    HKURL u(s, HK_PROTO_HTTP);
    (void)u.getURLcompleteString();
  } catch (const HKException&) {
  }
  try {
    HKURL r(s, "http://base.test:81", "dir");
    (void)r.getURLcompleteString();
  } catch (const HKException&) {
  }
  return 0;
}
