#include "kel/framework/HandleCollection.h"

namespace kel {
namespace framework {

HandleCollection::HandleCollection(const CScriptable& owner, PropId id)
    : m_owner(const_cast<CScriptable*>(&owner)), m_id(id) {
  owner.GetHandles(id);  // throws for a property that is not a handle list of the class
}

void HandleCollection::Add(Handle handle) {
  HandleList handles = Get();
  handles.push_back(handle);
  m_owner->Set(m_id, handles);
}

}  // namespace framework
}  // namespace kel
