#pragma once
// CHandleRegistry: the 32-bit handles that name objects in scripts and in messages to the ports.
// Handles are given in ascending order and never reused within a process, so a stale handle can
// only miss, never name another object.

#include <cstddef>
#include <unordered_map>

#include "kel/framework/Types.h"

namespace kel {
namespace framework {

class CHandleRegistry {
 public:
  static CHandleRegistry& Instance();

  // The object with that handle, or null when there is none or it is marked deleted.
  CScriptable* Find(Handle handle) const;
  // Host side: also finds objects marked deleted and not yet destroyed.
  CScriptable* FindIncludingDeleted(Handle handle) const;

  // Host side. Gives `object` the wanted handle, or the next free one when wanted is 0. A wanted
  // handle already in use throws CKelLogicError.
  Handle Register(CScriptable& object, Handle wanted = 0);
  void Unregister(Handle handle);
  std::size_t Size() const { return m_objects.size(); }

 private:
  std::unordered_map<Handle, CScriptable*> m_objects;
  Handle m_next = 1;
};

}  // namespace framework
}  // namespace kel
