#pragma once
// HandleCollection: a view of one object's handle-list property (a command's list of ports or
// workers) that reads and edits it in place. Edits go through the object, so they are tracked
// like any property change. The view holds the object by pointer: it must not outlive it.

#include <cstddef>

#include "kel/framework/Scriptable.h"

namespace kel {
namespace framework {

class HandleCollection {
 public:
  // The property must be a handle list of the object's class (CKelLogicError otherwise).
  HandleCollection(const CScriptable& owner, PropId id);

  const HandleList& Get() const { return m_owner->GetHandles(m_id); }
  std::size_t Count() const { return Get().size(); }
  Handle GetAt(std::size_t index) const { return Get().at(index); }
  HandleList::const_iterator begin() const { return Get().begin(); }
  HandleList::const_iterator end() const { return Get().end(); }

  void Clear() { m_owner->Set(m_id, HandleList()); }
  void Add(Handle handle);
  void Set(const HandleList& handles) { m_owner->Set(m_id, handles); }

 private:
  CScriptable* m_owner;  // edits of a view made from a const object are the caller's decision
  PropId m_id;
};

}  // namespace framework
}  // namespace kel
