#pragma once
// IoThreads: the I/O threads of a test run on an engine of real pace, one per worker. Each makes
// its engine and opens its targets on its own thread, then runs rounds until its window ends or a
// stop is asked for, posting its tallies to its board after every round; completions refill the
// queue at once, so it stays full.
//
// Every worker shares one window on MonotonicMs(), the run's timeline carried over to that clock.
//
// Failures (the engine cannot be made, a target cannot be opened, an engine error mid-test) end
// that worker's I/O and are reported through `onFailure` on the failing thread, with a text that
// names the worker; the other workers go on.
//
// The threads are named "storageio-io". When a worker's I/O ends, its thread logs the CPU time it
// used while recording, user and system, and what that comes to per million I/Os: the tool's own
// cost per I/O, which is what sets the pace on targets faster than the CPU.

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "port/engines/IoEngine.h"
#include "port/firmware/PortLog.h"
#include "port/firmware/TallyBoard.h"
#include "port/firmware/WorkerLoad.h"

namespace storageio_port {

class IoThreads {
 public:
  using FailureSink = std::function<void(const std::string& why)>;

  // `plans`, `engines` and `boards` (one per plan, in order) must outlive the threads.
  IoThreads(const std::vector<WorkerPlan>& plans, const IoEngineFactory& engines,
            const std::vector<std::unique_ptr<TallyBoard>>& boards, const LoadWindow& window, PortLog log,
            FailureSink onFailure);
  // Stops and waits for the threads.
  ~IoThreads();
  IoThreads(const IoThreads&) = delete;
  IoThreads& operator=(const IoThreads&) = delete;

  // Asks every thread to end its I/O and waits until each has drained and closed its targets and
  // posted its last tallies. Idempotent.
  void Stop();

 private:
  void Run(const WorkerPlan& plan, const IoEngineFactory& engines, TallyBoard& board, LoadWindow window);

  std::atomic<bool> m_stop{false};
  const PortLog m_log;
  const FailureSink m_onFailure;
  std::vector<std::thread> m_threads;
};

}  // namespace storageio_port
