#include "port/targets/Layout.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstring>
#include <filesystem>

#include "port/targets/TargetFile.h"
#include "port/targets/test/TargetsTest.h"

namespace storageio_port {
namespace {

using test::ScratchDir;
using test::ThrownText;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr std::size_t kMiB = 1 << 20;

const std::atomic<bool> kGoOn{false};

// Lowers this process's file size limit so that a write past `bytes` fails with EFBIG, as one on
// a full disk fails with ENOSPC, and puts the limit back when it goes.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : previousHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
    ::getrlimit(RLIMIT_FSIZE, &saved_);
    rlimit lowered = saved_;
    lowered.rlim_cur = bytes;
    ::setrlimit(RLIMIT_FSIZE, &lowered);
  }
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &saved_);
    std::signal(SIGXFSZ, previousHandler_);
  }

 private:
  rlimit saved_{};
  void (*previousHandler_)(int);
};

// Whether a file holds the layout's data: no 4 KiB block all zeros, and no two of the first blocks alike.
void ExpectLayoutData(const std::string& path) {
  const std::vector<unsigned char> data = test::ReadFile(path);
  const std::vector<unsigned char> zeros(4096, 0);
  for (std::size_t at = 0; at + 4096 <= data.size(); at += 4096) {
    ASSERT_NE(std::memcmp(data.data() + at, zeros.data(), 4096), 0) << "block at " << at << " is zeros";
  }
  ASSERT_GE(data.size(), 8192u);
  EXPECT_NE(std::memcmp(data.data(), data.data() + 4096, 4096), 0) << "the first two blocks are alike";
}

TEST(LayOut, NewFileIsCreatedFullyWrittenAndThenOpens) {
  const ScratchDir dir;
  const std::string path = dir.Path("new.bin");
  ResolvedTarget target = ResolveTarget(TargetEntry{path, 2 * kMiB + kMiB / 2});

  const LayoutReport report = LayOut(target, kGoOn);
  EXPECT_FALSE(report.reused);
  EXPECT_EQ(report.bytesWritten, 2 * kMiB + kMiB / 2);
  EXPECT_EQ(report.text, "laid out " + path + ": 2560 KiB written");
  EXPECT_EQ(std::filesystem::file_size(path), 2 * kMiB + kMiB / 2);
  EXPECT_EQ(test::FirstHole(path), static_cast<off_t>(2 * kMiB + kMiB / 2));
  ExpectLayoutData(path);
  EXPECT_TRUE(target.identity.SameFileAs(test::IdentityAt(path)));
  EXPECT_GE(OpenTarget(target, OpenIntent{true, false}).fd(), 0);
  EXPECT_TRUE(LayOut(target, kGoOn).reused) << "a second layout finds the first one's file";
}

TEST(LayOut, FullyWrittenFileOfTheRightSizeIsReusedUntouched) {
  const ScratchDir dir;
  const std::string path = dir.Path("data.bin");
  test::WriteFile(path, kMiB, 0x5A);
  ResolvedTarget target = ResolveTarget(TargetEntry{path, kMiB});

  const LayoutReport report = LayOut(target, kGoOn);
  EXPECT_TRUE(report.reused);
  EXPECT_EQ(report.bytesWritten, 0u);
  EXPECT_EQ(report.text, "reused " + path + ": size matches and no holes");
  EXPECT_EQ(test::ReadFile(path), std::vector<unsigned char>(kMiB, 0x5A));
}

TEST(LayOut, SparseFileOfTheRightSizeIsRewrittenInPlace) {
  const ScratchDir dir;
  const std::string path = dir.Path("sparse.bin");
  test::WriteFile(path, 0);
  std::filesystem::resize_file(path, kMiB);
  ASSERT_LT(test::FirstHole(path), static_cast<off_t>(kMiB)) << "this filesystem made no hole";
  ResolvedTarget target = ResolveTarget(TargetEntry{path});
  const TargetIdentity before = target.identity;

  const LayoutReport report = LayOut(target, kGoOn);
  EXPECT_FALSE(report.reused);
  EXPECT_EQ(report.bytesWritten, kMiB);
  EXPECT_EQ(test::FirstHole(path), static_cast<off_t>(kMiB));
  ExpectLayoutData(path);
  EXPECT_TRUE(before.SameFileAs(test::IdentityAt(path)));
}

