#pragma once
// What the target tests share: a scratch folder of their own under the build tree, small files
// made in it, and how files are looked at afterwards.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "port/targets/TargetError.h"
#include "port/targets/TargetIdentity.h"

namespace storageio_port::test {

// A fresh folder beside the test program, named after the running test and the process (ctest
// runs tests in parallel), removed with what it holds when the test ends.
class ScratchDir {
 public:
  ScratchDir() {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    path_ = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "targets_scratch" /
            (std::string(test->test_suite_name()) + "." + test->name() + "." + std::to_string(::getpid()));
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  ~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  std::string Path(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

// A file of `size` bytes, each `fill`, written through so that it has no holes.
inline void WriteFile(const std::string& path, std::size_t size, unsigned char fill = 0x5A) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  ASSERT_GE(fd, 0) << path;
  const std::vector<unsigned char> data(size, fill);
  EXPECT_EQ(::write(fd, data.data(), size), static_cast<ssize_t>(size)) << path;
  ::close(fd);
}

inline std::vector<unsigned char> ReadFile(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat info {};
  if (fd < 0 || ::fstat(fd, &info) != 0) return {};
  std::vector<unsigned char> data(static_cast<std::size_t>(info.st_size));
  const ssize_t got = ::pread(fd, data.data(), data.size(), 0);
  ::close(fd);
  data.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
  return data;
}

inline TargetIdentity IdentityAt(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return {};
  return TargetIdentity{info.st_dev, info.st_ino, true};
}

// Where the first hole of the file is: its size when it has none; -1 when it cannot be asked.
inline off_t FirstHole(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const off_t hole = fd < 0 ? -1 : ::lseek(fd, 0, SEEK_HOLE);
  if (fd >= 0) ::close(fd);
  return hole;
}

// Replaces the file at `path` by a new one of the same size. The new file exists before the old
// one goes, so it cannot get the old one's inode number.
inline void ReplaceFile(const std::string& path, std::size_t size) {
  WriteFile(path + ".new", size);
  ASSERT_EQ(::rename((path + ".new").c_str(), path.c_str()), 0) << path;
}

// The text of the Error `action` throws, or a text saying that it threw none.
template <typename Error = TargetError, typename Action>
std::string ThrownText(Action&& action) {
  try {
    action();
  } catch (const Error& e) {
    return e.what();
  }
  return "(nothing thrown)";
}

}  // namespace storageio_port::test
