#pragma once

// The business layer's event loop and clock.
//
// One thread (the business-layer thread) runs everything that touches the object model: object
// hooks, commands, replies to requests, notifications. It does so by delivering events from the
// task manager's queue. Transports may do socket I/O on threads of their own, but they only hand
// what arrives to PostFromAnyThread; it is delivered on the loop.
//
// The clock is real time for users and virtual time for tests and simulations. On the virtual
// clock, when nothing is due, time jumps straight to the next scheduled event (or to the end of
// the wait), so minutes of virtual time pass in milliseconds of real time.
//
// Threading: every member except PostFromAnyThread must be called on the business-layer thread.
// Delivery: events run by due time, then by posting order (FIFO for equal due times). An exception
// leaving an event's work or a turn observer is caught and written to the developer log "kel.host"
// at error level as "Exception in event loop: <what>"; the loop goes on.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace kel::framework {

class CTask;  // a cooperative task of the host; opaque here

enum class EventKind { Work, Reply, Notification };
using EventId = std::uint64_t;

class CTaskManager {
 public:
  // The one task manager of the process, shared by the host and every plug-in loaded into it.
  static CTaskManager& Instance();

  enum class ClockMode { Real, Virtual };

  // The clock starts in Real mode. Changing it is allowed only while no event is queued, because
  // queued due times are on the old clock; throws CKelLogicError otherwise.
  void SetClockMode(ClockMode mode);
  ClockMode GetClockMode() const;

  // Milliseconds on the current clock. Virtual time starts at 0 and moves only while the loop
  // waits; real time is a monotonic clock with an arbitrary origin.
  std::int64_t NowMs() const;

  // Queue `work` to run on the loop, due now or `delayMs` from now. Returns an id for Cancel.
  // Throws CKelLogicError when `work` is empty or `delayMs` is negative.
  EventId Post(std::function<void()> work, EventKind kind = EventKind::Work);
  EventId PostAfter(std::int64_t delayMs, std::function<void()> work,
                    EventKind kind = EventKind::Work);

  // Removes a queued event. False if it has already run (or is running) or the id is unknown.
  bool Cancel(EventId id);
  // True while the event is queued (not yet run, not cancelled, not dropped by Reset).
  bool IsPending(EventId id) const;

  // The one thread-safe entry: queues `work` in an inbox that the loop moves into the queue, due
  // at the time it is moved, before it looks for due events. Wakes a loop waiting on the real
  // clock. Throws CKelLogicError when `work` is empty.
  void PostFromAnyThread(std::function<void()> work, EventKind kind);

  // Delivers due events until `milliseconds` have passed on the clock, or until a Reply event has
  // been delivered inside this call (nested calls included), whichever comes first. Notifications
  // and work alone do not end it. May be nested: a handler delivered here may yield again, and a
  // Reply delivered in the inner call ends every call that encloses it. Events due exactly at the
  // end are still delivered. `task` and `flag` are accepted for the host's callers and not used.
  // Throws CKelLogicError when `milliseconds` is negative.
  void CtmYield(int milliseconds, CTask* task, bool flag);

  // For a host client that is done with a run while commands still wait inside it (a start
  // command waiting out its budget for a port that will never answer): from now on every
  // CtmYield returns at once without delivering anything, so such commands use up their budget
  // and return. RunOne, RunFor and RunUntilIdle still deliver. Reset ends it.
  void AbandonWaits();
  bool WaitsAbandoned() const;

  // Delivers the next event that is due now, if any; true if one ran. Never moves the clock.
  bool RunOne();

  // Delivers events for `ms` of clock time (the virtual clock jumps over idle stretches).
  // Throws CKelLogicError when `ms` is negative.
  void RunFor(std::int64_t ms);

  // Delivers every event, due now or later, until the queue and the inbox are empty. The virtual
  // clock jumps to each timed event; the real clock waits for it.
  void RunUntilIdle();

  // Events waiting to be delivered, including those in the inbox.
  std::size_t PendingCount() const;

  // `observer` is called after each delivered event ("a turn"), in registration order; the result
  // module publishes changes from here. An observer may add or remove observers while it runs:
  // one removed during a turn is not called for the rest of it, one added is called in that turn
  // after the others. Returns an id for RemoveTurnObserver; removing an unknown id does nothing.
  // Throws CKelLogicError when `observer` is empty.
  int AddTurnObserver(std::function<void()> observer);
  void RemoveTurnObserver(int id);

  // Drops every queued event (inbox included) and every observer, sets virtual time back to 0
  // and lets waits deliver again; the clock mode stays. For tests and a new project. Ids are never reused, so an id handed
  // out before a Reset cancels nothing after it.
  void Reset();

  CTaskManager(const CTaskManager&) = delete;
  CTaskManager& operator=(const CTaskManager&) = delete;

 private:
  CTaskManager();
  ~CTaskManager();

  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace kel::framework
