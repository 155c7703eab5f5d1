#include "kel/core/ProtocolModule.h"

#include <algorithm>

#include "kel/framework/Exceptions.h"

namespace kel {
namespace core {

CProtocolModule& CProtocolModule::Instance() {
  static CProtocolModule instance;
  return instance;
}

void CProtocolModule::RegisterProtocol(CProtocol* protocol) {
  if (protocol == nullptr) throw framework::CKelLogicError("Cannot register a null protocol");
  if (std::find(m_protocols.begin(), m_protocols.end(), protocol) != m_protocols.end()) return;
  if (FindProtocol(protocol->GetName()) != nullptr) {
    throw framework::CKelLogicError("A protocol named " + protocol->GetName() + " is already registered");
  }
  m_protocols.push_back(protocol);
}

void CProtocolModule::UnregisterProtocol(CProtocol* protocol) {
  m_protocols.erase(std::remove(m_protocols.begin(), m_protocols.end(), protocol), m_protocols.end());
}

std::vector<CProtocol*> CProtocolModule::GetProtocols() const {
  std::vector<CProtocol*> ordered = m_protocols;
  std::stable_sort(ordered.begin(), ordered.end(), [](const CProtocol* a, const CProtocol* b) {
    if (a->GetCategoryStartPriority() != b->GetCategoryStartPriority()) {
      return a->GetCategoryStartPriority() < b->GetCategoryStartPriority();
    }
    return a->GetProtocolStartPriority() < b->GetProtocolStartPriority();
  });
  return ordered;
}

CProtocol* CProtocolModule::FindProtocol(const std::string& name) const {
  for (CProtocol* protocol : m_protocols) {
    if (protocol->GetName() == name) return protocol;
  }
  return nullptr;
}

}  // namespace core
}  // namespace kel
