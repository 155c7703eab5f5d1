#include "port/engines/TargetInfo.h"

#include <limits>
#include <stdexcept>

namespace storageio_port {

void ValidateTargetInfo(const TargetInfo& target) {
  if (target.name.empty()) throw std::invalid_argument("A storage target needs a name");
  const std::string which = "Storage target '" + target.name + "'";
  if (target.sectorSize == 0) throw std::invalid_argument(which + " has a sector size of 0");
  if (target.sectorCount == 0) throw std::invalid_argument(which + " has no sectors");
  if (target.sectorCount > std::numeric_limits<std::uint64_t>::max() / target.sectorSize) {
    throw std::invalid_argument(which + " is larger than 2^64 bytes");
  }
}

}  // namespace storageio_port

namespace storageio_port {

TargetInfo ModelDisk(std::string name, std::uint32_t sectorSize, std::uint64_t sectorCount, DiskType type,
                     std::uint32_t queueDepth) {
  TargetInfo info;
  info.name = std::move(name);
  info.sectorSize = sectorSize;
  info.sectorCount = sectorCount;
  info.type = type;
  info.queueDepth = queueDepth;
  return info;
}

TargetInfo RealTarget(const TargetEntry& entry, bool allowBlockDeviceWrites) {
  auto device = std::make_shared<ResolvedTarget>(ResolveTarget(entry));
  TargetInfo info;
  info.name = device->name;
  info.sectorSize = device->sectorSize;
  info.sectorCount = device->sectorCount;
  const bool blockDevice = device->kind == TargetKind::BlockDevice;
  info.type = blockDevice ? DiskType::PhysicalDisk : DiskType::LogicalDisk;
  info.writesAllowed = !blockDevice || allowBlockDeviceWrites;
  info.device = std::move(device);
  return info;
}

}  // namespace storageio_port
