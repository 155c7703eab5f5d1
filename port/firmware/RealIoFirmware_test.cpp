// The firmware on the io_uring engine, on the real clock, with files under the build folder: runs
// of a second, and the refusals that keep a port on its own targets.

#include <gtest/gtest.h>

#include <filesystem>

#include "port/engines/IoUringEngine.h"
#include "port/firmware/test/FirmwareTest.h"
#include "port/targets/test/TargetsTest.h"

namespace storageio_port::test {
namespace {

using BST_1_bll::StatusCode_t;
using BST_1_bll::TestStatus_t;

constexpr std::uint64_t kFileBytes = 2 << 20;

bst_1_bll::StorageWorkerProfile_s RandomIo(unsigned char readPercent) {
  return {4096, 100, false, 0, readPercent, 0, 1, false, 0, false};
}

BST_1_bll::TargetSpec_s Target(const std::string& name, unsigned queueDepth, unsigned bllHandle) {
  return {0, name, queueDepth, false, 0, {}, bllHandle};
}

class RealIoFirmwareTest : public FirmwareTest {
 protected:
  void SetUp() override {
    try {
      IoUringEngine probe;
    } catch (const EngineError& e) {
      GTEST_SKIP() << "the kernel refuses io_uring here: " << e.what();
    }
    WriteFile(m_scratch.Path("a.bin"), kFileBytes);
    std::filesystem::create_directory(m_scratch.Path("sub"));
    FirmwareConfig config;
    config.targets = {Real("a.bin"), Real("b.bin:2MiB"), Real("sub/c.bin:1MiB")};
    config.setupStepMs = 100;
    m_targets = config.targets;
    Boot(std::move(config), std::make_unique<IoUringEngine::Factory>(), LoopScheduler::Clock::Real);
  }

  TargetInfo Real(const std::string& entry) const { return RealTarget(ParseTargetEntry(m_scratch.Path(entry)), false); }
  std::string Name(const std::string& file) const { return m_scratch.Path(file); }

  // Runs the real clock until the start request `id` is answered (or `giveUpMs` has passed).
  void RunUntilAnswered(std::uint64_t id, std::int64_t giveUpMs = 10000) {
    const std::int64_t endMs = m_scheduler->NowMs() + giveUpMs;
    const auto answered = [&] {
      return std::any_of(m_sent.begin(), m_sent.end(), [&](const Sent& s) { return s.frame.kind == RpcFrameKind::Reply && s.frame.id == id; });
    };
    while (!answered() && m_scheduler->NowMs() < endMs) RunFor(20);
  }

