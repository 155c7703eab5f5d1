// Two embedded ports on the io_uring engine, each with a file of its own under the build folder,
// driven through the loaded plug-in on the host's real clock for a second per test.

#include <gtest/gtest.h>

#include <filesystem>

#include "StorageIOE2ETest.h"
#include "kel/framework/Project.h"
#include "port/engines/IoUringEngine.h"

namespace storageio_e2e {
namespace {

using kel::framework::CTaskManager;

double Number(const CScriptable& result, const char* name) { return std::stod(result.Get(name)); }

// The plain sum of a result of every object in `parts`.
double SumOf(const std::vector<const CScriptable*>& parts, const char* name) {
  double sum = 0;
  for (const CScriptable* part : parts) sum += Number(*part, name);
  return sum;
}

class StorageRealIoTest : public StorageIOE2ETest {
 protected:
  void SetUp() override {
    StorageIOE2ETest::SetUp();
    try {
      storageio_port::IoUringEngine probe;
    } catch (const storageio_port::EngineError& e) {
      GTEST_SKIP() << "the kernel refuses io_uring here: " << e.what();
    }
    m_folder = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "real_io_scratch" /
               std::to_string(::getpid());
    std::filesystem::create_directories(m_folder);
    std::map<std::string, storageio_port::InProcessSetup> ports;
    for (const char* port : {"P1", "P2"}) {
      storageio_port::InProcessSetup setup;
      setup.engine = storageio_port::InProcessSetup::Engine::IoUring;
      setup.firmware.targets = {storageio_port::RealTarget(
          storageio_port::ParseTargetEntry((m_folder / (std::string(port) + ".bin")).string() + ":4MiB"), false)};
      ports["inproc://" + std::string(port)] = setup;
    }
    storageio_port::RegisterInProcessTransport(storageio_port::InProcessSetup(), ports);
    Loop().SetClockMode(CTaskManager::ClockMode::Real);
  }
  void TearDown() override {
    StorageIOE2ETest::TearDown();
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
  }

  // A profile of 4 KiB random I/O with `readPercent` reads.
  static CScriptable& RandomProfile(unsigned readPercent) {
    CScriptable& profile = Make("StorageWorkerProfile", &kel::framework::CProject::GetCurrentActiveInstance());
    profile.Set("Name", "Random " + std::to_string(readPercent) + "% reads");
    profile.Set("TransferRequestSize", "4096");
    profile.Set("PercentRandomDistribution", "100");
    profile.Set("PercentReadDistribution", std::to_string(readPercent));
    return profile;
  }

  // Runs `profile` on both ports' workers for a second, learning and applying first.
  void RunForASecond(const ScriptableVec& workers, CScriptable& profile) {
    for (CScriptable* worker : workers) {
      if (CScriptable* old = worker->GetObject(ClassIdOf("StorageWorkerProfile"), Relation("UsesProfile"))) {
        worker->RemoveObject(*old, Relation("UsesProfile"));
      }
      ASSERT_TRUE(worker->AddObject(profile, Relation("UsesProfile")));
    }
    kel::framework::CCommand& start = MakeStart(workers, 1, true);
    start.Execute(false);
    Loop().RunFor(200);  // each port's last progress value follows its answer to the start
    EXPECT_EQ(Count(kUserLog, kTestCompleted), ++m_runs);
  }

  // Non-zero, consistent figures at every level: targets add up to their worker, workers to their
  // port and to their profile, ports to the project.
  static void ExpectConsistentFigures(const ScriptableVec& workers, const CScriptable& profile, unsigned readPercent) {
    std::vector<const CScriptable*> workerResults;
    for (CScriptable* worker : workers) {
      SCOPED_TRACE(worker->GetName());
      const CScriptable& result = Child(*worker, "StorageWorkerResults");
      workerResults.push_back(&result);
      const double all = Number(result, "AllTransactionCount");
      EXPECT_GT(all, 100);
      EXPECT_NEAR(Number(result, "ReadTransactionCount") / all, readPercent / 100.0, 0.01);
      EXPECT_EQ(Number(result, "BytesRead") + Number(result, "BytesWritten"), all * 4096);
      EXPECT_EQ(Number(result, "ReadErrors") + Number(result, "WriteErrors"), 0);
      EXPECT_NEAR(all / Number(result, "AvgIOPerSecond"), 1.0, 0.05);  // over the one recorded second
      EXPECT_GT(Number(result, "AvgLatency"), 0);
      EXPECT_GE(Number(result, "MaxLatency"), Number(result, "AvgLatency"));

      std::vector<const CScriptable*> targetResults;
      for (CScriptable* target : Children(*worker, "StorageDiscoveredTargets")) {
        targetResults.push_back(&Child(*target, "StorageDiscoveredTargetResults"));
      }
      ASSERT_EQ(targetResults.size(), 1u);
      for (const char* counter : {"BytesRead", "BytesWritten", "ReadTransactionCount", "WriteTransactionCount"}) {
        EXPECT_EQ(SumOf(targetResults, counter), Number(result, counter)) << counter;
      }
      const CScriptable& port = Child(PortOf(*worker), "StoragePortResults");
      EXPECT_EQ(Number(port, "AllTransactionCount"), all);
    }
    const CScriptable& profileResult = Child(profile, "StorageProfileResults");
    const CScriptable& project =
        Child(kel::framework::CProject::GetCurrentActiveInstance(), "StorageProjectResults");
    for (const char* counter : {"BytesRead", "BytesWritten", "AllTransactionCount"}) {
      EXPECT_EQ(Number(profileResult, counter), SumOf(workerResults, counter)) << counter;
      EXPECT_EQ(Number(project, counter), SumOf(workerResults, counter)) << counter;
    }
    EXPECT_NEAR(Number(project, "AvgIOPerSecond"), SumOf(workerResults, "AvgIOPerSecond"),
                1e-9 * Number(project, "AvgIOPerSecond"));
  }

  std::filesystem::path m_folder;
  long m_runs = 0;
};

TEST_F(StorageRealIoTest, ARandomReadThenASeventyThirtyMixOnTwoPortsAddUpAtEveryLevel) {
  const ScriptableVec workers = {&MakeWorkerOnNewPort("P1", "inproc://P1"), &MakeWorkerOnNewPort("P2", "inproc://P2")};
  for (CScriptable* worker : workers) worker->Set("OutstandingIOsPerTargetCount", "8");

  CScriptable& reads = RandomProfile(100);
  RunForASecond(workers, reads);
  ExpectConsistentFigures(workers, reads, 100);
  EXPECT_TRUE(std::filesystem::exists(m_folder / "P1.bin"));  // laid out by the first run

  CScriptable& mixed = RandomProfile(70);
  RunForASecond(workers, mixed);
  ExpectConsistentFigures(workers, mixed, 70);
  EXPECT_TRUE(Lines(kDeveloperLog, kel::framework::LOG_LEVEL_ERROR).empty());
}

}  // namespace
}  // namespace storageio_e2e
