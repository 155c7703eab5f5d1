#pragma once
// CStorageIOProtocol: the plug-in's one protocol object. The host's protocol module talks to it
// to push the storage configuration to the ports, validate it and follow running tests. A
// process-wide singleton made on first use; only DeleteInstance destroys it. Every member runs on
// the business-layer thread; nothing is locked.

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "kel/framework/Delegate.h"
#include "kel/rtgcore/BaseProtocol.h"

namespace kel {
namespace storageio {

class CStorageWorkerProfile;

// Name of the project's default profile; a saved profile of that name becomes the default again.
extern const char* const kDefaultProfileName;

using MessageDelegate = framework::Delegate<framework::FastDelegate3<unsigned short, Message*, void*, void>>;

class CStorageIOProtocol : public rtgcore::CBaseProtocol {
 public:
  static CStorageIOProtocol* Instance();
  // Destroys the singleton if it exists; a later Instance() makes a fresh one.
  static void DeleteInstance();

  ~CStorageIOProtocol() override;

  // The default profile, made under the active project on first use (named "DefaultLoadProfile",
  // IsDefaultProfile true). Throws CKelLogicError when the host cannot make it.
  CStorageWorkerProfile* GetDefaultProfile();
  // Takes `profile` as the default without any check. The profile belongs to the project.
  void SetDefaultProfile(CStorageWorkerProfile* profile) { m_defaultProfile = profile; }
  // Always throws CCommandErrorException, with an empty message whatever the argument.
  [[noreturn]] void LogCommandFailedError(const std::string& reason) const;

  // ---- Identity and trivial hooks of the host's protocol interface ----
  unsigned GetId() const override { return 0; }
  const std::string& GetName() const override { return s_name; }
  const std::string& GetCategory() const override { return s_category; }
  int GetCategoryStartPriority() const override { return 1; }
  int GetProtocolStartPriority() const override { return 5; }
  void ProcessControlMessage(const core::ControlMessage*, const std::vector<unsigned>&) override {}
  std::vector<framework::ClassId> GetManagedProtocolConfigType() const override { return {}; }
  // A storage test is started by the start command only, never by the host's protocol start.
  void StartStopProtocol(bool) override {}
  void StartStopProtocol(bool, const std::vector<unsigned>&) override {}
  int GetProtocolTransmitOSILayer() const override { return 3; }
  int GetProtocolOperationOSILayer() const override { return 3; }
  // Storage workers use no network interfaces of the host: every interface hook is empty.
  void SetRelevantIfHandles(const core::CPort&, const framework::ScriptableVec&, framework::CScriptable*) const override {}
  // Result views learn of changes through the host's property notifications.
  void MarkResultSubscriptionsDirty() override {}
  void ResetAllInternalParams() override { CBaseProtocol::ResetAllInternalParams(); }
  void SendDetachInterfaceMessage(core::CPort&, const std::vector<unsigned>&) override {}
  void SendAttachInterfaceMessage(core::CPort&, const std::vector<unsigned>&) override {}
  void ProcessStateSubscription() override {}
  bool RemoveFromStateSubscription(const core::CPort*) override { return true; }
  bool AddToStateSubscription(const core::CPort*) override { return true; }
  void SetupEventLog() override {}
  core::CStateSubscriptionHandler* GetStateSubscriptionHandler() override { return nullptr; }
  void ProcessInterfacesForDeletedObjects(const core::CPort&, const framework::CScriptable*,
                                          std::vector<unsigned>&) override {}
  void ConvertInterfaceToHnd(const framework::ScriptableVec&, const core::CPort&, const framework::CScriptable*,
                             std::vector<unsigned>&) override {}
  bool IsProtocolStackResolved(const core::CProtocolConfig&) const override { return true; }
  bool BuildProtocolCommonEventIdlMsg(Message&, rtgcore::ProtocolControlCommonEvent,
                                      const std::vector<unsigned>&) override {
    return false;
  }
  // Validation problems go into the context directly; there is nothing left to throw.
  void ThrowValidationErrors(core::ValidationContext&) override {}
  void ProcessDetachInterfaces(core::CPort&) override {}
  void ProcessInterfacesForExistingObjects(const core::CPort&, const framework::CScriptable*,
                                           std::vector<unsigned>&) override {}
  void ProcessInterfacesForNewConfigs(const core::CPort&, const framework::CScriptable*,
                                      std::vector<unsigned>&) override {}
  using CBaseProtocol::ProcessInterfacesForExistingObjects;
  using CBaseProtocol::ProcessInterfacesForNewConfigs;

  // ---- Replies to configuration requests: accepted and ignored, whatever their status ----
  void ParseResponseConfigProfile(unsigned short status, Message* response, void* context) const;
  void ParseResponseConfigWorker(unsigned short status, Message* response, void* context) const;
  void ParseResponseDeleteProfile(unsigned short status, Message* response, void* context) const;
  void ParseResponseDeleteWorker(unsigned short status, Message* response, void* context) const;

  // ---- Notifications of a running test ----
  void TestStatusHandler(unsigned short status, Message* notification, void* context);
  void StatsHandler(unsigned short status, Message* notification, void* context);

 private:
  friend class CStorageWorkerProfile;  // forgets itself as the default when it is deleted
  friend class CStorageIOProtocolStatics;

  CStorageIOProtocol(const std::string& group, const std::string& name, framework::ClassId workerClass);

  static CStorageIOProtocol* s_instance;
  static std::string s_name;
  static std::string s_category;

  MessageDelegate m_profileConfigRespDelegate;
  MessageDelegate m_workerConfigRespDelegate;
  MessageDelegate m_profileDeleteRespDelegate;
  MessageDelegate m_workerDeleteRespDelegate;
  MessageDelegate m_testStatusDelegate;
  MessageDelegate m_statsDelegate;
  bool m_testInProgress;
  // Port handle -> registration ids of its (test status, statistics) notifications.
  std::map<std::uint32_t, std::pair<int, int>> m_testRunningPortSet;
  CStorageWorkerProfile* m_defaultProfile;  // not owned: the project owns the profile
};

}  // namespace storageio
}  // namespace kel
