#include "port/targets/DeviceGeometry.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/sysmacros.h>

#include <cerrno>
#include <fstream>

#include "port/targets/TargetError.h"
#include "port/targets/UniqueFd.h"

namespace storageio_port {
namespace {

constexpr std::uint32_t kCommonBlockSize = 512;

// The number in a one-line sysfs file, 0 when the file is missing or holds no number.
std::uint32_t ReadSysfsNumber(const std::string& path) {
  std::ifstream file(path);
  std::uint32_t value = 0;
  return (file >> value) ? value : 0;
}

}  // namespace

BlockDeviceGeometry ReadBlockDeviceGeometry(const std::string& path) {
  const std::string which = "Storage target '" + path + "'";
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw TargetError(which + " cannot be opened to read its size: " + ErrnoText(errno));
  const UniqueFd device(fd);
  BlockDeviceGeometry geometry;
  if (::ioctl(device.fd(), BLKGETSIZE64, &geometry.sizeBytes) != 0) {
    throw TargetError(which + " does not tell its size (BLKGETSIZE64): " + ErrnoText(errno));
  }
  int sectorSize = 0;
  if (::ioctl(device.fd(), BLKSSZGET, &sectorSize) != 0) {
    throw TargetError(which + " does not tell its sector size (BLKSSZGET): " + ErrnoText(errno));
  }
  if (sectorSize <= 0) throw TargetError(which + " reports a sector size of " + std::to_string(sectorSize));
  geometry.logicalSectorSize = static_cast<std::uint32_t>(sectorSize);
  return geometry;
}

std::uint32_t LogicalBlockSizeOf(std::uint64_t device) {
  const std::string node = "/sys/dev/block/" + std::to_string(major(device)) + ":" + std::to_string(minor(device));
  // A partition has no queue of its own; ".." from its sysfs link is the disk that holds it.
  for (const char* queue : {"/queue/logical_block_size", "/../queue/logical_block_size"}) {
    if (const std::uint32_t size = ReadSysfsNumber(node + queue)) return size;
  }
  return kCommonBlockSize;
}

}  // namespace storageio_port
