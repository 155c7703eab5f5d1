#pragma once
// Memory for the values of one decoded message, or for the names of one structure: blocks that
// are handed out in order and freed together when the arena dies. A decoded message's structures
// share its arena (their names and member storage live there), which spares the decoder one
// allocation per record and keeps a large message in a few large blocks.
//
// Not synchronised: an arena belongs to one message, and a message to one thread at a time.
// Copies of a structure never share its arena.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

class Tm_arena {
 public:
  // first_block: the size of the first block; later blocks double.
  explicit Tm_arena(std::size_t first_block);
  Tm_arena(const Tm_arena&) = delete;
  Tm_arena& operator=(const Tm_arena&) = delete;

  // Uninitialised room for count objects of T, valid as long as the arena.
  template <class T>
  T* allocate(std::size_t count) {
    return static_cast<T*>(allocate_bytes(count * sizeof(T), alignof(T)));
  }
  // A NUL-terminated copy of text, valid as long as the arena.
  const char* add_text(std::string_view text);

 private:
  // Inline: a decoded message takes a few arena pieces per record.
  void* allocate_bytes(std::size_t size, std::size_t alignment) {
    const std::size_t padding = (alignment - reinterpret_cast<std::uintptr_t>(m_next) % alignment) % alignment;
    if (m_next == nullptr || padding + size > m_left) return allocate_in_new_block(size, alignment);
    unsigned char* start = m_next + padding;
    m_next = start + size;
    m_left -= padding + size;
    return start;
  }
  void* allocate_in_new_block(std::size_t size, std::size_t alignment);

  std::vector<std::unique_ptr<unsigned char[]>> m_blocks;
  unsigned char* m_next = nullptr;
  std::size_t m_left = 0;
  std::size_t m_next_block;
};
