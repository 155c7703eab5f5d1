// The ports' statistics: worker and target results, their roll-up into profile, port and project
// results, and clearing them with the host's clear-results command.

#include <gmock/gmock.h>

#include "StorageDiscoveredTargetResults.h"
#include "StoragePortResults.h"
#include "StorageProfileResults.h"
#include "StorageProjectResults.h"
#include "StorageWorkerResults.h"
#include "test/StorageIORunTest.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr framework::PropId kMaxLatency = ids::props::StorageBaseResults::MaxLatency;

class StorageIOStatisticsTest : public StorageIORunTest {
 protected:
  // The host's clear-results command, run as a user runs it.
  static void ClearResults() {
    ProjectBuilder::Command clear = ProjectBuilder::MakeCommand("ClearResultsCommand");
    clear->Execute(false);
    EXPECT_EQ(framework::CRunnable::STATE_COMPLETED, clear->GetRunnableState());
  }
  static Figures ProjectFigures() { return FiguresOf(ResultOf<CStorageProjectResults>(project())); }
};

TEST_F(StorageIOStatisticsTest, EveryLevelHoldsThePlainSumOfTheLevelBelowMaximaIncluded) {
  core::CPort& port = MakePort("P1");
  CStorageWorkerConfig& w1 = MakeWorker(port, "W1");
  CStorageWorkerConfig& w2 = MakeWorker(port, "W2");
  CStorageWorkerProfile& fast = MakeProfile("Fast");
  UseProfile(w1, fast);
  UseProfile(w2, fast);
  CStorageDiscoveredTargets& target = MakeTarget(w1, "PhysicalDrive1");
  StartTest({&w1, &w2});

  Record r1 = RecordFor(w1.GetHandle(), 1);
  r1.MaxLatency = 3.0;
  Record r2 = RecordFor(w2.GetHandle(), 2);
  r2.MaxLatency = 5.0;
  const Record rt = RecordFor(target.GetHandle(), 100);
  // Records of objects of another class, or of no object, are skipped.
  SendStats(port, {r1, RecordFor(fast.GetHandle(), 7), RecordFor(0x7ffffff0, 7), r2},
            {rt, RecordFor(w1.GetHandle(), 9)});

  EXPECT_EQ(FiguresOf(r2), FiguresOf(ResultOf<CStorageWorkerResults>(w2)));
  EXPECT_EQ(8.0, ResultOf<CStorageProfileResults>(fast)->GetDouble(kMaxLatency));
  EXPECT_EQ(Sum({r1, r2}), FiguresOf(ResultOf<CStorageProfileResults>(fast)));
  EXPECT_EQ(Sum({r1, r2}), ProjectFigures());
  EXPECT_EQ(FiguresOf(rt), FiguresOf(ResultOf<CStorageDiscoveredTargetResults>(target))) << "targets roll up nowhere";
  EXPECT_EQ(nullptr, ResultOf<CStorageWorkerResults>(fast));
  EXPECT_EQ(nullptr, ResultOf<CStorageDiscoveredTargetResults>(w1));
  CStorageWorkerResults* w1Result = ResultOf<CStorageWorkerResults>(w1);
  EXPECT_TRUE(w1.ContainsObject(*w1Result, framework::RelationType(framework::relation::Result)));

  // The next notification rewrites the same objects; nothing accumulates over time.
  const Record r1Later = RecordFor(w1.GetHandle(), 4);
  SendStats(port, {r1Later});
  EXPECT_EQ(w1Result, ResultOf<CStorageWorkerResults>(w1));
  EXPECT_EQ(FiguresOf(r1Later), FiguresOf(w1Result));
  EXPECT_EQ(Sum({r1Later, r2}), FiguresOf(ResultOf<CStoragePortResults>(port)));
  EXPECT_EQ(Sum({r1Later, r2}), ProjectFigures());
}

// An inactive worker updates only its own result; a port counts the first worker of each device
// while profiles, and so the project, count every active worker.
TEST_F(StorageIOStatisticsTest, InactiveWorkersAndSharedDevicesCountOnlyWhereTheyShould) {
  core::CPort& port = MakePort("P1");
  auto& shared = As<core::CEmulatedDevice>(ProjectBuilder::Make("EmulatedDevice", &project()));
  shared.SetPort(&port);
  auto& first = As<CStorageWorkerConfig>(ProjectBuilder::Make("StorageWorkerConfig", &shared));
  auto& second = As<CStorageWorkerConfig>(ProjectBuilder::Make("StorageWorkerConfig", &shared));
  CStorageWorkerConfig& alone = MakeWorker(port, "Alone");
  CStorageWorkerConfig& inactive = MakeWorker(port, "Inactive");
  StartTest({&first, &second, &alone, &inactive});
  ProjectBuilder::Set(inactive, {{"Active", "false"}});

  const Record r1 = RecordFor(first.GetHandle(), 1);
  const Record r2 = RecordFor(second.GetHandle(), 2);
  const Record r3 = RecordFor(alone.GetHandle(), 4);
  const Record ri = RecordFor(inactive.GetHandle(), 8);
  SendStats(port, {r1, r2, r3, ri});
  EXPECT_EQ(FiguresOf(r2), FiguresOf(ResultOf<CStorageWorkerResults>(second)));
  EXPECT_EQ(FiguresOf(ri), FiguresOf(ResultOf<CStorageWorkerResults>(inactive)));
  EXPECT_EQ(Sum({r1, r2, r3}), FiguresOf(ResultOf<CStorageProfileResults>(*protocol().GetDefaultProfile())));
  EXPECT_EQ(Sum({r1, r3}), FiguresOf(ResultOf<CStoragePortResults>(port)));
  EXPECT_EQ(Sum({r1, r2, r3}), ProjectFigures()) << "the project sums profiles, not ports";
}

