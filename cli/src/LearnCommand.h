#pragma once
// `storageio learn TEST.yaml`: the targets each port of a description reports, as workers name
// them.

#include <ostream>
#include <string>

namespace storageio_cli {

struct LearnOptions {
  std::string descriptionPath;
  std::string pluginPath;
  double connectTimeoutS = 10;
};

// Writes, per port, each target's name, type, sector size and size. Returns 0, 1 when a port did
// not answer (the others are still shown), 2 for a bad description.
int LearnPorts(const LearnOptions& options, std::ostream& out, std::ostream& err);

}  // namespace storageio_cli
