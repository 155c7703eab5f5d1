#include "kel/core/ProtocolModule.h"

#include <algorithm>

namespace kel {
namespace core {

CProtocolModule& CProtocolModule::Instance() {
  static CProtocolModule instance;
  return instance;
}

void CProtocolModule::RegisterProtocol(CProtocol* protocol) { m_protocols.Register(protocol); }

void CProtocolModule::UnregisterProtocol(CProtocol* protocol) { m_protocols.Unregister(protocol); }

std::vector<CProtocol*> CProtocolModule::GetProtocols() const {
  std::vector<CProtocol*> ordered = m_protocols.Entries();
  std::stable_sort(ordered.begin(), ordered.end(), [](const CProtocol* a, const CProtocol* b) {
    if (a->GetCategoryStartPriority() != b->GetCategoryStartPriority()) {
      return a->GetCategoryStartPriority() < b->GetCategoryStartPriority();
    }
    return a->GetProtocolStartPriority() < b->GetProtocolStartPriority();
  });
  return ordered;
}

CProtocol* CProtocolModule::FindProtocol(const std::string& name) const { return m_protocols.Find(name); }

}  // namespace core
}  // namespace kel
