// The attribute classes: set flags, printing and the parse rules.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <sstream>
#include <stdexcept>

#include "xml_test_util.h"

namespace {
std::string P(const HKXMLComplexAttribute2& a) {
  std::ostringstream os;
  a.print(os);
  return os.str();
}
}  // namespace

TEST(XmlAttributes, BaseIsSetPrintsNothingIgnoresAssignment) {
  HKXMLComplexAttribute2 base;
  EXPECT_TRUE(base.AttributeIsSet());
  EXPECT_EQ(P(base), "");
  const std::string& r = (base = std::string("x"));
  EXPECT_EQ(r, "");
  EXPECT_EQ(base = "y", "");
}

TEST(XmlAttributes, GenericAlwaysSetNullStoresEmpty) {
  HKXMLGenericAttribute g;
  EXPECT_TRUE(g.AttributeIsSet());
  g = std::string("abc");
  EXPECT_EQ(P(g), "abc");
  g = static_cast<const char*>(nullptr);
  EXPECT_EQ(P(g), "");
  EXPECT_TRUE(g.AttributeIsSet());
}

TEST(XmlAttributes, StringSetFlag) {
  HKXMLStringHKAttribute s;
  EXPECT_FALSE(s.AttributeIsSet());
  EXPECT_EQ(P(s), "");
  s = "v";
  EXPECT_TRUE(s.AttributeIsSet());
  EXPECT_EQ(s.str(), "v");
  s = static_cast<const char*>(nullptr);
  EXPECT_FALSE(s.AttributeIsSet());
  EXPECT_EQ(s.str(), "");
  HKXMLStringHKAttribute t("given");
  EXPECT_TRUE(t.AttributeIsSet());
  EXPECT_EQ(P(t), "given");
}

TEST(XmlAttributes, EdgeUint64FromCharPointerIsLenientFromStringThrows) {
  HKXMLUint64_tHKAttribute u;
  EXPECT_FALSE(u.AttributeIsSet());
  u = "abc";
  EXPECT_TRUE(u.AttributeIsSet());
  EXPECT_EQ(u(), 0u);
  HKXMLUint64_tHKAttribute v;
  EXPECT_THROW(v = std::string("abc"), std::invalid_argument);
  EXPECT_FALSE(v.AttributeIsSet());
  EXPECT_THROW(v = std::string("99999999999999999999999"), std::out_of_range);
  v = std::string("18446744073709551615");
  EXPECT_EQ(v(), std::numeric_limits<uint64_t>::max());
  EXPECT_EQ(P(v), "18446744073709551615");
  v = "";
  EXPECT_EQ(v(), 0u);
  v = "99999999999999999999999";  // out of range: lenient 0
  EXPECT_EQ(v(), 0u);
  v = 7;
  EXPECT_EQ(P(v), "7");
  EXPECT_EQ(P(HKXMLUint64_tHKAttribute(12)), "12");
}

TEST(XmlAttributes, Int64AndDouble) {
  HKXMLInt64_tHKAttribute i;
  i = std::string("-42");
  EXPECT_EQ(i(), -42);
  EXPECT_EQ(P(i), "-42");
  EXPECT_THROW(i = std::string("x"), std::invalid_argument);
  i = "x";
  EXPECT_EQ(i(), 0);
  HKXMLDoubleHKAttribute d;
  EXPECT_EQ(P(d), "");
  d = std::string("0.5");
  EXPECT_EQ(P(d), "0.5");
  d = 1e20;
  EXPECT_EQ(P(d), "1e+20");  // the stream's default floating format
  EXPECT_THROW(d = std::string("."), std::invalid_argument);
  d = "not";
  EXPECT_DOUBLE_EQ(d(), 0.0);
  EXPECT_TRUE(d.AttributeIsSet());
  EXPECT_EQ(P(HKXMLDoubleHKAttribute(3.25)), "3.25");
}

TEST(XmlAttributes, EdgeBoolFromText) {
  HKXMLBoolHKAttribute b;
  EXPECT_FALSE(b.AttributeIsSet());
  b = std::string("true");
  EXPECT_TRUE(b());
  EXPECT_TRUE(b.AttributeIsSet());
  b = std::string("false");
  EXPECT_FALSE(b());
  b = std::string("2");
  EXPECT_TRUE(b());
  b = std::string("0");
  EXPECT_FALSE(b());
  b = std::string("TRUE");
  EXPECT_FALSE(b());
  b = "true";
  EXPECT_TRUE(b());
  b = "";
  EXPECT_FALSE(b());
  EXPECT_TRUE(b.AttributeIsSet());
  b = true;
  EXPECT_EQ(P(b), "1");
  b = false;
  EXPECT_EQ(P(b), "0");
  std::ostringstream os;
  os << std::boolalpha;
  HKXMLBoolHKAttribute(true).print(os);
  EXPECT_EQ(os.str(), "true");
}

TEST(XmlAttributes, ProxyForwardsEverything) {
  HKXMLInt64_tHKAttribute member;
  HKXMLComplexAttributeProxy2 proxy(member);
  EXPECT_FALSE(proxy.AttributeIsSet());
  proxy = std::string("5");
  EXPECT_EQ(member(), 5);
  EXPECT_TRUE(proxy.AttributeIsSet());
  EXPECT_EQ(P(proxy), "5");
  proxy = "bad";
  EXPECT_EQ(member(), 0);
  EXPECT_THROW(proxy = std::string("bad"), std::invalid_argument);
  EXPECT_EQ(&proxy.target(), &member);
}

TEST(XmlAttributes, MemberAttributeOutlivesRemovedProxy) {
  HKXMLStringHKAttribute member("keep");
  {
    HKXMLGenericElement x("x", true);
    x.ReplaceAttributeContent("m", member);
    EXPECT_EQ(xmltest::Printed(x), "<x m=\"keep\" />");
    EXPECT_TRUE(x.RemoveAttribute("m"));
  }
  EXPECT_EQ(member.str(), "keep");
}
