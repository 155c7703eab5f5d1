#include "kel/core/ProtocolConfig.h"

#include "kel/core/EmulatedDevice.h"
#include "kel/core/Port.h"
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

std::string CProtocolConfig::GetRouteDescriptor() const {
  std::string route;
  if (const CPort* port = GetPort()) route = port->GetName() + "/";
  if (const framework::CScriptable* device = GetParent()) route += device->GetName() + "/";
  return route + GetName();
}

void CProtocolConfig::OnInterfaceUpdate(framework::CScriptable*) {}

bool CProtocolConfig::OnPropagatingActive(bool) { return true; }

}  // namespace core
}  // namespace kel
