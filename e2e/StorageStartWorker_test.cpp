// Running a storage test through the loaded plug-in: learn first, apply, start, progress,
// statistics rolled up to the project, the end of the test; and the wait for ports that never
// answer.

#include <gmock/gmock.h>

#include <cmath>
#include <string>

#include "StorageIOE2ETest.h"
#include "kel/framework/Project.h"
#include "msg/BST_1.h"

namespace storageio_e2e {
namespace {

using ::testing::ElementsAre;
using kel::framework::CRunnable;
using kel::framework::LOG_LEVEL_ERROR;
using kel::framework::LOG_LEVEL_INFO;

constexpr unsigned kTransferBytes = 4096;  // the default profile: sequential 4096-byte reads, one in flight

// What the model's formula gives for one target of the default profile on the embedded port. The
// device serves one read after the other, each taking
//   s = latency * sequential share + 4096 B / (speed * 1000)   [ms],
// from the moment I/O begins, one setup step before recording; the reads that complete while the
// test records (from that setup step to the setup step plus the duration) are counted.
struct ModelTarget {
  double serviceMs = 0;
  double reads = 0;
};

ModelTarget SequentialReadsOnOneTarget(unsigned durationSeconds) {
  const storageio_port::InProcessSetup setup;
  ModelTarget model;
  model.serviceMs = setup.device.latencyMs * storageio_port::ModelEngine::kSequentialLatencyShare +
                    kTransferBytes / (setup.device.speedMBps * 1000);
  const double recordFromMs = static_cast<double>(setup.firmware.setupStepMs);
  const double endMs = recordFromMs + durationSeconds * 1000.0;
  model.reads = std::floor(endMs / model.serviceMs) - std::ceil(recordFromMs / model.serviceMs) + 1;
  return model;
}

double Number(const CScriptable& result, const char* name) { return std::stod(result.Get(name)); }

// A result object holding the plain sum of `targets` target loads of the model, whose latency
// averages and maxima are the sum of `averages` averages (every level sums the level below).
void ExpectModelFigures(const CScriptable& result, const ModelTarget& model, double seconds, int targets, int averages) {
  SCOPED_TRACE(result.GetClassName() + " " + result.GetName());
  const double reads = Number(result, "ReadTransactionCount");
  EXPECT_NEAR(reads, targets * model.reads, targets);  // a read may end either side of an edge
  EXPECT_EQ(Number(result, "AllTransactionCount"), reads);
  EXPECT_EQ(Number(result, "BytesRead"), reads * kTransferBytes);
  for (const char* zero : {"WriteTransactionCount", "BytesWritten", "ReadErrors", "WriteErrors", "ConnectionCount",
                           "AvgMBWritePerSecond", "AvgWriteLatency", "MaxWriteLatency"}) {
    EXPECT_EQ(Number(result, zero), 0) << zero;
  }

  const double relative = 1e-9;
  for (const char* rate : {"AvgIOPerSecond", "AvgTransactionsPerSecond", "AvgReadOperationsPerSecond"}) {
    EXPECT_NEAR(Number(result, rate), reads / seconds, relative * reads) << rate;
  }
  EXPECT_NEAR(Number(result, "AvgIOPerSecond"), targets * 1000 / model.serviceMs, targets * 2 / seconds);
  for (const char* rate : {"AvgMBps", "AvgMBReadPerSecond"}) {
    EXPECT_NEAR(Number(result, rate), reads * kTransferBytes / 1e6 / seconds, relative * reads) << rate;
  }
  for (const char* total : {"TotalReadLatency", "TotalTransactionLatency"}) {
    EXPECT_NEAR(Number(result, total), reads * model.serviceMs, 1e-6 * reads) << total;
  }
  for (const char* latency : {"AvgLatency", "AvgReadLatency", "AvgTransactionLatency", "MaxLatency", "MaxReadLatency",
                              "MaxTransactionLatency"}) {
    EXPECT_NEAR(Number(result, latency), averages * model.serviceMs, 1e-9) << latency;
  }
}

// The progress texts the user log showed for a port, each once, in order.
std::vector<std::string> Progress(const std::vector<std::string>& userLines, const std::string& port) {
  const std::string prefix = "Test on Status on " + port + ": ";
  std::vector<std::string> texts;
  for (const std::string& line : userLines) {
    if (line.rfind(prefix, 0) != 0) continue;
    const std::string text = line.substr(prefix.size());
    if (texts.empty() || texts.back() != text) texts.push_back(text);
  }
  return texts;
}

TEST_F(StorageIOE2ETest, StartWithLearnFirstRunsTheTestAndRollsTheModelsFiguresUpToTheProject) {
  constexpr unsigned kSeconds = 30;
  const ScriptableVec workers = {&MakeWorkerOnNewPort("Port 1"), &MakeWorkerOnNewPort("Port 2")};
  CScriptable& project = kel::framework::CProject::GetCurrentActiveInstance();
  Subscribe("StorageProjectResults", {&project});
  kel::framework::CCommand& start = MakeStart(workers, kSeconds, true);

  start.Execute(false);
  const std::int64_t startEndedMs = Loop().NowMs();
  Loop().RunFor(1000);  // each port's last progress value follows its answer to the start

  // The command lasted as long as the test: three setup steps, then the recorded duration.
  EXPECT_EQ(startEndedMs, 3 * storageio_port::InProcessSetup().firmware.setupStepMs + kSeconds * 1000);
  EXPECT_EQ(start.GetRunnableState(), CRunnable::STATE_COMPLETED);
  EXPECT_TRUE(Lines(kDeveloperLog, LOG_LEVEL_ERROR).empty());

  // Learned, related and applied: each port's firmware knows its worker and the worker's profile.
  const kel::framework::ClassId targetClass = ClassIdOf("StorageDiscoveredTargets");
  for (CScriptable* worker : workers) {
    SCOPED_TRACE(worker->GetName());
    ScriptableVec used;
    worker->GetObjects(used, targetClass, Relation("UsesTarget"));
    EXPECT_EQ(used, LearnedTargetsOf(*worker));
    EXPECT_EQ(used.size(), 2u);
    kel::core::CPort& port = PortOf(*worker);
    const CScriptable* profile = ProfileOf(*worker);
    ASSERT_NE(profile, nullptr);
    EXPECT_EQ(InProcess(port).Firmware().Workers().count(worker->GetHandle()), 1u);
    EXPECT_EQ(InProcess(port).Firmware().AccessSpecs().count(profile->GetHandle()), 1u);
    EXPECT_FALSE(InProcess(port).Firmware().IsTestRunning());
    // Notifications every 2 s (1 s per port): the setup phases pass before the first one.
    EXPECT_THAT(Progress(Lines(kUserLog, LOG_LEVEL_INFO), port.GetName()),
                ElementsAre("Recording statistics.", "25% Done.", "50% Done.", "75% Done."));
    EXPECT_EQ(Count(kUserLog, "Storage test on port" + port.GetName() + " has finished."), 1);
    EXPECT_TRUE(Enabled(*worker, "StorageStartWorkerCommand"));
    EXPECT_TRUE(Enabled(*worker, "StorageLearnTargetsCommand"));
    EXPECT_FALSE(Enabled(*worker, "StorageStopWorkerCommand"));
  }
  EXPECT_EQ(Count(kUserLog, kTestCompleted), 1);
  EXPECT_EQ(Lines(kUserLog, LOG_LEVEL_INFO).back(), kTestCompleted);

  // The figures at every level, from the model's formula.
  const ModelTarget model = SequentialReadsOnOneTarget(kSeconds);
  for (CScriptable* worker : workers) {
    ExpectModelFigures(Child(*worker, "StorageWorkerResults"), model, kSeconds, 2, 1);
    ExpectModelFigures(Child(PortOf(*worker), "StoragePortResults"), model, kSeconds, 2, 1);
    for (CScriptable* target : LearnedTargetsOf(*worker)) {
      ExpectModelFigures(Child(*target, "StorageDiscoveredTargetResults"), model, kSeconds, 1, 1);
    }
  }
  const CScriptable& profile = *ProfileOf(*workers[0]);
  ExpectModelFigures(Child(profile, "StorageProfileResults"), model, kSeconds, 4, 2);
  const CScriptable& projectResult = Child(project, "StorageProjectResults");
  ExpectModelFigures(projectResult, model, kSeconds, 4, 2);

  // The result view opened before the start heard of the project's figures while the test ran,
  // and last of the final ones.
  ASSERT_FALSE(Seen().empty());
  const std::string finalCount = projectResult.Get("AllTransactionCount");
  int whileRunning = 0;
  for (const SeenResult& seen : Seen()) {
    EXPECT_EQ(seen.handle, projectResult.GetHandle());
    const double count = std::stod(seen.values.at("AllTransactionCount"));
    if (seen.atMs < startEndedMs && count > 0 && count < std::stod(finalCount)) ++whileRunning;
  }
  EXPECT_GE(whileRunning, 10);  // a statistics notification every 2 s over 30 s
  EXPECT_EQ(Seen().back().values.at("AllTransactionCount"), finalCount);
}

TEST_F(StorageIOE2ETest, StartWaitsOnPortsThatNeverAnswerForItsBudgetThenLogsTheTimeOut) {
  const ScriptableVec workers = {&MakeWorkerOnNewPort("Silent 1", "silent"),
                                 &MakeWorkerOnNewPort("Silent 2", "silent")};
  kel::framework::CCommand& start = MakeStart(workers, 30, false);

  start.Execute(false);

  // Two ports: 2 x 50 yields of 5,000 ms, every one of them waited out.
  EXPECT_EQ(Loop().NowMs(), 2 * 50 * 5000);
  EXPECT_EQ(start.GetRunnableState(), CRunnable::STATE_COMPLETED);
  EXPECT_THAT(Lines(kDeveloperLog, LOG_LEVEL_ERROR),
              ElementsAre("StorageStartWorkerCommand: Timed out waiting for workers to complete."));
  std::vector<kel::core::CPort*> ports;
  for (CScriptable* worker : workers) {
    ports.push_back(&PortOf(*worker));
    EXPECT_THAT(Silent(*ports.back()).ReceivedNames(),
                ElementsAre("BST_1.RegisterTestStatusNotify", "BST_1.RegisterTestResults", "BST_1.StartTest"));
    // The ports still count as running a test: only stop may be run.
    EXPECT_FALSE(Enabled(*worker, "StorageStartWorkerCommand"));
    EXPECT_TRUE(Enabled(*worker, "StorageStopWorkerCommand"));
  }
  EXPECT_EQ(Count(kUserLog, kTestCompleted), 0);

  // The ports report the end of their tests at last.
  Message done;
  BST_1_port::create_notify_TestNotification(&done, BST_1_bll::TestStatus_t::Done100Percent, true);
  for (kel::core::CPort* port : ports) Silent(*port).Notify(done);
  Loop().RunFor(1000);
  EXPECT_EQ(Count(kUserLog, kTestCompleted), 1);
  EXPECT_TRUE(Enabled(*workers[0], "StorageStartWorkerCommand"));
  EXPECT_FALSE(Enabled(*workers[1], "StorageStopWorkerCommand"));
}

}  // namespace
}  // namespace storageio_e2e
