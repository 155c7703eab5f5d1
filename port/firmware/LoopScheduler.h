#pragma once
// LoopScheduler: a Scheduler with an event loop of its own, for a port that runs without the host:
// port tests on its virtual clock, a standalone agent on the real one.
//
// The loop runs only inside RunFor and RunUntilIdle, on the calling thread, which thereby is the
// firmware's thread. Timers run by due time, then by the order they were started; work posted
// from any thread runs, in posting order, before the next timer is looked at. On the virtual
// clock nothing waits: time jumps to the next timer. On the real clock the loop sleeps until the
// next timer or the next post, whichever comes first.
//
// An exception that leaves a timer's work is not caught: it leaves RunFor, as in a test it should.

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <utility>

#include "port/firmware/Scheduler.h"

namespace storageio_port {

class LoopScheduler : public Scheduler {
 public:
  enum class Clock { Virtual, Real };

  explicit LoopScheduler(Clock clock);

  std::int64_t NowMs() const override;
  // Throws std::invalid_argument for a negative delay or empty work.
  TimerId RunAfter(std::int64_t delayMs, std::function<void()> work) override;
  void Cancel(TimerId timer) override;
  // Throws std::invalid_argument for empty work.
  void PostFromAnyThread(std::function<void()> work) override;

  // Runs what falls due in the next `ms` (>= 0) of the clock; work due exactly at the end runs.
  void RunFor(std::int64_t ms);
  // Runs until no timer is left and nothing is posted; on the real clock this waits for timers.
  void RunUntilIdle();
  // Whether a timer is waiting or work has been posted.
  bool HasWork() const;

 private:
  using Key = std::pair<std::int64_t, TimerId>;  // due time, then start order

  // Runs posted work, then the first timer due by `untilMs`; false when there was none to run.
  bool RunOneUpTo(std::int64_t untilMs);
  void WaitUntil(std::int64_t dueMs);
  bool RunPosted();

  const Clock m_clock;
  const std::int64_t m_originNs;
  std::int64_t m_virtualNowMs = 0;
  std::map<Key, std::function<void()>> m_timers;
  std::map<TimerId, std::int64_t> m_dueOf;
  TimerId m_nextId = 1;

  mutable std::mutex m_postedMutex;
  std::condition_variable m_posted;
  std::deque<std::function<void()>> m_inbox;
};

}  // namespace storageio_port
