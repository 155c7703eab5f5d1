#pragma once
// A member-name catalog: distinct entries numbered from 0 in the order they were first added.
// Structures built with a catalog can carry an entry's index on the wire instead of its text.

#include <unordered_map>
#include <vector>

#include "tm/Tm_exception.h"

template <class T>
class Tm_catalog {
 public:
  // The entry's index; an entry already present keeps its index.
  int add(const T& name) {
    const auto [position, inserted] = m_index.emplace(name, static_cast<int>(m_entries.size()));
    if (inserted) m_entries.push_back(name);
    return position->second;
  }

  // The entry's index, or -1.
  int find(const T& name) const {
    const auto position = m_index.find(name);
    return position == m_index.end() ? -1 : position->second;
  }

  // Throws Tm_out_of_range_exception(index, 0, size() - 1) for an index outside.
  const T& get(int index) const {
    if (index < 0 || index >= size()) throw Tm_out_of_range_exception(index, 0, size() - 1);
    return m_entries[static_cast<std::size_t>(index)];
  }

  int size() const { return static_cast<int>(m_entries.size()); }

  void clear() {
    m_entries.clear();
    m_index.clear();
  }

 private:
  std::vector<T> m_entries;
  std::unordered_map<T, int> m_index;
};
