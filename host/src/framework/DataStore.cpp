#include "kel/framework/DataStore.h"

#include <cstdio>

#include "kel/framework/Exceptions.h"

namespace kel {
namespace framework {

namespace {
std::string Hex(PropId id) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%x", id);
  return buf;
}
}  // namespace

void CDataStore::Init(const CMetaClass& meta) {
  m_meta = &meta;
  m_values.clear();
  m_values.reserve(meta.GetProperties().size());
  for (const PropertyDesc& desc : meta.GetProperties()) m_values.emplace_back(desc.defaultValue);
}

PropertyValue CDataStore::GetValue(PropId id) const {
  const int index = IndexOf(id);
  if (index < 0) Describe(id, PropertyType::U8, false);  // throws: unknown property
  return m_values[static_cast<std::size_t>(index)].ToValue();
}

void CDataStore::ThrowAccessError(PropId id, PropertyType type) const {
  Describe(id, type);  // throws for an unknown property or another type
  throw CKelLogicError("Property " + Hex(id) + " cannot be read as " + PropertyTypeName(type));
}

const PropertyDesc& CDataStore::Describe(PropId id, PropertyType type, bool checkType) const {
  if (m_meta == nullptr) {
    throw CKelLogicError("Property " + Hex(id) + " read from an object that the host has not initialised");
  }
  const int index = m_meta->FindPropertyIndex(id);
  if (index < 0) {
    throw CKelLogicError("Property " + Hex(id) + " is not a property of class " + m_meta->GetName());
  }
  const PropertyDesc& desc = m_meta->GetProperties()[static_cast<std::size_t>(index)];
  if (checkType && desc.type != type) {
    throw CKelLogicError("Property " + desc.name + " (" + Hex(id) + ") of class " + m_meta->GetName() + " is " +
                         PropertyTypeName(desc.type) + ", not " + PropertyTypeName(type));
  }
  return desc;
}

}  // namespace framework
}  // namespace kel
