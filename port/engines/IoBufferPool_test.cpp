#include "port/engines/IoBufferPool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

namespace storageio_port {
namespace {

std::uintptr_t Address(const unsigned char* buffer) { return reinterpret_cast<std::uintptr_t>(buffer); }

TEST(IoBufferPool, BuffersAreAlignedDisjointAndNeverStraddleAHugePage) {
  IoBufferPool pool(1);
  // Mixed sizes, including ones that do not divide a huge page, fill several regions.
  const std::pair<std::uint32_t, std::size_t> requests[] = {
      {4096, 4096}, {131072, 4096}, {12288, 4096}, {1u << 20, 4096}, {512, 512}, {3u << 20, 4096}};
  std::vector<std::pair<std::uintptr_t, std::uintptr_t>> spans;
  for (int round = 0; round < 12; ++round) {
    for (const auto& [length, alignment] : requests) {
      const unsigned char* buffer = pool.Take(length, alignment, false);
      const std::uintptr_t start = Address(buffer);
      EXPECT_EQ(0u, start % alignment) << length;
      if (length <= IoBufferPool::kHugePage) {
        EXPECT_EQ(start / IoBufferPool::kHugePage, (start + length - 1) / IoBufferPool::kHugePage) << length;
      }
      spans.emplace_back(start, start + length);
    }
  }
  std::sort(spans.begin(), spans.end());
  for (std::size_t i = 1; i < spans.size(); ++i) EXPECT_LE(spans[i - 1].second, spans[i].first);
}

TEST(IoBufferPool, AGivenBackBufferServesOnlyItsOwnLengthAndAlignment) {
  IoBufferPool pool(1);
  unsigned char* first = pool.Take(8192, 4096, false);
  pool.GiveBack(first, 8192, 4096);
  EXPECT_NE(first, pool.Take(4096, 4096, false));
  EXPECT_NE(first, pool.Take(8192, 512, false));
  EXPECT_EQ(first, pool.Take(8192, 4096, false));
}

TEST(IoBufferPool, WriteBuffersHoldDifferentPseudoRandomBytes) {
  IoBufferPool pool(7);
  const unsigned char* first = pool.Take(8192, 4096, true);
  const unsigned char* second = pool.Take(8192, 4096, true);
  EXPECT_NE(0, std::memcmp(first, second, 8192));
  EXPECT_NE(0, std::memcmp(first, first + 4096, 4096)) << "no two blocks alike";
  EXPECT_LT(std::count(first, first + 8192, 0), 8192 / 64) << "not a zeroed buffer";
}

}  // namespace
}  // namespace storageio_port
