#include "port/firmware/LoopScheduler.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace storageio_port {

namespace {

std::int64_t SteadyNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

}  // namespace

LoopScheduler::LoopScheduler(Clock clock) : m_clock(clock), m_originNs(SteadyNs()) {}

std::int64_t LoopScheduler::NowMs() const {
  if (m_clock == Clock::Virtual) return m_virtualNowMs;
  return (SteadyNs() - m_originNs) / 1'000'000;
}

Scheduler::TimerId LoopScheduler::RunAfter(std::int64_t delayMs, std::function<void()> work) {
  if (delayMs < 0) throw std::invalid_argument("A timer cannot be due in the past (" + std::to_string(delayMs) + " ms)");
  if (!work) throw std::invalid_argument("A timer needs work to run");
  const TimerId id = m_nextId++;
  const std::int64_t dueMs = NowMs() + delayMs;
  m_timers.emplace(Key{dueMs, id}, std::move(work));
  m_dueOf.emplace(id, dueMs);
  return id;
}

void LoopScheduler::Cancel(TimerId timer) {
  const auto due = m_dueOf.find(timer);
  if (due == m_dueOf.end()) return;
  m_timers.erase(Key{due->second, timer});
  m_dueOf.erase(due);
}

void LoopScheduler::PostFromAnyThread(std::function<void()> work) {
  if (!work) throw std::invalid_argument("Posted work cannot be empty");
  {
    const std::lock_guard<std::mutex> lock(m_postedMutex);
    m_inbox.push_back(std::move(work));
  }
  m_posted.notify_one();
}

bool LoopScheduler::HasWork() const {
  const std::lock_guard<std::mutex> lock(m_postedMutex);
  return !m_inbox.empty() || !m_timers.empty();
}

bool LoopScheduler::RunPosted() {
  std::deque<std::function<void()>> posted;
  {
    const std::lock_guard<std::mutex> lock(m_postedMutex);
    posted.swap(m_inbox);
  }
  for (auto& work : posted) work();
  return !posted.empty();
}

void LoopScheduler::WaitUntil(std::int64_t dueMs) {
  if (m_clock == Clock::Virtual) {
    if (dueMs > m_virtualNowMs) m_virtualNowMs = dueMs;
    return;
  }
  std::unique_lock<std::mutex> lock(m_postedMutex);
  const auto deadline = std::chrono::steady_clock::time_point(std::chrono::nanoseconds(m_originNs)) +
                        std::chrono::milliseconds(dueMs);
  m_posted.wait_until(lock, deadline, [this] { return !m_inbox.empty(); });
}

bool LoopScheduler::RunOneUpTo(std::int64_t untilMs) {
  if (RunPosted()) return true;
  if (m_timers.empty() || m_timers.begin()->first.first > untilMs) return false;
  const std::int64_t dueMs = m_timers.begin()->first.first;
  if (dueMs > NowMs()) {
    WaitUntil(dueMs);
    return true;  // a post may have come first; look again
  }
  auto first = m_timers.begin();
  std::function<void()> work = std::move(first->second);
  m_dueOf.erase(first->first.second);
  m_timers.erase(first);
  work();
  return true;
}

void LoopScheduler::RunFor(std::int64_t ms) {
  if (ms < 0) throw std::invalid_argument("Cannot run for " + std::to_string(ms) + " ms");
  const std::int64_t untilMs = NowMs() + ms;
  for (;;) {
    if (RunOneUpTo(untilMs)) continue;
    if (NowMs() >= untilMs) return;
    WaitUntil(untilMs);
  }
}

void LoopScheduler::RunUntilIdle() {
  while (HasWork()) {
    const std::int64_t nextDueMs = m_timers.empty() ? NowMs() : m_timers.begin()->first.first;
    RunOneUpTo(std::max(nextDueMs, NowMs()));
  }
}

}  // namespace storageio_port
