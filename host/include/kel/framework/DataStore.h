#pragma once
// The property values of one object, laid out in its class's property order.
//
// Reads are typed: reading an id the class does not have, or as another type, throws
// CKelLogicError naming the property and the class. Writes go through CScriptable, which tracks
// changes; the data store itself never changes a value.

#include <string>
#include <vector>

#include "kel/framework/MetaClass.h"
#include "kel/framework/PropertyValue.h"
#include "kel/framework/ValueSlot.h"

namespace kel {
namespace framework {

class CDataStore {
 public:
  // Fills every property with its class default.
  void Init(const CMetaClass& meta);
  const CMetaClass* GetMetaClass() const { return m_meta; }

  // Slot of the property, or -1.
  int IndexOf(PropId id) const { return m_meta ? m_meta->FindPropertyIndex(id) : -1; }
  PropertyValue GetValue(PropId id) const;

  std::uint8_t GetU8(PropId id) const { return Get<std::uint8_t>(id, PropertyType::U8); }
  std::uint16_t GetU16(PropId id) const { return Get<std::uint16_t>(id, PropertyType::U16); }
  std::uint32_t GetU32(PropId id) const { return Get<std::uint32_t>(id, PropertyType::U32); }
  std::uint64_t GetU64(PropId id) const { return Get<std::uint64_t>(id, PropertyType::U64); }
  bool GetBool(PropId id) const { return Get<bool>(id, PropertyType::Bool); }
  double GetDouble(PropId id) const { return Get<double>(id, PropertyType::Double); }
  const std::string& GetString(PropId id) const { return Get<std::string>(id, PropertyType::String); }
  const HandleList& GetHandles(PropId id) const { return Get<HandleList>(id, PropertyType::Handles); }

  // The description of a property that must exist (with the given type, unless checkType is
  // false); throws CKelLogicError otherwise.
  const PropertyDesc& Describe(PropId id, PropertyType type, bool checkType = true) const;

  // Host side: the value in a slot, for CScriptable's tracked writes.
  CValueSlot& At(int index) { return m_values[static_cast<std::size_t>(index)]; }
  const CValueSlot& At(int index) const { return m_values[static_cast<std::size_t>(index)]; }

 private:
  template <class T>
  const T& Get(PropId id, PropertyType type) const {
    const int index = IndexOf(id);
    if (index >= 0) {
      if (const T* value = m_values[static_cast<std::size_t>(index)].GetIf<T>()) return *value;
    }
    ThrowAccessError(id, type);
  }
  [[noreturn]] void ThrowAccessError(PropId id, PropertyType type) const;

  const CMetaClass* m_meta = nullptr;
  std::vector<CValueSlot> m_values;
};

}  // namespace framework
}  // namespace kel
