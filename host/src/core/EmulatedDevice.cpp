#include "kel/core/EmulatedDevice.h"

#include "kel/core/Port.h"
#include "kel/framework/HostClassIds.h"

namespace kel {
namespace core {

namespace {

using framework::RelationType;

framework::CScriptable* MakeDevice() { return new CEmulatedDevice(); }
void DestroyDevice(framework::CScriptable* object) { delete object; }
const bool s_deviceFuncs =
    framework::CMetaClass::InitMakeDestroyFuncs(framework::classid::EmulatedDevice, MakeDevice, DestroyDevice);

const RelationType kAffiliatedPort(framework::relation::AffiliatedPort);

}  // namespace

const framework::ClassId& CEmulatedDevice::CLASS_ID() {
  static const framework::ClassId id = framework::classid::EmulatedDevice;
  return id;
}

CPort* CEmulatedDevice::GetPort() const {
  return static_cast<CPort*>(GetObject(framework::classid::Port, kAffiliatedPort));
}

void CEmulatedDevice::SetPort(CPort* port) {
  framework::ScriptableVec ports;
  if (port != nullptr) ports.push_back(port);
  SetObjects(ports, kAffiliatedPort, true);
}

}  // namespace core
}  // namespace kel
