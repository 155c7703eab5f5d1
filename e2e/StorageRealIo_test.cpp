// Two embedded ports on the io_uring engine, each with a file of its own under the build folder,
// driven through the loaded plug-in on the host's real clock for a second per run.

#include <gtest/gtest.h>

#include "RealClockE2ETest.h"
#include "port/transports/InProcessTransport.h"

namespace storageio_e2e {
namespace {

class StorageRealIoTest : public RealClockE2ETest {
 protected:
  void SetUp() override {
    RealClockE2ETest::SetUp();
    if (!IoUringWorks()) GTEST_SKIP() << "the kernel refuses io_uring here";
    std::map<std::string, storageio_port::InProcessSetup> ports;
    for (const std::string port : {"P1", "P2"}) {
      storageio_port::InProcessSetup setup;
      setup.engine = storageio_port::InProcessSetup::Engine::IoUring;
      setup.firmware.targets = {storageio_port::RealTarget(
          storageio_port::ParseTargetEntry((Folder() / (port + ".bin")).string() + ":4MiB"), false)};
      ports["inproc://" + port] = setup;
    }
    storageio_port::RegisterInProcessTransport(storageio_port::InProcessSetup(), ports);
  }
};

TEST_F(StorageRealIoTest, ARandomReadThenASeventyThirtyMixOnTwoPortsAddUpAtEveryLevel) {
  const ScriptableVec workers = {&MakeWorkerOnNewPort("P1", "inproc://P1"), &MakeWorkerOnNewPort("P2", "inproc://P2")};
  for (CScriptable* worker : workers) worker->Set("OutstandingIOsPerTargetCount", "8");

  CScriptable& reads = RandomProfile(100);
  RunForASecond(workers, reads);
  ExpectConsistentFigures(workers, reads, 100);
  EXPECT_TRUE(std::filesystem::exists(Folder() / "P1.bin"));  // laid out by the first run

  CScriptable& mixed = RandomProfile(70);
  RunForASecond(workers, mixed);
  ExpectConsistentFigures(workers, mixed, 70);
  EXPECT_TRUE(Lines(kDeveloperLog, kel::framework::LOG_LEVEL_ERROR).empty());
}

}  // namespace
}  // namespace storageio_e2e
