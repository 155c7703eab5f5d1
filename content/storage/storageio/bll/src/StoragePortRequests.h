#pragma once
// A port's handle as the context of a request to it, as its answer or notification brings it back.

#include <cstdint>

#include "kel/core/Port.h"

namespace kel {
namespace storageio {

inline void* PortCookie(const core::CPort& port) {
  return reinterpret_cast<void*>(static_cast<std::uintptr_t>(port.GetHandle()));
}

inline std::uint32_t HandleFromCookie(void* cookie) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(cookie));
}

}  // namespace storageio
}  // namespace kel
