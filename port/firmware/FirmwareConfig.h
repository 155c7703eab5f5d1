#pragma once
// FirmwareConfig: what a storage test firmware is set up with, before any request arrives.

#include <cstdint>
#include <vector>

#include "port/engines/TargetInfo.h"

namespace storageio_port {

struct FirmwareConfig {
  // The targets the port may touch: learn answers with them, in this order, and a worker's
  // target that is not among them (by name) is refused when its test starts.
  std::vector<TargetInfo> targets;
  // Length of the setup phases StartingTest and BeginningIO (the warm-up), and of PreppingDisks
  // when no target needs laying out (TestRun.h).
  std::int64_t setupStepMs = 100;
  // How often a computed engine's workers are moved on between notifications. Engines of real
  // pace are driven by their completions instead.
  std::int64_t pollPeriodMs = 100;
};

// Throws std::invalid_argument naming what is wrong: a target ValidateTargetInfo refuses, two
// targets of one name, a negative setup step or a poll period below 1 ms.
void ValidateFirmwareConfig(const FirmwareConfig& config);

}  // namespace storageio_port
