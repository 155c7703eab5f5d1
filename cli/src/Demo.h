#pragma once
// The demonstration run of `storageio demo`: a short storage test end to end on the embedded
// in-process ports, through the loaded plug-in and the host only, on the real clock.

#include <ostream>
#include <string>

namespace storageio_cli {

struct DemoOptions {
  std::string pluginPath;
  unsigned durationSeconds = 3;
};

// Loads the plug-in, builds a project of two ports with one storage worker each, learns the
// targets, runs the test, and writes the progress lines and the results at every level to `out`.
// Returns 0 when the test completed; throws the host's exceptions on failures of the host.
int RunDemo(const DemoOptions& options, std::ostream& out);

}  // namespace storageio_cli
