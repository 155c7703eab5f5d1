#include "kel/framework/ValueSlot.h"

#include <utility>

namespace kel {
namespace framework {

CValueSlot::CValueSlot(const PropertyValue& value) : m_type(TypeOf(value)) {
  switch (m_type) {
    case PropertyType::U8: m_value.u8 = std::get<std::uint8_t>(value); break;
    case PropertyType::U16: m_value.u16 = std::get<std::uint16_t>(value); break;
    case PropertyType::U32: m_value.u32 = std::get<std::uint32_t>(value); break;
    case PropertyType::U64: m_value.u64 = std::get<std::uint64_t>(value); break;
    case PropertyType::Bool: m_value.boolean = std::get<bool>(value); break;
    case PropertyType::Double: m_value.number = std::get<double>(value); break;
    case PropertyType::String: m_value.text = new std::string(std::get<std::string>(value)); break;
    case PropertyType::Handles: m_value.handles = new HandleList(std::get<HandleList>(value)); break;
  }
}

CValueSlot::CValueSlot(const CValueSlot& other) : m_value(other.m_value), m_type(other.m_type) {
  if (m_type == PropertyType::String) m_value.text = new std::string(*other.m_value.text);
  if (m_type == PropertyType::Handles) m_value.handles = new HandleList(*other.m_value.handles);
}

CValueSlot::CValueSlot(CValueSlot&& other) noexcept : m_value(other.m_value), m_type(other.m_type) {
  // The other keeps a number, so that it has nothing to free.
  other.m_type = PropertyType::U64;
}

CValueSlot& CValueSlot::operator=(CValueSlot other) noexcept {
  std::swap(m_value, other.m_value);
  std::swap(m_type, other.m_type);
  return *this;
}

CValueSlot::~CValueSlot() { Release(); }

void CValueSlot::Release() noexcept {
  if (m_type == PropertyType::String) delete m_value.text;
  if (m_type == PropertyType::Handles) delete m_value.handles;
}

PropertyValue CValueSlot::ToValue() const {
  switch (m_type) {
    case PropertyType::U8: return m_value.u8;
    case PropertyType::U16: return m_value.u16;
    case PropertyType::U32: return m_value.u32;
    case PropertyType::U64: return m_value.u64;
    case PropertyType::Bool: return m_value.boolean;
    case PropertyType::Double: return m_value.number;
    case PropertyType::String: return *m_value.text;
    case PropertyType::Handles: return *m_value.handles;
  }
  return m_value.u64;
}

bool CValueSlot::Equals(const PropertyValue& value) const {
  if (const auto* text = std::get_if<std::string>(&value)) return *m_value.text == *text;
  if (const auto* handles = std::get_if<HandleList>(&value)) return *m_value.handles == *handles;
  return ToValue() == value;
}

void CValueSlot::Assign(const PropertyValue& value) { *this = CValueSlot(value); }

}  // namespace framework
}  // namespace kel
