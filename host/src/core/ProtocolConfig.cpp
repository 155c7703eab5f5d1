#include "kel/core/ProtocolConfig.h"

#include "kel/core/EmulatedDevice.h"
#include "kel/framework/HostClassIds.h"

namespace kel {
namespace core {

const framework::ClassId& CProtocolConfig::CLASS_ID() {
  static const framework::ClassId id = framework::classid::ProtocolConfig;
  return id;
}

CPort* CProtocolConfig::GetPort() const {
  const auto* device = dynamic_cast<const CEmulatedDevice*>(GetParent());
  return device ? device->GetPort() : nullptr;
}

void CProtocolConfig::OnInterfaceUpdate(framework::CScriptable*) {}

bool CProtocolConfig::OnPropagatingActive(bool) { return true; }

}  // namespace core
}  // namespace kel
