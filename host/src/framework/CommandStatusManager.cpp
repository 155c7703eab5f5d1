#include "kel/framework/CommandStatusManager.h"

namespace kel {
namespace framework {

CCommandStatusManager& CCommandStatusManager::Instance() {
  static CCommandStatusManager instance;
  return instance;
}

void CCommandStatusManager::SetCommandStatus(Handle object, ClassId command, bool enabled) {
  m_status[{object, command}] = enabled;
}

bool CCommandStatusManager::GetCommandStatus(Handle object, ClassId command) const {
  const auto it = m_status.find({object, command});
  return it == m_status.end() || it->second;
}

}  // namespace framework
}  // namespace kel
