#include "port/firmware/TestRun.h"

#include <algorithm>

#include "port/firmware/Units.h"

namespace storageio_port {

using BST_1_bll::TestStatus_t;

LoadWindow Timeline::Window() const {
  return LoadWindow{static_cast<double>(BeginIoMs()), static_cast<double>(RecordFromMs()),
                    static_cast<double>(EndMs())};
}

TestRun::TestRun(Timeline timeline, std::vector<WorkerLoad> workers)
    : m_timeline(timeline), m_workers(std::move(workers)) {}

TestStatus_t TestRun::PhaseAt(std::int64_t nowMs) const {
  const std::int64_t sinceStart = nowMs - m_timeline.startMs;
  if (sinceStart < m_timeline.setupStepMs) return TestStatus_t::PreppingDisks;
  if (sinceStart < 2 * m_timeline.setupStepMs) return TestStatus_t::StartingTest;
  const std::int64_t recorded = nowMs - m_timeline.RecordFromMs();
  if (recorded < 0) return TestStatus_t::BeginningIO;
  // Quarters of the duration recorded, at most three while running.
  const std::int64_t quarters = m_timeline.durationMs > 0 ? std::min<std::int64_t>(3, 4 * recorded / m_timeline.durationMs) : 3;
  return static_cast<TestStatus_t>(static_cast<int>(TestStatus_t::RecordingIO) + quarters);
}

void TestRun::AdvanceTo(std::int64_t nowMs) {
  for (WorkerLoad& worker : m_workers) {
    for (const auto& target : worker.targets) target->AdvanceTo(static_cast<double>(nowMs));
  }
}

void TestRun::Figures(std::int64_t nowMs, result_1_bll::EnumResultState state,
                      std::vector<bst_1_bll::StorageWorkerResults_s>& workerResults,
                      std::vector<bst_1_bll::StorageDiscoveredTargetResults_s>& targetResults) const {
  const std::int64_t recordedMs =
      std::clamp(nowMs, m_timeline.RecordFromMs(), m_timeline.EndMs()) - m_timeline.RecordFromMs();
  const double recordedSeconds = static_cast<double>(recordedMs) / units::kMsPerSecond;
  const auto resultState = static_cast<unsigned char>(state);
  workerResults.clear();
  targetResults.clear();
  for (const WorkerLoad& worker : m_workers) {
    IoTally workerTally;
    for (const auto& target : worker.targets) {
      workerTally.Merge(target->Tally());
      bst_1_bll::StorageDiscoveredTargetResults_s record;
      record.StorageBaseResults =
          ToBaseResults(target->Tally(), recordedSeconds, result_1_bll::Result_s{resultState, target->Spec().BllHandle});
      record.TargetName = target->Spec().TargetName;
      targetResults.push_back(std::move(record));
    }
    bst_1_bll::StorageWorkerResults_s record;
    record.StorageBaseResults =
        ToBaseResults(workerTally, recordedSeconds, result_1_bll::Result_s{resultState, worker.handle});
    workerResults.push_back(std::move(record));
  }
}

}  // namespace storageio_port
