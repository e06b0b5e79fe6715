// HKStringStorage and HKMIMETypeEncoder: construction, base64 in both
// directions, the source text of CPPstore and its round trip.
#include <toviktwo/persistence/hkstringstorage.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <string>

#include <toviktwo/foundation/hkexception.h>

namespace {

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

const std::string kPngPath = std::string(TOVIK_TEST_DATA_DIR) + "/pixel.png";

// The base64 text between R"tovik( and )tovik" of a CPPstore output.
std::string RawPart(const std::string& stored) {
  size_t open = stored.find("R\"tovik(");
  size_t close = stored.find(")tovik\"");
  if (open == std::string::npos || close == std::string::npos) return "<none>";
  return stored.substr(open + 8, close - open - 8);
}

std::string Encode(const std::string& data) {
  std::ostringstream out;
  HKStringStorage::_base64(data.data(), data.size(), out);
  return out.str();
}

}  // namespace

TEST(HKMIMETypeEncoder, KnownTextGivesItsConstant) {
  HKMIMETypeEncoder encoder;
  EXPECT_EQ(encoder.GetEnum("text/css"), HK_MIME_TYPE_TEXT_CSS);
  EXPECT_EQ(encoder.GetEnum("image/x-icon"), HK_MIME_TYPE_IMAGE_X_ICON);
}

TEST(HKMIMETypeEncoder, UnknownTextGivesNoneAndStaysAsEighthEntry) {
  HKMIMETypeEncoder encoder;
  EXPECT_EQ(encoder.TextEntries(), 7u);
  EXPECT_EQ(encoder.GetEnum("text/plain"), HK_MIME_TYPE_NONE);
  EXPECT_EQ(encoder.TextEntries(), 8u);
}

TEST(HKMIMETypeEncoder, NoneIsOctetStream) {
  HKMIMETypeEncoder encoder;
  EXPECT_EQ(encoder.GetMIMEText(HK_MIME_TYPE_NONE), "application/octet-stream");
  EXPECT_EQ(encoder.GetMIMEText(HK_MIME_TYPE_IMAGE_JPEG), "image/jpeg");
}

TEST(HKMIMETypeEncoder, EnumNameIsTheConstantsName) {
  HKMIMETypeEncoder encoder;
  EXPECT_EQ(encoder.GetMIMEEnum(HK_MIME_TYPE_TEXT_JAVASCRIPT), "HK_MIME_TYPE_TEXT_JAVASCRIPT");
}

TEST(HKMIMETypeEncoder, UnknownValueGivesEmptyTexts) {
  HKMIMETypeEncoder encoder;
  EXPECT_EQ(encoder.GetMIMEText(static_cast<HKMIMEtype>(42)), "");
  EXPECT_EQ(encoder.GetMIMEEnum(static_cast<HKMIMEtype>(42)), "");
}

TEST(HKStringStorage, DefaultIsEmpty) {
  HKStringStorage s;
  EXPECT_EQ(s.name(), "");
  EXPECT_EQ(s.str(), "");
  EXPECT_EQ(s.length(), 0u);
  EXPECT_EQ(s.MIMEType(), HK_MIME_TYPE_NONE);
}

TEST(HKStringStorage, AlphabetHas65SignsWithPaddingLast) {
  EXPECT_EQ(HKStringStorage::base64.size(), 65u);
  EXPECT_EQ(HKStringStorage::base64[64], '=');
}

TEST(HKStringStorage, FileConstructorReadsBinaryTypeBytes) {
  HKStringStorage s("pixel.png", kPngPath, HK_MIME_TYPE_IMAGE_PNG);
  std::string bytes = ReadFile(kPngPath);
  ASSERT_FALSE(bytes.empty());
  EXPECT_EQ(s.str(), bytes);
  EXPECT_EQ(s.length(), bytes.size());
  EXPECT_EQ(s.size(), bytes.size());
  EXPECT_EQ(s.name(), "pixel.png");
  EXPECT_EQ(s.MIMEType(), HK_MIME_TYPE_IMAGE_PNG);
}

TEST(HKStringStorage, FileConstructorWithTextTypeStaysEmpty) {
  HKStringStorage s("pixel.png", kPngPath, HK_MIME_TYPE_TEXT_HTML);
  EXPECT_EQ(s.name(), "");
  EXPECT_EQ(s.length(), 0u);
  EXPECT_EQ(s.MIMEType(), HK_MIME_TYPE_NONE);
}

TEST(HKStringStorage, FileConstructorWithMissingFileStaysEmpty) {
  HKStringStorage s("x.png", std::string(TOVIK_TEST_DATA_DIR) + "/no-such-file.png", HK_MIME_TYPE_IMAGE_PNG);
  EXPECT_EQ(s.name(), "");
  EXPECT_EQ(s.length(), 0u);
  EXPECT_EQ(s.MIMEType(), HK_MIME_TYPE_NONE);
}

TEST(HKStringStorage, PlainTextEntryKeepsText) {
  HKStringStorage s("a.html", HK_MIME_TYPE_TEXT_HTML, "<p>hi</p>", false);
  EXPECT_EQ(s.str(), "<p>hi</p>");
  EXPECT_EQ(s.length(), 9u);
}

TEST(HKStringStorage, BinaryTypeFromDirectStringThrows) {
  try {
    HKStringStorage s("a.png", HK_MIME_TYPE_IMAGE_PNG, "abc", false);
    FAIL() << "no exception";
  } catch (const HKException& e) {
    EXPECT_STREQ(e.what(), "can't read that type from direct string");
  }
}

