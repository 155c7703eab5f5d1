#pragma once
// NamedRegistry: objects that a plug-in registers once under their names, kept in registration
// order. The host's modules keep their protocols and result handlers in one each. The registry
// owns nothing: an entry lives for the process, or unregisters itself before it goes.
// Like the modules, it runs on the business-layer thread and locks nothing.

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "kel/framework/Exceptions.h"

namespace kel {
namespace core {

// Entry: a class whose GetName() gives the entry's name as text.
template <class Entry>
class NamedRegistry {
 public:
  // `kind` names an entry in error texts: "protocol", "result handler".
  explicit NamedRegistry(std::string kind) : m_kind(std::move(kind)) {}

  // Appends `entry`; the registry keeps the pointer only. Registering an entry already registered
  // changes nothing (a plug-in registered twice). Throws CKelLogicError, registering nothing, for
  // null ("Cannot register a null <kind>") and for another entry with a name already taken ("A
  // <kind> named <name> is already registered").
  void Register(Entry* entry) {
    if (entry == nullptr) throw framework::CKelLogicError("Cannot register a null " + m_kind);
    if (std::find(m_entries.begin(), m_entries.end(), entry) != m_entries.end()) return;
    if (Find(entry->GetName()) != nullptr) {
      throw framework::CKelLogicError("A " + m_kind + " named " + entry->GetName() + " is already registered");
    }
    m_entries.push_back(entry);
  }

  // Forgets `entry`, so its name is free again; an entry not registered is ignored.
  void Unregister(const Entry* entry) {
    m_entries.erase(std::remove(m_entries.begin(), m_entries.end(), entry), m_entries.end());
  }

  // The entry registered under `name`, or null.
  Entry* Find(const std::string& name) const {
    for (Entry* entry : m_entries) {
      if (entry->GetName() == name) return entry;
    }
    return nullptr;
  }

  // Every entry, in registration order.
  const std::vector<Entry*>& Entries() const { return m_entries; }

 private:
  std::string m_kind;
  std::vector<Entry*> m_entries;
};

}  // namespace core
}  // namespace kel
