#pragma once
// An ordered list of values.
//
// Reads by index return a value only if it has exactly the type asked for: an index outside
// throws Tm_out_of_range_exception(index, 0, count - 1), a value of another type
// Tm_type_mismatch_exception(actual, requested). Texts and pointers returned stay valid while the
// item lives. Every operation is virtual: arrays that keep their values elsewhere (the backed
// arrays) replace them; clone, equals and accept work for every array through item_accept.
// Not copyable (that would slice a backed array); clone() makes the deep copy.

#include <string>
#include <vector>

#include "tm/Tm_slot.h"
#include "tm/Tm_storage.h"
#include "tm/Tm_value_container.h"

class Tm_array : public Tm_value_container {
 public:
  Tm_array();
  explicit Tm_array(Tm_value_container* container);
  Tm_array(const Tm_array&) = delete;
  Tm_array& operator=(const Tm_array&) = delete;
  ~Tm_array() override;

  // Makes room for count items; a negative count throws Tm_exception.
  virtual void reserve(int count);
  // Appends; takes ownership of a binary, structure or array (see Tm_value_container).
  virtual void add_member_and_own(Tm_value* value);
  // Appends a value; a null text throws Tm_exception.
  virtual void add_member(bool value);
  virtual void add_member(signed char value);
  virtual void add_member(unsigned char value);
  virtual void add_member(short value);
  virtual void add_member(unsigned short value);
  virtual void add_member(int value);
  virtual void add_member(unsigned int value);
  virtual void add_member(long value);
  virtual void add_member(unsigned long value);
  virtual void add_member(double value);
  virtual void add_member(const char* value);
  virtual void add_member(const std::string& value);
  virtual void clear();

  virtual int get_member_count() const;
  virtual TMV get_member_value_type(int index) const;
  virtual const Tm_struct* get_member_struct(int index) const;
  virtual signed char get_member_int8(int index) const;
  virtual unsigned char get_member_uint8(int index) const;
  virtual short get_member_int16(int index) const;
  virtual unsigned short get_member_uint16(int index) const;
  virtual int get_member_int32(int index) const;
  virtual unsigned int get_member_uint32(int index) const;
  virtual long get_member_int64(int index) const;
  virtual unsigned long get_member_uint64(int index) const;
  virtual double get_member_double(int index) const;
  virtual bool get_member_bool(int index) const;
  virtual const char* get_member_string(int index) const;
  virtual const Tm_binary& get_member_binary(int index) const;
  virtual const Tm_array* get_member_array(int index) const;
  // Kinds of value this library does not have: each throws
  // Tm_exception("<operation>() has no values in this message library").
  virtual const Tm_value* get_member_message(int index) const;
  virtual const Tm_value* get_member_file(int index) const;
  virtual const Tm_value* get_member_date(int index) const;

  virtual void item_accept(int index, Tm_visitor& visitor) const;

  TMV get_value_type() const override { return TMV_ARRAY; }
  // A plain array holding copies of the items.
  Tm_value* clone() const override;
  // Equal to any array with the same count and equal items.
  bool equals(const Tm_value& other) const override;
  void accept(Tm_visitor& visitor) const override;

 private:
  friend class Tm_wire_reader;

  const Tm_slot& item_at(int index) const;
  const Tm_slot& value_at(int index, TMV type) const;

  // A decoded array's items live in its message's arena, which the structure owning the array
  // keeps alive.
  Tm_storage<Tm_slot> m_items;
};
