#include "port/targets/Layout.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <random>
#include <utility>

#include "port/targets/DirectIo.h"
#include "port/targets/LayoutData.h"
#include "port/targets/TargetError.h"
#include "port/targets/UniqueFd.h"

namespace storageio_port {
namespace {

constexpr std::size_t kChunkBytes = 1 << 20;
constexpr std::size_t kPageBytes = 4096;

struct LayoutFile {
  UniqueFd fd;
  bool created;
  TargetIdentity identity;
};

// "64 MiB" when the amount is a whole number of a binary unit, else "1000 bytes".
std::string Amount(std::uint64_t bytes) {
  for (const auto& [unit, name] :
       {std::pair<std::uint64_t, const char*>{1ull << 30, "GiB"}, {1ull << 20, "MiB"}, {1ull << 10, "KiB"}}) {
    if (bytes >= unit && bytes % unit == 0) return std::to_string(bytes / unit) + " " + name;
  }
  return std::to_string(bytes) + " bytes";
}

LayoutFile OpenForLayout(const ResolvedTarget& target) {
  const std::string what = target.Describe();
  if (target.identity.known) {
    const int fd = ::open(target.resolvedPath.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) throw TargetError(what + " cannot be opened for layout: " + ErrnoText(errno));
    UniqueFd file(fd);
    const TargetIdentity identity = IdentityOf(file.fd(), what);
    if (!identity.SameFileAs(target.identity)) {
      throw TargetError(what + " has changed since the port started: it is another file now");
    }
    return LayoutFile{std::move(file), false, identity};
  }
  // O_EXCL: only a file this call creates may be removed when the layout fails.
  const int fd = ::open(target.resolvedPath.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
  if (fd < 0 && errno == EEXIST) {
    throw TargetError(what + " did not exist when the port started but does now; it is left alone");
  }
  if (fd < 0) throw TargetError(what + " cannot be created: " + ErrnoText(errno));
  UniqueFd file(fd);
  const TargetIdentity identity = IdentityOf(file.fd(), what);
  return LayoutFile{std::move(file), true, identity};
}

bool IsFullyWritten(int fd, std::uint64_t size) {
  struct stat info {};
  if (::fstat(fd, &info) != 0 || static_cast<std::uint64_t>(info.st_size) != size) return false;
  const off_t firstHole = ::lseek(fd, 0, SEEK_HOLE);
  return firstHole >= 0 && static_cast<std::uint64_t>(firstHole) == size;
}

void WriteLayout(int fd, const ResolvedTarget& target, const std::atomic<bool>& cancel, std::uint64_t& written) {
  const std::string what = target.Describe();
  const auto failure = [&](const std::string& why) {
    return what + " could not be laid out: " + why + " after " + std::to_string(written) + " bytes written";
  };
  if (::ftruncate(fd, 0) != 0) throw TargetError(failure("cutting it to 0 bytes failed: " + ErrnoText(errno)));
  // The tail of a size that is not a multiple of the alignment can only be written buffered.
  if (!target.buffered && target.sizeBytes % target.directIoAlignment == 0) TryDirectIo(fd, what);

  void* memory = nullptr;
  const std::size_t alignment = std::max<std::size_t>(kPageBytes, target.directIoAlignment);
  if (::posix_memalign(&memory, alignment, kChunkBytes) != 0) throw TargetError(failure("out of memory"));
  const std::unique_ptr<unsigned char, decltype(&std::free)> buffer(static_cast<unsigned char*>(memory), &std::free);
  std::random_device random;
  const std::uint64_t seed = (std::uint64_t{random()} << 32) | random();

  while (written < target.sizeBytes) {
    if (cancel.load()) {
      throw LayoutCancelled(what + " layout was cancelled after " + std::to_string(written) + " bytes written");
    }
    const std::size_t chunk =
        static_cast<std::size_t>(std::min<std::uint64_t>(kChunkBytes, target.sizeBytes - written));
    FillLayoutData(seed, written, buffer.get(), chunk);
    // A write may take only some of a chunk (a signal, a file size limit); the rest is written again
    // so that the error, if any, is the one the next write reports.
    for (std::size_t done = 0; done < chunk;) {
      const ssize_t n = ::pwrite(fd, buffer.get() + done, chunk - done, static_cast<off_t>(written));
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) throw TargetError(failure(ErrnoText(errno)));
      if (n == 0) throw TargetError(failure("the filesystem took no more data"));
      done += static_cast<std::size_t>(n);
      written += static_cast<std::uint64_t>(n);
    }
  }
  if (::fdatasync(fd) != 0) throw TargetError(failure("flushing failed: " + ErrnoText(errno)));
}

// Removes the file this layout created, but never a file put in its place meanwhile. Says what
// became of it, for the error's text.
std::string RemoveCreated(const ResolvedTarget& target, const LayoutFile& file) {
  struct stat atPath {};
  if (::lstat(target.resolvedPath.c_str(), &atPath) != 0 ||
      !file.identity.SameFileAs(TargetIdentity{atPath.st_dev, atPath.st_ino, true})) {
    return "; the file it created is no longer at its path";
  }
  if (::unlink(target.resolvedPath.c_str()) != 0) return "; removing the file it created failed: " + ErrnoText(errno);
  return "; the file it created was removed";
}

}  // namespace

LayoutReport LayOut(ResolvedTarget& target, const std::atomic<bool>& cancel) {
  if (target.kind != TargetKind::File) {
    throw TargetError(target.Describe() + " is a block device; block devices are never laid out");
  }
  LayoutFile file = OpenForLayout(target);
  if (!file.created && IsFullyWritten(file.fd.fd(), target.sizeBytes)) {
    return LayoutReport{true, 0, "reused " + target.name + ": size matches and no holes"};
  }
  std::uint64_t written = 0;
  try {
    WriteLayout(file.fd.fd(), target, cancel, written);
  } catch (const LayoutCancelled& e) {
    throw LayoutCancelled(e.what() + (file.created ? RemoveCreated(target, file) : ""));
  } catch (const TargetError& e) {
    throw TargetError(e.what() + (file.created ? RemoveCreated(target, file) : ""));
  }
  if (file.created) target.identity = file.identity;
  return LayoutReport{false, written, "laid out " + target.name + ": " + Amount(written) + " written"};
}

}  // namespace storageio_port
