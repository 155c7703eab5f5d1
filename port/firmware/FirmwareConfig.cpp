#include "port/firmware/FirmwareConfig.h"

#include <set>
#include <stdexcept>
#include <string>

namespace storageio_port {

void ValidateFirmwareConfig(const FirmwareConfig& config) {
  std::set<std::string> names;
  for (const TargetInfo& target : config.targets) {
    ValidateTargetInfo(target);
    if (!names.insert(target.name).second) {
      throw std::invalid_argument("Storage target '" + target.name + "' is configured twice");
    }
  }
  if (config.setupStepMs < 0) {
    throw std::invalid_argument("Setup step of " + std::to_string(config.setupStepMs) + " ms is negative");
  }
  if (config.pollPeriodMs < 1) {
    throw std::invalid_argument("Poll period of " + std::to_string(config.pollPeriodMs) + " ms is below 1 ms");
  }
}

}  // namespace storageio_port
