#include "port/engines/ModelEngine.h"

#include <gtest/gtest.h>

namespace storageio_port {
namespace {

const TargetInfo kDisk{"disk0", 512, 2048};  // 1 MiB

IoRequest Io(std::uint64_t tag, double issueMs, bool isRandom = false, std::uint64_t offset = 0,
             std::uint32_t length = 4096) {
  return IoRequest{tag, offset, length, true, isRandom, issueMs};
}

TEST(ModelEngine, ServiceTimeIsLatencyShareAndTransfer) {
  const ModelEngine::Config device{100.0, 1.0};
  EXPECT_DOUBLE_EQ(ModelEngine::ServiceTimeMs(device, 4096, true), 1.0 + 0.04096);
  EXPECT_DOUBLE_EQ(ModelEngine::ServiceTimeMs(device, 4096, false), 0.1 + 0.04096);
  EXPECT_DOUBLE_EQ(ModelEngine::ServiceTimeMs(ModelEngine::Config{50.0, 2.0}, 1000000, true), 2.0 + 20.0);
}

TEST(ModelEngine, ServesOneIoAtATimeInSubmissionOrder) {
  ModelEngine engine({100.0, 1.0});
  const auto disk = engine.Open(kDisk);
  const double s = ModelEngine::ServiceTimeMs({100.0, 1.0}, 4096, false);
  for (std::uint64_t tag = 0; tag < 3; ++tag) engine.Submit(disk, Io(tag, 0.0));
  engine.Submit(disk, Io(3, 10.0));  // the device is idle by then

  std::vector<IoCompletion> done;
  engine.Reap(disk, 2 * s + 1e-9, done);
  ASSERT_EQ(done.size(), 2u);
  EXPECT_EQ(done[1].tag, 1u);
  EXPECT_DOUBLE_EQ(done[1].completedMs, 2 * s);
  EXPECT_DOUBLE_EQ(done[1].latencyMs, 2 * s);

  done.clear();
  engine.Reap(disk, 100.0, done);
  ASSERT_EQ(done.size(), 2u);
  EXPECT_DOUBLE_EQ(done[0].completedMs, 3 * s);
  EXPECT_DOUBLE_EQ(done[1].completedMs, 10.0 + s);
  EXPECT_NEAR(done[1].latencyMs, s, 1e-12);
  EXPECT_TRUE(done[1].ok);
}

TEST(ModelEngine, OpensAreIndependentDevices) {
  ModelEngine engine({100.0, 1.0});
  const auto first = engine.Open(kDisk);
  const auto second = engine.Open(kDisk);
  engine.Submit(first, Io(0, 0.0, true));
  engine.Submit(second, Io(1, 0.0, true));
  std::vector<IoCompletion> done;
  engine.Reap(second, 1.05, done);
  ASSERT_EQ(done.size(), 1u);
  EXPECT_EQ(done[0].tag, 1u);
}

TEST(ModelEngine, IoBeyondTheEndFailsWithoutTakingDeviceTime) {
  ModelEngine engine({100.0, 1.0});
  const auto disk = engine.Open(kDisk);
  engine.Submit(disk, Io(0, 0.0, false, kDisk.SizeBytes() - 4095));
  engine.Submit(disk, Io(1, 0.0, false, kDisk.SizeBytes() - 4096));
  std::vector<IoCompletion> done;
  engine.Reap(disk, 1.0, done);
  ASSERT_EQ(done.size(), 2u);
  EXPECT_FALSE(done[0].ok);
  EXPECT_DOUBLE_EQ(done[0].completedMs, 0.0);
  EXPECT_TRUE(done[1].ok);
  EXPECT_DOUBLE_EQ(done[1].latencyMs, ModelEngine::ServiceTimeMs({100.0, 1.0}, 4096, false));
}

TEST(ModelEngine, RefusesBadUse) {
  EXPECT_THROW(ModelEngine({0.0, 1.0}), std::invalid_argument);
  EXPECT_THROW(ModelEngine({100.0, 0.0}), std::invalid_argument);
  ModelEngine engine({100.0, 1.0});
  EXPECT_THROW(engine.Open(TargetInfo{"empty", 512, 0}), EngineError);
  const auto disk = engine.Open(kDisk);
  engine.Submit(disk, Io(0, 0.0));
  engine.Close(disk);
  engine.Close(disk);  // harmless
  std::vector<IoCompletion> done;
  EXPECT_THROW(engine.Reap(disk, 10.0, done), EngineError);
  EXPECT_THROW(engine.Submit(disk, Io(1, 0.0)), EngineError);
}

}  // namespace
}  // namespace storageio_port
