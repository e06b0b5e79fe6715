// Feeds arbitrary bytes to the text tools that see outside input: URL and
// form decoding, splitting into columns and key/value maps, marked content.
#include <toviktwo/toviktwo.h>

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string s(reinterpret_cast<const char*>(data), size);
  (void)URLdecode(s);
  (void)URLdecodeForm(s);
  (void)RemoveEntities(s);
  (void)HTMLencode(s, true);
  (void)Utf8ToJavaScript(s);
  (void)FilenameLastPart(s);
  (void)urlpathconnect(s, s);
  (void)LineCount(s, size / 2);
  (void)to_unumber(s, 7);
  (void)atof_comma(s);
  HKStringMap1 cols(s, ",", size % 2 == 0);
  for (unsigned long i = 0; i <= cols.size(); ++i) (void)cols.GetColumn(i);
  HKStringMap2 map(s, "&", "=", " ");
  std::string page = s;
  (void)ReplaceMarkedContentHTML(page, "x", s.substr(0, 16));

  HKInputStreamBinary buf(size % 17);
  buf.AddChars(s.data(), s.size());
  if (size > 3) (void)buf.FindPattern(s.data() + size - 3, 3, static_cast<long>(size % 5));
  buf.RemoveNBytes(size / 3);
  buf.RemoveNBytesFromBack(size / 5);
  HKStringBuf sb;
  sb.stringput(s);
  if (size > 2) (void)sb.locateString(s.substr(size - 2), size % 3, size);
  return 0;
}