TEST(LayOut, FileOfAnotherSizeIsRewrittenToTheTargetsSize) {
  const ScratchDir dir;
  for (const std::size_t existing : {kMiB / 2, 3 * kMiB}) {
    const std::string path = dir.Path("data" + std::to_string(existing) + ".bin");
    test::WriteFile(path, existing);
    ResolvedTarget target = ResolveTarget(TargetEntry{path, kMiB});
    EXPECT_EQ(LayOut(target, kGoOn).bytesWritten, kMiB) << existing;
    EXPECT_EQ(std::filesystem::file_size(path), kMiB) << existing;
    ExpectLayoutData(path);
  }
}

TEST(LayOut, SizeThatIsNoMultipleOfTheAlignmentIsWrittenToTheLastByte) {
  const ScratchDir dir;
  const std::string path = dir.Path("odd.bin");
  ResolvedTarget target = ResolveTarget(TargetEntry{path, kMiB + 100});
  EXPECT_EQ(LayOut(target, kGoOn).bytesWritten, kMiB + 100);
  EXPECT_EQ(std::filesystem::file_size(path), kMiB + 100);
}

TEST(LayOut, RefusesWhatItMustNotWrite) {
  const ScratchDir dir;
  ResolvedTarget device;
  device.name = device.resolvedPath = "/dev/no-such-disk";
  device.kind = TargetKind::BlockDevice;
  EXPECT_THAT(ThrownText([&] { LayOut(device, kGoOn); }), HasSubstr("block devices are never laid out"));

  const std::string appeared = dir.Path("appeared.bin");
  ResolvedTarget missing = ResolveTarget(TargetEntry{appeared, kMiB});
  test::WriteFile(appeared, 4096, 0x11);
  EXPECT_THAT(ThrownText([&] { LayOut(missing, kGoOn); }),
              HasSubstr("did not exist when the port started but does now"));
  EXPECT_EQ(test::ReadFile(appeared), std::vector<unsigned char>(4096, 0x11));

  const std::string replaced = dir.Path("replaced.bin");
  test::WriteFile(replaced, kMiB);
  ResolvedTarget existing = ResolveTarget(TargetEntry{replaced, 2 * kMiB});
  test::ReplaceFile(replaced, kMiB);
  EXPECT_THAT(ThrownText([&] { LayOut(existing, kGoOn); }), HasSubstr("has changed since the port started"));
  EXPECT_EQ(std::filesystem::file_size(replaced), kMiB);
}

TEST(LayOut, WriteErrorRemovesTheFileItCreated) {
  const ScratchDir dir;
  const std::string path = dir.Path("new.bin");
  ResolvedTarget target = ResolveTarget(TargetEntry{path, 4 * kMiB});

  std::string text;
  {
    const FileSizeLimit limit(kMiB + kMiB / 2);
    text = ThrownText([&] { LayOut(target, kGoOn); });
  }
  EXPECT_THAT(text, AllOf(HasSubstr(path), HasSubstr("File too large (EFBIG)"),
                          HasSubstr("after 1572864 bytes written"), HasSubstr("the file it created was removed")));
  EXPECT_THAT(text, Not(HasSubstr("cancelled")));
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_FALSE(target.identity.known);
}

TEST(LayOut, WriteErrorLeavesAFileThatWasThereBefore) {
  const ScratchDir dir;
  const std::string path = dir.Path("data.bin");
  test::WriteFile(path, kMiB / 2);
  ResolvedTarget target = ResolveTarget(TargetEntry{path, 4 * kMiB});

  std::string text;
  {
    const FileSizeLimit limit(kMiB + kMiB / 2);
    text = ThrownText([&] { LayOut(target, kGoOn); });
  }
  EXPECT_THAT(text, AllOf(HasSubstr("File too large (EFBIG)"), Not(HasSubstr("removed"))));
  EXPECT_TRUE(std::filesystem::exists(path));
}

TEST(LayOut, CancelRemovesTheFileItCreated) {
  const ScratchDir dir;
  const std::string path = dir.Path("new.bin");
  ResolvedTarget target = ResolveTarget(TargetEntry{path, 4 * kMiB});
  const std::atomic<bool> cancel{true};

  EXPECT_THAT(ThrownText<LayoutCancelled>([&] { LayOut(target, cancel); }),
              AllOf(HasSubstr(path), HasSubstr("layout was cancelled after 0 bytes written"),
                    HasSubstr("the file it created was removed")));
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_FALSE(target.identity.known);
}

}  // namespace
}  // namespace storageio_port
