#pragma once
// IoBufferPool: the I/O buffers of one engine, kept for reuse by length and alignment.
//
// Memory comes from regions aligned on 2 MiB that ask the kernel for transparent huge pages
// (MADV_HUGEPAGE). A buffer inside one huge page is physically contiguous, so a direct I/O on it
// is a single segment for the block layer, and sequential requests merge up to the device's
// request size. Buffers of plain 4 KiB pages stop merging at the device's segment limit first (a
// virtio disk with 254 segments caps a merged request at 1016 KiB), which costs large sequential
// transfers a fifth of their throughput there. Where huge pages are not granted, buffers are plain
// pages and everything else holds.
//
// Buffers never straddle a huge page when they fit in one. Write buffers start as pseudo-random
// bytes. Threads: one thread. Every buffer lives as long as the pool.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace storageio_port {

class IoBufferPool {
 public:
  explicit IoBufferPool(std::uint64_t fillSeed) : m_fillState(fillSeed) {}
  ~IoBufferPool();
  IoBufferPool(const IoBufferPool&) = delete;
  IoBufferPool& operator=(const IoBufferPool&) = delete;

  // A buffer of `length` bytes (rounded up to `alignment`), aligned on `alignment`, a power of
  // two no larger than kHugePage. A free one of the same length and alignment is reused. Throws EngineError when no memory
  // is left.
  unsigned char* Take(std::uint32_t length, std::size_t alignment, bool forWrite);
  // Returns a buffer that Take gave for this length and alignment.
  void GiveBack(unsigned char* buffer, std::uint32_t length, std::size_t alignment);

  static constexpr std::size_t kHugePage = 2u << 20;

 private:
  struct Region {
    unsigned char* base;
    std::size_t size;
    std::size_t used;
  };
  struct FreeBuffers {
    std::uint32_t length;
    std::size_t alignment;
    std::vector<unsigned char*> buffers;
  };

  unsigned char* Carve(std::size_t size, std::size_t alignment);
  Region& NewRegion(std::size_t atLeast);

  std::vector<Region> m_regions;
  std::vector<FreeBuffers> m_free;
  std::uint64_t m_fillState;
};

}  // namespace storageio_port
