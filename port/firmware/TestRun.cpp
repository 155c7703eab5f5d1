#include "port/firmware/TestRun.h"

#include <algorithm>

#include "port/firmware/MonotonicClock.h"
#include "port/firmware/Units.h"

namespace storageio_port {

using BST_1_bll::TestStatus_t;

TestRun::TestRun(Timeline timeline, std::vector<WorkerPlan> workers, const IoEngineFactory& engines)
    : m_timeline(timeline), m_workers(std::move(workers)), m_engines(engines) {
  for (const WorkerPlan& worker : m_workers) m_boards.push_back(std::make_unique<TallyBoard>(worker.targets.size()));
}

TestRun::~TestRun() { Stop(); }

TestStatus_t TestRun::PhaseAt(std::int64_t nowMs) const {
  if (m_timeline.preparedMs == Timeline::kNotPrepared) return TestStatus_t::PreppingDisks;
  if (nowMs < m_timeline.BeginIoMs()) return TestStatus_t::StartingTest;
  const std::int64_t recorded = nowMs - m_timeline.RecordFromMs();
  if (recorded < 0) return TestStatus_t::BeginningIO;
  // Quarters of the duration recorded, at most three while running.
  const std::int64_t quarters =
      m_timeline.durationMs > 0 ? std::min<std::int64_t>(3, 4 * recorded / m_timeline.durationMs) : 3;
  return static_cast<TestStatus_t>(static_cast<int>(TestStatus_t::RecordingIO) + quarters);
}

std::vector<std::shared_ptr<ResolvedTarget>> TestRun::FilesToLayOut() const {
  std::vector<std::shared_ptr<ResolvedTarget>> files;
  for (const WorkerPlan& worker : m_workers) {
    for (const WorkerPlan::Target& target : worker.targets) {
      const std::shared_ptr<ResolvedTarget>& device = target.info->device;
      if (device && device->kind == TargetKind::File && std::find(files.begin(), files.end(), device) == files.end()) {
        files.push_back(device);
      }
    }
  }
  return files;
}

void TestRun::StartLayout(LayoutThread::Done onDone) {
  m_layout = std::make_unique<LayoutThread>(FilesToLayOut(), std::move(onDone));
}

void TestRun::Prepared(std::int64_t nowMs) {
  m_layout.reset();
  m_timeline.preparedMs = nowMs;
}

void TestRun::BeginIo(std::int64_t nowMs, PortLog log, IoThreads::FailureSink onFailure) {
  const LoadWindow window{static_cast<double>(m_timeline.BeginIoMs()), static_cast<double>(m_timeline.RecordFromMs()),
                          static_cast<double>(m_timeline.EndMs())};
  if (m_engines.GetPace() == IoEngine::Pace::Real) {
    const double toMonotonicMs = MonotonicMs() - static_cast<double>(nowMs);
    const LoadWindow monotonic{window.beginIoMs + toMonotonicMs, window.recordFromMs + toMonotonicMs,
                               window.endMs + toMonotonicMs};
    m_ioThreads = std::make_unique<IoThreads>(m_workers, m_engines, m_boards, monotonic, std::move(log),
                                              std::move(onFailure));
    return;
  }
  for (std::size_t i = 0; i < m_workers.size(); ++i) {
    m_computedLoads.push_back(
        std::make_unique<WorkerLoad>(m_workers[i], m_engines.Make(), IoEngine::Pace::Computed, window, *m_boards[i]));
  }
}

void TestRun::AdvanceTo(std::int64_t nowMs) {
  for (const auto& load : m_computedLoads) load->AdvanceTo(static_cast<double>(nowMs));
}

void TestRun::Stop() {
  m_layout.reset();
  if (m_ioThreads) m_ioThreads->Stop();
}

void TestRun::Figures(result_1_bll::EnumResultState state,
                      std::vector<bst_1_bll::StorageWorkerResults_s>& workerResults,
                      std::vector<bst_1_bll::StorageDiscoveredTargetResults_s>& targetResults) const {
  const auto resultState = static_cast<unsigned char>(state);
  workerResults.clear();
  targetResults.clear();
  for (std::size_t w = 0; w < m_workers.size(); ++w) {
    const WorkerPlan& worker = m_workers[w];
    const TallySnapshot snapshot = m_boards[w]->Read();
    const double recordedSeconds = snapshot.recordedMs / units::kMsPerSecond;
    IoTally workerTally;
    for (std::size_t t = 0; t < worker.targets.size(); ++t) {
      const BST_1_bll::TargetSpec_s& spec = worker.targets[t].spec;
      workerTally.Merge(snapshot.targets[t]);
      bst_1_bll::StorageDiscoveredTargetResults_s record;
      record.StorageBaseResults =
          ToBaseResults(snapshot.targets[t], recordedSeconds, result_1_bll::Result_s{resultState, spec.BllHandle});
      record.TargetName = spec.TargetName;
      targetResults.push_back(std::move(record));
    }
    bst_1_bll::StorageWorkerResults_s record;
    record.StorageBaseResults =
        ToBaseResults(workerTally, recordedSeconds, result_1_bll::Result_s{resultState, worker.handle});
    workerResults.push_back(std::move(record));
  }
}

}  // namespace storageio_port
