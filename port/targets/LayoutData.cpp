#include "port/targets/LayoutData.h"

#include <algorithm>
#include <cstring>

namespace storageio_port {
namespace {

// splitmix64's output function: a cheap mix whose outputs over consecutive inputs pass as random.
std::uint64_t Mix(std::uint64_t x) {
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
  return x ^ (x >> 31);
}

}  // namespace

void FillLayoutData(std::uint64_t seed, std::uint64_t offset, unsigned char* data, std::size_t size) {
  constexpr std::uint64_t kGoldenGamma = 0x9E3779B97F4A7C15ull;
  std::uint64_t word = offset / sizeof(std::uint64_t);
  for (std::size_t at = 0; at < size; at += sizeof(std::uint64_t), ++word) {
    const std::uint64_t value = Mix(seed + word * kGoldenGamma);
    std::memcpy(data + at, &value, std::min(sizeof value, size - at));
  }
}

}  // namespace storageio_port
