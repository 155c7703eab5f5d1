#pragma once
// A structure: values named by their member names, in insertion order.
//
// Names need not be unique (bytes from the wire may repeat one); a lookup finds the first member
// of that name. Reading members in the order they were added costs O(1) per read: the structure
// remembers where the last lookup ended and tries the next member first. A member added under a
// name that has an interned copy (Tm_interned_name.h) carries that copy, and a read by the interned
// copy matches it by pointer, without comparing texts.
//
// Getters take the member's name and return its value only if it has exactly the type asked for:
// a missing member throws Tm_exception("no member '<name>'"), a member of another type
// Tm_type_mismatch_exception(actual, requested), a null name Tm_exception("member name is null").
// Texts and pointers returned stay valid while the member lives (until clear() or destruction).
//
// Copies are deep and stand alone (they belong to no container and share no memory with the
// original); a structure is used by one thread at a time, reads included (the lookup hint changes
// on reads).

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tm/Tm_arena.h"
#include "tm/Tm_array.h"
#include "tm/Tm_slot.h"
#include "tm/Tm_storage.h"
#include "tm/Tm_value_container.h"

class Tm_struct : public Tm_value_container {
 public:
  explicit Tm_struct(Tm_value_container* container = nullptr);
  Tm_struct(const Tm_struct& other);
  Tm_struct(Tm_struct&& other) noexcept;
  Tm_struct& operator=(const Tm_struct& other);
  Tm_struct& operator=(Tm_struct&& other) noexcept;
  ~Tm_struct() override;

  // Appending a member; the name is copied. A null name or null text throws Tm_exception.
  void add_member(const char* name, bool value);
  void add_member(const char* name, signed char value);
  void add_member(const char* name, unsigned char value);
  void add_member(const char* name, short value);
  void add_member(const char* name, unsigned short value);
  void add_member(const char* name, int value);
  void add_member(const char* name, unsigned int value);
  void add_member(const char* name, long value);
  void add_member(const char* name, unsigned long value);
  void add_member(const char* name, double value);
  void add_member(const char* name, const char* value);
  void add_member(const char* name, const std::string& value);
  void add_member(const char* name, const Tm_binary& value);
  // Takes ownership of a binary, structure or array (see Tm_value_container for the checks).
  void add_member_and_own(const char* name, Tm_value* value);

  bool get_member_bool(const char* name) const;
  signed char get_member_int8(const char* name) const;
  unsigned char get_member_uint8(const char* name) const;
  short get_member_int16(const char* name) const;
  unsigned short get_member_uint16(const char* name) const;
  int get_member_int32(const char* name) const;
  unsigned int get_member_uint32(const char* name) const;
  long get_member_int64(const char* name) const;
  unsigned long get_member_uint64(const char* name) const;
  double get_member_double(const char* name) const;
  const char* get_member_string(const char* name) const;
  const Tm_binary& get_member_binary(const char* name) const;
  const Tm_struct* get_member_struct(const char* name) const;
  const Tm_array* get_member_array(const char* name) const;

  // Index of the first member of that name; -1 when there is none or name is null.
  int get_member_index(const char* name) const;
  int get_member_count() const { return static_cast<int>(m_members.size()); }
  // Index-based reads; an index outside throws Tm_out_of_range_exception(index, 0, count - 1).
  const char* get_member_name(int index) const;
  TMV get_member_value_type(int index) const;
  void item_accept(int index, Tm_visitor& visitor) const;
  // Removes every member.
  void clear();

  TMV get_value_type() const override { return TMV_STRUCT; }
  Tm_value* clone() const override;
  // Equal to another structure with the same names and equal values in the same order.
  bool equals(const Tm_value& other) const override;
  void accept(Tm_visitor& visitor) const override;

 protected:
  // Appends a member whose name outlives this structure (a static table, or this structure's
  // arena). name_is_new promises no earlier member has that name; without the promise the
  // structure checks.
  void append(const char* name, Tm_slot&& value, bool name_is_new);
  // Room for count members, so that a structure whose size is known grows once.
  void reserve_members(std::size_t count) { m_members.reserve(count); }

 private:
  friend class Tm_wire_writer;
  friend class Tm_wire_reader;

  struct Member {
    template <class... Value>
    Member(const char* member_name, Value&&... value) : name(member_name), value(std::forward<Value>(value)...) {}

    const char* name;
    Tm_slot value;
  };

  void append_copying_name(const char* name, Tm_slot&& value);
  const Member& member_at(int index) const;
  const Member& member_named(const char* name) const;
  const Tm_slot& value_named(const char* name, TMV type) const;

  // Holds the names this structure did not get from a static table or the interned names, and for
  // a decoded message's root its member storage too; declared first, so that it outlives the
  // members.
  std::shared_ptr<Tm_arena> m_arena;
  Tm_storage<Member> m_members;
  mutable int m_next_lookup = 0;
  bool m_unique_names = true;
  // A structure the decoder built below a message's root: its names and storage are the arena that
  // the root keeps, so a copy copies the names.
  bool m_in_message_arena = false;
};
