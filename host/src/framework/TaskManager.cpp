#include "kel/framework/TaskManager.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <limits>
#include <map>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "kel/framework/Exceptions.h"
#include "kel/framework/Logger.h"

namespace kel::framework {

namespace {

constexpr std::int64_t kFarFutureMs = std::numeric_limits<std::int64_t>::max();

// One real-clock wait is bounded so that its deadline stays representable in steady_clock's
// nanoseconds; the loop simply waits again after it.
constexpr std::int64_t kLongestRealWaitMs = 60 * 60 * 1000;

// Due times saturate rather than wrap, so "very far in the future" stays in the future.
std::int64_t AddMs(std::int64_t timeMs, std::int64_t delayMs) {
  return timeMs > kFarFutureMs - delayMs ? kFarFutureMs : timeMs + delayMs;
}

std::int64_t RealNowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

void LogLoopException(const std::string& what) {
  BLLLogger* logger = BLLLoggerFactory::GetInstance().GetLogger("kel.host");
  if (logger->IsEnabledFor(LOG_LEVEL_ERROR)) {
    logger->Error("Exception in event loop: " + what, __FILE__, __LINE__);
  }
}

// Whatever an event or an observer throws must not take the business-layer thread down.
void RunGuarded(const std::function<void()>& work) {
  try {
    work();
  } catch (const std::exception& e) {
    LogLoopException(e.what());
  } catch (...) {
    LogLoopException("unknown exception");
  }
}

void RequireCallable(const std::function<void()>& callable, const char* caller, const char* what) {
  if (!callable) {
    throw CKelLogicError(std::string(caller) + ": " + what + " is empty");
  }
}

void RequireNotNegative(std::int64_t ms, const char* caller, const char* what) {
  if (ms < 0) {
    throw CKelLogicError(std::string(caller) + ": " + what + " must not be negative (got " +
                         std::to_string(ms) + ")");
  }
}

}  // namespace

struct CTaskManager::State {
  struct Event {
    std::function<void()> work;
    EventKind kind;
  };
  // Ids grow with every post, so ordering by (due time, id) delivers equal due times FIFO.
  using QueueKey = std::pair<std::int64_t, EventId>;

  ClockMode mode = ClockMode::Real;
  std::int64_t virtualNowMs = 0;

  EventId lastEventId = 0;
  std::map<QueueKey, Event> queue;
  std::unordered_map<EventId, std::int64_t> dueTimeById;

  // Counts every Reply delivered; a yield ends when it changes during the yield.
  std::uint64_t repliesDelivered = 0;
  bool waitsAbandoned = false;

  int lastObserverId = 0;
  // Keyed by id, which grows with registration, so iteration is registration order. Shared so an
  // observer that removes itself stays alive until it returns.
  std::map<int, std::shared_ptr<const std::function<void()>>> observers;

  mutable std::mutex inboxMutex;
  std::condition_variable inboxFilled;
  std::vector<Event> inbox;

  std::int64_t NowMs() const { return mode == ClockMode::Virtual ? virtualNowMs : RealNowMs(); }

  std::int64_t NextDueMs() const {
    return queue.empty() ? kFarFutureMs : queue.begin()->first.first;
  }

  EventId Enqueue(std::int64_t dueMs, Event event) {
    const EventId id = ++lastEventId;
    queue.emplace(QueueKey{dueMs, id}, std::move(event));
    dueTimeById.emplace(id, dueMs);
    return id;
  }

  std::size_t InboxSize() const {
    std::lock_guard<std::mutex> lock(inboxMutex);
    return inbox.size();
  }

  void DrainInbox() {
    std::vector<Event> arrived;
    {
      std::lock_guard<std::mutex> lock(inboxMutex);
      arrived.swap(inbox);
    }
    const std::int64_t now = NowMs();
    for (Event& event : arrived) {
      Enqueue(now, std::move(event));
    }
  }

  // Lets clock time pass until `targetMs`, or less if something arrives in the inbox. The virtual
  // clock jumps; the real clock sleeps on the inbox's condition variable.
  void PassTimeUntil(std::int64_t targetMs) {
    std::unique_lock<std::mutex> lock(inboxMutex);
    if (!inbox.empty()) {
      return;
    }
    if (mode == ClockMode::Virtual) {
      virtualNowMs = std::max(virtualNowMs, targetMs);
      return;
    }
    const std::int64_t deadlineMs = std::min(targetMs, AddMs(RealNowMs(), kLongestRealWaitMs));
    const std::chrono::steady_clock::time_point deadline{std::chrono::milliseconds(deadlineMs)};
    inboxFilled.wait_until(lock, deadline, [this] { return !inbox.empty(); });
  }

  void NotifyTurnObservers() {
    auto it = observers.begin();
    while (it != observers.end()) {
      const int id = it->first;
      const auto observer = it->second;
      RunGuarded(*observer);
      // The observer may have changed the map; resume after the one just called.
      it = observers.upper_bound(id);
    }
  }

