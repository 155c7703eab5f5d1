#pragma once
// Questions about ports and devices that several parts of the plug-in ask the host's model.

#include "kel/core/EmulatedDevice.h"
#include "kel/core/Port.h"
#include "kel/framework/HandleRegistry.h"
#include "kel/framework/HostClassIds.h"
#include "kel/framework/KelSystem.h"

namespace kel {
namespace storageio {

// A port may run storage tests when it is reserved for testing, or when the system runs in
// simulation mode, where every port may.
inline bool IsEligiblePort(const core::CPort& port) {
  return port.GetBool(core::prop::ReservedForTesting) ||
         framework::CKelSystem::Instance().GetBool(framework::prop::SimulationMode);
}

// The port with that handle, or null when the handle names no port.
inline core::CPort* FindPort(unsigned handle) {
  return dynamic_cast<core::CPort*>(framework::CHandleRegistry::Instance().Find(handle));
}

// The emulated devices affiliated with a port, in relation order.
inline framework::ScriptableVec AffiliatedDevices(const core::CPort& port) {
  framework::ScriptableVec devices;
  port.GetObjects(devices, framework::classid::EmulatedDevice,
                  framework::RelationType(framework::relation::AffiliatedPort).ReverseDir());
  return devices;
}

// The port a device is affiliated with, or null.
inline core::CPort* AffiliatedPort(const framework::CScriptable& device) {
  return static_cast<core::CPort*>(
      device.GetObject(framework::classid::Port, framework::RelationType(framework::relation::AffiliatedPort)));
}

}  // namespace storageio
}  // namespace kel
