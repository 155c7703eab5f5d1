#pragma once
// Read-only arrays of simple values that live outside the message, for sending large scalar
// vectors without turning every element into a message value.
//
// Tm_backed_array refers to count elements from begin: nothing is copied, and the elements must
// stay alive and unchanged while the array lives (until the message has been sent).
// Tm_copy_backed_array copies the count elements into a buffer of its own at construction.
//
// Both belong to no container when built, read their elements with the array's own TMV only (a
// typed getter for another type throws Tm_type_mismatch_exception(array's TMV, requested TMV), before
// any index check; there is no widening), throw Tm_out_of_range_exception(index, 0, count - 1) for an
// index outside, and refuse every change and every non-scalar read with a Tm_exception naming the
// operation: "<operation>() is not supported by backed arrays" (a value offered to
// add_member_and_own stays the caller's). clone() gives a plain Tm_array
// holding the values; equals and accept are those of Tm_array.
//
// Instantiated for signed char, unsigned char, short, unsigned short, int, unsigned int, long and
// unsigned long over std::vector<T>::const_iterator, and for unsigned char over
// const unsigned char*, in both forms.

#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "tm/Tm_array.h"

template <class Iterator>
class Tm_backed_array : public Tm_array {
 public:
  using element_type = typename std::iterator_traits<Iterator>::value_type;

  // A negative count throws Tm_exception.
  Tm_backed_array(Iterator begin, int count);

  void reserve(int count) override;
  void add_member_and_own(Tm_value* value) override;
  void add_member(bool value) override;
  void add_member(signed char value) override;
  void add_member(unsigned char value) override;
  void add_member(short value) override;
  void add_member(unsigned short value) override;
  void add_member(int value) override;
  void add_member(unsigned int value) override;
  void add_member(long value) override;
  void add_member(unsigned long value) override;
  void add_member(double value) override;
  void add_member(const char* value) override;
  void add_member(const std::string& value) override;
  void clear() override;

  int get_member_count() const override { return m_count; }
  TMV get_member_value_type(int index) const override;
  const Tm_struct* get_member_struct(int index) const override;
  signed char get_member_int8(int index) const override;
  unsigned char get_member_uint8(int index) const override;
  short get_member_int16(int index) const override;
  unsigned short get_member_uint16(int index) const override;
  int get_member_int32(int index) const override;
  unsigned int get_member_uint32(int index) const override;
  long get_member_int64(int index) const override;
  unsigned long get_member_uint64(int index) const override;
  double get_member_double(int index) const override;
  bool get_member_bool(int index) const override;
  const char* get_member_string(int index) const override;
  const Tm_binary& get_member_binary(int index) const override;
  const Tm_array* get_member_array(int index) const override;
  const Tm_value* get_member_message(int index) const override;
  const Tm_value* get_member_file(int index) const override;
  const Tm_value* get_member_date(int index) const override;

  // Dispatches on the array's TMV; only the simple codes 0 to 9 are valid.
  void item_accept(int index, Tm_visitor& visitor) const override;

 private:
  template <class T>
  T element(int index) const;
  void check_index(int index) const;

  Iterator m_begin;
  int m_count;
  TMV m_type;
};

template <class T, class Iterator>
class Tm_copy_backed_array : public Tm_backed_array<const T*> {
 public:
  // Copies count elements from begin; a negative count throws Tm_exception.
  Tm_copy_backed_array(Iterator begin, int count);

 private:
  Tm_copy_backed_array(std::unique_ptr<T[]> buffer, int count);

  std::unique_ptr<T[]> m_buffer;
};

#define TM_BACKED_ARRAYS_OVER_VECTOR(T)                                  \
  extern template class Tm_backed_array<std::vector<T>::const_iterator>; \
  extern template class Tm_backed_array<const T*>;                       \
  extern template class Tm_copy_backed_array<T, std::vector<T>::const_iterator>;
TM_BACKED_ARRAYS_OVER_VECTOR(signed char)
TM_BACKED_ARRAYS_OVER_VECTOR(unsigned char)
TM_BACKED_ARRAYS_OVER_VECTOR(short)
TM_BACKED_ARRAYS_OVER_VECTOR(unsigned short)
TM_BACKED_ARRAYS_OVER_VECTOR(int)
TM_BACKED_ARRAYS_OVER_VECTOR(unsigned int)
TM_BACKED_ARRAYS_OVER_VECTOR(long)
TM_BACKED_ARRAYS_OVER_VECTOR(unsigned long)
#undef TM_BACKED_ARRAYS_OVER_VECTOR
extern template class Tm_copy_backed_array<unsigned char, const unsigned char*>;