  bool DeliverOne() {
    DrainInbox();
    if (queue.empty() || NextDueMs() > NowMs()) {
      return false;
    }
    const auto next = queue.begin();
    Event event = std::move(next->second);
    dueTimeById.erase(next->first.second);
    queue.erase(next);

    if (event.kind == EventKind::Reply) {
      ++repliesDelivered;
    }
    RunGuarded(event.work);
    NotifyTurnObservers();
    return true;
  }

  // Delivers events until the clock passes `endMs`; with `stopAtReply`, also until a Reply has
  // been delivered during this call.
  void DeliverUntil(std::int64_t endMs, bool stopAtReply) {
    const std::uint64_t repliesBefore = repliesDelivered;
    // A nested yield may have moved the clock past `endMs`; then this call is over too.
    // Only yields stop at a reply, and only yields are abandoned.
    while (NowMs() <= endMs && !(stopAtReply && (repliesDelivered != repliesBefore || waitsAbandoned))) {
      if (DeliverOne()) {
        continue;
      }
      if (NowMs() >= endMs) {
        return;
      }
      PassTimeUntil(std::min(NextDueMs(), endMs));
    }
  }
};

CTaskManager& CTaskManager::Instance() {
  static CTaskManager instance;
  return instance;
}

CTaskManager::CTaskManager() : state_(std::make_unique<State>()) {}

CTaskManager::~CTaskManager() = default;

void CTaskManager::SetClockMode(ClockMode mode) {
  const std::size_t pending = PendingCount();
  if (pending != 0) {
    throw CKelLogicError("Cannot change the clock mode while events are queued (" +
                         std::to_string(pending) + " queued)");
  }
  state_->mode = mode;
}

CTaskManager::ClockMode CTaskManager::GetClockMode() const { return state_->mode; }

std::int64_t CTaskManager::NowMs() const { return state_->NowMs(); }

EventId CTaskManager::Post(std::function<void()> work, EventKind kind) {
  RequireCallable(work, "Post", "the work");
  return state_->Enqueue(state_->NowMs(), State::Event{std::move(work), kind});
}

EventId CTaskManager::PostAfter(std::int64_t delayMs, std::function<void()> work, EventKind kind) {
  RequireCallable(work, "PostAfter", "the work");
  RequireNotNegative(delayMs, "PostAfter", "the delay");
  return state_->Enqueue(AddMs(state_->NowMs(), delayMs), State::Event{std::move(work), kind});
}

bool CTaskManager::Cancel(EventId id) {
  const auto found = state_->dueTimeById.find(id);
  if (found == state_->dueTimeById.end()) {
    return false;
  }
  state_->queue.erase(State::QueueKey{found->second, id});
  state_->dueTimeById.erase(found);
  return true;
}

bool CTaskManager::IsPending(EventId id) const { return state_->dueTimeById.count(id) != 0; }

void CTaskManager::PostFromAnyThread(std::function<void()> work, EventKind kind) {
  RequireCallable(work, "PostFromAnyThread", "the work");
  {
    std::lock_guard<std::mutex> lock(state_->inboxMutex);
    state_->inbox.push_back(State::Event{std::move(work), kind});
  }
  state_->inboxFilled.notify_one();
}

void CTaskManager::CtmYield(int milliseconds, CTask* /*task*/, bool /*flag*/) {
  RequireNotNegative(milliseconds, "CtmYield", "the time to yield");
  if (state_->waitsAbandoned) return;
  state_->DeliverUntil(AddMs(state_->NowMs(), milliseconds), /*stopAtReply=*/true);
}

void CTaskManager::AbandonWaits() { state_->waitsAbandoned = true; }

bool CTaskManager::WaitsAbandoned() const { return state_->waitsAbandoned; }

bool CTaskManager::RunOne() { return state_->DeliverOne(); }

void CTaskManager::RunFor(std::int64_t ms) {
  RequireNotNegative(ms, "RunFor", "the time to run");
  state_->DeliverUntil(AddMs(state_->NowMs(), ms), /*stopAtReply=*/false);
}

void CTaskManager::RunUntilIdle() {
  State& state = *state_;
  for (;;) {
    if (state.DeliverOne()) {
      continue;
    }
    if (state.queue.empty() && state.InboxSize() == 0) {
      return;
    }
    state.PassTimeUntil(state.NextDueMs());
  }
}

std::size_t CTaskManager::PendingCount() const {
  return state_->queue.size() + state_->InboxSize();
}

int CTaskManager::AddTurnObserver(std::function<void()> observer) {
  RequireCallable(observer, "AddTurnObserver", "the observer");
  const int id = ++state_->lastObserverId;
  state_->observers.emplace(id, std::make_shared<const std::function<void()>>(std::move(observer)));
  return id;
}

void CTaskManager::RemoveTurnObserver(int id) { state_->observers.erase(id); }

void CTaskManager::Reset() {
  {
    std::lock_guard<std::mutex> lock(state_->inboxMutex);
    state_->inbox.clear();
  }
  state_->queue.clear();
  state_->dueTimeById.clear();
  state_->observers.clear();
  state_->virtualNowMs = 0;
  state_->waitsAbandoned = false;
}

}  // namespace kel::framework
