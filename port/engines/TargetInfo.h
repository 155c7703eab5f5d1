#pragma once
// TargetInfo: one storage target a port may touch, as the port is configured with it. The list of
// them is the port's allow-list: learn answers with it and engines open nothing else.
//
// A model disk is a name and a geometry. A real target also carries the file or block device
// behind it, resolved once when the port started (ResolvedTarget.h); engines of real I/O open
// only that, and only through OpenTarget's checks.

#include <cstdint>
#include <memory>
#include <string>

#include "port/targets/ResolvedTarget.h"

namespace storageio_port {

// What learn reports a target as: block devices are physical disks, files logical ones.
enum class DiskType { PhysicalDisk, LogicalDisk };

struct TargetInfo {
  std::string name;                // how the plug-in names the target (TargetName); unique per port
  std::uint32_t sectorSize = 512;  // bytes per sector, never 0
  std::uint64_t sectorCount = 0;   // sectors the target holds, never 0
  DiskType type = DiskType::PhysicalDisk;
  std::uint32_t queueDepth = 32;  // requests the target takes at once, as reported by learn
  // The real target behind it; null for a model disk. Shared because a run's layout records the
  // identity of a file it creates, for every later open to check.
  std::shared_ptr<ResolvedTarget> device;
  // Whether workers may write to it: always for files and model disks; for a block device only
  // with the port's block-device write flag.
  bool writesAllowed = true;

  std::uint64_t SizeBytes() const { return sectorCount * sectorSize; }
};

// Throws std::invalid_argument naming the target and what is wrong: an empty name, a sector size
// or sector count of 0, or a size in bytes beyond 64 bits.
void ValidateTargetInfo(const TargetInfo& target);

// A model disk: a name and a geometry, nothing behind it.
TargetInfo ModelDisk(std::string name, std::uint32_t sectorSize, std::uint64_t sectorCount,
                     DiskType type = DiskType::PhysicalDisk, std::uint32_t queueDepth = 32);

// The target of an allow-list entry, resolved now (ResolveTarget; throws its TargetError).
TargetInfo RealTarget(const TargetEntry& entry, bool allowBlockDeviceWrites);

}  // namespace storageio_port
