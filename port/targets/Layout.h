#pragma once
// LayOut: a file target fully written at its size before measured I/O. Reads of blocks that were
// never written are answered without touching the disk, so a sparse or short file would measure
// the filesystem rather than the storage.

#include <atomic>
#include <cstdint>
#include <string>

#include "port/targets/ResolvedTarget.h"

namespace storageio_port {

struct LayoutReport {
  bool reused = false;  // already fully written at its size; nothing was written
  std::uint64_t bytesWritten = 0;
  std::string text;  // for the log: "laid out /x.bin: 64 MiB written", "reused /x.bin: size matches and no holes"
};

// Requires a file target (block devices are never laid out).
// - An existing file of the target's size without holes is reused as it is.
// - Any other file is written from start to end with LayoutData in 1 MiB chunks, then
//   fdatasync'ed. Writes are direct unless the target is buffered, its size is not a multiple of
//   its direct-I/O alignment or the filesystem refuses; direct writes leave the page cache clean.
//   An existing file is cut to 0 bytes first. A missing one is created, never over a file that
//   appeared since the port started, and on success its identity is recorded in `target`.
// `cancel` may be set from any thread; it is checked between chunks.
// Throws LayoutCancelled when `cancel` stopped it, and TargetError naming the file and the reason
// for anything else: a block device, a file changed since the port started, a failed write
// (ENOSPC, EIO, EDQUOT, ...) or flush. Texts of both give the bytes written so far. Either way a
// file this call created has been removed, and target.identity stays unknown.
LayoutReport LayOut(ResolvedTarget& target, const std::atomic<bool>& cancel);

}  // namespace storageio_port
