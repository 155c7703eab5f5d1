#pragma once
// What the kernel says about the devices behind targets: a block device's size and sector size,
// and the logical block size of the device a file lives on.

#include <cstdint>
#include <string>

namespace storageio_port {

struct BlockDeviceGeometry {
  std::uint64_t sizeBytes = 0;
  std::uint32_t logicalSectorSize = 0;  // the smallest unit direct I/O to it may use
};

// Asks the block device at `path` (BLKGETSIZE64, BLKSSZGET). It is opened read-only and not
// exclusively, so a mounted device can be asked too. Throws TargetError naming the path when it
// cannot be opened or asked.
BlockDeviceGeometry ReadBlockDeviceGeometry(const std::string& path);

// The logical block size of block device `device` (an st_dev), from sysfs: its own queue, or its
// parent disk's when it is a partition. 512 when sysfs knows neither, as for the anonymous devices
// of tmpfs and overlay. Never throws.
std::uint32_t LogicalBlockSizeOf(std::uint64_t device);

}  // namespace storageio_port
