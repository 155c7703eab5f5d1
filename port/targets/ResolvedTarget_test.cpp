#include "port/targets/ResolvedTarget.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "port/targets/test/TargetsTest.h"

namespace storageio_port {
namespace {

using test::ScratchDir;
using test::ThrownText;
using ::testing::AllOf;
using ::testing::HasSubstr;

constexpr std::size_t kMiB = 1 << 20;

std::string Canonical(const std::string& path) { return std::filesystem::canonical(path).string(); }

TEST(ResolveTarget, ExistingFileKeepsItsSizeIdentityAndAlignment) {
  const ScratchDir dir;
  const std::string path = dir.Path("data.bin");
  test::WriteFile(path, kMiB);

  const ResolvedTarget target = ResolveTarget(TargetEntry{path});
  EXPECT_EQ(target.name, path);
  EXPECT_EQ(target.resolvedPath, Canonical(path));
  EXPECT_EQ(target.kind, TargetKind::File);
  EXPECT_EQ(target.sizeBytes, kMiB);
  EXPECT_TRUE(target.existedAtStart);
  EXPECT_TRUE(target.identity.SameFileAs(test::IdentityAt(path)));
  ASSERT_GT(target.directIoAlignment, 0u);
  EXPECT_EQ(target.directIoAlignment & (target.directIoAlignment - 1), 0u) << "not a power of two";
  EXPECT_GE(target.sectorSize, 512u);
  EXPECT_EQ(target.sectorSize % target.directIoAlignment, 0u);
  EXPECT_EQ(target.sectorCount, kMiB / target.sectorSize);
}

TEST(ResolveTarget, GivenSizeIsWhatTheFileWillBeLaidOutTo) {
  const ScratchDir dir;
  const std::string path = dir.Path("data.bin");
  test::WriteFile(path, kMiB);
  EXPECT_EQ(ResolveTarget(TargetEntry{path, 4 * kMiB}).sizeBytes, 4 * kMiB);
}

TEST(ResolveTarget, SizeThatIsNoWholeNumberOfSectorsIsRoundedDown) {
  const ScratchDir dir;
  const std::string path = dir.Path("data.bin");
  test::WriteFile(path, kMiB + 100);
  const ResolvedTarget target = ResolveTarget(TargetEntry{path});
  EXPECT_EQ(target.sizeBytes, kMiB + 100);
  EXPECT_EQ(target.sectorCount, kMiB / target.sectorSize);
}

TEST(ResolveTarget, SymbolicLinkResolvesToTheFileItPointsTo) {
  const ScratchDir dir;
  const std::string file = dir.Path("data.bin");
  const std::string link = dir.Path("by-id-link");
  test::WriteFile(file, kMiB);
  std::filesystem::create_symlink(file, link);

  const ResolvedTarget target = ResolveTarget(TargetEntry{link});
  EXPECT_EQ(target.name, link);
  EXPECT_EQ(target.resolvedPath, Canonical(file));
  EXPECT_TRUE(target.identity.SameFileAs(test::IdentityAt(file)));
  EXPECT_THAT(target.Describe(), AllOf(HasSubstr(link), HasSubstr(Canonical(file))));
}

TEST(ResolveTarget, MissingFileWithSizeIsToBeCreatedInItsFolder) {
  const ScratchDir dir;
  const std::string path = dir.Path("new.bin");

  const ResolvedTarget target = ResolveTarget(TargetEntry{path, 8 * kMiB});
  EXPECT_EQ(target.resolvedPath, Canonical(dir.Path("")) + "/new.bin");
  EXPECT_EQ(target.kind, TargetKind::File);
  EXPECT_EQ(target.sizeBytes, 8 * kMiB);
  EXPECT_FALSE(target.existedAtStart);
  EXPECT_FALSE(target.identity.known);
  EXPECT_GT(target.sectorCount, 0u);
  EXPECT_FALSE(std::filesystem::exists(path)) << "resolving must not create the file";
}

TEST(ResolveTarget, RefusesWhatCannotBeATarget) {
  const ScratchDir dir;
  const std::string empty = dir.Path("empty.bin");
  test::WriteFile(empty, 0);
  const std::string dangling = dir.Path("dangling");
  std::filesystem::create_symlink(dir.Path("nowhere.bin"), dangling);

  EXPECT_THAT(ThrownText([&] { ResolveTarget(TargetEntry{dir.Path("new.bin")}); }),
              AllOf(HasSubstr("new.bin"), HasSubstr("creating it needs a size")));
  EXPECT_THAT(ThrownText([&] {
                ResolveTarget(TargetEntry{dir.Path("no-folder/new.bin"), kMiB});
              }),
              AllOf(HasSubstr("no-folder"), HasSubstr("No such file or directory (ENOENT)")));
  EXPECT_THAT(ThrownText([&] {
                ResolveTarget(TargetEntry{dir.Path(""), kMiB});
              }),
              HasSubstr("is a directory, not a regular file or a block device"));
  EXPECT_THAT(ThrownText([&] {
                ResolveTarget(TargetEntry{"/dev/null", kMiB});
              }),
              HasSubstr("'/dev/null' is a character device"));
  EXPECT_THAT(ThrownText([&] { ResolveTarget(TargetEntry{empty}); }), HasSubstr("is an empty file and needs a size"));
  EXPECT_THAT(ThrownText([&] {
                ResolveTarget(TargetEntry{dangling, kMiB});
              }),
              HasSubstr("is a symbolic link to a file that does not exist"));
  EXPECT_THAT(ThrownText([&] { ResolveTarget(TargetEntry{empty, 100}); }), HasSubstr("smaller than one sector"));
  EXPECT_THAT(ThrownText([&] { ResolveTarget(TargetEntry{""}); }), HasSubstr("needs a path"));
}

TEST(ChooseSectorSize, DefaultsToTheAlignmentButNotBelow512) {
  EXPECT_EQ(ChooseSectorSize(0, 512, "t"), 512u);
  EXPECT_EQ(ChooseSectorSize(0, 4096, "t"), 4096u);
  EXPECT_EQ(ChooseSectorSize(0, 1, "t"), 512u);
}

TEST(ChooseSectorSize, GivenSizeMustBeAMultipleOfTheAlignment) {
  EXPECT_EQ(ChooseSectorSize(4096, 512, "t"), 4096u);
  EXPECT_EQ(ChooseSectorSize(8192, 4096, "t"), 8192u);
  EXPECT_THAT(ThrownText([] { ChooseSectorSize(512, 4096, "Storage target '/dev/x'"); }),
              AllOf(HasSubstr("'/dev/x'"), HasSubstr("sector size 512"), HasSubstr("alignment of 4096 bytes")));
}

}  // namespace
}  // namespace storageio_port
