#pragma once
// IoEngine: the narrow table of operations through which the firmware does I/O. The firmware
// decides what to read and write and when (see TargetLoad.h); an engine only carries it out, so a
// model, io_uring or any other engine plugs in without the firmware changing.
//
// Times are milliseconds on the firmware's clock (Scheduler::NowMs), as doubles so that
// sub-millisecond service times keep their precision.
//
// Contract:
// - Open(target) prepares one target for I/O and returns a handle for it. Each Open is a target
//   of its own (two opens of one target are two handles). Throws EngineError with a text naming
//   the target when it cannot be opened.
// - Submit(handle, request) queues one I/O. `issueMs` is when the firmware issues it; an engine
//   that does real I/O issues it now and may ignore the field. `isRandom` says how the firmware
//   chose the offset; engines that do not price accesses ignore it. A request beyond the target's
//   end completes with ok false. Throws EngineError for an unknown handle.
// - Reap(handle, untilMs, completions) appends the I/Os of that handle that have completed by
//   `untilMs`, in the order they completed, and forgets them. Throws EngineError for an unknown
//   handle.
// - Close(handle) drops the I/Os still in flight and forgets the handle; an unknown handle is
//   ignored, so closing twice is harmless.
// Threads: every call comes from the firmware's thread, the host's event loop when in-process.

#include <cstdint>
#include <stdexcept>
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
  std::uint64_t tag = 0;
  bool isRead = true;
  std::uint32_t length = 0;
  double completedMs = 0;
  double latencyMs = 0;  // from issue to completion
  bool ok = true;
};

class EngineError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class IoEngine {
 public:
  using TargetHandle = std::uint32_t;

  virtual ~IoEngine() = default;

  virtual TargetHandle Open(const TargetInfo& target) = 0;
  virtual void Submit(TargetHandle target, const IoRequest& request) = 0;
  virtual void Reap(TargetHandle target, double untilMs, std::vector<IoCompletion>& completions) = 0;
  virtual void Close(TargetHandle target) = 0;
};

}  // namespace storageio_port
