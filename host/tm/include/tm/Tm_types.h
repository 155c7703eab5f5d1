#pragma once
// Codes of the message library: value types (TMV), message types (TMT) and member groups (TMG).

#include <string>

// The codes have int as their underlying type, so any int is a value of them: a code read from the
// wire or a script can be held and checked before it is trusted.

// Value types. 0 to 9 are the simple values that scalar arrays carry.
enum TMV : int {
  TMV_INT8 = 0,
  TMV_UINT8 = 1,
  TMV_INT16 = 2,
  TMV_UINT16 = 3,
  TMV_INT32 = 4,
  TMV_UINT32 = 5,
  TMV_INT64 = 6,
  TMV_UINT64 = 7,
  TMV_DOUBLE = 8,
  TMV_BOOL = 9,
  TMV_STRING = 10,
  TMV_BINARY = 11,
  TMV_STRUCT = 12,
  TMV_ARRAY = 13,
};

// Message types: a request (notifications travel as requests) or a response.
enum TMT : int { TMT_REQUEST = 0, TMT_RESPONSE = 1 };

// Member groups of a message. Group 1 carries the message's own members in both directions;
// group 0 is emptied by every builder.
enum TMG : int { TMG_0 = 0, TMG_1 = 1 };

// The TMV of a simple C++ type, for code generic over the ten simple types.
template <class T>
struct Tm_simple_type;
template <>
struct Tm_simple_type<signed char> {
  static constexpr TMV value = TMV_INT8;
};
template <>
struct Tm_simple_type<unsigned char> {
  static constexpr TMV value = TMV_UINT8;
};
template <>
struct Tm_simple_type<short> {
  static constexpr TMV value = TMV_INT16;
};
template <>
struct Tm_simple_type<unsigned short> {
  static constexpr TMV value = TMV_UINT16;
};
template <>
struct Tm_simple_type<int> {
  static constexpr TMV value = TMV_INT32;
};
template <>
struct Tm_simple_type<unsigned int> {
  static constexpr TMV value = TMV_UINT32;
};
template <>
struct Tm_simple_type<long> {
  static constexpr TMV value = TMV_INT64;
};
template <>
struct Tm_simple_type<unsigned long> {
  static constexpr TMV value = TMV_UINT64;
};
template <>
struct Tm_simple_type<double> {
  static constexpr TMV value = TMV_DOUBLE;
};
template <>
struct Tm_simple_type<bool> {
  static constexpr TMV value = TMV_BOOL;
};

// Names for texts: "int8", "uint8", ..., "struct", "array"; "TMV <n>" for any other code.
std::string tmv_name(TMV type);
// "request", "response"; "TMT <n>" for any other code.
std::string tmt_name(TMT type);
