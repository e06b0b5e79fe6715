#include <toviktwo/devices/hkvartype.h>

#include <array>
#include <string_view>

namespace {

// The names, indexed by type number.
constexpr std::array<std::string_view, 25> kVarTypeNames = {
    "HK_NONE",         "HK_STRING",      "HK_BOOL",         "HK_CHAR",         "HK_UCHAR",
    "HK_INT16",        "HK_UINT16",      "HK_INT32",        "HK_UINT32",       "HK_INT64",
    "HK_UINT64",       "HK_FLOAT",       "HK_DOUBLE",       "HK_STRING_ARRAY", "HK_BOOL_ARRAY",
    "HK_CHAR_ARRAY",   "HK_UCHAR_ARRAY", "HK_INT16_ARRAY",  "HK_UINT16_ARRAY", "HK_INT32_ARRAY",
    "HK_UINT32_ARRAY", "HK_INT64_ARRAY", "HK_UINT64_ARRAY", "HK_FLOAT_ARRAY",  "HK_DOUBLE_ARRAY"};

}  // namespace

// Converts nothing: the constant result is required and pinned by
// tests/devices/test_vartype.cpp.
std::string HKVartype2String(HKVarType) { return "HK_NONE"; }

HKVarType String2HKVartype(std::string name) {
  for (size_t i = 0; i < kVarTypeNames.size(); ++i) {
    if (kVarTypeNames[i] == name) return static_cast<HKVarType>(i);
  }
  return HK_NONE;
}