TEST(HKStringStorage, Base64OfStandardVectors) {
  EXPECT_EQ(Encode("f"), "Zg==");
  EXPECT_EQ(Encode("fo"), "Zm8=");
  EXPECT_EQ(Encode("foo"), "Zm9v");
  EXPECT_EQ(Encode("foobar"), "Zm9vYmFy");
}

TEST(HKStringStorage, Base64Of57BytesIsOneLineOf76AndALineEnd) {
  std::string encoded = Encode(std::string(57, 'x'));
  ASSERT_EQ(encoded.size(), 77u);
  EXPECT_EQ(encoded.find('\n'), 76u);
}

TEST(HKStringStorage, Base64Of58BytesStartsASecondLine) {
  std::string encoded = Encode(std::string(58, 'x'));
  EXPECT_EQ(encoded.size(), 77u + 4u);
  EXPECT_EQ(encoded.substr(77), "eA==");
}

TEST(HKStringStorage, Base64OfNothingWritesNothing) { EXPECT_EQ(Encode(""), ""); }

TEST(HKStringStorage, DecodeSkipsLineEndsAndBlanks) {
  HKInputStreamBinary out(16);
  HKStringStorage::_ibase64("Zm9v\nYm Fy", out);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(out.GetBuffer()), out.length()), "foobar");
}

TEST(HKStringStorage, DecodeHonoursPaddingSigns) {
  HKInputStreamBinary one(16), two(16);
  HKStringStorage::_ibase64("Zg==", one);
  HKStringStorage::_ibase64("Zm8=", two);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(one.GetBuffer()), one.length()), "f");
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(two.GetBuffer()), two.length()), "fo");
}

TEST(HKStringStorage, DecodeDropsAnIncompleteLastGroup) {
  HKInputStreamBinary out(16);
  HKStringStorage::_ibase64("Zm9vYm", out);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(out.GetBuffer()), out.length()), "foo");
}

TEST(HKStringStorage, CPPstoreWritesAMapInitialiser) {
  HKStringStorage s("a.css", HK_MIME_TYPE_TEXT_CSS, "foo", false);
  std::ostringstream out;
  s.CPPstore(out);
  EXPECT_EQ(out.str(),
            "{\"a.css\", HKStringStorage(\"a.css\", HK_MIME_TYPE_TEXT_CSS,\nR\"tovik(Zm9v)tovik\", true)}");
}

TEST(HKStringStorage, CPPstoreRoundTripOfAPngKeepsBytesTypeAndLength) {
  HKStringStorage png("pixel.png", kPngPath, HK_MIME_TYPE_IMAGE_PNG);
  std::ostringstream out;
  png.CPPstore(out);
  EXPECT_NE(out.str().find("HK_MIME_TYPE_IMAGE_PNG"), std::string::npos);
  HKStringStorage back("pixel.png", HK_MIME_TYPE_IMAGE_PNG, RawPart(out.str()), true);
  EXPECT_EQ(back.str(), png.str());
  EXPECT_EQ(back.length(), png.length());
  EXPECT_EQ(back.MIMEType(), HK_MIME_TYPE_IMAGE_PNG);
}

TEST(HKStringStorage, TextWithZeroByteIsCutThereByBase64) {
  std::string content("ab\0cd", 5);
  HKStringStorage text("t.html", HK_MIME_TYPE_TEXT_HTML, content, false);
  EXPECT_EQ(text.length(), 5u);
  std::ostringstream out;
  text.CPPstore(out);
  HKStringStorage back("t.html", HK_MIME_TYPE_TEXT_HTML, RawPart(out.str()), true);
  EXPECT_EQ(back.str(), "ab");
  EXPECT_EQ(back.length(), 2u);
}

TEST(HKStringStorage, BinaryWithZeroByteKeepsAllBytesThroughBase64) {
  std::string content("ab\0cd", 5);
  std::ostringstream encoded;
  HKStringStorage::_base64(content.data(), content.size(), encoded);
  HKStringStorage back("b.png", HK_MIME_TYPE_IMAGE_PNG, encoded.str(), true);
  EXPECT_EQ(back.str(), content);
  EXPECT_EQ(back.length(), 5u);
}

TEST(HKStringStorage, EmptyContentStoresEmptyRawStringAndDecodesEmpty) {
  HKStringStorage empty("e.js", HK_MIME_TYPE_TEXT_JAVASCRIPT, "", false);
  std::ostringstream out;
  empty.CPPstore(out);
  EXPECT_EQ(RawPart(out.str()), "");
  HKStringStorage back("e.js", HK_MIME_TYPE_TEXT_JAVASCRIPT, RawPart(out.str()), true);
  EXPECT_EQ(back.str(), "");
  EXPECT_EQ(back.length(), 0u);
}

TEST(HKStringStorage, TextEntrysBinCreatesEmptyStreamThatThenDecidesStr) {
  HKStringStorage s("a.html", HK_MIME_TYPE_TEXT_HTML, "<p>hi</p>", false);
  EXPECT_EQ(s.str(), "<p>hi</p>");
  HKInputStreamBinary* stream = s.bin();
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(stream->length(), 0u);
  EXPECT_EQ(s.bin(), stream);
  EXPECT_EQ(s.str(), "");
}

TEST(HKStringStorage, CopyHasItsOwnStreamWithTheSameBytes) {
  HKStringStorage png("pixel.png", kPngPath, HK_MIME_TYPE_IMAGE_PNG);
  HKStringStorage copy(png);
  EXPECT_NE(copy.bin(), png.bin());
  EXPECT_EQ(copy.str(), png.str());
  EXPECT_EQ(copy.name(), "pixel.png");
  EXPECT_EQ(copy.length(), png.length());
  EXPECT_EQ(copy.MIMEType(), HK_MIME_TYPE_IMAGE_PNG);
}
