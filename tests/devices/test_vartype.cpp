// Value type names and numbers.
#include <toviktwo/devices/hkvartype.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

const std::vector<std::pair<std::string, HKVarType>> kAllNames = {
    {"HK_NONE", HK_NONE},
    {"HK_STRING", HK_STRING},
    {"HK_BOOL", HK_BOOL},
    {"HK_CHAR", HK_CHAR},
    {"HK_UCHAR", HK_UCHAR},
    {"HK_INT16", HK_INT16},
    {"HK_UINT16", HK_UINT16},
    {"HK_INT32", HK_INT32},
    {"HK_UINT32", HK_UINT32},
    {"HK_INT64", HK_INT64},
    {"HK_UINT64", HK_UINT64},
    {"HK_FLOAT", HK_FLOAT},
    {"HK_DOUBLE", HK_DOUBLE},
    {"HK_STRING_ARRAY", HK_STRING_ARRAY},
    {"HK_BOOL_ARRAY", HK_BOOL_ARRAY},
    {"HK_CHAR_ARRAY", HK_CHAR_ARRAY},
    {"HK_UCHAR_ARRAY", HK_UCHAR_ARRAY},
    {"HK_INT16_ARRAY", HK_INT16_ARRAY},
    {"HK_UINT16_ARRAY", HK_UINT16_ARRAY},
    {"HK_INT32_ARRAY", HK_INT32_ARRAY},
    {"HK_UINT32_ARRAY", HK_UINT32_ARRAY},
    {"HK_INT64_ARRAY", HK_INT64_ARRAY},
    {"HK_UINT64_ARRAY", HK_UINT64_ARRAY},
    {"HK_FLOAT_ARRAY", HK_FLOAT_ARRAY},
    {"HK_DOUBLE_ARRAY", HK_DOUBLE_ARRAY},
};

TEST(VarType, NumbersRunFromZeroToTwentyFourInTableOrder) {
  for (size_t i = 0; i < kAllNames.size(); ++i) EXPECT_EQ(static_cast<int>(kAllNames[i].second), (int)i);
}

TEST(VarType, Vartype2StringGivesHKNoneForDouble) { EXPECT_EQ(HKVartype2String(HK_DOUBLE), "HK_NONE"); }

TEST(VarType, Vartype2StringGivesHKNoneForEveryType) {
  for (const auto& [name, type] : kAllNames) EXPECT_EQ(HKVartype2String(type), "HK_NONE") << name;
}

TEST(VarType, String2VartypeOfDoubleIs12) { EXPECT_EQ(String2HKVartype("HK_DOUBLE"), 12); }

TEST(VarType, String2VartypeIsCaseSensitive) { EXPECT_EQ(String2HKVartype("HK_double"), HK_NONE); }

TEST(VarType, String2VartypeKnowsEveryName) {
  for (const auto& [name, type] : kAllNames) EXPECT_EQ(String2HKVartype(name), type) << name;
}

TEST(VarType, String2VartypeGivesZeroForOtherTexts) {
  EXPECT_EQ(String2HKVartype(""), HK_NONE);
  EXPECT_EQ(String2HKVartype("HK_DOUBLE "), HK_NONE);
  EXPECT_EQ(String2HKVartype("12"), HK_NONE);
  EXPECT_EQ(String2HKVartype("HK_NONE"), HK_NONE);
}

}  // namespace
