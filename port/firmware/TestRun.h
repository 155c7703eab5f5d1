#pragma once
// TestRun: one running storage test: its timeline, its workers' loads and their figures.
//
// The timeline, from the moment the test starts (t0), with s the setup step and D the duration:
//   PreppingDisks  [t0, t0 + s)       StartingTest [t0 + s, t0 + 2s)
//   BeginningIO    [t0 + 2s, R)       I/O begins at t0 + 2s, recording at R = t0 + 3s
//   RecordingIO, Done25Percent, Done50Percent, Done75Percent: from R and then from R + D/4,
//   R + D/2 and R + 3D/4 on, until the end E = R + D.
// Done100Percent is the end itself, which the firmware reports once the workers have finished;
// PhaseAt never returns it, so a progress value sent while the test runs never ends it early.
//
// Figures are cumulative since R, over the recorded time min(now, E) - R (0 before R).
// Worker records come in the order the workers were given, target records worker by worker in
// the order of each worker's targets, with BllHandle the worker's handle and the target's
// BllHandle, and TargetName the target's name.

#include <cstdint>
#include <memory>
#include <vector>

#include "msg/BST_1.h"
#include "port/firmware/TargetLoad.h"

namespace storageio_port {

struct Timeline {
  std::int64_t startMs = 0;
  std::int64_t setupStepMs = 0;
  std::int64_t durationMs = 0;

  std::int64_t BeginIoMs() const { return startMs + 2 * setupStepMs; }
  std::int64_t RecordFromMs() const { return startMs + 3 * setupStepMs; }
  std::int64_t EndMs() const { return RecordFromMs() + durationMs; }
  LoadWindow Window() const;
};

struct WorkerLoad {
  unsigned handle = 0;
  std::vector<std::unique_ptr<TargetLoad>> targets;
};

class TestRun {
 public:
  TestRun(Timeline timeline, std::vector<WorkerLoad> workers);

  const Timeline& GetTimeline() const { return m_timeline; }
  BST_1_bll::TestStatus_t PhaseAt(std::int64_t nowMs) const;
  void AdvanceTo(std::int64_t nowMs);
  // The records as of `nowMs` (advance first), each with `state` as its ResultState.
  void Figures(std::int64_t nowMs, result_1_bll::EnumResultState state,
               std::vector<bst_1_bll::StorageWorkerResults_s>& workerResults,
               std::vector<bst_1_bll::StorageDiscoveredTargetResults_s>& targetResults) const;

 private:
  Timeline m_timeline;
  std::vector<WorkerLoad> m_workers;
};

}  // namespace storageio_port
