#pragma once
// The growable element storage of structures and arrays: a vector whose buffer is either its own
// or lent by an arena (decoded values), in which case it outlives nothing it does not own. A lent
// buffer is used until it is full; growing beyond it moves the elements into a buffer of its own.
// Elements that hold nothing outside the arena need no destructor: the decoder says so of the
// containers it finishes, and destroying them is then only forgetting them.

#include <cstdint>
#include <limits>
#include <new>
#include <utility>

#include "tm/Tm_exception.h"

template <class T>
class Tm_storage {
 public:
  Tm_storage() = default;
  Tm_storage(Tm_storage&& other) noexcept { steal(other); }
  Tm_storage& operator=(Tm_storage&& other) noexcept {
    if (this != &other) {
      release();
      steal(other);
    }
    return *this;
  }
  Tm_storage(const Tm_storage&) = delete;
  Tm_storage& operator=(const Tm_storage&) = delete;
  ~Tm_storage() { release(); }

  // Stores into buffer, room for capacity elements that outlives this storage; the storage must be
  // empty.
  void lend(T* buffer, std::size_t capacity) {
    release();
    m_data = buffer;
    m_capacity = static_cast<std::uint32_t>(capacity);
    m_owned = false;
  }

  // Room for capacity elements at least, in a buffer of its own when it has to grow.
  void reserve(std::size_t capacity) {
    if (capacity <= m_capacity) return;
    if (capacity > std::numeric_limits<std::uint32_t>::max()) {
      throw Tm_exception("a container of " + std::to_string(capacity) + " values is too large");
    }
    T* buffer = static_cast<T*>(::operator new(capacity * sizeof(T)));
    for (std::uint32_t i = 0; i < m_size; ++i) {
      new (buffer + i) T(std::move(m_data[i]));
      m_data[i].~T();
    }
    if (m_owned) ::operator delete(m_data);
    m_data = buffer;
    m_capacity = static_cast<std::uint32_t>(capacity);
    m_owned = true;
  }

  // Promises that the elements own nothing outside the arena; appending withdraws the promise.
  void set_elements_own_nothing() { m_elements_own_nothing = true; }

  template <class... Args>
  T& emplace_back(Args&&... args) {
    m_elements_own_nothing = false;
    if (m_size == m_capacity) reserve(m_capacity == 0 ? 4 : std::size_t{m_capacity} * 2);
    T* element = new (m_data + m_size) T(std::forward<Args>(args)...);
    ++m_size;
    return *element;
  }

  // Destroys the elements; keeps a buffer of its own, gives a lent one up.
  void clear() {
    destroy_elements();
    if (!m_owned) {
      m_data = nullptr;
      m_capacity = 0;
    }
  }

  std::size_t size() const { return m_size; }
  bool empty() const { return m_size == 0; }
  T& operator[](std::size_t index) { return m_data[index]; }
  const T& operator[](std::size_t index) const { return m_data[index]; }
  T* begin() { return m_data; }
  T* end() { return m_data + m_size; }
  const T* begin() const { return m_data; }
  const T* end() const { return m_data + m_size; }

 private:
  void destroy_elements() {
    if (!m_elements_own_nothing) {
      for (std::uint32_t i = 0; i < m_size; ++i) m_data[i].~T();
    }
    m_size = 0;
    m_elements_own_nothing = false;
  }
  void release() {
    destroy_elements();
    if (m_owned) ::operator delete(m_data);
    m_data = nullptr;
    m_capacity = 0;
    m_owned = false;
  }
  void steal(Tm_storage& other) {
    m_data = std::exchange(other.m_data, nullptr);
    m_size = std::exchange(other.m_size, 0);
    m_capacity = std::exchange(other.m_capacity, 0);
    m_owned = std::exchange(other.m_owned, false);
    m_elements_own_nothing = std::exchange(other.m_elements_own_nothing, false);
  }

  T* m_data = nullptr;
  std::uint32_t m_size = 0;
  std::uint32_t m_capacity = 0;
  bool m_owned = false;
  bool m_elements_own_nothing = false;
};
