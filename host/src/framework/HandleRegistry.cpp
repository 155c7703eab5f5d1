#include "kel/framework/HandleRegistry.h"

#include "kel/framework/Exceptions.h"
#include "kel/framework/Scriptable.h"

namespace kel {
namespace framework {

CHandleRegistry& CHandleRegistry::Instance() {
  static CHandleRegistry instance;
  return instance;
}

CScriptable* CHandleRegistry::Find(Handle handle) const {
  CScriptable* object = FindIncludingDeleted(handle);
  return object != nullptr && !object->IsDeleted() ? object : nullptr;
}

CScriptable* CHandleRegistry::FindIncludingDeleted(Handle handle) const {
  const auto it = m_objects.find(handle);
  return it != m_objects.end() ? it->second : nullptr;
}

Handle CHandleRegistry::Register(CScriptable& object, Handle wanted) {
  if (wanted == 0) {
    while (m_objects.count(m_next) != 0) ++m_next;
    wanted = m_next++;
  } else if (m_objects.count(wanted) != 0) {
    throw CKelLogicError("Handle " + std::to_string(wanted) + " is already in use");
  } else if (wanted >= m_next) {
    m_next = wanted + 1;
  }
  m_objects[wanted] = &object;
  return wanted;
}

void CHandleRegistry::Unregister(Handle handle) { m_objects.erase(handle); }

}  // namespace framework
}  // namespace kel