  ScratchDir m_scratch;
  std::vector<TargetInfo> m_targets;
};

TEST_F(RealIoFirmwareTest, ARandomReadAndAMixRunForASecondAndAddUpAtEveryLevel) {
  Request(1, [](Message* m) { BST_1_bll::create_req_AddAccessSpecs(m, {{10, 100, RandomIo(100)}, {11, 100, RandomIo(70)}}, true); });
  Request(2, [&](Message* m) {
    auto mixed = BST_1_bll::WorkerConfig_s{21, 11, {Target(Name("a.bin"), 8, 1003)}};
    mixed.targetSpec[0].EnableTestConnectionRate = true;
    mixed.targetSpec[0].TransactionsPerConnection = 64;
    BST_1_bll::create_req_AddWorkers(
        m, {{20, 10, {Target(Name("a.bin"), 4, 1001), Target(Name("b.bin"), 4, 1002)}}, mixed}, true);
  });
  Request(3, [](Message* m) { BST_1_bll::create_req_RegisterTestStatusNotify(m, 100, true); });
  Request(4, [](Message* m) { BST_1_bll::create_req_RegisterTestResults(m, 250, true); });
  Take();
  Request(7, [](Message* m) { BST_1_bll::create_req_StartTest(m, {20, 21}, 1, true); });
  RunUntilAnswered(7);
  const std::vector<Sent> sent = Take();
  ASSERT_GE(sent.size(), 3u);

  // The last figures, Success to the start, then Done100Percent.
  EXPECT_EQ(sent[sent.size() - 3].Name(), "BST_1.TestResultsNotification");
  m_sent = {sent[sent.size() - 2]};
  EXPECT_EQ(StatusOf(7), StatusCode_t::Success);
  TestStatus_t last = TestStatus_t::Max;
  BST_1_bll::parse_req_TestNotification(&sent.back().frame.message, &last);
  EXPECT_EQ(last, TestStatus_t::Done100Percent);

  // b.bin did not exist: PreppingDisks laid it out in full; a.bin was reused as it was.
  EXPECT_TRUE(Logged("laid out " + Name("b.bin")));
  EXPECT_TRUE(Logged("reused " + Name("a.bin")));
  EXPECT_EQ(FirstHole(Name("b.bin")), static_cast<off_t>(kFileBytes));
  EXPECT_TRUE(Logged(": O_DIRECT"));
  EXPECT_TRUE(Logged("worker 20: I/O thread CPU while recording: "));

  std::vector<bst_1_bll::StorageWorkerResults_s> workers;
  std::vector<bst_1_bll::StorageDiscoveredTargetResults_s> targets;
  BST_1_bll::parse_req_TestResultsNotification(&sent[sent.size() - 3].frame.message, &workers, &targets);
  ASSERT_EQ(workers.size(), 2u);
  ASSERT_EQ(targets.size(), 3u);
  const auto& reader = workers[0].StorageBaseResults;
  const auto& mixed = workers[1].StorageBaseResults;
  EXPECT_GT(reader.ReadTransactionCount, 0u);
  EXPECT_EQ(reader.WriteTransactionCount, 0u);
  EXPECT_EQ(reader.ReadErrors + mixed.ReadErrors + mixed.WriteErrors, 0u);
  EXPECT_NEAR(static_cast<double>(mixed.ReadTransactionCount) / mixed.AllTransactionCount, 0.7, 0.01);
  EXPECT_GT(mixed.ConnectionCount, 0u);
  EXPECT_GT(mixed.AvgConnectionLatency, 0.0);
  // A worker's record is the sum of its targets' records, taken from one snapshot.
  const auto& t0 = targets[0].StorageBaseResults;
  const auto& t1 = targets[1].StorageBaseResults;
  EXPECT_EQ(reader.ReadTransactionCount, t0.ReadTransactionCount + t1.ReadTransactionCount);
  EXPECT_EQ(reader.BytesRead, t0.BytesRead + t1.BytesRead);
  EXPECT_DOUBLE_EQ(reader.TotalReadLatency, t0.TotalReadLatency + t1.TotalReadLatency);
  EXPECT_EQ(mixed.BytesWritten, targets[2].StorageBaseResults.BytesWritten);
  for (const auto* r : {&reader, &mixed, &t0, &t1}) {
    EXPECT_EQ(r->Result.ResultState, 2);  // inactive in the last figures
    EXPECT_EQ(r->BytesRead, r->ReadTransactionCount * 4096);
    EXPECT_NEAR(r->AllTransactionCount / r->AvgIOPerSecond, 1.0, 0.05);  // over the one recorded second
    EXPECT_GT(r->AvgReadLatency, 0.0);
    EXPECT_GE(r->MaxReadLatency, r->AvgReadLatency);
  }
}

TEST_F(RealIoFirmwareTest, RefusesBeforeAnyIoWhatThePortMayNotDo) {
  // A block device without the port's write flag, and a file whose direct I/O needs 4 KiB multiples.
  TargetInfo device = Real("a.bin");
  device.name = "device";
  device.device = std::make_shared<ResolvedTarget>(*device.device);
  device.device->kind = TargetKind::BlockDevice;
  device.writesAllowed = false;
  TargetInfo aligned = Real("a.bin");
  aligned.name = "aligned";
  aligned.device = std::make_shared<ResolvedTarget>(*aligned.device);
  aligned.device->directIoAlignment = 4096;
  FirmwareConfig config;
  config.targets = {m_targets[0], device, aligned};
  Boot(std::move(config), std::make_unique<IoUringEngine::Factory>(), LoopScheduler::Clock::Real);

  auto small = RandomIo(100);
  small.TransferRequestSize = 512;
  Request(1, [&](Message* m) { BST_1_bll::create_req_AddAccessSpecs(m, {{10, 100, RandomIo(0)}, {11, 100, small}}, true); });
  Request(2, [&](Message* m) {
    BST_1_bll::create_req_AddWorkers(m, {{20, 10, {Target("device", 1, 1)}}, {21, 11, {Target("aligned", 1, 2)}},
                                         {22, 11, {Target(Name("a.bin"), 1, 3)}}}, true);
  });
  Take();
  const auto start = [this](std::uint64_t id, unsigned worker) {
    Request(id, [worker](Message* m) { BST_1_bll::create_req_StartTest(m, {worker}, 1, true); });
    return StatusOf(id);
  };
  EXPECT_EQ(start(3, 20), StatusCode_t::Failure);
  EXPECT_TRUE(Logged("worker 20 on target 'device': writing to block device"));
  EXPECT_TRUE(Logged("needs the port's block-device write flag"));
  EXPECT_EQ(start(4, 21), StatusCode_t::Failure);
  EXPECT_TRUE(Logged("worker 21 on target 'aligned': transfer size 512 is not a multiple of 4096 bytes"));

  // The file behind a target is replaced, then swapped for a link: both refused, nothing run.
  ReplaceFile(Name("a.bin"), kFileBytes);
  EXPECT_EQ(start(5, 22), StatusCode_t::Failure);
  EXPECT_TRUE(Logged("worker 22 on target '" + Name("a.bin") + "'"));
  std::filesystem::remove(Name("a.bin"));
  std::filesystem::create_symlink(Name("b.bin"), Name("a.bin"));
  EXPECT_EQ(start(6, 22), StatusCode_t::Failure);
  EXPECT_FALSE(m_firmware->IsTestRunning());
}

TEST_F(RealIoFirmwareTest, ALayoutErrorAnswersFailureAndAStopEndsARunningTestAtOnce) {
  std::filesystem::remove_all(m_scratch.Path("sub"));  // sub/c.bin can no longer be created
  Request(1, [](Message* m) { BST_1_bll::create_req_AddAccessSpecs(m, {{10, 100, RandomIo(100)}}, true); });
  Request(2, [&](Message* m) {
    BST_1_bll::create_req_AddWorkers(m, {{20, 10, {Target(Name("sub/c.bin"), 1, 1)}}, {21, 10, {Target(Name("a.bin"), 4, 2)}}}, true);
  });
  Request(3, [](Message* m) { BST_1_bll::create_req_RegisterTestStatusNotify(m, 1000, true); });
  Take();
  Request(7, [](Message* m) { BST_1_bll::create_req_StartTest(m, {20}, 60, true); });
  RunUntilAnswered(7);
  std::vector<Sent> sent = Take();
  ASSERT_EQ(sent.size(), 2u);  // Failure to the start, then Done100Percent
  m_sent = {sent[0]};
  EXPECT_EQ(StatusOf(7), StatusCode_t::Failure);
  EXPECT_EQ(sent[1].Name(), "BST_1.TestNotification");
  EXPECT_TRUE(Logged("The test ends with Failure: "));
  EXPECT_TRUE(Logged(Name("sub/c.bin")));
  EXPECT_FALSE(m_firmware->IsTestRunning());

  Request(8, [](Message* m) { BST_1_bll::create_req_StartTest(m, {21}, 60, true); });
  RunFor(300);
  Take();
  Request(9, [](Message* m) { BST_1_bll::create_req_StopTest(m); });
  sent = Take();
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_EQ(sent[0].frame.id, 8u);
  EXPECT_EQ(sent[1].frame.id, 9u);
  EXPECT_FALSE(m_firmware->IsTestRunning());
}

TEST_F(RealIoFirmwareTest, EndingNowWhileLayingOutAnswersFailureAndRemovesTheFileBeingWritten) {
  FirmwareConfig config;
  config.targets = {Real("big.bin:256MiB")};
  Boot(std::move(config), std::make_unique<IoUringEngine::Factory>(), LoopScheduler::Clock::Real);
  Request(1, [](Message* m) { BST_1_bll::create_req_AddAccessSpecs(m, {{10, 100, RandomIo(100)}}, true); });
  Request(2, [&](Message* m) { BST_1_bll::create_req_AddWorkers(m, {{20, 10, {Target(Name("big.bin"), 1, 1)}}}, true); });
  Take();
  Request(7, [](Message* m) { BST_1_bll::create_req_StartTest(m, {20}, 60, true); });
  m_firmware->EndTestNow();  // long before 256 MiB are written
  EXPECT_EQ(StatusOf(7), StatusCode_t::Failure);
  EXPECT_FALSE(std::filesystem::exists(Name("big.bin")));
  EXPECT_FALSE(m_firmware->IsTestRunning());
}

}  // namespace
}  // namespace storageio_port::test
