#include "port/engines/ModelEngine.h"

#include <gtest/gtest.h>

namespace storageio_port {
namespace {

const ModelEngine::Config kDevice{100.0, 1.0};
const TargetInfo kDisk{"disk0", 512, 2048};  // 1 MiB

IoRequest Read(std::uint64_t tag, double issueMs, bool isRandom = false, std::uint64_t offset = 0) {
  return IoRequest{tag, offset, 4096, true, isRandom, issueMs};
}

TEST(ModelEngine, ServesOneIoAtATimeInSubmissionOrder) {
  const double s = ModelEngine::ServiceTimeMs(kDevice, 4096, false);
  EXPECT_DOUBLE_EQ(s, 0.1 + 0.04096);
  EXPECT_DOUBLE_EQ(ModelEngine::ServiceTimeMs(kDevice, 4096, true), 1.0 + 0.04096);
  ModelEngine engine(kDevice);
  const auto disk = engine.Open(kDisk);
  const auto other = engine.Open(kDisk);  // a device of its own
  for (std::uint64_t tag = 0; tag < 3; ++tag) engine.Submit(disk, Read(tag, 0.0));
  engine.Submit(disk, Read(3, 10.0));  // the device is idle by then
  engine.Submit(disk, Read(4, 10.0, false, kDisk.SizeBytes() - 4095));  // beyond the end
  engine.Submit(other, Read(5, 0.0, true));

  std::vector<IoCompletion> done;
  engine.Reap(disk, 2 * s + 1e-9, done);
  ASSERT_EQ(done.size(), 2u);
  EXPECT_DOUBLE_EQ(done[1].latencyMs, 2 * s);
  engine.Reap(disk, 100.0, done);
  ASSERT_EQ(done.size(), 5u);
  EXPECT_DOUBLE_EQ(done[2].completedMs, 3 * s);
  EXPECT_NEAR(done[3].latencyMs, s, 1e-12);
  EXPECT_TRUE(done[3].ok);
  EXPECT_FALSE(done[4].ok);
  EXPECT_DOUBLE_EQ(done[4].completedMs, done[3].completedMs);  // no device time
  done.clear();
  engine.Reap(other, 1.05, done);
  EXPECT_EQ(done.size(), 1u);
}

TEST(ModelEngine, RefusesBadUse) {
  EXPECT_THROW(ModelEngine({0.0, 1.0}), std::invalid_argument);
  EXPECT_THROW(ModelEngine({100.0, 0.0}), std::invalid_argument);
  ModelEngine engine(kDevice);
  EXPECT_THROW(engine.Open(TargetInfo{"empty", 512, 0}), EngineError);
  const auto disk = engine.Open(kDisk);
  engine.Close(disk);
  engine.Close(disk);  // harmless
  std::vector<IoCompletion> done;
  EXPECT_THROW(engine.Reap(disk, 10.0, done), EngineError);
  EXPECT_THROW(engine.Submit(disk, Read(1, 0.0)), EngineError);
}

}  // namespace
}  // namespace storageio_port
