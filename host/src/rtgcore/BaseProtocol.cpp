#include "kel/rtgcore/BaseProtocol.h"

#include <algorithm>
#include <tuple>

#include "kel/core/EmulatedDevice.h"
#include "kel/core/Port.h"
#include "kel/core/PortChannels.h"
#include "kel/core/ProtocolModule.h"
#include "kel/core/ProtocolConfig.h"
#include "kel/framework/HandleRegistry.h"
#include "kel/framework/HostClassIds.h"
#include "kel/framework/Project.h"
#include "kel/framework/ScriptableLocator.h"

namespace kel {
namespace rtgcore {

using framework::RelationType;

bool PortHandleLess::operator()(const CPort* a, const CPort* b) const { return a->GetHandle() < b->GetHandle(); }

bool CBaseProtocol::CacheKey::operator<(const CacheKey& o) const {
  return std::tie(portHandle, classId, kind) < std::tie(o.portHandle, o.classId, o.kind);
}

framework::Handle CBaseProtocol::PortHandleOf(const CPort* port) { return port ? port->GetHandle() : 0; }

CBaseProtocol::CBaseProtocol(const std::string& group, const std::string& name, ClassId managedClass,
                             const std::string& msgSetName, framework::BLLLogger* userLogger)
    : m_group(group), m_name(name), m_managedClass(managedClass), m_msgSetName(msgSetName), m_userLogger(userLogger) {}

// A destroyed protocol must not stay registered.
CBaseProtocol::~CBaseProtocol() { core::CProtocolModule::Instance().UnregisterProtocol(this); }

void CBaseProtocol::GetManagedProtocolConfig(std::vector<unsigned>& handles) {
  ScriptableVec configs;
  framework::CScriptableLocator::Instance().GetObjectsEx(configs, m_managedClass,
                                                          &framework::CProject::GetCurrentActiveInstance(),
                                                          framework::FILTER_NONE);
  for (const CScriptable* config : configs) handles.push_back(config->GetHandle());
}

// ---- Hooks ----

void CBaseProtocol::DoValidateInterfaceSetup(ValidationContext&, const CPort&) {}
void CBaseProtocol::UpdateCfgVecUsingCmdParams(ScriptableVec&, const std::vector<unsigned>&) {}
void CBaseProtocol::SetRelevantIfHandles(const CPort&, const ScriptableVec&, CScriptable*) const {}
void CBaseProtocol::DoValidatePort(ValidationContext&, const CPort&) {}
void CBaseProtocol::DoValidateProject(ValidationContext&) {}
void CBaseProtocol::DoValidatePortGroup(ValidationContext&, const CPort&) {}

void CBaseProtocol::ValidateActivePortPhy(ValidationContext& ctx, const CPort& port) {
  if (!port.IsOnline()) {
    ctx.AddWarning(GetName() + " Port", "Port " + port.GetName() + " is offline; its configuration is sent when it is back");
  }
}

void CBaseProtocol::ProcessOfflinePort(CPort*) {}
void CBaseProtocol::DeleteAllProtocolObjects(CPort&) {}

void CBaseProtocol::ResetAllInternalParams() {
  m_cache.clear();
  m_dirty.clear();
}

void CBaseProtocol::BuildAddModifyObjectMap(const CPort& port, CScriptable* config) {
  if (config == nullptr || !IsProtocolConfigActive(*config)) return;
  InsertIntoCache(config->GetObjectState(), &port, config);
  if (config->GetObjectState() != CScriptable::STATE_CLEAN) m_dirty.push_back(config);
}

void CBaseProtocol::BuildAndSendAddModifyMsg(ObjType, CPort&) {}
void CBaseProtocol::BuildAndSendDeleteMsg(CPort&) {}
void CBaseProtocol::SendDetachInterfaceMessage(CPort&, const std::vector<unsigned>&) {}
void CBaseProtocol::SendAttachInterfaceMessage(CPort&, const std::vector<unsigned>&) {}

void CBaseProtocol::OnPortStatusChange(CPort& port, bool online) {
  if (online) {
    DeleteAllProtocolObjects(port);
    m_applied.erase(port.GetHandle());  // the port holds nothing of this protocol now
  } else {
    ProcessOfflinePort(&port);
  }
}

void CBaseProtocol::BuildDeleteObjectMap(const CPort& port, CScriptable* config) {
  if (config != nullptr) InsertIntoCache(CScriptable::STATE_DELETED, &port, config);
}

void CBaseProtocol::ProcessInterfacesForExistingObjects(const CPort&, CScriptable*) {}
void CBaseProtocol::ProcessInterfacesForNewConfigs(const CPort&, CScriptable*) {}
void CBaseProtocol::ProcessInterfacesForDeletedObjects(const CPort&, const CScriptable*, std::vector<unsigned>&) {}
void CBaseProtocol::ProcessInterfacesForExistingObjects(const CPort&, const CScriptable*, std::vector<unsigned>&) {}
void CBaseProtocol::ProcessInterfacesForNewConfigs(const CPort&, const CScriptable*, std::vector<unsigned>&) {}

void CBaseProtocol::ConvertInterfaceToHnd(const ScriptableVec& interfaces, const CPort&, const CScriptable*,
                                          std::vector<unsigned>& handles) {
  for (const CScriptable* object : interfaces) {
    if (object != nullptr) handles.push_back(object->GetHandle());
  }
}

bool CBaseProtocol::IsProtocolConfigActive(const CScriptable& config) const {
  if (!config.GetActive()) return false;
  const CScriptable* device = config.GetParent();
  return device == nullptr || device->GetActive();
}

void CBaseProtocol::GetProtocolConfigs(const CPort& port, ScriptableVec& configs) const {
  ScriptableVec devices;
  port.GetObjects(devices, framework::classid::EmulatedDevice,
                  RelationType(framework::relation::AffiliatedPort).ReverseDir());
  for (const CScriptable* device : devices) device->GetObjects(configs, m_managedClass);
}

bool CBaseProtocol::BuildProtocolCommonEventIdlMsg(Message&, ProtocolControlCommonEvent, const std::vector<unsigned>&) {
  return false;
}

bool CBaseProtocol::BuildProtocolSpecificEventIdlMsg(Message&, const std::string&, const std::vector<unsigned>&) {
  return false;
}

// ---- Services ----

CBaseProtocol::ObjType CBaseProtocol::KindOf(CScriptable::State state) {
  switch (state) {
    case CScriptable::STATE_CREATED: return OBJ_CREATED;
    case CScriptable::STATE_MODIFIED: return OBJ_MODIFIED;
    case CScriptable::STATE_DELETED: return OBJ_DELETED;
    default: return OBJ_CLEAN;
  }
}

void CBaseProtocol::InsertIntoCache(const CScriptable::State& state, const CPort* port, CScriptable* object) {
  if (object == nullptr || state == CScriptable::STATE_DELETED_LOCAL) return;
  const ClassId classId = object->GetClassId();
  for (ObjType kind : {OBJ_DELETED, OBJ_CREATED, OBJ_MODIFIED, OBJ_CLEAN}) {
    const auto it = m_cache.find(CacheKey{PortHandleOf(port), classId, kind});
    if (it != m_cache.end()) it->second.erase(object);
  }
  m_cache[CacheKey{PortHandleOf(port), classId, KindOf(state)}].insert(object);
}

const CBaseProtocol::ConfigSet* CBaseProtocol::GetConfigsFromCache(const CPort& port, const ClassId& classId,
                                                                   ObjType kind) const {
  const auto it = m_cache.find(CacheKey{port.GetHandle(), classId, kind});
  return it != m_cache.end() ? &it->second : nullptr;
}

bool CBaseProtocol::GetPortOnline(const CPort& port) const { return port.IsOnline(); }

core::Messenger& CBaseProtocol::GetMessenger(CPort& port) const { return core::CPortChannels::Instance().GetMessenger(port); }

void CBaseProtocol::BuildPortCfgVecMap(const ScriptableVec& configs, PortCfgVecMap& out) const {
  for (CScriptable* config : configs) {
    const auto* protocolConfig = dynamic_cast<const core::CProtocolConfig*>(config);
    if (CPort* port = protocolConfig ? protocolConfig->GetPort() : nullptr) out[port].push_back(config);
  }
}

void CBaseProtocol::BuildEventLogMap(const std::vector<unsigned>& handles, PortHandleVecMap& out) const {
  for (unsigned handle : handles) {
    const auto* config = dynamic_cast<const core::CProtocolConfig*>(framework::CHandleRegistry::Instance().Find(handle));
    if (CPort* port = config ? config->GetPort() : nullptr) out[port].push_back(handle);
  }
}

// ---- The apply cycle ----

std::vector<CPort*> CBaseProtocol::ProjectPorts() {
  ScriptableVec objects;
  framework::CProject::GetCurrentActiveInstance().GetObjects(objects, framework::classid::Port);
  std::vector<CPort*> ports;
  for (CScriptable* object : objects) ports.push_back(static_cast<CPort*>(object));
  std::sort(ports.begin(), ports.end(), PortHandleLess());
  return ports;
}

void CBaseProtocol::PrepareApply(ValidationContext& ctx) {
  ResetAllInternalParams();
  const std::vector<CPort*> ports = ProjectPorts();
  for (CPort* port : ports) {
    ScriptableVec current;
    GetProtocolConfigs(*port, current);
    const std::vector<framework::Handle>& applied = m_applied[port->GetHandle()];
    for (framework::Handle handle : applied) {
      CScriptable* config = framework::CHandleRegistry::Instance().FindIncludingDeleted(handle);
      if (config != nullptr && std::find(current.begin(), current.end(), config) == current.end()) {
        BuildDeleteObjectMap(*port, config);
      }
    }
    for (CScriptable* config : current) {
      const bool newToPort = std::find(applied.begin(), applied.end(), config->GetHandle()) == applied.end();
      if (newToPort && config->GetObjectState() == CScriptable::STATE_CLEAN) {
        config->SetObjectState(CScriptable::STATE_MODIFIED);
      }
      BuildAddModifyObjectMap(*port, config);
    }
  }
  for (CPort* port : ports) {
    ctx.SetObjectUnderValidation(port);
    DoValidateInterfaceSetup(ctx, *port);
    DoValidatePortGroup(ctx, *port);
    ValidateActivePortPhy(ctx, *port);
    DoValidatePort(ctx, *port);
  }
  ctx.SetObjectUnderValidation(&framework::CProject::GetCurrentActiveInstance());
  DoValidateProject(ctx);
}

void CBaseProtocol::SendApply() {
  ProcessGlobalConfigs();
  for (CPort* port : ProjectPorts()) {
    BuildAndSendDeleteMsg(*port);
    PostProcessDeletesPerPort(*port);
    BuildAndSendAddModifyMsg(OBJ_CREATED, *port);
    PostProcessCreatesPerPort(*port);
    BuildAndSendAddModifyMsg(OBJ_MODIFIED, *port);
    PostProcessUpdatesPerPort(*port);
  }
  PostProcessAfterCategory();
  PostApplyProcessing();
}

void CBaseProtocol::CommitApply(const ScriptableVec& destroyed) {
  for (CScriptable* object : m_dirty) {
    if (std::find(destroyed.begin(), destroyed.end(), object) == destroyed.end()) object->Commit();
  }
  for (auto& entry : m_cache) {
    for (CScriptable* object : destroyed) entry.second.erase(object);
  }
  m_dirty.erase(std::remove_if(m_dirty.begin(), m_dirty.end(),
                               [&destroyed](CScriptable* object) {
                                 return std::find(destroyed.begin(), destroyed.end(), object) != destroyed.end();
                               }),
                m_dirty.end());
  m_applied.clear();
  for (CPort* port : ProjectPorts()) {
    ScriptableVec current;
    GetProtocolConfigs(*port, current);
    std::vector<framework::Handle>& applied = m_applied[port->GetHandle()];
    for (const CScriptable* config : current) applied.push_back(config->GetHandle());
  }
}

}  // namespace rtgcore
}  // namespace kel
