#pragma once
// Ticker: calls a function every `intervalMs` on a Scheduler, from Start until Stop. Ticks keep to
// the grid of the start time (start + n * interval), so late ticks on a real clock do not drift.
//
// The tick function may Stop or Start its own ticker. Start while running starts again on a new
// grid. An interval of 0 starts nothing. Destroying the ticker stops it; it must not outlive its
// Scheduler.

#include <cstdint>
#include <functional>

#include "port/firmware/Scheduler.h"

namespace storageio_port {

class Ticker {
 public:
  explicit Ticker(Scheduler& scheduler) : m_scheduler(scheduler) {}
  ~Ticker() { Stop(); }
  Ticker(const Ticker&) = delete;
  Ticker& operator=(const Ticker&) = delete;

  // The first tick comes `intervalMs` (>= 0) from now.
  void Start(std::int64_t intervalMs, std::function<void()> tick);
  void Stop();
  bool IsRunning() const { return m_timer != 0; }

 private:
  void ScheduleNext();

  Scheduler& m_scheduler;
  std::function<void()> m_tick;
  std::int64_t m_intervalMs = 0;
  std::int64_t m_originMs = 0;
  std::int64_t m_ticks = 0;
  Scheduler::TimerId m_timer = 0;
};

}  // namespace storageio_port
