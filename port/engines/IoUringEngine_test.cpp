#include "port/engines/IoUringEngine.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "port/firmware/MonotonicClock.h"
#include "port/targets/test/TargetsTest.h"

namespace storageio_port {
namespace {

using test::ReadFile;
using test::ScratchDir;
using test::WriteFile;

constexpr std::uint64_t kFileBytes = 1 << 20;

class IoUringEngineTest : public ::testing::Test {
 protected:
  void SetUp() override {
    try {
      m_engine = std::make_unique<IoUringEngine>();
    } catch (const EngineError& e) {
      GTEST_SKIP() << "the kernel refuses io_uring here: " << e.what();
    }
    WriteFile(m_scratch.Path("target.bin"), kFileBytes);
    m_target = RealTarget(ParseTargetEntry(m_scratch.Path("target.bin")), false);
  }

  // Reaps until `count` completions have come, or a second has passed.
  std::vector<IoCompletion> ReapAll(std::size_t count) {
    std::vector<IoCompletion> done;
    const double giveUpMs = MonotonicMs() + 1000;
    while (done.size() < count && MonotonicMs() < giveUpMs) m_engine->Reap(giveUpMs, done);
    return done;
  }

  ScratchDir m_scratch;
  std::unique_ptr<IoUringEngine> m_engine;
  TargetInfo m_target;
};

TEST_F(IoUringEngineTest, CarriesOutReadsAndWritesAndStampsEveryBlockOfAWrite) {
  const auto handle = m_engine->Open(m_target, true);
  m_engine->Submit(handle, IoRequest{7, 8192, 8192, false, false, 0});
  m_engine->Submit(handle, IoRequest{8, 0, 4096, true, true, 0});
  m_engine->Submit(handle, IoRequest{9, kFileBytes - 2048, 4096, true, false, 0});  // beyond the end
  std::vector<IoCompletion> done = ReapAll(3);
  ASSERT_EQ(done.size(), 3u);
  std::map<std::uint64_t, IoCompletion> byTag;
  for (const IoCompletion& c : done) byTag[c.tag] = c;
  EXPECT_TRUE(byTag[7].ok);
  EXPECT_FALSE(byTag[7].isRead);
  EXPECT_TRUE(byTag[8].ok);
  EXPECT_EQ(byTag[8].handle, handle);
  EXPECT_GT(byTag[8].latencyMs, 0.0);
  EXPECT_FALSE(byTag[9].ok);  // never sent
  m_engine->Close(handle);

  // The write's two 4 KiB blocks carry its sequence number and their own offsets.
  const std::vector<unsigned char> data = ReadFile(m_target.device->resolvedPath);
  for (const std::uint64_t offset : {8192u, 12288u}) {
    std::uint64_t stamp[2];
    std::memcpy(stamp, data.data() + offset, sizeof stamp);
    EXPECT_EQ(stamp[0], 7u);
    EXPECT_EQ(stamp[1], offset);
  }
  EXPECT_NE(std::memcmp(data.data() + 8192 + 16, data.data() + 12288 + 16, 4096 - 16), 0);  // not a constant buffer
}

TEST_F(IoUringEngineTest, CloseWaitsForItsOwnIosAndKeepsTheOthers) {
  const auto first = m_engine->Open(m_target, false);
  const auto second = m_engine->Open(m_target, false);
  for (std::uint64_t tag = 0; tag < 16; ++tag) {
    m_engine->Submit(tag % 2 ? second : first, IoRequest{tag, tag * 4096, 4096, true, true, 0});
  }
  m_engine->Close(first);
  const std::vector<IoCompletion> done = ReapAll(8);
  ASSERT_EQ(done.size(), 8u);
  for (const IoCompletion& c : done) EXPECT_EQ(c.handle, second);
  EXPECT_THROW(m_engine->Submit(first, IoRequest{}), EngineError);
  EXPECT_EQ(m_engine->Open(m_target, false), first);  // the freed handle is used again
}

TEST_F(IoUringEngineTest, RefusesModelDisksAndWaitsOutAnIdleReap) {
  EXPECT_THROW(m_engine->Open(ModelDisk("disk0", 512, 2048), false), EngineError);
  std::vector<IoCompletion> done;
  const double startMs = MonotonicMs();
  m_engine->Reap(startMs + 20, done);  // nothing in flight: it sleeps until then
  EXPECT_TRUE(done.empty());
  EXPECT_GE(MonotonicMs(), startMs + 20);
}

}  // namespace
}  // namespace storageio_port
