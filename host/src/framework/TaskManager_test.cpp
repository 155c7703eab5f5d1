#include "kel/framework/TaskManager.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "kel/framework/Exceptions.h"
#include "kel/framework/Logger.h"

namespace kel::framework {
namespace {

class TaskManagerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    tm.Reset();
    tm.SetClockMode(CTaskManager::ClockMode::Virtual);
    BLLLoggerFactory::GetInstance().AddSink(log);
  }

  void TearDown() override {
    BLLLoggerFactory::GetInstance().RemoveSink(log);
    tm.Reset();
    tm.SetClockMode(CTaskManager::ClockMode::Real);
  }

  // Posts an event at `dueMs` that appends `name` to `trace`.
  EventId Record(std::int64_t dueMs, const std::string& name, EventKind kind = EventKind::Work) {
    return tm.PostAfter(dueMs - tm.NowMs(), [this, name] { trace.push_back(name); }, kind);
  }

  CTaskManager& tm = CTaskManager::Instance();
  std::shared_ptr<MemorySink> log = std::make_shared<MemorySink>();
  std::vector<std::string> trace;
};

// --- CtmYield -----------------------------------------------------------------------------------

TEST_F(TaskManagerTest, IdleYieldsJumpVirtualTime) {
  for (int i = 0; i < 1500; ++i) {
    tm.CtmYield(5000, nullptr, false);
  }
  EXPECT_EQ(tm.NowMs(), 7'500'000);
}

