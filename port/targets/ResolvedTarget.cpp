#include "port/targets/ResolvedTarget.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <optional>

#include "port/targets/DeviceGeometry.h"
#include "port/targets/TargetError.h"

namespace storageio_port {
namespace {

constexpr std::uint32_t kSmallestSector = 512;

// realpath(3); nullopt with errno set when it fails.
std::optional<std::string> RealPath(const std::string& path) {
  char* resolved = ::realpath(path.c_str(), nullptr);
  if (resolved == nullptr) return std::nullopt;
  std::string result(resolved);
  std::free(resolved);
  return result;
}

std::string KindOf(mode_t mode) {
  if (S_ISDIR(mode)) return "a directory";
  if (S_ISCHR(mode)) return "a character device";
  if (S_ISFIFO(mode)) return "a pipe";
  if (S_ISSOCK(mode)) return "a socket";
  return "not a regular file";
}

std::uint32_t FileDirectIoAlignment(const struct statx& info) {
  // A filesystem that reports no alignment, or 0 for a file it cannot do direct I/O on, leaves
  // the device's block size: the unit direct I/O needs wherever the filesystem allows it.
  if ((info.stx_mask & STATX_DIOALIGN) != 0 && info.stx_dio_offset_align != 0) return info.stx_dio_offset_align;
  return LogicalBlockSizeOf(makedev(info.stx_dev_major, info.stx_dev_minor));
}

void ResolveExisting(const TargetEntry& entry, ResolvedTarget& target) {
  struct statx info {};
  if (::statx(AT_FDCWD, target.resolvedPath.c_str(), AT_STATX_SYNC_AS_STAT, STATX_BASIC_STATS | STATX_DIOALIGN,
              &info) != 0) {
    throw TargetError(target.Describe() + " cannot be examined: " + ErrnoText(errno));
  }
  target.identity = TargetIdentity{makedev(info.stx_dev_major, info.stx_dev_minor), info.stx_ino, true};
  target.existedAtStart = true;
  if (S_ISBLK(info.stx_mode)) {
    const BlockDeviceGeometry geometry = ReadBlockDeviceGeometry(target.resolvedPath);
    if (entry.sizeBytes > geometry.sizeBytes) {
      throw TargetError(target.Describe() + " is a block device of " + std::to_string(geometry.sizeBytes) +
                        " bytes, smaller than the size given (" + std::to_string(entry.sizeBytes) + ")");
    }
    target.kind = TargetKind::BlockDevice;
    target.sizeBytes = entry.sizeBytes != 0 ? entry.sizeBytes : geometry.sizeBytes;
    target.directIoAlignment = geometry.logicalSectorSize;
  } else if (S_ISREG(info.stx_mode)) {
    target.kind = TargetKind::File;
    target.sizeBytes = entry.sizeBytes != 0 ? entry.sizeBytes : info.stx_size;
    if (target.sizeBytes == 0) throw TargetError(target.Describe() + " is an empty file and needs a size");
    target.directIoAlignment = FileDirectIoAlignment(info);
  } else {
    throw TargetError(target.Describe() + " is " + KindOf(info.stx_mode) + ", not a regular file or a block device");
  }
}

void ResolveMissing(const TargetEntry& entry, ResolvedTarget& target) {
  const std::size_t slash = entry.path.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : (slash == 0 ? "/" : entry.path.substr(0, slash));
  const std::string base = slash == std::string::npos ? entry.path : entry.path.substr(slash + 1);
  if (base.empty()) throw TargetError(target.Describe() + " names a folder that does not exist");
  const std::optional<std::string> realFolder = RealPath(folder);
  if (!realFolder) {
    throw TargetError(target.Describe() + " does not exist and cannot be created: its folder '" + folder +
                      "' cannot be resolved: " + ErrnoText(errno));
  }
  struct stat folderInfo {};
  if (::stat(realFolder->c_str(), &folderInfo) != 0) {
    throw TargetError(target.Describe() + " cannot be created: its folder '" + *realFolder +
                      "' cannot be examined: " + ErrnoText(errno));
  }
  if (entry.sizeBytes == 0) throw TargetError(target.Describe() + " does not exist, and creating it needs a size");
  target.resolvedPath = (*realFolder == "/" ? "" : *realFolder) + "/" + base;
  target.kind = TargetKind::File;
  target.sizeBytes = entry.sizeBytes;
  // A file that does not exist cannot be asked for its own alignment yet.
  target.directIoAlignment = LogicalBlockSizeOf(folderInfo.st_dev);
}

}  // namespace

std::string ResolvedTarget::Describe() const {
  std::string text = "Storage target '" + name + "'";
  if (!resolvedPath.empty() && resolvedPath != name) text += " (" + resolvedPath + ")";
  return text;
}

std::uint32_t ChooseSectorSize(std::uint32_t requested, std::uint32_t alignment, const std::string& what) {
  if (requested == 0) return std::max(alignment, kSmallestSector);
  if (requested % alignment != 0) {
    throw TargetError(what + ": the sector size " + std::to_string(requested) +
                      " is not a multiple of its direct-I/O alignment of " + std::to_string(alignment) + " bytes");
  }
  return requested;
}

ResolvedTarget ResolveTarget(const TargetEntry& entry) {
  if (entry.path.empty()) throw TargetError("A storage target needs a path");
  ResolvedTarget target;
  target.name = entry.path;
  target.buffered = entry.buffered;
  if (const std::optional<std::string> real = RealPath(entry.path)) {
    target.resolvedPath = *real;
    ResolveExisting(entry, target);
  } else {
    const int error = errno;
    struct stat link {};
    // A link whose file is missing is not a name to create a file under.
    if (error == ENOENT && ::lstat(entry.path.c_str(), &link) == 0) {
      throw TargetError(target.Describe() + " is a symbolic link to a file that does not exist");
    }
    if (error != ENOENT) throw TargetError(target.Describe() + " cannot be resolved: " + ErrnoText(error));
    ResolveMissing(entry, target);
  }
  target.sectorSize = ChooseSectorSize(entry.sectorSize, target.directIoAlignment, target.Describe());
  target.sectorCount = target.sizeBytes / target.sectorSize;
  if (target.sectorCount == 0) {
    throw TargetError(target.Describe() + " is smaller than one sector (" + std::to_string(target.sizeBytes) +
                      " bytes, sector size " + std::to_string(target.sectorSize) + ")");
  }
  return target;
}

}  // namespace storageio_port
