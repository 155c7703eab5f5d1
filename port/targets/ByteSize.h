#pragma once
// Byte sizes as people write them on a command line: "4096", "64MiB", "10G", "500GB".

#include <cstdint>
#include <string>

namespace storageio_port {

// A whole number of bytes, optionally followed by a unit:
// - binary: K, KiB, M, MiB, G, GiB, T, TiB (powers of 1024);
// - decimal: KB, MB, GB, TB (powers of 1000).
// The unit's letter may be upper or lower case ("64mib", "4kB"); nothing else may surround the
// number (no sign, fraction or spaces). 0 is a size; callers that need more say so.
// Throws std::invalid_argument naming the text and what is wrong: empty, no leading digits, an
// unknown unit, or a value beyond 2^64 - 1 bytes.
std::uint64_t ParseByteSize(const std::string& text);

}  // namespace storageio_port
