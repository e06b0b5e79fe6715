// HKXMLDatum: a date as an attribute value of the element model.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include <toviktwo/xml/hkxmldatum.h>
#include <toviktwo/xml/hkxmlelement.h>

#include "../support/hktimezone.h"

namespace {

class XMLDatumTest : public ::testing::Test {
 protected:
  HKScopedTimeZone _zone{kHKZoneUTC};
};

std::string Printed(const HKXMLComplexAttribute2& a) {
  std::ostringstream os;
  a.print(os);
  return os.str();
}

}  // namespace

TEST_F(XMLDatumTest, PrintsSecondsSubsecondsAndDateText) {
  const HKXMLDatum d(HKDatum(1794744000L));
  EXPECT_EQ(Printed(d), "1794744000 0 2026-11-15");
}

TEST_F(XMLDatumTest, EmptyDateIsNotSetAndHoldingADateIsSet) {
  HKXMLDatum d;
  EXPECT_TRUE(d.IsNAD());
  EXPECT_FALSE(d.AttributeIsSet());
  d.SetNAD(1);
  EXPECT_TRUE(d.AttributeIsSet());
}

TEST_F(XMLDatumTest, TextThroughTheAttributeRunsTheDateGrammar) {
  HKXMLDatum d;
  HKXMLComplexAttribute2& attribute = d;
  attribute = std::string("15.11.2026");
  EXPECT_EQ(d.Parsed(), 1);
  EXPECT_TRUE(d.AttributeIsSet());
  EXPECT_EQ(d.AsString(), "2026-11-15");
  attribute = "1794744000 3 0";
  EXPECT_EQ(d.SubSeconds(), 3u);
  EXPECT_TRUE(d.IsNAD());
  EXPECT_TRUE(d.AttributeIsSet());  // it parsed
}

TEST_F(XMLDatumTest, FailedTextIsSwallowedAndClearsTheParsedFlag) {
  HKXMLDatum d;
  HKXMLComplexAttribute2& attribute = d;
  EXPECT_NO_THROW(attribute = std::string(""));
  EXPECT_EQ(d.Parsed(), 0);
  EXPECT_FALSE(d.AttributeIsSet());  // no date and not parsed
  EXPECT_NO_THROW(attribute = static_cast<const char*>(nullptr));
  EXPECT_FALSE(d.AttributeIsSet());
  d = "1.2.2026";
  EXPECT_EQ(d.Parsed(), 1);
  d = "x.y";
  EXPECT_EQ(d.Parsed(), 0);
  EXPECT_EQ(d.AsString(), "2026-02-01");
}

TEST_F(XMLDatumTest, ElementPrintsTheDateAttributeAndReadsItThroughTheTable) {
  HKXMLGenericElement element("event", true);
  element.ReplaceAttributeContent("when", static_cast<HKXMLComplexAttribute2*>(new HKXMLDatum()));
  std::ostringstream empty;
  element.print(empty);
  EXPECT_EQ(empty.str().find("when"), std::string::npos) << empty.str();
  element.ReplaceAttributeContent("when", std::string("1794744000 0"));
  EXPECT_EQ(element.getAttributeText("when", "?"), "1794744000 0 2026-11-15");
}

TEST_F(XMLDatumTest, PrintedTextDoesNotReadBackAsTheSameDate) {
  HKXMLDatum d(HKDatum(1794744000L));
  HKXMLDatum back;
  static_cast<HKXMLComplexAttribute2&>(back) = Printed(d);
  EXPECT_NE(back.AsString(), "2026-11-15");
}
