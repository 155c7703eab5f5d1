#include "tm/Tm_arena.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

Tm_arena::Tm_arena(std::size_t first_block) : m_next_block(std::max<std::size_t>(first_block, 64)) {}

const char* Tm_arena::add_text(std::string_view text) {
  char* copy = allocate<char>(text.size() + 1);
  if (!text.empty()) std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  return copy;
}

void* Tm_arena::allocate_in_new_block(std::size_t size, std::size_t alignment) {
  const std::size_t block = std::max(m_next_block, size + alignment);
  // Not zeroed: pages the arena never hands out are never touched.
  m_blocks.emplace_back(new unsigned char[block]);
  m_next = m_blocks.back().get();
  m_left = block;
  m_next_block = block * 2;
  return allocate_bytes(size, alignment);
}
