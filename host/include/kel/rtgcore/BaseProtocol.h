#pragma once
// CBaseProtocol: the base of protocols that push configuration objects to the ports.
//
// The host's apply runs, for every registered protocol: clear the cache and the dirty vector;
// per port in handle order, cache the port's deleted configurations as deleted and hand every
// other one to BuildAddModifyObjectMap; validate every port, then the project; cache the global
// configurations; per port send deletes, then adds, then modifications; finally commit the dirty
// vector. The class lists the hooks it calls on the way in that order.
//
// Configurations new to a port (a device moved to it, or the port came back empty after being
// offline) are handed over as Modified even when they are Clean, so that they reach the port.
//
// The per-port cache: for each port, class and change kind, a set of objects. A later insertion
// of one object for one port replaces the earlier one; a kind with nothing inserted has no set
// at all; Deleted_Local objects are never cached. The cache is kept until the next apply.

#include <map>
#include <string>
#include <vector>

#include <boost/unordered_set.hpp>

#include "kel/core/Protocol.h"
#include "kel/core/ValidationContext.h"
#include "kel/framework/Scriptable.h"

class Message;

namespace kel {
namespace framework {
class BLLLogger;
}
namespace core {
class CPort;
class Messenger;
class CProtocolConfig;
class CResultHandler;
class CStateSubscriptionHandler;
}  // namespace core

namespace rtgcore {

using core::CPort;
using core::ValidationContext;
using framework::ClassId;
using framework::CScriptable;
using framework::ScriptableVec;

// Events common to every protocol that a user interface can ask a protocol to send to the ports.
enum ProtocolControlCommonEvent { PROTOCOL_EVENT_START, PROTOCOL_EVENT_STOP, PROTOCOL_EVENT_ESTABLISH };

// Ports ordered by handle, so walks over ports are reproducible.
struct PortHandleLess {
  bool operator()(const CPort* a, const CPort* b) const;
};
using PortCfgVecMap = std::map<CPort*, ScriptableVec, PortHandleLess>;
using PortHandleVecMap = std::map<CPort*, std::vector<unsigned>, PortHandleLess>;

class CBaseProtocol : public core::CProtocol {
 public:
  // Change kinds of the cache.
  enum ObjType { OBJ_DELETED = 0, OBJ_CREATED = 1, OBJ_MODIFIED = 2, OBJ_CLEAN = 3 };
  using ConfigSet = boost::unordered_set<CScriptable*>;

  // group: the protocol group shown to users; name: the protocol's name; managedClass: the
  // configuration class the protocol manages; msgSetName: its message set; userLogger: the log of
  // user-visible events (not owned; loggers live for the process).
  CBaseProtocol(const std::string& group, const std::string& name, ClassId managedClass,
                const std::string& msgSetName, framework::BLLLogger* userLogger);
  ~CBaseProtocol() override;

  const std::string& GetGroupName() const { return m_group; }
  ClassId GetManagedClassId() const { return m_managedClass; }
  framework::BLLLogger* GetUserLogger() const { return m_userLogger; }

  // ---- CProtocol ----
  const std::string& GetName() const override { return m_name; }
  void GetManagedProtocolConfig(std::vector<unsigned>& handles) override;
  const std::string& GetMsgSetName() const override { return m_msgSetName; }

