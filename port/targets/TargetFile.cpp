#include "port/targets/TargetFile.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "port/targets/DirectIo.h"
#include "port/targets/TargetError.h"
#include "port/targets/TargetIdentity.h"

namespace storageio_port {
namespace {

std::string OpenFailure(const ResolvedTarget& target, int error) {
  if (error == ELOOP) return target.Describe() + " is now a symbolic link; it was not one when the port started";
  if (error == EBUSY && target.kind == TargetKind::BlockDevice) {
    return target.Describe() + " is mounted or in use by another program";
  }
  return target.Describe() + " cannot be opened: " + ErrnoText(error);
}

}  // namespace

TargetFile::TargetFile(UniqueFd fd, bool direct, std::string ioModeReason)
    : fd_(std::move(fd)), direct_(direct), ioModeReason_(std::move(ioModeReason)) {}

TargetFile OpenTarget(const ResolvedTarget& target, const OpenIntent& intent) {
  if (!target.identity.known) {
    throw TargetError(target.Describe() + " did not exist when the port started and has not been laid out yet");
  }
  const bool blockDevice = target.kind == TargetKind::BlockDevice;
  if (blockDevice && intent.write && !intent.allowBlockDeviceWrites) {
    throw TargetError("Writing to block device '" + target.name + "' needs the port's block-device write flag");
  }
  int flags = O_NOFOLLOW | O_CLOEXEC | (intent.write ? O_RDWR : O_RDONLY);
  // O_EXCL on a block device fails with EBUSY while a filesystem or another program holds it.
  if (blockDevice && intent.write) flags |= O_EXCL;
  const int fd = ::open(target.resolvedPath.c_str(), flags);
  if (fd < 0) throw TargetError(OpenFailure(target, errno));
  UniqueFd file(fd);
  if (!IdentityOf(file.fd(), target.Describe()).SameFileAs(target.identity)) {
    throw TargetError(target.Describe() + " has changed since the port started: it is another file now");
  }
  if (target.buffered) return TargetFile(std::move(file), false, "buffered: given as buffered");
  if (!TryDirectIo(file.fd(), target.Describe())) return TargetFile(std::move(file), false, kDirectIoRefused);
  return TargetFile(std::move(file), true, "O_DIRECT");
}

}  // namespace storageio_port
