#include "port/engines/IoBufferPool.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>

#include "port/engines/IoEngine.h"
#include "port/targets/LayoutData.h"

namespace storageio_port {

namespace {

// Regions hold many buffers: a queue of 32 transfers of 128 KiB fits in one.
constexpr std::size_t kRegionSize = 4 * IoBufferPool::kHugePage;

std::size_t RoundUp(std::size_t size, std::size_t multiple) { return (size + multiple - 1) / multiple * multiple; }

}  // namespace

IoBufferPool::~IoBufferPool() {
  for (const Region& region : m_regions) std::free(region.base);
}

unsigned char* IoBufferPool::Take(std::uint32_t length, std::size_t alignment, bool forWrite) {
  for (FreeBuffers& free : m_free) {
    if (free.length == length && free.alignment == alignment && !free.buffers.empty()) {
      unsigned char* buffer = free.buffers.back();
      free.buffers.pop_back();
      return buffer;
    }
  }
  const std::size_t size = RoundUp(std::max<std::size_t>(length, 1), alignment);
  unsigned char* buffer = Carve(size, alignment);
  // Write buffers hold pseudo-random bytes, so what the stamps leave is not compressible either.
  if (forWrite) FillLayoutData(m_fillState++, 0, buffer, size);
  return buffer;
}

void IoBufferPool::GiveBack(unsigned char* buffer, std::uint32_t length, std::size_t alignment) {
  for (FreeBuffers& free : m_free) {
    if (free.length == length && free.alignment == alignment) {
      free.buffers.push_back(buffer);
      return;
    }
  }
  m_free.push_back(FreeBuffers{length, alignment, {buffer}});
}

unsigned char* IoBufferPool::Carve(std::size_t size, std::size_t alignment) {
  for (Region& region : m_regions) {
    std::size_t at = RoundUp(region.used, alignment);
    // A buffer that fits in a huge page starts a new one rather than straddle two.
    if (size <= kHugePage && at / kHugePage != (at + size - 1) / kHugePage) at = RoundUp(at, kHugePage);
    if (at + size <= region.size) {
      region.used = at + size;
      return region.base + at;
    }
  }
  Region& region = NewRegion(size);
  region.used = size;
  return region.base;
}

IoBufferPool::Region& IoBufferPool::NewRegion(std::size_t atLeast) {
  const std::size_t size = std::max(kRegionSize, RoundUp(atLeast, kHugePage));
  void* memory = nullptr;
  if (posix_memalign(&memory, kHugePage, size) != 0) throw EngineError("No memory for I/O buffers");
  // Advice only: a kernel without transparent huge pages keeps plain pages.
  madvise(memory, size, MADV_HUGEPAGE);
  m_regions.push_back(Region{static_cast<unsigned char*>(memory), size, 0});
  return m_regions.back();
}

}  // namespace storageio_port
