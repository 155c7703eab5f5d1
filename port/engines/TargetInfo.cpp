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
