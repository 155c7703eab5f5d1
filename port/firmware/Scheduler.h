#pragma once
// Scheduler: the clock and timers the firmware runs on. The firmware never reads a clock or
// starts a timer any other way, so it runs alike on the host's real clock and on its virtual
// clock, where a 60 s test takes milliseconds.
//
// Contract: NowMs never goes back. RunAfter runs `work` once, `delayMs` (>= 0) from now, on the
// firmware's thread and never inside the RunAfter call itself; timers due at the same time run
// in the order they were started; timer ids are never 0. Cancel forgets a timer that has not run; an id that ran, was
// cancelled or is unknown is ignored.

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
};

}  // namespace storageio_port