  // ---- Hooks of the apply cycle, in the order the cycle calls them ----
  // PrepareApply, for every protocol:
  // Called when an apply starts, before anything is cached: forgets the cache and the dirty vector.
  virtual void ResetAllInternalParams();
  // Called when the apply gathers a port's configurations, for each port in handle order (and
  // again by CommitApply, to remember what each port holds). The base: the managed configurations
  // on the port (children of the port's devices), deleted ones excluded.
  virtual void GetProtocolConfigs(const CPort& port, ScriptableVec& configs) const;
  // Called when a configuration the port held at the last committed apply is no longer among its
  // configurations: caches it as deleted on that port.
  virtual void BuildDeleteObjectMap(const CPort& port, CScriptable* config);
  // Called when the port's deleted configurations are cached, once for each of its configurations:
  // caches one changed configuration of a port by its state (Created, Modified, Clean) when it is
  // active.
  virtual void BuildAddModifyObjectMap(const CPort& port, CScriptable* config);
  // Called when the base BuildAddModifyObjectMap weighs a configuration: active, and not below an
  // inactive device.
  virtual bool IsProtocolConfigActive(const CScriptable& config) const;
  // Called when every port's configurations are cached and a port's validation begins, for each
  // port in handle order, with the port as the object under validation; nothing by default.
  virtual void DoValidateInterfaceSetup(ValidationContext& ctx, const CPort& port);
  // Called when DoValidateInterfaceSetup returns, for the same port; nothing by default.
  virtual void DoValidatePortGroup(ValidationContext& ctx, const CPort& port);
  // Called when DoValidatePortGroup returns: warns about an offline port, whose configuration
  // waits until the port is back.
  virtual void ValidateActivePortPhy(ValidationContext& ctx, const CPort& port);
  // Called when ValidateActivePortPhy returns, last for the port; nothing by default.
  virtual void DoValidatePort(ValidationContext& ctx, const CPort& port);
  // Called when every port is validated, with the project as the object under validation; nothing
  // by default.
  virtual void DoValidateProject(ValidationContext& ctx);
  // SendApply, for every protocol, once no protocol's validation found an error and the apply is
  // not validate-only:
  // Called when sending begins, before any port: caches configurations that belong to no port
  // (profiles, say); nothing by default.
  virtual void ProcessGlobalConfigs() {}
  // Called when a port's turn to send comes, for each port in handle order: sends its deletes.
  virtual void BuildAndSendDeleteMsg(CPort& port);
  // Called when BuildAndSendDeleteMsg returns; nothing by default.
  virtual void PostProcessDeletesPerPort(CPort&) {}
  // Called when PostProcessDeletesPerPort returns, with OBJ_CREATED (the port's adds), and again
  // when PostProcessCreatesPerPort returns, with OBJ_MODIFIED (its modifications): sends the
  // port's cached objects of that kind.
  virtual void BuildAndSendAddModifyMsg(ObjType kind, CPort& port);
  // Called when the port's adds are sent; nothing by default.
  virtual void PostProcessCreatesPerPort(CPort&) {}
  // Called when the port's modifications are sent, last for the port; nothing by default.
  virtual void PostProcessUpdatesPerPort(CPort&) {}
  // Called when every port has sent; nothing by default.
  virtual void PostProcessAfterCategory() {}
  // Called when PostProcessAfterCategory returns: the last hook before the commit, which calls
  // none but GetProtocolConfigs; nothing by default.
  virtual void PostApplyProcessing() {}

  // ---- Hooks of port tracking ----
  // Called when a port goes offline or comes back online (CPortChannels). Offline:
  // ProcessOfflinePort. Back online: DeleteAllProtocolObjects, so that the port starts from
  // nothing before the next apply.
  void OnPortStatusChange(CPort& port, bool online) override;
  // Called when a port goes offline; nothing by default.
  virtual void ProcessOfflinePort(CPort* port);
  // Called when a port comes back online, before anything else is sent to it; nothing by default.
  virtual void DeleteAllProtocolObjects(CPort& port);

