#include "kel/core/Port.h"

#include <map>

#include "kel/core/PortChannels.h"
#include "kel/framework/HostClassIds.h"

namespace kel {
namespace core {

namespace {

framework::CScriptable* MakePort() { return new CPort(); }
void DestroyPort(framework::CScriptable* object) { delete object; }
const bool s_portFuncs = framework::CMetaClass::InitMakeDestroyFuncs(framework::classid::Port, MakePort, DestroyPort);

}  // namespace

const CPhysicalPortGroup* CPhysicalPortGroup::ForName(const std::string& name) {
  static std::map<std::string, std::unique_ptr<CPhysicalPortGroup>> groups;
  std::unique_ptr<CPhysicalPortGroup>& group = groups[name];
  if (!group) group = std::make_unique<CPhysicalPortGroup>(name);
  return group.get();
}

const ClassId& CPort::CLASS_ID() {
  static const ClassId id = framework::classid::Port;
  return id;
}

bool CPort::OnInit() {
  RegisterPropertyChangeDelegate(
      prop::Location, framework::PropertyChangeDelegate(framework::MakeDelegate(this, &CPort::OnLocationChanged)));
  CPortChannels::Instance().GetMessenger(*this);
  return true;
}

bool CPort::OnMarkDelete() {
  CPortChannels::Instance().Forget(GetHandle());
  return true;
}

void CPort::OnLocationChanged(framework::CScriptable*, framework::PropId) {
  CPortChannels::Instance().Forget(GetHandle());
  CPortChannels::Instance().GetMessenger(*this);
}

const CPhysicalPortGroup* CPort::GetPortGroup() const {
  const std::string& group = GetString(prop::PortGroup);
  // A group name cannot start with a blank-separated handle form, so own groups never clash.
  return CPhysicalPortGroup::ForName(group.empty() ? "\x01port " + std::to_string(GetHandle()) : group);
}

}  // namespace core
}  // namespace kel
