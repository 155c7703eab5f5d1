#include "port/targets/TargetFile.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <filesystem>
#include <optional>

#include "port/targets/DirectIo.h"
#include "port/targets/test/TargetsTest.h"

namespace storageio_port {
namespace {

using test::ScratchDir;
using test::ThrownText;
using ::testing::AllOf;
using ::testing::HasSubstr;

constexpr std::size_t kMiB = 1 << 20;
constexpr OpenIntent kRead{false, false};
constexpr OpenIntent kWrite{true, false};

bool HasODirect(const TargetFile& file) { return (::fcntl(file.fd(), F_GETFL) & O_DIRECT) != 0; }

// A block device this process may read and that holds data, or nullopt.
std::optional<std::string> ReadableBlockDevice() {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/sys/class/block", error)) {
    const std::string path = "/dev/" + entry.path().filename().string();
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) continue;
    std::uint64_t size = 0;
    const bool holdsData = ::ioctl(fd, BLKGETSIZE64, &size) == 0 && size > 0;
    ::close(fd);
    if (holdsData) return path;
  }
  return std::nullopt;
}

TEST(OpenTarget, OpensDirectWithTheAccessAsked) {
  const ScratchDir dir;
  const std::string path = dir.Path("data.bin");
  test::WriteFile(path, kMiB);
  const ResolvedTarget target = ResolveTarget(TargetEntry{path});

  TargetFile reader = OpenTarget(target, kRead);
  if (!reader.isDirect()) GTEST_SKIP() << "the build tree's filesystem refuses O_DIRECT: " << reader.ioModeReason();
  EXPECT_EQ(reader.ioModeReason(), "O_DIRECT");
  EXPECT_TRUE(HasODirect(reader));
  EXPECT_EQ(::fcntl(reader.fd(), F_GETFL) & O_ACCMODE, O_RDONLY);
  EXPECT_NE(::fcntl(reader.fd(), F_GETFD) & FD_CLOEXEC, 0);

  const TargetFile writer = OpenTarget(target, kWrite);
  EXPECT_EQ(::fcntl(writer.fd(), F_GETFL) & O_ACCMODE, O_RDWR);

  const int fd = reader.fd();
  const TargetFile moved = std::move(reader);
  EXPECT_EQ(moved.fd(), fd);
  EXPECT_EQ(reader.fd(), -1);
}

TEST(OpenTarget, BufferedTargetIsOpenedThroughThePageCache) {
  const ScratchDir dir;
  const std::string path = dir.Path("data.bin");
  test::WriteFile(path, kMiB);
  const TargetFile file = OpenTarget(ResolveTarget(TargetEntry{path, 0, 0, true}), kRead);
  EXPECT_FALSE(file.isDirect());
  EXPECT_FALSE(HasODirect(file));
  EXPECT_EQ(file.ioModeReason(), "buffered: given as buffered");
}

TEST(OpenTarget, DescriptorIsClosedWithTheTargetFile) {
  const ScratchDir dir;
  const std::string path = dir.Path("data.bin");
  test::WriteFile(path, kMiB);
  int fd = -1;
  {
    const TargetFile file = OpenTarget(ResolveTarget(TargetEntry{path}), kRead);
    fd = file.fd();
  }
  EXPECT_EQ(::fcntl(fd, F_GETFD), -1);
}

TEST(OpenTarget, RefusesAFileReplacedSinceThePortStarted) {
  const ScratchDir dir;
  const std::string path = dir.Path("data.bin");
  test::WriteFile(path, kMiB);
  const ResolvedTarget target = ResolveTarget(TargetEntry{path});
  test::ReplaceFile(path, kMiB);
  EXPECT_THAT(ThrownText([&] { OpenTarget(target, kRead); }),
              AllOf(HasSubstr(path), HasSubstr("has changed since the port started")));
}

TEST(OpenTarget, NeverFollowsASymbolicLinkPutInPlaceOfTheFile) {
  const ScratchDir dir;
  const std::string path = dir.Path("data.bin");
  test::WriteFile(path, kMiB);
  const ResolvedTarget target = ResolveTarget(TargetEntry{path});
  // The same file, now reached through a link: only O_NOFOLLOW can tell.
  std::filesystem::rename(path, dir.Path("moved.bin"));
  std::filesystem::create_symlink(dir.Path("moved.bin"), path);
  EXPECT_THAT(ThrownText([&] { OpenTarget(target, kRead); }), HasSubstr("is now a symbolic link"));
}

TEST(OpenTarget, RefusesAFileNotLaidOutYet) {
  const ScratchDir dir;
  const ResolvedTarget target = ResolveTarget(TargetEntry{dir.Path("new.bin"), kMiB});
  EXPECT_THAT(ThrownText([&] { OpenTarget(target, kRead); }), HasSubstr("has not been laid out yet"));
}

TEST(OpenTarget, WritingABlockDeviceNeedsTheWriteFlag) {
  // Refused before anything is opened: the device need not exist.
  ResolvedTarget target;
  target.name = target.resolvedPath = "/dev/no-such-disk";
  target.kind = TargetKind::BlockDevice;
  target.identity = TargetIdentity{1, 2, true};
  EXPECT_THAT(ThrownText([&] { OpenTarget(target, kWrite); }),
              HasSubstr("Writing to block device '/dev/no-such-disk' needs the port's block-device write flag"));
}

TEST(OpenTarget, ReadableBlockDeviceOpensForReadingOnly) {
  const std::optional<std::string> device = ReadableBlockDevice();
  if (!device) GTEST_SKIP() << "no block device here that this process may read and that holds data";
  const ResolvedTarget target = ResolveTarget(TargetEntry{*device});
  EXPECT_EQ(target.kind, TargetKind::BlockDevice);
  EXPECT_EQ(target.sectorSize, std::max(target.directIoAlignment, 512u));
  EXPECT_GE(OpenTarget(target, kRead).fd(), 0);
  EXPECT_THAT(ThrownText([&] { OpenTarget(target, kWrite); }), HasSubstr("needs the port's block-device write flag"));
}

TEST(OpenTarget, FallsBackToBufferedWhereProcfsRefusesDirectIo) {
  const ResolvedTarget target = ResolveTarget(TargetEntry{"/proc/version", 4096});
  const TargetFile file = OpenTarget(target, kRead);
  EXPECT_FALSE(file.isDirect());
  EXPECT_FALSE(HasODirect(file));
  EXPECT_EQ(file.ioModeReason(), kDirectIoRefused);
  char text[16] = {};
  EXPECT_GT(::read(file.fd(), text, sizeof text), 0) << "the buffered descriptor must still read";
}

TEST(OpenTarget, FallsBackToBufferedWhereTmpfsRefusesDirectIo) {
  if (!std::filesystem::is_directory("/dev/shm")) GTEST_SKIP() << "no /dev/shm here";
  struct ShmFile {
    std::string path = "/dev/shm/storageio_targets_test." + std::to_string(::getpid());
    ~ShmFile() { std::filesystem::remove(path); }
  } shm;
  test::WriteFile(shm.path, kMiB);
  const TargetFile file = OpenTarget(ResolveTarget(TargetEntry{shm.path}), kRead);
  if (file.isDirect()) GTEST_SKIP() << "tmpfs takes O_DIRECT on this kernel";
  EXPECT_EQ(file.ioModeReason(), kDirectIoRefused);
}

}  // namespace
}  // namespace storageio_port