  // ---- Hooks this host never calls ----
  // They stay part of a protocol's interface: a derived protocol may override them or call them
  // itself, but nothing in the host does.
  virtual void UpdateStartStopEstablishCommandStatus() {}
  virtual void UpdateProtocolSpecificCommandStatus() {}
  virtual void UpdateCfgVecUsingCmdParams(ScriptableVec& configs, const std::vector<unsigned>& params);
  virtual bool IsRCMCheckRequired() const { return false; }
  virtual void SetRelevantIfHandles(const CPort& port, const ScriptableVec& interfaces, CScriptable* config) const;
  virtual void MarkResultSubscriptionsDirty() {}
  virtual void SendDetachInterfaceMessage(CPort& port, const std::vector<unsigned>& interfaces);
  virtual void SendAttachInterfaceMessage(CPort& port, const std::vector<unsigned>& interfaces);
  virtual void ProcessStateSubscription() {}
  virtual bool RemoveFromStateSubscription(const CPort*) { return true; }
  virtual bool AddToStateSubscription(const CPort*) { return true; }
  virtual void SetupEventLog() {}
  virtual core::CStateSubscriptionHandler* GetStateSubscriptionHandler() { return nullptr; }
  virtual core::CResultHandler* GetResultHandler() { return nullptr; }
  virtual void ProcessInterfacesForExistingObjects(const CPort& port, CScriptable* config);
  virtual void ProcessInterfacesForNewConfigs(const CPort& port, CScriptable* config);
  virtual void ProcessInterfacesForDeletedObjects(const CPort& port, const CScriptable* config,
                                                  std::vector<unsigned>& interfaces);
  // Appends the handles of the non-null interfaces.
  virtual void ConvertInterfaceToHnd(const ScriptableVec& interfaces, const CPort& port, const CScriptable* config,
                                     std::vector<unsigned>& handles);
  virtual bool IsProtocolStackResolved(const core::CProtocolConfig&) const { return true; }
  virtual void UpdateAdvertiseCommandStatus() {}
  // Builds the message of a common event for the given configurations; false when the protocol
  // sends none (the base sends none).
  virtual bool BuildProtocolCommonEventIdlMsg(Message& message, ProtocolControlCommonEvent event,
                                              const std::vector<unsigned>& handles);
  virtual bool BuildProtocolSpecificEventIdlMsg(Message& message, const std::string& event,
                                                const std::vector<unsigned>& handles);
  virtual void ThrowValidationErrors(ValidationContext&) {}
  virtual void ProcessDetachInterfaces(CPort&) {}
  virtual void ProcessInterfacesForExistingObjects(const CPort& port, const CScriptable* config,
                                                   std::vector<unsigned>& interfaces);
  virtual void ProcessInterfacesForNewConfigs(const CPort& port, const CScriptable* config,
                                              std::vector<unsigned>& interfaces);

  // ---- Services for derived protocols ----
  // Objects to look at again at the next apply; derived protocols append to it.
  ScriptableVec& GetDirtyVec() { return m_dirty; }
  // Records `object` on `port` under the change kind of `state`; Deleted_Local is ignored.
  void InsertIntoCache(const CScriptable::State& state, const CPort* port, CScriptable* object);
  // The cached set of objects of exactly that class on the port, or null when none of that kind
  // was inserted.
  const ConfigSet* GetConfigsFromCache(const CPort& port, const ClassId& classId, ObjType kind) const;
  // True while the port's endpoint answers.
  bool GetPortOnline(const CPort& port) const;
  // The port's message channel.
  core::Messenger& GetMessenger(CPort& port) const;
  // Groups configurations by the port that runs them (configurations without a port are left out).
  void BuildPortCfgVecMap(const ScriptableVec& configs, PortCfgVecMap& out) const;
  // Groups configuration handles by port, for event messages.
  void BuildEventLogMap(const std::vector<unsigned>& handles, PortHandleVecMap& out) const;

  // ---- The apply cycle, driven by CApplyToILCommand for every protocol ----
  // Clears the cache and the dirty vector, caches every port's configurations (deleted ones as
  // deleted, the others through BuildAddModifyObjectMap), then validates every port and the
  // project into `ctx`.
  void PrepareApply(ValidationContext& ctx);
  // Caches the global configurations and sends, port by port, deletes, then adds, then updates.
  void SendApply();
  // Makes exactly the objects of the dirty vector Clean, remembers what is on each port, and
  // drops from the cache and the dirty vector the deleted objects that are about to be destroyed.
  void CommitApply(const ScriptableVec& destroyed);

 private:
  // Keyed by the port's handle, not the port: a port deleted since the last apply must not be
  // touched when the cache is searched.
  struct CacheKey {
    framework::Handle portHandle;
    ClassId classId;
    ObjType kind;
    bool operator<(const CacheKey& o) const;
  };
  static ObjType KindOf(CScriptable::State state);
  static framework::Handle PortHandleOf(const CPort* port);

  // The project's ports in handle order.
  static std::vector<CPort*> ProjectPorts();

  std::string m_group;
  std::string m_name;
  ClassId m_managedClass;
  std::string m_msgSetName;
  framework::BLLLogger* m_userLogger;
  ScriptableVec m_dirty;
  std::map<CacheKey, ConfigSet> m_cache;
  // Per port handle: the configurations that were on the port at the last committed apply, so
  // that one no longer there is deleted from the port.
  std::map<framework::Handle, std::vector<framework::Handle>> m_applied;
};

}  // namespace rtgcore
}  // namespace kel
