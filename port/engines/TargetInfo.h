#pragma once
// TargetInfo: one storage target a port may touch, as the port is configured with it. The list of
// them is the port's allow-list: learn answers with it and engines open nothing else.

#include <cstdint>
#include <string>


namespace storageio_port {

// What learn reports a target as: block devices are physical disks, files logical ones.
enum class TargetKind { PhysicalDisk, LogicalDisk };

struct TargetInfo {
  std::string name;               // how the plug-in names the target (TargetName); unique per port
  std::uint32_t sectorSize = 512;  // bytes per sector, never 0
  std::uint64_t sectorCount = 0;   // sectors the target holds, never 0
  TargetKind kind = TargetKind::PhysicalDisk;
  std::uint32_t queueDepth = 32;  // requests the target takes at once, as reported by learn

  std::uint64_t SizeBytes() const { return sectorCount * sectorSize; }
};

// Throws std::invalid_argument naming the target and what is wrong: an empty name, a sector size
// or sector count of 0, or a size in bytes beyond 64 bits.
void ValidateTargetInfo(const TargetInfo& target);

}  // namespace storageio_port
