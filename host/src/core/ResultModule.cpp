#include "kel/core/ResultModule.h"

#include <algorithm>

#include "kel/framework/Exceptions.h"

namespace kel {
namespace core {

CResultModule& CResultModule::Instance() {
  static CResultModule instance;
  return instance;
}

void CResultModule::RegisterResultHandler(CResultHandler* handler, bool saveResults) {
  if (handler == nullptr) throw framework::CKelLogicError("Cannot register a null result handler");
  for (const Entry& entry : m_handlers) {
    if (entry.handler == handler) return;
  }
  if (FindResultHandler(handler->GetName()) != nullptr) {
    throw framework::CKelLogicError("A result handler named " + handler->GetName() + " is already registered");
  }
  m_handlers.push_back({handler, saveResults});
}

void CResultModule::UnregisterResultHandler(CResultHandler* handler) {
  m_handlers.erase(std::remove_if(m_handlers.begin(), m_handlers.end(),
                                  [handler](const Entry& entry) { return entry.handler == handler; }),
                   m_handlers.end());
}

std::vector<CResultHandler*> CResultModule::GetResultHandlers() const {
  std::vector<CResultHandler*> handlers;
  for (const Entry& entry : m_handlers) handlers.push_back(entry.handler);
  return handlers;
}

CResultHandler* CResultModule::FindResultHandler(const std::string& name) const {
  for (const Entry& entry : m_handlers) {
    if (entry.handler->GetName() == name) return entry.handler;
  }
  return nullptr;
}

}  // namespace core
}  // namespace kel
