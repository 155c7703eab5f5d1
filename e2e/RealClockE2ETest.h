#pragma once
// The fixture of end-to-end tests on the host's real clock, with real files: a scratch folder of
// the test's own under the build folder, profiles of random I/O, one-second runs through the
// loaded plug-in, and the check that figures are non-zero and add up at every level.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "StorageIOE2ETest.h"

namespace storageio_e2e {

class RealClockE2ETest : public StorageIOE2ETest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // A folder of the test's own, removed with what it holds when the test ends.
  const std::filesystem::path& Folder() const { return m_folder; }
  // Whether the kernel lets this process use io_uring.
  static bool IoUringWorks();

  // A profile of 4 KiB random I/O with `readPercent` reads.
  static CScriptable& RandomProfile(unsigned readPercent);
  // Runs `profile` on the workers for a second, learning and applying first, and checks that the
  // test completed.
  void RunForASecond(const ScriptableVec& workers, CScriptable& profile);
  // Non-zero, consistent figures at every level: each worker's one target adds up to its worker,
  // workers to their port and to their profile, ports to the project.
  static void ExpectConsistentFigures(const ScriptableVec& workers, const CScriptable& profile, unsigned readPercent);

 private:
  std::filesystem::path m_folder;
  long m_runs = 0;
};

}  // namespace storageio_e2e