TEST_F(TaskManagerTest, ReplyEndsYieldLoopWhenItArrives) {
  bool replied = false;
  tm.PostAfter(12'000, [&] { replied = true; }, EventKind::Reply);
  int yields = 0;
  while (!replied) {
    tm.CtmYield(5000, nullptr, false);
    ++yields;
  }
  EXPECT_EQ(yields, 3);
  EXPECT_EQ(tm.NowMs(), 12'000);
}

TEST_F(TaskManagerTest, OnlyReplyDeliveredInsideYieldEndsIt) {
  Record(1000, "work");
  Record(2000, "notification", EventKind::Notification);
  Record(5000, "reply due at the end", EventKind::Reply);
  tm.CtmYield(5000, nullptr, false);
  EXPECT_EQ(trace, (std::vector<std::string>{"work", "notification", "reply due at the end"}));
  EXPECT_EQ(tm.NowMs(), 5000);

  // The reply above belonged to the finished yield; it does not cut the next one short.
  tm.CtmYield(1000, nullptr, false);
  EXPECT_EQ(tm.NowMs(), 6000);
}

TEST_F(TaskManagerTest, ReplyInNestedYieldEndsOuterYieldToo) {
  std::int64_t innerEndedAt = -1;
  tm.PostAfter(1000, [&] {
    tm.CtmYield(10'000, nullptr, false);
    innerEndedAt = tm.NowMs();
  });
  Record(2000, "reply", EventKind::Reply);
  Record(3000, "later");

  tm.CtmYield(5000, nullptr, false);

  EXPECT_EQ(innerEndedAt, 2000);
  EXPECT_EQ(tm.NowMs(), 2000);
  EXPECT_EQ(trace, std::vector<std::string>{"reply"});
}

TEST_F(TaskManagerTest, NestedYieldOutlastingOuterEndsOuterWithoutFurtherDelivery) {
  tm.PostAfter(500, [&] {
    tm.CtmYield(5000, nullptr, false);
    Record(tm.NowMs(), "posted after inner yield");
  });

  tm.CtmYield(1000, nullptr, false);

  EXPECT_EQ(tm.NowMs(), 5500);
  EXPECT_TRUE(trace.empty());
  EXPECT_EQ(tm.PendingCount(), 1u);
}

// --- Ordering, cancelling, running --------------------------------------------------------------

TEST_F(TaskManagerTest, DeliversByDueTimeThenFifo) {
  Record(100, "a");
  Record(100, "b");
  Record(50, "c");
  Record(100, "d");
  Record(0, "e");
  tm.RunUntilIdle();
  EXPECT_EQ(trace, (std::vector<std::string>{"e", "c", "a", "b", "d"}));
  EXPECT_EQ(tm.NowMs(), 100);
}

TEST_F(TaskManagerTest, CancelRemovesOnlyQueuedEvents) {
  const EventId ran = Record(0, "ran");
  const EventId cancelled = Record(10, "cancelled");
  Record(20, "kept");
  ASSERT_TRUE(tm.RunOne());

  EXPECT_FALSE(tm.Cancel(ran));
  EXPECT_TRUE(tm.Cancel(cancelled));
  EXPECT_FALSE(tm.Cancel(cancelled));
  EXPECT_FALSE(tm.Cancel(9'999'999));
  EXPECT_EQ(tm.PendingCount(), 1u);

  tm.RunUntilIdle();
  EXPECT_EQ(trace, (std::vector<std::string>{"ran", "kept"}));
}

TEST_F(TaskManagerTest, RunOneWaitsForNothingAndRunForStopsAtItsEnd) {
  Record(100, "inside");
  Record(1001, "outside");
  EXPECT_FALSE(tm.RunOne());
  EXPECT_EQ(tm.NowMs(), 0);

  tm.RunFor(1000);
  EXPECT_EQ(trace, std::vector<std::string>{"inside"});
  EXPECT_EQ(tm.NowMs(), 1000);
  EXPECT_EQ(tm.PendingCount(), 1u);
}

TEST_F(TaskManagerTest, ResetDropsEventsObserversAndVirtualTime) {
  int turns = 0;
  tm.AddTurnObserver([&] { ++turns; });
  tm.RunFor(300);
  const EventId dropped = Record(310, "dropped");
  tm.PostFromAnyThread([&] { trace.push_back("dropped too"); }, EventKind::Work);

  tm.Reset();

  EXPECT_EQ(tm.NowMs(), 0);
  EXPECT_EQ(tm.PendingCount(), 0u);
  Record(0, "after reset");
  EXPECT_FALSE(tm.Cancel(dropped));
  tm.RunUntilIdle();
  EXPECT_EQ(trace, std::vector<std::string>{"after reset"});
  EXPECT_EQ(turns, 0);
}

// --- Failures -----------------------------------------------------------------------------------

TEST_F(TaskManagerTest, ThrowingEventIsLoggedAndLoopGoesOn) {
  tm.Post([] { throw std::runtime_error("disk gone"); });
  tm.Post([] { throw 42; });
  Record(0, "next");
  tm.RunUntilIdle();
  EXPECT_EQ(trace, std::vector<std::string>{"next"});
  EXPECT_EQ(log->Messages("kel.host", LOG_LEVEL_ERROR),
            (std::vector<std::string>{"Exception in event loop: disk gone",
                                      "Exception in event loop: unknown exception"}));
}

TEST_F(TaskManagerTest, BadArgumentsAreRejectedWithTheirName) {
  EXPECT_THROW(tm.PostFromAnyThread(nullptr, EventKind::Work), CKelLogicError);
  try {
    tm.PostAfter(-5, [] {});
    FAIL() << "negative delay accepted";
  } catch (const CKelLogicError& e) {
    EXPECT_STREQ(e.what(), "PostAfter: the delay must not be negative (got -5)");
  }
  try {
    tm.CtmYield(-1, nullptr, false);
    FAIL() << "negative yield accepted";
  } catch (const CKelLogicError& e) {
    EXPECT_STREQ(e.what(), "CtmYield: the time to yield must not be negative (got -1)");
  }
  EXPECT_EQ(tm.PendingCount(), 0u);
}

TEST_F(TaskManagerTest, ClockModeChangesOnlyWithEmptyQueue) {
  const EventId id = Record(10, "queued");
  EXPECT_THROW(tm.SetClockMode(CTaskManager::ClockMode::Real), CKelLogicError);
  EXPECT_EQ(tm.GetClockMode(), CTaskManager::ClockMode::Virtual);
  tm.Cancel(id);
  tm.SetClockMode(CTaskManager::ClockMode::Real);
  EXPECT_EQ(tm.GetClockMode(), CTaskManager::ClockMode::Real);
}

// --- Turn observers -----------------------------------------------------------------------------

TEST_F(TaskManagerTest, ObserversRunAfterEachEventInRegistrationOrder) {
  tm.AddTurnObserver([&] { trace.push_back("first observer"); });
  tm.AddTurnObserver([&] { trace.push_back("second observer"); });
  Record(0, "a");
  Record(10, "b");
  tm.CtmYield(100, nullptr, false);
  EXPECT_EQ(trace, (std::vector<std::string>{"a", "first observer", "second observer", "b",
                                             "first observer", "second observer"}));
}

TEST_F(TaskManagerTest, ObserverRemovedDuringTurnIsNotCalledAgain) {
  int selfRemoving = 0;
  int removedByOther = 0;
  int selfId = 0;
  int otherId = 0;
  selfId = tm.AddTurnObserver([&] {
    ++selfRemoving;
    tm.RemoveTurnObserver(selfId);
    tm.RemoveTurnObserver(otherId);
  });
  otherId = tm.AddTurnObserver([&] { ++removedByOther; });
  tm.AddTurnObserver([] { throw std::runtime_error("observer failed"); });
  Record(0, "a");
  Record(0, "b");
  tm.RunUntilIdle();
  EXPECT_EQ(selfRemoving, 1);
  EXPECT_EQ(removedByOther, 0);
  EXPECT_EQ(log->Messages("kel.host").size(), 2u);
}

// --- Other threads and the real clock -----------------------------------------------------------

TEST_F(TaskManagerTest, InboxIsQueuedAtCurrentTimeAfterEarlierPosts) {
  tm.RunFor(700);
  Record(700, "posted on loop");
  std::thread([this] {
    tm.PostFromAnyThread(
        [this] { trace.push_back("from thread at " + std::to_string(tm.NowMs())); },
        EventKind::Notification);
  }).join();
  EXPECT_EQ(tm.PendingCount(), 2u);
  tm.RunUntilIdle();
  EXPECT_EQ(trace, (std::vector<std::string>{"posted on loop", "from thread at 700"}));
}

TEST_F(TaskManagerTest, RealClockYieldIsWokenByOtherThread) {
  tm.SetClockMode(CTaskManager::ClockMode::Real);
  const std::thread::id loopThread = std::this_thread::get_id();
  std::thread::id deliveredOn;
  std::thread transport([&] {
    tm.PostFromAnyThread([&] { deliveredOn = std::this_thread::get_id(); }, EventKind::Reply);
  });
  // Ends as soon as the reply is delivered; the long limit only bounds a broken wake-up.
  tm.CtmYield(60'000, nullptr, false);
  transport.join();
  EXPECT_EQ(deliveredOn, loopThread);
}

TEST_F(TaskManagerTest, RealClockWaitsForTimedEvents) {
  tm.SetClockMode(CTaskManager::ClockMode::Real);
  const std::int64_t start = tm.NowMs();
  std::int64_t ranAt = 0;
  tm.PostAfter(20, [&] { ranAt = tm.NowMs(); });
  tm.RunUntilIdle();
  EXPECT_GE(ranAt, start + 20);
}

}  // namespace
}  // namespace kel::framework
