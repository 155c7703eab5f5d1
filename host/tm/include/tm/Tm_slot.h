#pragma once
// How structures and arrays hold their values, and the few operations they share on them.
//
// A slot is a 24-byte tagged union whose tag is the value's TMV: simple values and texts of up to
// kInlineText bytes live inside it (no allocation for a number, none for a short text); longer
// texts, binaries, structures and arrays are owned through a pointer. A decoded structure or array
// lives in its message's arena instead: the slot destroys it but leaves its memory to the arena.
// Records of thousands of members are decoded and read through slots, so they stay small and cheap
// to destroy.
//
// An item view is the borrowed counterpart: it reads any container's item, including arrays that
// keep their values elsewhere, so that copying and comparing are written once for every kind of
// container.

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include "tm/Tm_binary.h"
#include "tm/Tm_types.h"

class Tm_struct;
class Tm_array;

class Tm_slot {
 public:
  static constexpr std::size_t kInlineText = 21;

  template <class T, class = decltype(Tm_simple_type<T>::value)>
  explicit Tm_slot(T value) : m_type(Tm_simple_type<T>::value) {
    std::memcpy(m_bytes, &value, sizeof value);
  }
  // A simple value of that type from its bits: the value, zero-extended to 64 bits (as a row holds
  // it). type must be a simple TMV.
  Tm_slot(TMV type, std::uint64_t bits) : m_type(static_cast<unsigned char>(type)) {
    static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "a slot keeps a value in its low bytes");
    std::memcpy(m_bytes, &bits, sizeof bits);
  }
  // Copies the text; it may hold NUL bytes.
  explicit Tm_slot(std::string_view text);
  explicit Tm_slot(std::unique_ptr<Tm_binary> value);
  explicit Tm_slot(std::unique_ptr<Tm_struct> value);
  explicit Tm_slot(std::unique_ptr<Tm_array> value);
  // A structure or array built in an arena that outlives the slot.
  static Tm_slot in_arena(Tm_struct* value);
  static Tm_slot in_arena(Tm_array* value);
  // A text kept by an arena that outlives the slot; text.data() is NUL-terminated.
  static Tm_slot in_arena(std::string_view text);

  Tm_slot(Tm_slot&& other) noexcept { take(other); }
  Tm_slot& operator=(Tm_slot&& other) noexcept {
    if (this != &other) {
      release();
      take(other);
    }
    return *this;
  }
  Tm_slot(const Tm_slot&) = delete;
  Tm_slot& operator=(const Tm_slot&) = delete;
  ~Tm_slot() { release(); }

  TMV type() const { return static_cast<TMV>(m_type); }

  // The value, read as the simple type T; the slot must hold a T.
  template <class T>
  T simple() const {
    T value;
    std::memcpy(&value, m_bytes, sizeof value);
    return value;
  }
  // For a text slot: the text, and the same as a NUL-terminated string.
  std::string_view text() const;
  const char* c_text() const { return text().data(); }
  // For a binary, structure or array slot: the value.
  const Tm_binary& binary() const { return *pointer<Tm_binary>(); }
  Tm_struct* structure() const { return pointer<Tm_struct>(); }
  Tm_array* array() const { return pointer<Tm_array>(); }

 private:
  static constexpr std::size_t kPayload = 22;
  // m_held: how a text or an owned value is held.
  static constexpr unsigned char kHeapText = 0x80;
  static constexpr unsigned char kInArena = 0x40;

  Tm_slot() = default;

  template <class T>
  T* pointer() const {
    T* value;
    std::memcpy(&value, m_bytes, sizeof value);
    return value;
  }
  template <class T>
  void set_pointer(T* value) {
    std::memcpy(m_bytes, &value, sizeof value);
  }

  void take(Tm_slot& other) noexcept {
    std::memcpy(m_bytes, other.m_bytes, kPayload);
    m_held = other.m_held;
    m_type = other.m_type;
    other.m_type = TMV_BOOL;  // the value is ours now; other has nothing to release
  }
  void release() noexcept {
    if (m_type >= TMV_STRING) release_owned();
  }
  void release_owned() noexcept;

  // Simple values and inline texts; or a pointer. An inline text is NUL-terminated and m_held is
  // its length; a heap text is a std::string; an arena text is its pointer and its 32-bit length.
  alignas(8) unsigned char m_bytes[kPayload];
  unsigned char m_held = 0;
  unsigned char m_type = TMV_BOOL;
};

static_assert(sizeof(Tm_slot) == 24, "a slot is three words");

inline TMV tm_slot_type(const Tm_slot& slot) { return slot.type(); }

using Tm_item_view =
    std::variant<signed char, unsigned char, short, unsigned short, int, unsigned int, long, unsigned long, double,
                 bool, std::string_view, const Tm_binary*, const Tm_struct*, const Tm_array*>;

Tm_item_view tm_view_of(const Tm_slot& slot);
// The item at index of a structure or array, read through its item_accept.
Tm_item_view tm_view_of_item(const Tm_struct& container, int index);
Tm_item_view tm_view_of_item(const Tm_array& container, int index);

// A deep copy of the viewed value, owned by no container yet.
Tm_slot tm_slot_copy(const Tm_item_view& view);
// Deep equality as Tm_value::equals defines it.
bool tm_views_equal(const Tm_item_view& left, const Tm_item_view& right);
// Hands the slot's value to the visitor's operation for its kind.
void tm_slot_accept(const Tm_slot& slot, Tm_visitor& visitor);
