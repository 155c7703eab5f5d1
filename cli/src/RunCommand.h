#pragma once
// `storageio run TEST.yaml`: learn, apply, start, follow the test to its end on every port, and
// print and export the results.

#include <ostream>
#include <string>

namespace storageio_cli {

struct RunOptions {
  std::string descriptionPath;
  std::string pluginPath;
  std::string jsonFile;  // empty: no JSON export
  std::string csvFile;   // empty: no CSV export
  bool quiet = false;    // no progress lines and no live table; the results still
  bool color = true;     // colour on a terminal
  double connectTimeoutS = 10;
  bool failOnErrors = false;  // I/O errors make a completed test exit 1
  // Simulations and tests: the host's virtual clock, on which a test of model ports runs in a
  // moment. Ports of real I/O need the real clock.
  bool virtualClock = false;
};

// Runs the test of the description; returns the exit code (ExitCodes.h). Writes the progress, the
// live table and the results to `out`, what went wrong to `err`. Throws only for failures of the
// host itself.
int RunTest(const RunOptions& options, std::ostream& out, std::ostream& err);

}  // namespace storageio_cli
