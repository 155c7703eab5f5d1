#pragma once
// The targets of each worker, once learn has brought them: related to the worker by the names its
// description gives, and checked against what the port would refuse when the test starts, so that
// a mistake costs a line before the run instead of a failed port during it.

#include <cstdint>
#include <string>
#include <vector>

#include "TestProject.h"

namespace storageio_cli {

// Relates every worker to the learned targets its description names. Returns one line for each
// name its port did not report ("worker W: port P reports no target T; it reports: A, B").
std::vector<std::string> RelateTargets(TestProject& project);

// What a port refuses a worker on one target for, from the figures alone.
struct TargetLoadFigures {
  std::uint64_t transferSize = 0;
  std::uint64_t alignment = 0;  // 0: offsets align on the sector size
  std::uint64_t startSector = 0;
  std::uint64_t sectors = 0;  // 0: to the end of the target
  std::uint64_t targetSectors = 0;
  std::uint64_t sectorSize = 0;
  // Direct I/O needs transfers and offsets in whole sectors.
  bool direct = true;
};
// One line per refusal; empty when the port would take it.
std::vector<std::string> RefusalsOf(const TargetLoadFigures& load);

// RefusalsOf for every active worker on each of its related targets, led by "worker W on target
// T: ". Targets of agents count as direct I/O: whether the agent opens them buffered is the
// agent's business, and it refuses for itself.
std::vector<std::string> PortRefusals(const TestProject& project);

}  // namespace storageio_cli
