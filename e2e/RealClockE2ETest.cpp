#include "RealClockE2ETest.h"

#include <unistd.h>

#include <vector>

#include "kel/framework/Project.h"
#include "port/engines/IoUringEngine.h"

namespace storageio_e2e {

namespace {

double Number(const CScriptable& result, const char* name) { return std::stod(result.Get(name)); }

// The plain sum of a result of every object in `parts`.
double SumOf(const std::vector<const CScriptable*>& parts, const char* name) {
  double sum = 0;
  for (const CScriptable* part : parts) sum += Number(*part, name);
  return sum;
}

}  // namespace

void RealClockE2ETest::SetUp() {
  StorageIOE2ETest::SetUp();
  const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
  m_folder = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "real_clock_scratch" /
             (std::string(test->name()) + "." + std::to_string(::getpid()));
  std::filesystem::remove_all(m_folder);
  std::filesystem::create_directories(m_folder);
  Loop().SetClockMode(kel::framework::CTaskManager::ClockMode::Real);
}

void RealClockE2ETest::TearDown() {
  StorageIOE2ETest::TearDown();
  std::error_code ignored;
  std::filesystem::remove_all(m_folder, ignored);
}

bool RealClockE2ETest::IoUringWorks() {
  try {
    storageio_port::IoUringEngine probe;
    return true;
  } catch (const storageio_port::EngineError&) {
    return false;
  }
}

CScriptable& RealClockE2ETest::RandomProfile(unsigned readPercent) {
  return AddProfile("Random " + std::to_string(readPercent) + "% reads",
                    {{"TransferRequestSize", "4096"},
                     {"PercentRandomDistribution", "100"},
                     {"PercentReadDistribution", std::to_string(readPercent)}});
}

void RealClockE2ETest::RunForASecond(const ScriptableVec& workers, CScriptable& profile) {
  for (CScriptable* worker : workers) {
    if (CScriptable* old = ProfileOf(*worker)) {
      worker->RemoveObject(*old, Relation("UsesProfile"));
    }
    ASSERT_TRUE(worker->AddObject(profile, Relation("UsesProfile")));
  }
  kel::framework::CCommand& start = MakeStart(workers, 1, true);
  start.Execute(false);
  Loop().RunFor(300);  // each port's last progress value follows its answer to the start
  EXPECT_EQ(Count(kUserLog, kTestCompleted), ++m_runs);
}

void RealClockE2ETest::ExpectConsistentFigures(const ScriptableVec& workers, const CScriptable& profile,
                                               unsigned readPercent) {
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
    for (CScriptable* target : LearnedTargetsOf(*worker)) {
      targetResults.push_back(&Child(*target, "StorageDiscoveredTargetResults"));
    }
    ASSERT_EQ(targetResults.size(), 1u);
    for (const char* counter : {"BytesRead", "BytesWritten", "ReadTransactionCount", "WriteTransactionCount"}) {
      EXPECT_EQ(SumOf(targetResults, counter), Number(result, counter)) << counter;
    }
    EXPECT_EQ(Number(Child(PortOf(*worker), "StoragePortResults"), "AllTransactionCount"), all);
  }
  const CScriptable& profileResult = Child(profile, "StorageProfileResults");
  const CScriptable& project = Child(kel::framework::CProject::GetCurrentActiveInstance(), "StorageProjectResults");
  for (const char* counter : {"BytesRead", "BytesWritten", "AllTransactionCount"}) {
    EXPECT_EQ(Number(profileResult, counter), SumOf(workerResults, counter)) << counter;
    EXPECT_EQ(Number(project, counter), SumOf(workerResults, counter)) << counter;
  }
  EXPECT_NEAR(Number(project, "AvgIOPerSecond"), SumOf(workerResults, "AvgIOPerSecond"),
              1e-9 * Number(project, "AvgIOPerSecond"));
}

}  // namespace storageio_e2e
