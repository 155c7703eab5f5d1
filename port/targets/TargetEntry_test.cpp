#include "port/targets/TargetEntry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "port/targets/test/TargetsTest.h"

namespace storageio_port {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

std::string RefusalOf(const std::string& text) {
  return test::ThrownText<std::invalid_argument>([&] { ParseTargetEntry(text); });
}

TEST(TargetEntry, PathAloneLeavesEverythingElseToTheTarget) {
  const TargetEntry entry = ParseTargetEntry("/dev/nvme1n1");
  EXPECT_EQ(entry.path, "/dev/nvme1n1");
  EXPECT_EQ(entry.sizeBytes, 0u);
  EXPECT_EQ(entry.sectorSize, 0u);
  EXPECT_FALSE(entry.buffered);
}

TEST(TargetEntry, ReadsSizeSectorAndBufferedInAnyOrder) {
  const TargetEntry all = ParseTargetEntry("/tmp/t.bin:64MiB:sector=4096:buffered");
  EXPECT_EQ(all.path, "/tmp/t.bin");
  EXPECT_EQ(all.sizeBytes, 64u << 20);
  EXPECT_EQ(all.sectorSize, 4096u);
  EXPECT_TRUE(all.buffered);

  const TargetEntry reordered = ParseTargetEntry("relative.bin:buffered:sector=4KiB:10GB");
  EXPECT_EQ(reordered.path, "relative.bin");
  EXPECT_EQ(reordered.sizeBytes, 10'000'000'000u);
  EXPECT_EQ(reordered.sectorSize, 4096u);
  EXPECT_TRUE(reordered.buffered);

  EXPECT_EQ(ParseTargetEntry("/data/scratch.bin:10GiB").sizeBytes, 10ull << 30);
  EXPECT_EQ(ParseTargetEntry("/x:sector=512").sectorSize, 512u);
  EXPECT_EQ(ParseTargetEntry("/x:sector=65536").sectorSize, 65536u);
}

TEST(TargetEntry, EscapedColonBelongsToThePath) {
  const TargetEntry entry = ParseTargetEntry("/dev/disk/by-path/pci-0000\\:00\\:1f.2-ata-1:1G");
  EXPECT_EQ(entry.path, "/dev/disk/by-path/pci-0000:00:1f.2-ata-1");
  EXPECT_EQ(entry.sizeBytes, 1u << 30);
  // Any other backslash is the path's own.
  EXPECT_EQ(ParseTargetEntry("/odd\\name").path, "/odd\\name");
}

TEST(TargetEntry, RefusalsNameTheEntryAndWhatIsWrong) {
  EXPECT_THAT(RefusalOf(""), HasSubstr("the path is empty"));
  EXPECT_THAT(RefusalOf(":1G"), AllOf(HasSubstr("':1G'"), HasSubstr("the path is empty")));
  EXPECT_THAT(RefusalOf("/x:0"), AllOf(HasSubstr("'/x:0'"), HasSubstr("the size is 0")));
  EXPECT_THAT(RefusalOf("/x:12Q"), AllOf(HasSubstr("'/x:12Q'"), HasSubstr("'12Q' is not a byte size")));
  EXPECT_THAT(RefusalOf("/x:99999999999999999999"), HasSubstr("larger than 2^64 - 1 bytes"));
  EXPECT_THAT(RefusalOf("/x:1G:2G"), HasSubstr("the size is given twice"));
  EXPECT_THAT(RefusalOf("/x:sector=1000"), HasSubstr("sector size 1000 is not a power of two from 512 to 65536"));
  EXPECT_THAT(RefusalOf("/x:sector=256"), HasSubstr("sector size 256 is not a power of two"));
  EXPECT_THAT(RefusalOf("/x:sector=128K"), HasSubstr("sector size 131072 is not a power of two"));
  EXPECT_THAT(RefusalOf("/x:sector="), HasSubstr("'' is not a byte size"));
  EXPECT_THAT(RefusalOf("/x:sector=512:sector=512"), HasSubstr("sector size is given twice"));
  EXPECT_THAT(RefusalOf("/x:buffered:buffered"), HasSubstr("'buffered' is given twice"));
  EXPECT_THAT(RefusalOf("/x:direct"), AllOf(HasSubstr("'/x:direct'"), HasSubstr("unknown option 'direct'")));
  EXPECT_THAT(RefusalOf("/x:1G:"), HasSubstr("an option is empty"));
}

}  // namespace
}  // namespace storageio_port
