#include "port/firmware/IoPattern.h"

#include <gtest/gtest.h>

#include <set>

namespace storageio_port {
namespace {

bst_1_bll::StorageWorkerProfile_s Profile(unsigned size, unsigned char readPercent, unsigned char randomPercent,
                                          unsigned align = 0) {
  bst_1_bll::StorageWorkerProfile_s profile;
  profile.TransferRequestSize = size;
  profile.PercentReadDistribution = readPercent;
  profile.PercentRandomDistribution = randomPercent;
  profile.EnableAlignIOs = align != 0;
  profile.AlignIOs = align;
  return profile;
}

TEST(IoPattern, SpreadHitsExactlyTheShareOfEveryPrefix) {
  for (unsigned percent = 0; percent <= 100; ++percent) {
    std::uint64_t hits = 0;
    for (std::uint64_t n = 1; n <= 300; ++n) {
      hits += Spread(n - 1, percent) ? 1 : 0;
      ASSERT_EQ(hits, n * percent / 100) << percent << "% after " << n;
    }
  }
}

TEST(IoPattern, ReadsAndRandomnessFollowTheSpreadsIndependently) {
  IoPattern pattern(Profile(512, 70, 40), Region{0, 1 << 20}, 512, 1);
  unsigned reads = 0, randomReads = 0, randomWrites = 0;
  for (int i = 0; i < 1000; ++i) {
    const IoPattern::Io io = pattern.Next();
    reads += io.isRead;
    (io.isRead ? randomReads : randomWrites) += io.isRandom;
  }
  EXPECT_EQ(reads, 700u);
  EXPECT_EQ(randomReads, 280u);   // 40% of the reads
  EXPECT_EQ(randomWrites, 120u);  // 40% of the writes
}

TEST(IoPattern, OffsetsAreAlignedInsideTheRegion) {
  // 1000 bytes aligned to 512 start at 1024, each moves on to the next multiple of 512 after its
  // end, and the one after 3072 would end beyond 4096.
  IoPattern sequential(Profile(1000, 100, 0, 512), Region{1000, 4096}, 512, 1);
  std::vector<std::uint64_t> offsets;
  for (int i = 0; i < 4; ++i) offsets.push_back(sequential.Next().offset);
  EXPECT_EQ(offsets, (std::vector<std::uint64_t>{1024, 2048, 3072, 1024}));

  const Region region{4096, 4096 + 64 * 4096};
  const std::uint64_t seed = SeedOf(20, "disk0");
  IoPattern random(Profile(8192, 0, 100, 4096), region, 4096, seed);
  IoPattern again(Profile(8192, 0, 100, 4096), region, 4096, seed);
  IoPattern otherWorker(Profile(8192, 0, 100, 4096), region, 4096, SeedOf(21, "disk0"));
  std::set<std::uint64_t> seen;
  unsigned sameAsOtherWorker = 0;
  for (int i = 0; i < 2000; ++i) {
    const std::uint64_t offset = random.Next().offset;
    ASSERT_EQ(offset, again.Next().offset);
    sameAsOtherWorker += offset == otherWorker.Next().offset;
    ASSERT_EQ(offset % 4096, 0u);
    ASSERT_GE(offset, region.firstByte);
    ASSERT_LE(offset + 8192, region.endByte);
    seen.insert(offset);
  }
  EXPECT_EQ(seen.size(), 63u);  // every position a transfer fits at
  EXPECT_LT(sameAsOtherWorker, 100u);  // about 1 in 63 by chance, not a replay
}

TEST(IoPattern, OffsetsFollowTheSectorSizeUnlessAlignIOsIsSet) {
  const TargetInfo disk = ModelDisk("disk1", 4096, 1000);
  EXPECT_EQ(AlignmentOf(Profile(512, 0, 100), disk), 4096u);
  EXPECT_EQ(AlignmentOf(Profile(512, 0, 100, 512), disk), 512u);
  auto zeroAlign = Profile(512, 0, 100);
  zeroAlign.EnableAlignIOs = true;  // with AlignIOs 0: the sector size still holds
  EXPECT_EQ(AlignmentOf(zeroAlign, disk), 4096u);
  EXPECT_NE(SeedOf(20, "disk0"), SeedOf(20, "disk1"));
}

TEST(IoPattern, RegionsClipToTheTargetAndWhatCannotRunIsRefused) {
  const TargetInfo disk = ModelDisk("disk0", 512, 1000);
  EXPECT_EQ(RegionOf(disk, {512, 0, 100}).endByte, 512000u);  // 0 sectors: to the end
  EXPECT_EQ(RegionOf(disk, {512, 5000, 100}).endByte, 512000u);
  EXPECT_EQ(RegionOf(disk, {512, 10, 100}).endByte, 56320u);
  EXPECT_THROW(RegionOf(disk, {512, 0, 1000}), std::invalid_argument);
  const Region region{0, 8192};
  EXPECT_THROW(IoPattern(Profile(512, 101, 0), region, 512, 1), std::invalid_argument);
  EXPECT_THROW(IoPattern(Profile(512, 0, 101), region, 512, 1), std::invalid_argument);
  EXPECT_THROW(IoPattern(Profile(0, 0, 0), region, 512, 1), std::invalid_argument);
  EXPECT_THROW(IoPattern(Profile(512, 0, 0), region, 0, 1), std::invalid_argument);
  EXPECT_THROW(IoPattern(Profile(8193, 0, 0), region, 1, 1), std::invalid_argument);
  EXPECT_THROW(IoPattern(Profile(4096, 0, 0), Region{1, 8191}, 4096, 1), std::invalid_argument);
  EXPECT_THROW(IoPattern(Profile(512, 0, 0), Region{~0ULL - 100, ~0ULL}, 1, 1), std::invalid_argument);
}

}  // namespace
}  // namespace storageio_port
