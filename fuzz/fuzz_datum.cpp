// Feeds the date grammar with arbitrary texts, as date attributes of project
// files bring them: through the constructor (conversion exceptions are
// expected), the assignment (which notes failures), the date attribute, and
// then texts and arithmetic on whatever came out. Crashes, undefined
// behaviour and hangs are not expected.
#include <toviktwo/toviktwo.h>

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  try {
    HKDatum direct(text);
    direct.AsStringL();
  } catch (const std::exception&) {
  }
  HKDatum assigned(0);
  assigned = text;
  assigned.AsString();
  assigned.Woche();
  HKDatum later = assigned + HKDatumDiff(0, 1, 0);
  later.Differenz(assigned);
  HKXMLDatum attribute;
  static_cast<HKXMLComplexAttribute2&>(attribute) = text;
  std::ostringstream os;
  attribute.print(os);
  return 0;
}
