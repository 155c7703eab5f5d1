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
  // Length of each of the setup phases PreppingDisks, StartingTest and BeginningIO (TestRun.h).
  std::int64_t setupStepMs = 100;
  // How often running workers are moved on between notifications; an engine that does real I/O
  // needs it short, the model engine does not care.
  std::int64_t pollPeriodMs = 100;
};

// Throws std::invalid_argument naming what is wrong: a target ValidateTargetInfo refuses, two
// targets of one name, a negative setup step or a poll period below 1 ms.
void ValidateFirmwareConfig(const FirmwareConfig& config);

}  // namespace storageio_port
