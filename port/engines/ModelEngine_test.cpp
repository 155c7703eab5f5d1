#include "port/engines/ModelEngine.h"

#include <gtest/gtest.h>

namespace storageio_port {
namespace {

const ModelEngine::Config kDevice{100.0, 1.0};
const TargetInfo kDisk = ModelDisk("disk0", 512, 2048);  // 1 MiB

IoRequest Read(std::uint64_t tag, double issueMs, bool isRandom = false, std::uint64_t offset = 0) {
  return IoRequest{tag, offset, 4096, true, isRandom, issueMs};
}

TEST(ModelEngine, ServesOneIoAtATimeInSubmissionOrder) {
  const double s = ModelEngine::ServiceTimeMs(kDevice, 4096, false);
  EXPECT_DOUBLE_EQ(s, 0.1 + 0.04096);
  EXPECT_DOUBLE_EQ(ModelEngine::ServiceTimeMs(kDevice, 4096, true), 1.0 + 0.04096);
  ModelEngine engine(kDevice);
  const auto disk = engine.Open(kDisk, false);
  const auto other = engine.Open(kDisk, true);  // a device of its own
  for (std::uint64_t tag = 0; tag < 3; ++tag) engine.Submit(disk, Read(tag, 0.0));
  engine.Submit(disk, Read(3, 10.0));  // the device is idle by then
  engine.Submit(disk, Read(4, 10.0, false, kDisk.SizeBytes() - 4095));  // beyond the end
  engine.Submit(other, Read(5, 0.0, true));

  std::vector<IoCompletion> done;
  engine.Reap(2 * s + 1e-9, done);
  ASSERT_EQ(done.size(), 2u);
  EXPECT_DOUBLE_EQ(done[1].latencyMs, 2 * s);
  engine.Reap(1.05, done);  // device by device: the third read, then the other device's random one
  ASSERT_EQ(done.size(), 4u);
  EXPECT_EQ(done[2].handle, disk);
  EXPECT_DOUBLE_EQ(done[2].completedMs, 3 * s);
  EXPECT_EQ(done[3].handle, other);
  engine.Reap(100.0, done);
  ASSERT_EQ(done.size(), 6u);
  EXPECT_NEAR(done[4].latencyMs, s, 1e-12);
  EXPECT_TRUE(done[4].ok);
  EXPECT_FALSE(done[5].ok);
  EXPECT_DOUBLE_EQ(done[5].completedMs, done[4].completedMs);  // no device time
}

TEST(ModelEngine, RefusesBadUse) {
  EXPECT_THROW(ModelEngine({0.0, 1.0}), std::invalid_argument);
  EXPECT_THROW(ModelEngine({100.0, 0.0}), std::invalid_argument);
  ModelEngine engine(kDevice);
  EXPECT_THROW(engine.Open(ModelDisk("empty", 512, 0), false), EngineError);
  const auto disk = engine.Open(kDisk, false);
  engine.Submit(disk, Read(1, 0.0));
  engine.Close(disk);
  engine.Close(disk);  // harmless
  std::vector<IoCompletion> done;
  engine.Reap(10.0, done);
  EXPECT_TRUE(done.empty());  // what was in flight went with the handle
  EXPECT_THROW(engine.Submit(disk, Read(1, 0.0)), EngineError);
}

}  // namespace
}  // namespace storageio_port
