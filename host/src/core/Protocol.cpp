#include "kel/core/Protocol.h"

#include "kel/core/ProtocolConfig.h"
#include "kel/framework/HandleRegistry.h"

namespace kel {
namespace core {

void CProtocol::StartStopProtocolConfigs(bool start, const std::vector<unsigned>& handles) {
  for (unsigned handle : handles) {
    auto* config = dynamic_cast<CProtocolConfig*>(framework::CHandleRegistry::Instance().Find(handle));
    if (config == nullptr) continue;
    if (start) {
      config->StartProtocol();
    } else {
      config->StopProtocol();
    }
  }
}

}  // namespace core
}  // namespace kel
