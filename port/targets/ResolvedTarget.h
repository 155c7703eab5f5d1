#pragma once
// ResolvedTarget: an allow-list entry looked up on the system, once, when the port starts: which
// file or block device it is, how large, and in what units I/O to it must come. Everything the
// port does to the target later goes through the resolved path and is checked against the
// identity kept here.

#include <cstdint>
#include <string>

#include "port/targets/TargetEntry.h"
#include "port/targets/TargetIdentity.h"

namespace storageio_port {

enum class TargetKind { File, BlockDevice };

struct ResolvedTarget {
  std::string name;          // the path as given: the target's name
  std::string resolvedPath;  // absolute, no symbolic links; every open uses this path
  TargetKind kind = TargetKind::File;
  // A file is laid out to this size. A block device: all of it, or its first sizeBytes when the
  // entry gave a size.
  std::uint64_t sizeBytes = 0;
  std::uint32_t sectorSize = 0;         // a multiple of directIoAlignment
  std::uint64_t sectorCount = 0;        // sizeBytes / sectorSize rounded down; never 0
  std::uint32_t directIoAlignment = 0;  // offsets and lengths of direct I/O are multiples of it
  bool buffered = false;                // as the entry said
  TargetIdentity identity;              // not known while the file does not exist
  bool existedAtStart = false;

  // "Storage target '<name>'", followed by the resolved path when it differs: how errors name
  // the target.
  std::string Describe() const;
};

// Looks `entry` up; touches nothing (a block device is opened read-only to ask its geometry).
// - An existing path has its symbolic links resolved and must be a regular file or a block
//   device; its identity is kept. A file's size is the entry's when given (the file will be laid
//   out to it), else its current size. A block device's is its own, or the entry's when that is
//   not larger.
// - A path that does not exist needs an existing folder and a size; its identity is known once
//   LayOut has created it.
// - The direct-I/O alignment is the one the filesystem reports for the file (statx), else the
//   logical block size of the device it is on; for a block device, its logical sector size.
// - The sector size comes from ChooseSectorSize.
// Throws TargetError naming the path and the reason: a path that is empty, cannot be resolved or
// is of another kind, a missing folder, a missing size, a sector size ChooseSectorSize refuses,
// or less than one sector.
ResolvedTarget ResolveTarget(const TargetEntry& entry);

// The sector size of a target whose direct I/O is aligned to `alignment` (not 0) bytes:
// `requested` when it is given (not 0), else the alignment but at least 512 bytes.
// Throws TargetError, starting with `what`, when `requested` is not a multiple of `alignment`.
std::uint32_t ChooseSectorSize(std::uint32_t requested, std::uint32_t alignment, const std::string& what);

}  // namespace storageio_port
