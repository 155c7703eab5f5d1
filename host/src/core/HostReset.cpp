#include "kel/core/HostReset.h"

#include "kel/core/PortChannels.h"
#include "kel/framework/CommandStatusManager.h"
#include "kel/framework/KelSystem.h"

namespace kel {
namespace core {

void ResetHost(framework::CTaskManager::ClockMode clock) {
  framework::CKelSystem& system = framework::CKelSystem::Instance();
  system.Set(framework::prop::SimulationMode, false);
  system.SetLoadingConfiguration(false);
  system.ResetProject();
  CPortChannels::Instance().Clear();
  framework::CCommandStatusManager::Instance().Clear();
  framework::CTaskManager& loop = framework::CTaskManager::Instance();
  // Last: destroying objects and messengers may still queue events.
  loop.Reset();
  loop.SetClockMode(clock);
}

}  // namespace core
}  // namespace kel
