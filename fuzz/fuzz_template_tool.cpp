// Feeds the template tool with arbitrary pages: the fixer, which must give a
// stable result (fixing its output again changes nothing), and the checker,
// which reads the page with the library's reader and repairs it place by
// place. Pages that do not read are expected; crashes, leaks and hangs are
// not.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "hktemplatechecker.h"
#include "hktemplatefixer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  hktpl::HKTplFixStats stats;
  const std::string fixed = hktpl::HKTplFixPage(text, stats);
  hktpl::HKTplFixStats again;
  if (hktpl::HKTplFixPage(fixed, again) != fixed) std::abort();
  const hktpl::HKTplCheckResult result = hktpl::HKTplCheckText(text);
  (void)hktpl::HKTplFormatReport("fuzz.html", text, result);
  return 0;
}
