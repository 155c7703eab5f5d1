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
  if (handle < kDenseHandles) return handle < m_dense.size() ? m_dense[handle] : nullptr;
  const auto it = m_sparse.find(handle);
  return it != m_sparse.end() ? it->second : nullptr;
}

Handle CHandleRegistry::Register(CScriptable& object, Handle wanted) {
  if (wanted == 0) {
    while (FindIncludingDeleted(m_next) != nullptr) ++m_next;
    wanted = m_next++;
  } else if (FindIncludingDeleted(wanted) != nullptr) {
    throw CKelLogicError("Handle " + std::to_string(wanted) + " is already in use");
  } else if (wanted >= m_next) {
    m_next = wanted + 1;
  }
  Store(wanted, &object);
  ++m_size;
  return wanted;
}

void CHandleRegistry::Unregister(Handle handle) {
  if (FindIncludingDeleted(handle) == nullptr) return;
  Store(handle, nullptr);
  --m_size;
}

void CHandleRegistry::Store(Handle handle, CScriptable* object) {
  if (handle >= kDenseHandles) {
    if (object != nullptr) {
      m_sparse[handle] = object;
    } else {
      m_sparse.erase(handle);
    }
    return;
  }
  if (handle >= m_dense.size()) m_dense.resize(handle + 1);
  m_dense[handle] = object;
}

}  // namespace framework
}  // namespace kel