TEST_F(StorageIOStatisticsTest, TheProjectSumsEveryProfileResultAndNothingElse) {
  core::CPort& p1 = MakePort("P1");
  core::CPort& p2 = MakePort("P2");
  CStorageWorkerConfig& w1 = MakeWorker(p1, "W1");
  CStorageWorkerConfig& w2 = MakeWorker(p2, "W2");
  CStorageWorkerConfig& loner = MakeWorker(p1, "Without profile");
  CStorageWorkerProfile& a = MakeProfile("A");
  CStorageWorkerProfile& b = MakeProfile("B");
  UseProfile(w1, a);
  UseProfile(w2, b);
  loner.RemoveObject(*protocol().GetDefaultProfile(), framework::RelationType(kWorkerToProfile));
  StartTest({&w1, &w2, &loner});

  const Record r1 = RecordFor(w1.GetHandle(), 1);
  const Record rl = RecordFor(loner.GetHandle(), 16);
  SendStats(p1, {r1, rl});
  EXPECT_EQ(FiguresOf(rl), FiguresOf(ResultOf<CStorageWorkerResults>(loner)));
  EXPECT_EQ(Sum({r1, rl}), FiguresOf(ResultOf<CStoragePortResults>(p1)));
  EXPECT_EQ(FiguresOf(r1), ProjectFigures()) << "a worker without a profile adds nothing to the project";

  // Profile A is not touched by P2's statistics, yet its stored result still counts.
  const Record r2 = RecordFor(w2.GetHandle(), 2);
  SendStats(p2, {r2});
  EXPECT_EQ(FiguresOf(r1), FiguresOf(ResultOf<CStorageProfileResults>(a)));
  EXPECT_EQ(Sum({r1, r2}), ProjectFigures());
}

TEST_F(StorageIOStatisticsTest, ClearingIsRefusedWhileATestRunsAndZeroesEveryLevelAfterIt) {
  // Without workers there is nothing to clear, and nothing to warn about even during a test.
  framework::CScriptable& stray = ProjectBuilder::Make("StorageProjectResults", &project());
  stray.Set(kMaxLatency, 2.5);
  protocol().SetTestInProgress(true);
  ClearResults();
  protocol().SetTestInProgress(false);
  ClearResults();
  EXPECT_EQ(2.5, stray.GetDouble(kMaxLatency));
  EXPECT_THAT(m_log->Messages("user.StorageIO", framework::LOG_LEVEL_WARN), IsEmpty());

  core::CPort& port = MakePort("P1");
  CStorageWorkerConfig& worker = MakeWorker(port, "W1");
  CStorageDiscoveredTargets& target = MakeTarget(worker, "PhysicalDrive1");
  StartTest({&worker});
  SendStats(port, {RecordFor(worker.GetHandle(), 1)}, {RecordFor(target.GetHandle(), 2)});
  const std::vector<const framework::CScriptable*> results = {
      ResultOf<CStorageWorkerResults>(worker), ResultOf<CStorageDiscoveredTargetResults>(target),
      ResultOf<CStorageProfileResults>(*protocol().GetDefaultProfile()), ResultOf<CStoragePortResults>(port),
      ResultOf<CStorageProjectResults>(project())};
  std::vector<Figures> before;
  for (const framework::CScriptable* result : results) before.push_back(FiguresOf(result));
  ASSERT_THAT(before, Not(Contains(Figures{}))) << "every level has a result";
  m_log->Clear();

  ClearResults();
  EXPECT_THAT(m_log->Messages("user.StorageIO", framework::LOG_LEVEL_WARN),
              ElementsAre("StorageIO results cannot be cleared while the StorageIO test is in progress."));
  for (std::size_t i = 0; i < results.size(); ++i) EXPECT_EQ(before[i], FiguresOf(results[i])) << i;

  EndTest({&port});
  ClearResults();
  EXPECT_EQ(results[0], ResultOf<CStorageWorkerResults>(worker)) << "cleared results stay in place";
  for (const framework::CScriptable* result : results) EXPECT_EQ(Figures(30, 0.0), FiguresOf(result));
  EXPECT_EQ(1u, m_log->Messages("user.StorageIO", framework::LOG_LEVEL_WARN).size());
}

}  // namespace
}  // namespace storageio
}  // namespace kel
