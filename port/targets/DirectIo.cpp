#include "port/targets/DirectIo.h"

#include <fcntl.h>

#include <cerrno>

#include "port/targets/TargetError.h"

namespace storageio_port {

bool TryDirectIo(int fd, const std::string& what) {
  const int flags = ::fcntl(fd, F_GETFL);
  if (flags >= 0 && ::fcntl(fd, F_SETFL, flags | O_DIRECT) == 0) return true;
  if (errno == EINVAL) return false;
  throw TargetError(what + " cannot be switched to direct I/O: " + ErrnoText(errno));
}

}  // namespace storageio_port
