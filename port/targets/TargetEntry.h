#pragma once
// TargetEntry: one entry of a port's allow-list as written on its command line,
//
//   PATH[:SIZE][:sector=N][:buffered]      e.g. /data/scratch.bin:10GiB, /dev/nvme1n1,
//                                               /tmp/t.bin:64MiB:sector=4096:buffered
//
// The path ends at the first ':'; a ':' that belongs to the path is written "\:", as in
// /dev/disk/by-path/pci-0000\:00\:1f.2-ata-1. The options after it may come in any order.

#include <cstdint>
#include <string>

namespace storageio_port {

struct TargetEntry {
  std::string path;              // as given; it is also the target's name
  std::uint64_t sizeBytes = 0;   // 0: not given
  std::uint32_t sectorSize = 0;  // 0: not given, the target's own is used
  bool buffered = false;         // through the page cache instead of O_DIRECT
};

// Parses the form above. SIZE is read by ParseByteSize; N too, so sector=4KiB is sector=4096.
// Throws std::invalid_argument naming the text and what is wrong: an empty path, a bad or zero
// size, a sector size that is not a power of two from 512 to 65536, an empty option, an option
// given twice or an unknown option.
TargetEntry ParseTargetEntry(const std::string& text);

}  // namespace storageio_port
