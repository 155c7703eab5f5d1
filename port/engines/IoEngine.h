#pragma once
// IoEngine: the narrow table of operations through which the firmware does I/O. The firmware
// decides what to read and write and when (TargetLoad.h); an engine only carries it out, so the
// model engine, the io_uring engine or any other plugs in without the firmware changing.
//
// One engine instance serves one worker: the firmware makes one per worker from the port's
// IoEngineFactory, and all calls on an instance (so all calls for one of its handles) come from
// one thread: the firmware's own for an engine of computed pace, the worker's I/O thread for an
// engine of real pace.
//
// Times are milliseconds as doubles, so that sub-millisecond latencies keep their precision: on
// the firmware's clock (Scheduler::NowMs) for computed pace, on MonotonicMs() for real pace.
//
// Contract:
// - Open(target, forWrites) prepares one target for I/O and returns a handle for it. Each Open is
//   a target of its own (two opens of one target are two handles). Throws EngineError with a text
//   naming the target when it cannot be opened.
// - Submit(handle, request) queues one I/O; it need not reach the device before the next Reap.
//   `issueMs` is when the firmware issues it: an engine of computed pace starts it then, an engine
//   of real pace ignores it and measures the latency from just before the system call that hands
//   the I/O to the device. `isRandom` says how the firmware chose the offset; engines that do not
//   price accesses ignore it. A request beyond the target's end completes with ok false. Throws
//   EngineError for an unknown handle.
// - Reap(untilMs, completions) hands what was queued to the device and appends the I/Os that have
//   completed, of every handle, each handle's in the order they completed, and forgets them.
//   Computed pace: those complete by `untilMs`, at once. Real pace: when none has completed yet,
//   waits for the first, or until `untilMs` has come, whichever is first; with nothing in flight it
//   waits until `untilMs`.
// - Close(handle) waits for the I/Os of the handle still in flight without reporting them, and
//   forgets the handle; an unknown handle is ignored, so closing twice is harmless.

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "port/engines/TargetInfo.h"

namespace storageio_port {

struct IoRequest {
  std::uint64_t tag = 0;     // the firmware's own number for the I/O, handed back on completion
  std::uint64_t offset = 0;  // bytes from the start of the target
  std::uint32_t length = 0;  // bytes
  bool isRead = true;
  bool isRandom = false;
  double issueMs = 0;
};

struct IoCompletion {
  std::uint32_t handle = 0;
  std::uint64_t tag = 0;
  bool isRead = true;
  std::uint32_t length = 0;
  double completedMs = 0;
  double latencyMs = 0;  // from issue to completion
  bool ok = true;        // false: an error, or fewer bytes than asked for
};

class EngineError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class IoEngine {
 public:
  using TargetHandle = std::uint32_t;

  // How the firmware drives the loads of an engine.
  enum class Pace {
    Computed,  // completions are computed on the firmware's clock; loads advance on its timer
    Real,      // real I/O: each worker's loads run on an I/O thread, refilled on every completion
  };

  virtual ~IoEngine() = default;

  virtual TargetHandle Open(const TargetInfo& target, bool forWrites) = 0;
  virtual void Submit(TargetHandle target, const IoRequest& request) = 0;
  virtual void Reap(double untilMs, std::vector<IoCompletion>& completions) = 0;
  virtual void Close(TargetHandle target) = 0;
};

// Makes the engines of one port, one per worker. Make is called on the thread that will use the
// engine; it throws EngineError when the engine cannot be set up there (a kernel without
// io_uring, say), with a text that says why.
class IoEngineFactory {
 public:
  virtual ~IoEngineFactory() = default;

  virtual IoEngine::Pace GetPace() const = 0;
  // A short name for logs and command lines: "model", "io_uring".
  virtual std::string Name() const = 0;
  virtual std::unique_ptr<IoEngine> Make() const = 0;
};

}  // namespace storageio_port
