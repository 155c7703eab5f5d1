#pragma once
// The data a file is laid out with: pseudo-random, so that storage that compresses or
// deduplicates cannot answer measured I/O cheaper than it would real data.

#include <cstddef>
#include <cstdint>

namespace storageio_port {

// Fills `size` bytes at `data` with the data of file offset `offset` (a multiple of 8) for
// layout `seed`. Every 8-byte word depends on the seed and its own offset, so no two blocks of one
// layout, nor of layouts with other seeds, are alike.
void FillLayoutData(std::uint64_t seed, std::uint64_t offset, unsigned char* data, std::size_t size);

}  // namespace storageio_port
