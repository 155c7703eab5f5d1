#pragma once
// TargetFile: a target opened for I/O, after the checks that keep the port on the targets it was
// started with. OpenTarget is the only way to get one.

#include <string>

#include "port/targets/ResolvedTarget.h"
#include "port/targets/UniqueFd.h"

namespace storageio_port {

struct OpenIntent {
  bool write = false;                   // read-write, else read-only
  bool allowBlockDeviceWrites = false;  // the port's block-device write flag
};

class TargetFile {
 public:
  TargetFile(TargetFile&&) noexcept = default;
  TargetFile& operator=(TargetFile&&) noexcept = default;

  // The open descriptor, -1 once moved from. Owned by this object, closed with it: never close it.
  int fd() const { return fd_.fd(); }
  // Whether I/O bypasses the page cache (O_DIRECT): offsets, lengths and buffers must then be
  // aligned to the target's directIoAlignment.
  bool isDirect() const { return direct_; }
  // For the log: "O_DIRECT", "buffered: given as buffered" or
  // "buffered: the filesystem refuses O_DIRECT (EINVAL)".
  const std::string& ioModeReason() const { return ioModeReason_; }

 private:
  friend TargetFile OpenTarget(const ResolvedTarget& target, const OpenIntent& intent);
  TargetFile(UniqueFd fd, bool direct, std::string ioModeReason);

  UniqueFd fd_;
  bool direct_;
  std::string ioModeReason_;
};

// Opens `target`'s resolved path (never through a symbolic link; close-on-exec), read-write when
// `intent.write`, else read-only, and direct unless the target is buffered or its filesystem
// refuses direct I/O.
// Requires the target's identity to be known: a file the port creates must be laid out first.
// A block device opened for writing also needs intent.allowBlockDeviceWrites, and is opened
// exclusively, so a device that is mounted or claimed by another program is refused.
// Throws TargetError naming the target and the reason: identity unknown, write flag missing, the
// path now a symbolic link, the device in use, the file not the one resolved when the port
// started, or any other failure to open.
TargetFile OpenTarget(const ResolvedTarget& target, const OpenIntent& intent);

}  // namespace storageio_port
