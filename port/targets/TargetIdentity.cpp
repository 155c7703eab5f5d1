#include "port/targets/TargetIdentity.h"

#include <sys/stat.h>

#include <cerrno>

#include "port/targets/TargetError.h"

namespace storageio_port {

TargetIdentity IdentityOf(int fd, const std::string& what) {
  struct stat info {};
  if (::fstat(fd, &info) != 0) throw TargetError(what + " cannot be examined: " + ErrnoText(errno));
  return TargetIdentity{info.st_dev, info.st_ino, true};
}

}  // namespace storageio_port
