#pragma once
// CValueSlot: how an object keeps one property value. Numbers and booleans live in the slot,
// texts and handle lists on the heap, so that a slot takes 16 bytes where a PropertyValue takes
// 40: result objects hold thirty numbers each and thousands of them are written per statistics
// notification, so their values fit in fewer cache lines.
//
// A slot holds one PropertyType for its whole life (its property's type); Assign and Equals take
// a value of that type. Copies are deep.

#include <cstdint>
#include <string>

#include "kel/framework/PropertyValue.h"

namespace kel {
namespace framework {

class CValueSlot {
 public:
  explicit CValueSlot(const PropertyValue& value);
  CValueSlot(const CValueSlot& other);
  CValueSlot(CValueSlot&& other) noexcept;
  CValueSlot& operator=(CValueSlot other) noexcept;
  ~CValueSlot();

  PropertyType Type() const { return m_type; }
  // The value as T when the slot holds a T, else null.
  template <class T>
  const T* GetIf() const;
  template <class T>
  T* GetIf() {
    return const_cast<T*>(static_cast<const CValueSlot*>(this)->GetIf<T>());
  }

  PropertyValue ToValue() const;
  // value must be of the slot's type.
  bool Equals(const PropertyValue& value) const;
  void Assign(const PropertyValue& value);

 private:
  void Release() noexcept;

  union {
    std::uint8_t u8;
    std::uint16_t u16;
    std::uint32_t u32;
    std::uint64_t u64;
    bool boolean;
    double number;
    std::string* text;
    HandleList* handles;
  } m_value;
  PropertyType m_type;
};

// Which member of the union holds a T.
template <>
inline const std::uint8_t* CValueSlot::GetIf<std::uint8_t>() const {
  return m_type == PropertyType::U8 ? &m_value.u8 : nullptr;
}
template <>
inline const std::uint16_t* CValueSlot::GetIf<std::uint16_t>() const {
  return m_type == PropertyType::U16 ? &m_value.u16 : nullptr;
}
template <>
inline const std::uint32_t* CValueSlot::GetIf<std::uint32_t>() const {
  return m_type == PropertyType::U32 ? &m_value.u32 : nullptr;
}
template <>
inline const std::uint64_t* CValueSlot::GetIf<std::uint64_t>() const {
  return m_type == PropertyType::U64 ? &m_value.u64 : nullptr;
}
template <>
inline const bool* CValueSlot::GetIf<bool>() const {
  return m_type == PropertyType::Bool ? &m_value.boolean : nullptr;
}
template <>
inline const double* CValueSlot::GetIf<double>() const {
  return m_type == PropertyType::Double ? &m_value.number : nullptr;
}
template <>
inline const std::string* CValueSlot::GetIf<std::string>() const {
  return m_type == PropertyType::String ? m_value.text : nullptr;
}
template <>
inline const HandleList* CValueSlot::GetIf<HandleList>() const {
  return m_type == PropertyType::Handles ? m_value.handles : nullptr;
}

static_assert(sizeof(CValueSlot) == 16, "a value slot is two words");

}  // namespace framework
}  // namespace kel
