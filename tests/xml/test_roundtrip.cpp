// Texts read and printed again: a text in the printed form comes out byte
// for byte, since whitespace, text and comments are kept as read.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "xml_test_util.h"

using xmltest::RoundTrip;

namespace {
std::string Load(const std::string& name) {
  std::ifstream in(std::string(TOVIK_TEST_DATA_DIR) + "/" + name, std::ios::binary);
  std::ostringstream os;
  os << in.rdbuf();
  return os.str();
}

std::string ReadFileAndPrint(const std::string& name) {
  std::ifstream in(std::string(TOVIK_TEST_DATA_DIR) + "/" + name, std::ios::binary);
  HKDTDElementReaderStream reader(in);
  return xmltest::PrintedChildren(*reader.read("xml", false));
}
}  // namespace

TEST(XmlRoundTrip, CanonicalFileComesOutUnchanged) {
  const std::string text = Load("canonical.xml");
  ASSERT_FALSE(text.empty());
  EXPECT_EQ(ReadFileAndPrint("canonical.xml"), text);
  EXPECT_EQ(RoundTrip(text), text);
}

TEST(XmlRoundTrip, ReadTreePrintsInCanonicalForm) {
  // Attribute quotes, value-less attributes and empty elements are written
  // in the one form print knows.
  EXPECT_EQ(ReadFileAndPrint("roundtrip.xml"), Load("canonical.xml"));
}

TEST(XmlRoundTrip, CompactTextGetsLineFeedsBetweenStructuralElements) {
  EXPECT_EQ(ReadFileAndPrint("compact.xml"), "<root><a />\n<b>text</b>\n</root>");
}

TEST(XmlRoundTrip, SmallTexts) {
  for (const char* text : {"<a />", "<a>x</a>", "<a> <b /> </a>", "<a>\n\t<b c=\"d\">e f</b>\n</a>\n",
                           "<!--c--><?p?> <x />", "word", "  \r\n  ", "<a><!-- <b> --></a>",
                           "<a v=\"&lt;&amp;\">&nbsp;&#8364;</a>"}) {
    EXPECT_EQ(RoundTrip(text), text) << text;
  }
}

TEST(XmlRoundTrip, AttributeOrderAndFormAreNormalised) {
  EXPECT_EQ(RoundTrip("<a z='1' b=\"2\" m/>"), "<a b=\"2\" m=\"true\" z=\"1\" />");
  EXPECT_EQ(RoundTrip("<a></a>"), "<a />");
  EXPECT_EQ(RoundTrip("<a><b></b><c></c></a>"), "<a><b />\n<c />\n</a>");
}

TEST(XmlRoundTrip, PrintedTwiceIsStable) {
  const std::string once = RoundTrip(Load("roundtrip.xml"));
  EXPECT_EQ(RoundTrip(once), once);
}
