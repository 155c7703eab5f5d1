#include "port/firmware/IoPattern.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace storageio_port {

namespace {

// Bytes from `offset` to the next multiple of `alignment` (0 when it is one).
std::uint64_t GapToAlignment(std::uint64_t offset, std::uint64_t alignment) {
  return (alignment - offset % alignment) % alignment;
}

}  // namespace

Region RegionOf(const TargetInfo& target, const BST_1_bll::DiskSpec_s& disk) {
  if (disk.StartingDiskSector >= target.sectorCount) {
    throw std::invalid_argument("Starting sector " + std::to_string(disk.StartingDiskSector) + " lies beyond target '" +
                                target.name + "' of " + std::to_string(target.sectorCount) + " sectors");
  }
  const std::uint64_t sectorsLeft = target.sectorCount - disk.StartingDiskSector;
  const std::uint64_t sectors = disk.MaximumDiskSize == 0 ? sectorsLeft : std::min(disk.MaximumDiskSize, sectorsLeft);
  const std::uint64_t first = disk.StartingDiskSector * target.sectorSize;
  return Region{first, first + sectors * target.sectorSize};
}

std::uint64_t AlignmentOf(const bst_1_bll::StorageWorkerProfile_s& profile, const TargetInfo& target) {
  return profile.EnableAlignIOs && profile.AlignIOs > 0 ? profile.AlignIOs : target.sectorSize;
}

// FNV-1a over the name, then the handle mixed in: fixed on every run and platform.
std::uint64_t SeedOf(unsigned workerHandle, const std::string& targetName) {
  std::uint64_t hash = 0xCBF29CE484222325ULL;
  for (const unsigned char c : targetName) hash = (hash ^ c) * 0x100000001B3ULL;
  return hash ^ (static_cast<std::uint64_t>(workerHandle) * 0x9E3779B97F4A7C15ULL);
}

bool Spread(std::uint64_t index, unsigned percent) {
  const std::uint64_t share = std::min(percent, 100u);
  return (index + 1) * share / 100 != index * share / 100;
}

IoPattern::IoPattern(const bst_1_bll::StorageWorkerProfile_s& profile, Region region, std::uint64_t alignment,
                     std::uint64_t seed)
    : m_length(profile.TransferRequestSize),
      m_readPercent(profile.PercentReadDistribution),
      m_randomPercent(profile.PercentRandomDistribution),
      m_alignment(alignment),
      m_endByte(region.endByte),
      m_randomState(seed) {
  if (m_alignment == 0) throw std::invalid_argument("The alignment of I/O offsets is 0");
  if (m_readPercent > 100) {
    throw std::invalid_argument("PercentReadDistribution " + std::to_string(m_readPercent) + " is above 100");
  }
  if (m_randomPercent > 100) {
    throw std::invalid_argument("PercentRandomDistribution " + std::to_string(m_randomPercent) + " is above 100");
  }
  if (m_length == 0) throw std::invalid_argument("TransferRequestSize is 0");
  const std::uint64_t size = region.endByte > region.firstByte ? region.endByte - region.firstByte : 0;
  const std::uint64_t gap = GapToAlignment(region.firstByte, m_alignment);
  if (gap > size || size - gap < m_length) {
    throw std::invalid_argument("The region of " + std::to_string(size) + " bytes cannot hold one transfer of " +
                                std::to_string(m_length) + " bytes aligned to " + std::to_string(m_alignment));
  }
  m_firstOffset = region.firstByte + gap;
  m_positions = (region.endByte - m_length - m_firstOffset) / m_alignment + 1;
  m_sequentialOffset = m_firstOffset;
}

IoPattern::Io IoPattern::Next() {
  Io io;
  io.length = m_length;
  io.isRead = Spread(m_ios++, m_readPercent);
  io.isRandom = Spread(io.isRead ? m_reads++ : m_writes++, m_randomPercent);
  if (io.isRandom) {
    io.offset = NextRandomOffset();
    return io;
  }
  io.offset = m_sequentialOffset;
  // Continue at the aligned end of this I/O if a transfer still fits there (no sum can overflow:
  // this I/O ends within the region).
  const std::uint64_t end = m_sequentialOffset + m_length;
  const std::uint64_t room = m_endByte - end;
  const std::uint64_t gap = GapToAlignment(end, m_alignment);
  m_sequentialOffset = gap <= room && room - gap >= m_length ? end + gap : m_firstOffset;
  return io;
}

// splitmix64, the same sequence on every run and platform; a 64-bit draw scaled to the number of
// positions (multiply, keep the high half) is uniform to within 2^-64 per position.
std::uint64_t IoPattern::NextRandomOffset() {
  m_randomState += 0x9E3779B97F4A7C15ULL;
  std::uint64_t z = m_randomState;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
  z ^= z >> 31;
  const auto position = static_cast<std::uint64_t>((static_cast<unsigned __int128>(z) * m_positions) >> 64);
  return m_firstOffset + position * m_alignment;
}

}  // namespace storageio_port
