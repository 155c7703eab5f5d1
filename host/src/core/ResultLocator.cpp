#include "kel/core/ResultLocator.h"

#include "kel/core/EmulatedDevice.h"
#include "kel/core/Port.h"
#include "kel/framework/HostClassIds.h"

namespace kel {
namespace core {

void CResultLocator::GetPortsForObj(const framework::CScriptable* object, framework::ScriptableVec& ports) const {
  for (const framework::CScriptable* up = object; up != nullptr; up = up->GetParent()) {
    if (up->IsTypeOf(framework::classid::Port)) {
      ports.push_back(const_cast<framework::CScriptable*>(up));
      return;
    }
    if (const auto* device = dynamic_cast<const CEmulatedDevice*>(up)) {
      if (CPort* port = device->GetPort()) ports.push_back(port);
      return;
    }
  }
}

}  // namespace core
}  // namespace kel
