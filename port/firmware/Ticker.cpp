#include "port/firmware/Ticker.h"

#include <algorithm>

namespace storageio_port {

void Ticker::Start(std::int64_t intervalMs, std::function<void()> tick) {
  Stop();
  if (intervalMs <= 0) return;
  m_tick = std::move(tick);
  m_intervalMs = intervalMs;
  m_originMs = m_scheduler.NowMs();
  m_ticks = 0;
  ScheduleNext();
}

void Ticker::Stop() {
  if (m_timer != 0) m_scheduler.Cancel(m_timer);
  m_timer = 0;
}

void Ticker::ScheduleNext() {
  const std::int64_t dueMs = m_originMs + (m_ticks + 1) * m_intervalMs;
  m_timer = m_scheduler.RunAfter(std::max<std::int64_t>(0, dueMs - m_scheduler.NowMs()), [this] {
    const Scheduler::TimerId fired = m_timer;
    ++m_ticks;
    // Copied, so a tick that starts this ticker again with another function stays alive.
    const std::function<void()> tick = m_tick;
    tick();
    // Still the same run (the tick neither stopped nor restarted the ticker): go on.
    if (m_timer == fired) ScheduleNext();
  });
}

}  // namespace storageio_port
