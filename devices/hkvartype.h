// The value types of device variables, and the one list that ties each
// type number to its C++ element type.
//
// Scalars (1..12) are stored as the element type itself, arrays as a vector
// of it. "HK_STRING_ARRAY", "HK_CHAR_ARRAY" and "HK_FLOAT_ARRAY" have a name
// and a number but no variable class: nothing creates a variable of them.
#pragma once

#include <string>
#include <vector>

enum HKVarType : int {
  HK_NONE = 0,
  HK_STRING = 1,
  HK_BOOL = 2,
  HK_CHAR = 3,
  HK_UCHAR = 4,
  HK_INT16 = 5,
  HK_UINT16 = 6,
  HK_INT32 = 7,
  HK_UINT32 = 8,
  HK_INT64 = 9,
  HK_UINT64 = 10,
  HK_FLOAT = 11,
  HK_DOUBLE = 12,
  HK_STRING_ARRAY = 13,
  HK_BOOL_ARRAY = 14,
  HK_CHAR_ARRAY = 15,
  HK_UCHAR_ARRAY = 16,
  HK_INT16_ARRAY = 17,
  HK_UINT16_ARRAY = 18,
  HK_INT32_ARRAY = 19,
  HK_UINT32_ARRAY = 20,
  HK_INT64_ARRAY = 21,
  HK_UINT64_ARRAY = 22,
  HK_FLOAT_ARRAY = 23,
  HK_DOUBLE_ARRAY = 24,
};

// Every type that has a variable class: X(type constant, element type).
// The integer element types are those of the channel's `Get` overloads.
#define HK_SCALAR_VARTYPES(X)  \
  X(HK_STRING, std::string)    \
  X(HK_BOOL, bool)             \
  X(HK_CHAR, char)             \
  X(HK_UCHAR, unsigned char)   \
  X(HK_INT16, short)           \
  X(HK_UINT16, unsigned short) \
  X(HK_INT32, int)             \
  X(HK_UINT32, unsigned int)   \
  X(HK_INT64, long)            \
  X(HK_UINT64, unsigned long)  \
  X(HK_FLOAT, float)           \
  X(HK_DOUBLE, double)
#define HK_ARRAY_VARTYPES(X)         \
  X(HK_BOOL_ARRAY, bool)             \
  X(HK_UCHAR_ARRAY, unsigned char)   \
  X(HK_INT16_ARRAY, short)           \
  X(HK_UINT16_ARRAY, unsigned short) \
  X(HK_INT32_ARRAY, int)             \
  X(HK_UINT32_ARRAY, unsigned int)   \
  X(HK_INT64_ARRAY, long)            \
  X(HK_UINT64_ARRAY, unsigned long)  \
  X(HK_DOUBLE_ARRAY, double)

static_assert(sizeof(short) == 2 && sizeof(int) == 4 && sizeof(long) == 8,
              "the variable types assume 16-, 32- and 64-bit short, int and long");

// The element and stored type of a type number that has a variable class:
// For HK_INT32_ARRAY the element type is int and the stored type std::vector<int>.
template <HKVarType VT>
struct HKVarTypeOf;
#define HK_VARTYPE_SCALAR_TRAIT(vt, T) \
  template <>                          \
  struct HKVarTypeOf<vt> {             \
    using element = T;                 \
    using stored = T;                  \
  };
#define HK_VARTYPE_ARRAY_TRAIT(vt, T) \
  template <>                         \
  struct HKVarTypeOf<vt> {            \
    using element = T;                \
    using stored = std::vector<T>;    \
  };
HK_SCALAR_VARTYPES(HK_VARTYPE_SCALAR_TRAIT)
HK_ARRAY_VARTYPES(HK_VARTYPE_ARRAY_TRAIT)
#undef HK_VARTYPE_SCALAR_TRAIT
#undef HK_VARTYPE_ARRAY_TRAIT

// Always "HK_NONE", whatever the argument: HK_DOUBLE -> "HK_NONE".
std::string HKVartype2String(HKVarType type);
// The type of an exact, case-sensitive name; any other text gives HK_NONE:
// "HK_DOUBLE" -> 12, "HK_double" -> 0.
HKVarType String2HKVartype(std::string name);
