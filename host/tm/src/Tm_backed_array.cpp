#include "tm/Tm_backed_array.h"

#include <algorithm>
#include <type_traits>

#include "tm/Tm_exception.h"

namespace {

Tm_exception unsupported(const char* operation) {
  return Tm_exception(std::string(operation) + "() is not supported by backed arrays");
}

void check_count(int count) {
  if (count < 0) throw Tm_exception("backed array given a negative count " + std::to_string(count));
}

template <class T, class Iterator>
std::unique_ptr<T[]> copy_of(Iterator begin, int count) {
  check_count(count);
  auto buffer = std::make_unique<T[]>(static_cast<std::size_t>(count));
  std::copy_n(begin, count, buffer.get());
  return buffer;
}

}  // namespace

template <class Iterator>
Tm_backed_array<Iterator>::Tm_backed_array(Iterator begin, int count)
    : Tm_array(nullptr), m_begin(begin), m_count(count), m_type(Tm_simple_type<element_type>::value) {
  check_count(count);
}

template <class Iterator>
void Tm_backed_array<Iterator>::reserve(int) {
  throw unsupported("reserve");
}
template <class Iterator>
void Tm_backed_array<Iterator>::add_member_and_own(Tm_value*) {
  throw unsupported("add_member_and_own");
}
template <class Iterator>
void Tm_backed_array<Iterator>::add_member(bool) {
  throw unsupported("add_member");
}
template <class Iterator>
void Tm_backed_array<Iterator>::add_member(signed char) {
  throw unsupported("add_member");
}
template <class Iterator>
void Tm_backed_array<Iterator>::add_member(unsigned char) {
  throw unsupported("add_member");
}
template <class Iterator>
void Tm_backed_array<Iterator>::add_member(short) {
  throw unsupported("add_member");
}
template <class Iterator>
void Tm_backed_array<Iterator>::add_member(unsigned short) {
  throw unsupported("add_member");
}
template <class Iterator>
void Tm_backed_array<Iterator>::add_member(int) {
  throw unsupported("add_member");
}
template <class Iterator>
void Tm_backed_array<Iterator>::add_member(unsigned int) {
  throw unsupported("add_member");
}
template <class Iterator>
void Tm_backed_array<Iterator>::add_member(long) {
  throw unsupported("add_member");
}
template <class Iterator>
void Tm_backed_array<Iterator>::add_member(unsigned long) {
  throw unsupported("add_member");
}
template <class Iterator>
void Tm_backed_array<Iterator>::add_member(double) {
  throw unsupported("add_member");
}
template <class Iterator>
void Tm_backed_array<Iterator>::add_member(const char*) {
  throw unsupported("add_member");
}
template <class Iterator>
void Tm_backed_array<Iterator>::add_member(const std::string&) {
  throw unsupported("add_member");
}
template <class Iterator>
void Tm_backed_array<Iterator>::clear() {
  throw unsupported("clear");
}

template <class Iterator>
TMV Tm_backed_array<Iterator>::get_member_value_type(int index) const {
  check_index(index);
  return m_type;
}

template <class Iterator>
const Tm_struct* Tm_backed_array<Iterator>::get_member_struct(int) const {
  throw unsupported("get_member_struct");
}
template <class Iterator>
const char* Tm_backed_array<Iterator>::get_member_string(int) const {
  throw unsupported("get_member_string");
}
template <class Iterator>
const Tm_binary& Tm_backed_array<Iterator>::get_member_binary(int) const {
  throw unsupported("get_member_binary");
}
template <class Iterator>
const Tm_array* Tm_backed_array<Iterator>::get_member_array(int) const {
  throw unsupported("get_member_array");
}
template <class Iterator>
const Tm_value* Tm_backed_array<Iterator>::get_member_message(int) const {
  throw unsupported("get_member_message");
}
template <class Iterator>
const Tm_value* Tm_backed_array<Iterator>::get_member_file(int) const {
  throw unsupported("get_member_file");
}
template <class Iterator>
const Tm_value* Tm_backed_array<Iterator>::get_member_date(int) const {
  throw unsupported("get_member_date");
}

template <class Iterator>
template <class T>
T Tm_backed_array<Iterator>::element(int index) const {
  if constexpr (std::is_same_v<T, element_type>) {
    check_index(index);
    return *(m_begin + index);
  } else {
    throw Tm_type_mismatch_exception(m_type, Tm_simple_type<T>::value);
  }
}

