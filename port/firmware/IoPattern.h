#pragma once
// IoPattern: which I/O a worker issues next on one target, from its access spec (worker profile)
// and the region of the target it may use. Deterministic: the same profile, region and seed
// always give the same sequence.
//
// - The k-th I/O (k = 0, 1, ...) is a read exactly when Spread(k, PercentReadDistribution); so
//   of the first n I/Os, floor(n * percent / 100) are reads.
// - Randomness is spread the same way within each kind: the j-th read is random exactly when
//   Spread(j, PercentRandomDistribution), and so is the j-th write. Reads and writes thus have
//   the same share of random I/O whatever the mix.
// - Every I/O moves TransferRequestSize bytes (ReplySize has no meaning for a disk).
// - Offsets are multiples of the alignment (AlignmentOf) and every I/O lies wholly inside the
//   region. Sequential I/O continues at the aligned end of the previous sequential I/O and wraps
//   to the region's first aligned offset when the next would not fit. Random I/O picks one of the
//   aligned offsets at which a transfer fits, uniformly, from a generator seeded by SeedOf, so
//   that two workers on one target do not replay each other's offsets.

#include <cstdint>
#include <string>

#include "msg/BST_1.h"
#include "port/engines/TargetInfo.h"

namespace storageio_port {

// Bytes [firstByte, endByte) of a target.
struct Region {
  std::uint64_t firstByte = 0;
  std::uint64_t endByte = 0;
};

// The region a worker target uses: from the disk spec's StartingDiskSector on, MaximumDiskSize
// sectors (0: to the end), clipped to the target. Throws std::invalid_argument naming the target
// when the first sector lies beyond the target.
Region RegionOf(const TargetInfo& target, const BST_1_bll::DiskSpec_s& disk);

// What offsets are multiples of: AlignIOs bytes when EnableAlignIOs is set (and AlignIOs > 0),
// else the target's sector size.
std::uint64_t AlignmentOf(const bst_1_bll::StorageWorkerProfile_s& profile, const TargetInfo& target);

// The seed of a worker's random offsets on one target.
std::uint64_t SeedOf(unsigned workerHandle, const std::string& targetName);

// True for exactly floor(n * percent / 100) of the indices 0 .. n-1, spread evenly.
// `percent` above 100 counts as 100.
bool Spread(std::uint64_t index, unsigned percent);

class IoPattern {
 public:
  struct Io {
    std::uint64_t offset = 0;
    std::uint32_t length = 0;
    bool isRead = true;
    bool isRandom = false;
  };

  // Throws std::invalid_argument naming the field when a percentage is above 100, the transfer
  // size or the alignment is 0, or the region cannot hold one aligned transfer.
  IoPattern(const bst_1_bll::StorageWorkerProfile_s& profile, Region region, std::uint64_t alignment,
            std::uint64_t seed);

  Io Next();

 private:
  std::uint64_t NextRandomOffset();

  std::uint32_t m_length;
  unsigned m_readPercent;
  unsigned m_randomPercent;
  std::uint64_t m_alignment;
  std::uint64_t m_firstOffset;  // the first aligned offset of the region
  std::uint64_t m_endByte;
  std::uint64_t m_positions;  // aligned offsets at which a transfer fits
  std::uint64_t m_ios = 0;
  std::uint64_t m_reads = 0;
  std::uint64_t m_writes = 0;
  std::uint64_t m_sequentialOffset;
  std::uint64_t m_randomState;
};

}  // namespace storageio_port
