#pragma once
// Turning direct I/O on for an open target, and saying so when the filesystem refuses it.

#include <string>

namespace storageio_port {

// Sets O_DIRECT on the open file `fd`, so its I/O bypasses the page cache. It is set after the
// open rather than in it: a refusal then needs no second open of the path, which could meet
// another file. Returns false, leaving `fd` buffered, when the filesystem refuses direct I/O
// (EINVAL, as procfs does, and tmpfs on older kernels). Throws TargetError, starting with `what`,
// for any other failure.
bool TryDirectIo(int fd, const std::string& what);

// What ioModeReason says of a target that TryDirectIo refused.
inline const char* const kDirectIoRefused = "buffered: the filesystem refuses O_DIRECT (EINVAL)";

}  // namespace storageio_port
