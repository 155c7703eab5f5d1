#include "kel/framework/TaskManager.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "../testsupport/HostTestSupport.h"
#include "kel/framework/Exceptions.h"
#include "kel/framework/Logger.h"

namespace kel::framework {
namespace {

using test::ThrownText;

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

TEST_F(TaskManagerTest, IdleYieldsJumpVirtualTimeAndAReplyEndsTheYieldLoop) {
  for (int i = 0; i < 1500; ++i) tm.CtmYield(5000, nullptr, false);
  EXPECT_EQ(tm.NowMs(), 7'500'000);

  bool replied = false;
  tm.PostAfter(12'000, [&] { replied = true; }, EventKind::Reply);
  int yields = 0;
  for (; !replied; ++yields) tm.CtmYield(5000, nullptr, false);
  EXPECT_EQ(yields, 3);
  EXPECT_EQ(tm.NowMs(), 7'512'000);
}

TEST_F(TaskManagerTest, OnlyAReplyDeliveredInsideAYieldEndsIt) {
  Record(1000, "work");
  Record(2000, "notification", EventKind::Notification);
  Record(5000, "reply due at the end", EventKind::Reply);
  tm.CtmYield(5000, nullptr, false);
  EXPECT_EQ(trace, (std::vector<std::string>{"work", "notification", "reply due at the end"}));
  EXPECT_EQ(tm.NowMs(), 5000);

  tm.CtmYield(1000, nullptr, false);
  EXPECT_EQ(tm.NowMs(), 6000) << "the earlier reply does not cut the next yield short";
}

TEST_F(TaskManagerTest, NestedYieldsEndTheOuterYield) {
  std::int64_t innerEndedAt = -1;
  tm.PostAfter(1000, [&] {
    tm.CtmYield(10'000, nullptr, false);
    innerEndedAt = tm.NowMs();
  });
  Record(2000, "reply", EventKind::Reply);
  const EventId later = Record(3000, "later");
  tm.CtmYield(5000, nullptr, false);
  EXPECT_EQ(innerEndedAt, 2000) << "a reply in the inner yield ends both";
  EXPECT_EQ(tm.NowMs(), 2000);
  EXPECT_EQ(trace, std::vector<std::string>{"reply"});

  ASSERT_TRUE(tm.Cancel(later));
  tm.PostAfter(500, [&] {
    tm.CtmYield(5000, nullptr, false);
    Record(tm.NowMs(), "posted after inner yield");
  });
  tm.CtmYield(1000, nullptr, false);
  EXPECT_EQ(tm.NowMs(), 7500) << "an inner yield outlasting the outer ends it without further delivery";
  EXPECT_EQ(trace, std::vector<std::string>{"reply"});
  EXPECT_EQ(tm.PendingCount(), 1u);
}

TEST_F(TaskManagerTest, AbandonedWaitsReturnAtOnceWhileRunningStillDeliversUntilReset) {
  // A command waiting out a long budget inside an event: abandoning ends its wait for good.
  int yieldsLeft = 1500;
  tm.PostAfter(1000, [&] {
    tm.AbandonWaits();
    for (; yieldsLeft > 0; --yieldsLeft) tm.CtmYield(5000, nullptr, false);
  });
  Record(2000, "after");
  tm.CtmYield(5000, nullptr, false);
  EXPECT_EQ(yieldsLeft, 0);
  EXPECT_EQ(tm.NowMs(), 1000);
  EXPECT_TRUE(trace.empty()) << "an abandoned wait delivers nothing";

  tm.RunFor(1000);
  EXPECT_EQ(trace, std::vector<std::string>{"after"});
  tm.Reset();
  EXPECT_FALSE(tm.WaitsAbandoned());
  tm.CtmYield(5000, nullptr, false);
  EXPECT_EQ(tm.NowMs(), 5000);
}

TEST_F(TaskManagerTest, DeliversByDueTimeThenFifoAndCancelRemovesOnlyQueuedEvents) {
  Record(100, "a");
  const EventId cancelled = Record(100, "cancelled");
  Record(50, "c");
  Record(100, "d");
  const EventId ran = Record(0, "e");
  ASSERT_TRUE(tm.RunOne());
  EXPECT_FALSE(tm.Cancel(ran));
  EXPECT_TRUE(tm.Cancel(cancelled));
  EXPECT_FALSE(tm.Cancel(cancelled));
  EXPECT_FALSE(tm.Cancel(9'999'999));
  EXPECT_FALSE(tm.RunOne()) << "nothing is due yet";
  EXPECT_EQ(tm.NowMs(), 0);

  Record(1001, "outside");
  tm.RunFor(1000);
  EXPECT_EQ(trace, (std::vector<std::string>{"e", "c", "a", "d"}));
  EXPECT_EQ(tm.NowMs(), 1000);
  EXPECT_EQ(tm.PendingCount(), 1u);
}

TEST_F(TaskManagerTest, ResetDropsEventsObserversAndVirtualTimeAndTheClockChangesOnlyWhenIdle) {
  int turns = 0;
  tm.AddTurnObserver([&] { ++turns; });
  tm.RunFor(300);
  const EventId dropped = Record(310, "dropped");
  tm.PostFromAnyThread([&] { trace.push_back("dropped too"); }, EventKind::Work);
  EXPECT_THROW(tm.SetClockMode(CTaskManager::ClockMode::Real), CKelLogicError);
  EXPECT_EQ(tm.GetClockMode(), CTaskManager::ClockMode::Virtual);

  tm.Reset();

  EXPECT_EQ(tm.NowMs(), 0);
  EXPECT_EQ(tm.PendingCount(), 0u);
  Record(0, "after reset");
  EXPECT_FALSE(tm.Cancel(dropped));
  tm.RunUntilIdle();
  EXPECT_EQ(trace, std::vector<std::string>{"after reset"});
  EXPECT_EQ(turns, 0);
  EXPECT_NO_THROW(tm.SetClockMode(CTaskManager::ClockMode::Real));
}

TEST_F(TaskManagerTest, ThrowingEventsAreLoggedAndBadArgumentsNamed) {
  tm.Post([] { throw std::runtime_error("disk gone"); });
  tm.Post([] { throw 42; });
  Record(0, "next");
  tm.RunUntilIdle();
  EXPECT_EQ(trace, std::vector<std::string>{"next"});
  EXPECT_EQ(log->Messages("kel.host", LOG_LEVEL_ERROR),
            (std::vector<std::string>{"Exception in event loop: disk gone",
                                      "Exception in event loop: unknown exception"}));

  EXPECT_THROW(tm.PostFromAnyThread(nullptr, EventKind::Work), CKelLogicError);
  EXPECT_EQ(ThrownText<CKelLogicError>([&] { tm.PostAfter(-5, [] {}); }),
            "PostAfter: the delay must not be negative (got -5)");
  EXPECT_EQ(ThrownText<CKelLogicError>([&] { tm.CtmYield(-1, nullptr, false); }),
            "CtmYield: the time to yield must not be negative (got -1)");
  EXPECT_EQ(tm.PendingCount(), 0u);
}

TEST_F(TaskManagerTest, ObserversRunAfterEachEventInOrderUntilRemoved) {
  int selfId = 0;
  int otherId = 0;
  selfId = tm.AddTurnObserver([&] {
    trace.push_back("self-removing");
    tm.RemoveTurnObserver(selfId);
    tm.RemoveTurnObserver(otherId);
  });
  otherId = tm.AddTurnObserver([&] { trace.push_back("removed by the first"); });
  tm.AddTurnObserver([&] { trace.push_back("last"); });
  tm.AddTurnObserver([] { throw std::runtime_error("observer failed"); });
  Record(0, "a");
  Record(10, "b");
  tm.CtmYield(100, nullptr, false);
  EXPECT_EQ(trace, (std::vector<std::string>{"a", "self-removing", "last", "b", "last"}));
  EXPECT_EQ(log->Messages("kel.host").size(), 2u);
}

TEST_F(TaskManagerTest, InboxIsQueuedAtCurrentTimeAfterEarlierPosts) {
  tm.RunFor(700);
  Record(700, "posted on loop");
  std::thread([this] {
    tm.PostFromAnyThread([this] { trace.push_back("from thread at " + std::to_string(tm.NowMs())); },
                         EventKind::Notification);
  }).join();
  EXPECT_EQ(tm.PendingCount(), 2u);
  tm.RunUntilIdle();
  EXPECT_EQ(trace, (std::vector<std::string>{"posted on loop", "from thread at 700"}));
}

TEST_F(TaskManagerTest, RealClockYieldIsWokenByOtherThreadAndWaitsForTimedEvents) {
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

  const std::int64_t start = tm.NowMs();
  std::int64_t ranAt = 0;
  tm.PostAfter(20, [&] { ranAt = tm.NowMs(); });
  tm.RunUntilIdle();
  EXPECT_GE(ranAt, start + 20);
}

}  // namespace
}  // namespace kel::framework
