#pragma once
// CHandleRegistry: the 32-bit handles that name objects in scripts and in messages to the ports.
// Handles are given in ascending order and never reused within a process, so a stale handle can
// only miss, never name another object.
//
// Statistics name every result's owner by handle, so lookups are on the intake's hot path. The
// handles the registry gives itself are small and dense: they index a table directly (one word
// per handle ever given, kept for the process). Wanted handles from kDenseHandles on are kept in a
// map, so a project file that wants a huge handle costs a map entry, not a table that large.

#include <cstddef>
#include <unordered_map>
#include <vector>

#include "kel/framework/Types.h"

namespace kel {
namespace framework {

class CHandleRegistry {
 public:
  static constexpr Handle kDenseHandles = Handle{1} << 22;

  static CHandleRegistry& Instance();

  // The object with that handle, or null when there is none or it is marked deleted.
  CScriptable* Find(Handle handle) const;
  // Host side: also finds objects marked deleted and not yet destroyed.
  CScriptable* FindIncludingDeleted(Handle handle) const;

  // Host side. Gives `object` the wanted handle, or the next free one when wanted is 0. A wanted
  // handle already in use throws CKelLogicError.
  Handle Register(CScriptable& object, Handle wanted = 0);
  void Unregister(Handle handle);
  std::size_t Size() const { return m_size; }

 private:
  void Store(Handle handle, CScriptable* object);

  std::vector<CScriptable*> m_dense;  // by handle; null where there is no object
  std::unordered_map<Handle, CScriptable*> m_sparse;
  std::size_t m_size = 0;
  Handle m_next = 1;
};

}  // namespace framework
}  // namespace kel
