// Stopping a storage test through the loaded plug-in while the start command waits: every port
// ended, nothing to stop, and a port that goes offline and comes back mid-test.

#include <gmock/gmock.h>

#include "StorageIOE2ETest.h"

namespace storageio_e2e {
namespace {

using ::testing::ElementsAre;
using kel::framework::CRunnable;
using kel::framework::LOG_LEVEL_ERROR;
using kel::framework::LOG_LEVEL_INFO;

const char* const kNothingToStop = "There is no test running.Skipping stop";
const char* const kStartTimedOut = "StorageStartWorkerCommand: Timed out waiting for workers to complete.";

std::string Finished(const kel::core::CPort& port) { return "Storage test on port" + port.GetName() + " has finished."; }

TEST_F(StorageIOE2ETest, StopMidTestEndsEveryPortAndAStopWithNothingRunningOnlyLogsItsLine) {
  const ScriptableVec workers = {&MakeWorkerOnNewPort("Port 1"), &MakeWorkerOnNewPort("Port 2")};
  kel::framework::CCommand& start = MakeStart(workers, 60, true);
  kel::framework::CCommand& stop = MakeCommand("StorageStopWorkerCommand");
  At(10000, [&] {
    for (CScriptable* worker : workers) EXPECT_TRUE(InProcess(PortOf(*worker)).Firmware().IsTestRunning());
    stop.Execute(false);
    EXPECT_EQ(Loop().NowMs(), 10000);  // both ports answered at once
    for (CScriptable* worker : workers) {
      EXPECT_FALSE(InProcess(PortOf(*worker)).Firmware().IsTestRunning());
      EXPECT_EQ(Count(kUserLog, Finished(PortOf(*worker))), 1);
      EXPECT_TRUE(Enabled(*worker, "StorageStartWorkerCommand"));
      EXPECT_FALSE(Enabled(*worker, "StorageStopWorkerCommand"));
    }
    EXPECT_EQ(Count(kUserLog, kTestCompleted), 1);
  });

  start.Execute(false);

  // The ports' answers to the start came with the stop, so the start ended then too.
  EXPECT_EQ(Loop().NowMs(), 10000);
  EXPECT_EQ(stop.GetRunnableState(), CRunnable::STATE_COMPLETED);
  EXPECT_EQ(start.GetRunnableState(), CRunnable::STATE_COMPLETED);
  EXPECT_TRUE(Lines(kDeveloperLog, LOG_LEVEL_ERROR).empty());
  EXPECT_EQ(Lines(kUserLog, LOG_LEVEL_INFO).back(), kTestCompleted);
  // Stopped ports send nothing more: no progress value, no figures.
  const std::size_t records = Log().Records().size();
  Loop().RunFor(60000);
  EXPECT_EQ(Log().Records().size(), records);

  stop.Execute(false);
  EXPECT_EQ(Loop().NowMs(), 70000);  // nothing sent, nothing waited for
  EXPECT_THAT(Log().Messages(kStopUserLog, LOG_LEVEL_INFO), ElementsAre(kNothingToStop));
  EXPECT_EQ(Count(kUserLog, kTestCompleted), 1);
}

TEST_F(StorageIOE2ETest, APortOfflineMidTestLosesItsTargetsAndIsStoppedOnceItIsBack) {
  const ScriptableVec workers = {&MakeWorkerOnNewPort("Port 1"), &MakeWorkerOnNewPort("Port 2")};
  kel::core::CPort& online = PortOf(*workers[0]);
  kel::core::CPort& lost = PortOf(*workers[1]);
  kel::framework::CCommand& start = MakeStart(workers, 60, true);
  kel::framework::CCommand& stop = MakeCommand("StorageStopWorkerCommand");

  // The host hears of a link's change on the event loop, after the transport reports it.
  At(10000, [&] { InProcess(lost).SetConnected(false); });
  At(11000, [&] {
    EXPECT_FALSE(lost.IsOnline());
    EXPECT_TRUE(LearnedTargetsOf(*workers[1]).empty());
    EXPECT_EQ(LearnedTargetsOf(*workers[0]).size(), 2u);
  });
  At(12000, [&] {
    stop.Execute(false);
    EXPECT_FALSE(InProcess(online).Firmware().IsTestRunning());
    EXPECT_TRUE(InProcess(lost).Firmware().IsTestRunning());
    const std::string unsent = "StorageStartWorkerCommand: Received error response trying to send message to port Port 2";
    EXPECT_THAT(Lines(kDeveloperLog, LOG_LEVEL_ERROR), ElementsAre(unsent + ".Skipping port."));
    EXPECT_THAT(Log().Messages(kStopUserLog, LOG_LEVEL_ERROR), ElementsAre(unsent + ".Skipping the port."));
    EXPECT_EQ(Count(kUserLog, Finished(online)), 1);
    EXPECT_EQ(Count(kUserLog, Finished(lost)), 0);
    EXPECT_EQ(Count(kUserLog, kTestCompleted), 0);
  });
  At(20000, [&] { InProcess(lost).SetConnected(true); });
  At(20500, [&] {
    EXPECT_TRUE(lost.IsOnline());
    EXPECT_TRUE(InProcess(lost).Firmware().IsTestRunning());
  });
  At(21000, [&] {
    stop.Execute(false);
    EXPECT_FALSE(InProcess(lost).Firmware().IsTestRunning());
    EXPECT_EQ(Count(kUserLog, Finished(lost)), 1);
    EXPECT_EQ(Count(kUserLog, kTestCompleted), 1);
    for (CScriptable* worker : workers) EXPECT_TRUE(Enabled(*worker, "StorageStartWorkerCommand"));
  });

  start.Execute(false);

  // The lost port's answer to the start was dropped with the link, so the start waited it out.
  EXPECT_EQ(start.GetRunnableState(), CRunnable::STATE_COMPLETED);
  EXPECT_EQ(Count(kDeveloperLog, kStartTimedOut), 1);
  EXPECT_GT(Loop().NowMs(), 21000);
  EXPECT_EQ(Count(kUserLog, kTestCompleted), 1);
}

}  // namespace
}  // namespace storageio_e2e
