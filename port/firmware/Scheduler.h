#pragma once
// Scheduler: the clock and timers the firmware runs on. The firmware never reads a clock or
// starts a timer any other way, so it runs alike on a real clock and on a virtual one, where a
// 60 s test takes milliseconds.
//
// Contract: NowMs never goes back. RunAfter runs `work` once, `delayMs` (>= 0) from now, on the
// firmware's thread and never inside the RunAfter call itself; timers due at the same time run
// in the order they were started; timer ids are never 0. Cancel forgets a timer that has not run;
// an id that ran, was cancelled or is unknown is ignored.
//
// Threads: every call but PostFromAnyThread comes from the firmware's thread. PostFromAnyThread
// is how the firmware's own I/O threads hand work back to it: `work` runs on the firmware's
// thread as soon as it can, in posting order; a real-clock scheduler waiting for its next timer
// wakes for it.

#include <cstdint>
#include <functional>

namespace storageio_port {

class Scheduler {
 public:
  using TimerId = std::uint64_t;

  virtual ~Scheduler() = default;

  virtual std::int64_t NowMs() const = 0;
  virtual TimerId RunAfter(std::int64_t delayMs, std::function<void()> work) = 0;
  virtual void Cancel(TimerId timer) = 0;
  virtual void PostFromAnyThread(std::function<void()> work) = 0;
};

}  // namespace storageio_port
