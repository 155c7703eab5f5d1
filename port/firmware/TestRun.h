#pragma once
// TestRun: one running storage test: its timeline, its workers' loads and their figures.
//
// The timeline, from the moment the test starts (t0), with s the setup step and D the duration:
//   PreppingDisks  [t0, P)            until every target is laid out (P = t0 + s when none needs it)
//   StartingTest   [P, P + s)
//   BeginningIO    [P + s, R)         I/O begins at P + s, a warm-up that is not recorded
//   RecordingIO, Done25Percent, Done50Percent, Done75Percent: from R = P + 2s and then from
//   R + D/4, R + D/2 and R + 3D/4 on, until the end E = R + D.
// Done100Percent is the end itself, which the firmware reports once the workers have finished;
// PhaseAt never returns it, so a progress value sent while the test runs never ends it early.
//
// Who drives the loads follows the engine's pace: computed, the firmware's timer calls AdvanceTo;
// real, I/O threads of their own run from BeginIo until Stop (IoThreads.h).
//
// Figures are cumulative since R, over the time each worker recorded (0 before R, at most D).
// Worker records come in the order the workers were given, target records worker by worker in
// the order of each worker's targets, with BllHandle the worker's handle and the target's
// BllHandle, and TargetName the target's name. A worker's record and its targets' records come
// from one snapshot of its tallies, so they add up exactly.
//
// Threads: the firmware's thread, but for the sinks of StartLayout and BeginIo (see LayoutThread.h
// and IoThreads.h).

#include <cstdint>
#include <memory>
#include <vector>

#include "msg/BST_1.h"
#include "port/engines/IoEngine.h"
#include "port/firmware/IoThreads.h"
#include "port/firmware/LayoutThread.h"
#include "port/firmware/TallyBoard.h"
#include "port/firmware/WorkerLoad.h"

namespace storageio_port {

struct Timeline {
  static constexpr std::int64_t kNotPrepared = -1;

  std::int64_t startMs = 0;
  std::int64_t setupStepMs = 0;
  std::int64_t durationMs = 0;
  std::int64_t preparedMs = kNotPrepared;

  std::int64_t BeginIoMs() const { return preparedMs + setupStepMs; }
  std::int64_t RecordFromMs() const { return preparedMs + 2 * setupStepMs; }
  std::int64_t EndMs() const { return RecordFromMs() + durationMs; }
};

class TestRun {
 public:
  // `engines` must outlive the run.
  TestRun(Timeline timeline, std::vector<WorkerPlan> workers, const IoEngineFactory& engines);
  // Stops the I/O threads, if any.
  ~TestRun();

  const Timeline& GetTimeline() const { return m_timeline; }
  const std::vector<WorkerPlan>& Workers() const { return m_workers; }
  BST_1_bll::TestStatus_t PhaseAt(std::int64_t nowMs) const;

  // The files the run's targets stand on, each once: what PreppingDisks lays out.
  std::vector<std::shared_ptr<ResolvedTarget>> FilesToLayOut() const;
  // Lays them out on a thread of its own (LayoutThread.h); stopping or destroying the run
  // cancels it.
  void StartLayout(LayoutThread::Done onDone);
  // PreppingDisks ends at `nowMs`.
  void Prepared(std::int64_t nowMs);
  // I/O begins at `nowMs`, the timeline's BeginIoMs: loads opened now on this thread, or I/O
  // threads started, which write to `log` and keep the timeline carried over to MonotonicMs(), so
  // that they record exactly while the firmware's clock says RecordingIO. A failure of the
  // computed loads throws; one on an I/O thread goes to `onFailure`.
  void BeginIo(std::int64_t nowMs, PortLog log, IoThreads::FailureSink onFailure);
  // Computed pace: moves the loads on to `nowMs`. Real pace: nothing, the threads run themselves.
  void AdvanceTo(std::int64_t nowMs);
  // Ends the I/O; the boards then hold the last tallies. Idempotent.
  void Stop();

  // The records as of the last tallies posted (advance first), each with `state` as its ResultState.
  void Figures(result_1_bll::EnumResultState state, std::vector<bst_1_bll::StorageWorkerResults_s>& workerResults,
               std::vector<bst_1_bll::StorageDiscoveredTargetResults_s>& targetResults) const;

 private:
  Timeline m_timeline;
  const std::vector<WorkerPlan> m_workers;
  const IoEngineFactory& m_engines;
  std::vector<std::unique_ptr<TallyBoard>> m_boards;
  std::vector<std::unique_ptr<WorkerLoad>> m_computedLoads;
  std::unique_ptr<LayoutThread> m_layout;
  std::unique_ptr<IoThreads> m_ioThreads;
};

}  // namespace storageio_port
