#pragma once
// WorkerLoad: one worker's loads on its targets, over an engine of its own, and the board where
// their tallies are posted. It is built, driven and destroyed on one thread: the firmware's for an
// engine of computed pace, the worker's I/O thread for an engine of real pace.

#include <cstdint>
#include <memory>
#include <vector>

#include "msg/BST_1.h"
#include "port/engines/IoEngine.h"
#include "port/firmware/TallyBoard.h"
#include "port/firmware/TargetLoad.h"

namespace storageio_port {

// What a worker runs, as StartTest found it: checked, nothing opened yet.
struct WorkerPlan {
  struct Target {
    const TargetInfo* info;  // one of the port's targets; the firmware's configuration owns it
    BST_1_bll::TargetSpec_s spec;
  };
  unsigned handle = 0;
  bst_1_bll::StorageWorkerProfile_s profile;
  std::vector<Target> targets;
};

class WorkerLoad {
 public:
  // The longest a real-pace round waits for a completion, so that a stop is seen soon even when a
  // device hangs.
  static constexpr double kLongestWaitMs = 50;

  // Opens every target (throws what TargetLoad throws; what was opened is closed again). The
  // board must hold one tally per target of the plan and outlive the load.
  WorkerLoad(const WorkerPlan& plan, std::unique_ptr<IoEngine> engine, IoEngine::Pace pace, const LoadWindow& window,
             TallyBoard& board);

  // Computed pace: moves every load on to `nowMs` and posts the tallies.
  void AdvanceTo(double nowMs);
  // Real pace: one round at `nowMs` (MonotonicMs): issue what is due, reap, waiting at most until
  // the next issue is due, hand out the completions and post the tallies. False once the window
  // has ended.
  bool RunRound(double nowMs);
  // Posts the tallies as of `nowMs`.
  void Post(double nowMs);

 private:
  void HandOut();

  std::unique_ptr<IoEngine> m_engine;
  const LoadWindow m_window;
  TallyBoard& m_board;
  std::vector<std::unique_ptr<TargetLoad>> m_loads;
  std::vector<IoCompletion> m_reaped;
  std::vector<IoTally> m_tallies;
};

}  // namespace storageio_port