template <class Iterator>
signed char Tm_backed_array<Iterator>::get_member_int8(int index) const {
  return element<signed char>(index);
}
template <class Iterator>
unsigned char Tm_backed_array<Iterator>::get_member_uint8(int index) const {
  return element<unsigned char>(index);
}
template <class Iterator>
short Tm_backed_array<Iterator>::get_member_int16(int index) const {
  return element<short>(index);
}
template <class Iterator>
unsigned short Tm_backed_array<Iterator>::get_member_uint16(int index) const {
  return element<unsigned short>(index);
}
template <class Iterator>
int Tm_backed_array<Iterator>::get_member_int32(int index) const {
  return element<int>(index);
}
template <class Iterator>
unsigned int Tm_backed_array<Iterator>::get_member_uint32(int index) const {
  return element<unsigned int>(index);
}
template <class Iterator>
long Tm_backed_array<Iterator>::get_member_int64(int index) const {
  return element<long>(index);
}
template <class Iterator>
unsigned long Tm_backed_array<Iterator>::get_member_uint64(int index) const {
  return element<unsigned long>(index);
}
template <class Iterator>
double Tm_backed_array<Iterator>::get_member_double(int index) const {
  return element<double>(index);
}
template <class Iterator>
bool Tm_backed_array<Iterator>::get_member_bool(int index) const {
  return element<bool>(index);
}

template <class Iterator>
void Tm_backed_array<Iterator>::item_accept(int index, Tm_visitor& visitor) const {
  switch (m_type) {
    case TMV_INT8: return visitor.visit_int8(get_member_int8(index));
    case TMV_UINT8: return visitor.visit_uint8(get_member_uint8(index));
    case TMV_INT16: return visitor.visit_int16(get_member_int16(index));
    case TMV_UINT16: return visitor.visit_uint16(get_member_uint16(index));
    case TMV_INT32: return visitor.visit_int32(get_member_int32(index));
    case TMV_UINT32: return visitor.visit_uint32(get_member_uint32(index));
    case TMV_INT64: return visitor.visit_int64(get_member_int64(index));
    case TMV_UINT64: return visitor.visit_uint64(get_member_uint64(index));
    case TMV_DOUBLE: return visitor.visit_double(get_member_double(index));
    case TMV_BOOL: return visitor.visit_bool(get_member_bool(index));
    default: throw Tm_exception("invalid use of Tm_backed_array: supports only simple TMV types");
  }
}

template <class Iterator>
void Tm_backed_array<Iterator>::check_index(int index) const {
  if (index < 0 || index >= m_count) throw Tm_out_of_range_exception(index, 0, m_count - 1);
}

template <class T, class Iterator>
Tm_copy_backed_array<T, Iterator>::Tm_copy_backed_array(Iterator begin, int count)
    : Tm_copy_backed_array(copy_of<T>(begin, count), count) {}

template <class T, class Iterator>
Tm_copy_backed_array<T, Iterator>::Tm_copy_backed_array(std::unique_ptr<T[]> buffer, int count)
    : Tm_backed_array<const T*>(buffer.get(), count), m_buffer(std::move(buffer)) {}

#define TM_BACKED_ARRAYS_OVER_VECTOR(T)                           \
  template class Tm_backed_array<std::vector<T>::const_iterator>; \
  template class Tm_backed_array<const T*>;                       \
  template class Tm_copy_backed_array<T, std::vector<T>::const_iterator>;
TM_BACKED_ARRAYS_OVER_VECTOR(signed char)
TM_BACKED_ARRAYS_OVER_VECTOR(unsigned char)
TM_BACKED_ARRAYS_OVER_VECTOR(short)
TM_BACKED_ARRAYS_OVER_VECTOR(unsigned short)
TM_BACKED_ARRAYS_OVER_VECTOR(int)
TM_BACKED_ARRAYS_OVER_VECTOR(unsigned int)
TM_BACKED_ARRAYS_OVER_VECTOR(long)
TM_BACKED_ARRAYS_OVER_VECTOR(unsigned long)
#undef TM_BACKED_ARRAYS_OVER_VECTOR
template class Tm_copy_backed_array<unsigned char, const unsigned char*>;
