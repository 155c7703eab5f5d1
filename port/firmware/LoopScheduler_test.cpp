#include "port/firmware/LoopScheduler.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace storageio_port {
namespace {

TEST(LoopSchedulerTest, VirtualClockRunsTimersByDueTimeThenStartOrderAndJumpsOverIdleTime) {
  LoopScheduler loop(LoopScheduler::Clock::Virtual);
  std::vector<std::string> ran;
  loop.RunAfter(20, [&] { ran.push_back("b@" + std::to_string(loop.NowMs())); });
  loop.RunAfter(10, [&] {
    ran.push_back("a@" + std::to_string(loop.NowMs()));
    loop.RunAfter(0, [&] { ran.push_back("a2@" + std::to_string(loop.NowMs())); });  // never inside RunAfter
  });
  const Scheduler::TimerId cancelled = loop.RunAfter(15, [&] { ran.push_back("cancelled"); });
  loop.RunAfter(20, [&] { ran.push_back("c@" + std::to_string(loop.NowMs())); });
  loop.Cancel(cancelled);
  loop.Cancel(cancelled);  // twice is harmless
  loop.RunFor(20);         // due exactly at the end still runs
  EXPECT_EQ(ran, (std::vector<std::string>{"a@10", "a2@10", "b@20", "c@20"}));
  EXPECT_EQ(loop.NowMs(), 20);
  loop.RunFor(1000);
  EXPECT_EQ(loop.NowMs(), 1020);
  EXPECT_FALSE(loop.HasWork());
  EXPECT_THROW(loop.RunAfter(-1, [] {}), std::invalid_argument);
  EXPECT_THROW(loop.PostFromAnyThread(nullptr), std::invalid_argument);
}

TEST(LoopSchedulerTest, RealClockWakesForWorkPostedFromAnotherThread) {
  LoopScheduler loop(LoopScheduler::Clock::Real);
  bool posted = false;
  std::int64_t postedAtMs = -1;
  std::thread other([&] { loop.PostFromAnyThread([&] { posted = true, postedAtMs = loop.NowMs(); }); });
  other.join();
  const std::int64_t startMs = loop.NowMs();
  loop.RunAfter(30, [] {});
  loop.RunUntilIdle();
  EXPECT_TRUE(posted);
  EXPECT_LT(postedAtMs - startMs, 30);  // ran before the timer, not after it
  EXPECT_GE(loop.NowMs() - startMs, 30);
}

}  // namespace
}  // namespace storageio_port
