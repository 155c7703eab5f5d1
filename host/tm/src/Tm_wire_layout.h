#pragma once
// What the wire writer and the wire reader both rely on beyond Tm_wire.h: msgpack, the sizes of
// the layout's fixed arrays, and the width of a simple value in a row. Private to kel_tm.

// The host never uses msgpack's Boost adaptors; leaving them out keeps the codec self-contained.
#define MSGPACK_NO_BOOST
#include <cstdint>
#include <msgpack.hpp>
#include <string>

#include "tm/Tm_exception.h"
#include "tm/Tm_types.h"
#include "tm/Tm_wire.h"

namespace tm_wire {

inline constexpr std::uint64_t kFormatVersion = 1;
inline constexpr std::uint32_t kMessageFields = 6;
inline constexpr std::uint32_t kFirstGroupField = 4;
inline constexpr std::uint32_t kGroupFields = 4;
// A structure or array begins with its shape index or item types, then its row.
inline constexpr std::uint32_t kContainerHead = 2;

inline bool is_simple(TMV type) { return type <= TMV_BOOL; }

// Bytes of each simple type in a row, by TMV.
inline std::uint32_t row_width(TMV type) {
  static constexpr std::uint32_t kWidths[] = {1, 1, 2, 2, 4, 4, 8, 8, 8, 1};
  return kWidths[type];
}

inline Tm_exception nesting_too_deep() {
  return Tm_exception("wire: nesting deeper than " + std::to_string(tm_wire_max_depth));
}

}  // namespace tm_wire
