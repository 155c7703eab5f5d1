#pragma once
// CStorageIOProtocol: the plug-in's one protocol object. The host's protocol module talks to it
// to push the storage configuration to the ports, validate it and follow running tests. A
// process-wide singleton made on first use; only DeleteInstance destroys it. Every member runs on
// the business-layer thread; nothing is locked.

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "kel/core/RpcManager.h"
#include "kel/framework/Delegate.h"
#include "kel/rtgcore/BaseProtocol.h"
#include "msg/bst_1.h"

namespace kel {
namespace core {
class CPhysicalPortGroup;
}
namespace framework {
class CProject;
}
namespace storageio {

class CStorageBaseResults;
class CStorageWorkerConfig;
class CStorageWorkerProfile;

// Name of the project's default profile; a saved profile of that name becomes the default again.
extern const char* const kDefaultProfileName;

using MessageDelegate = core::RpcDelegate;

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

  // True while a storage test runs: no configuration is sent or queued then.
  bool IsTestInProgress() const { return m_testInProgress; }
  void SetTestInProgress(bool running) { m_testInProgress = running; }

  // ---- Apply: profiles are global, workers per port ----
  // Feeds the project's profiles, and those removed since the last apply, into the cache.
  void ProcessGlobalConfigs() override;
  void InsertGlobalConfigIntoCache(framework::ScriptableVec& profiles, framework::ScriptableVec& dirty);
  // Caches one worker of the port by the state it reports; an inactive worker is queued for the
  // next apply instead (and dropped while a test runs). Null or a non-worker throws CKelLogicError.
  void BuildAddModifyObjectMap(const core::CPort& port, framework::CScriptable* obj) override;
  // Sends the port's added (kind 1) or modified (kind 2) profiles, then workers: one request each.
  // Nothing while a test runs.
  void BuildAndSendAddModifyMsg(ObjType kind, core::CPort& port) override;
  // Sends the deleted profiles' handles, then the deleted workers' handles, to an online port;
  // never an empty delete. Deletes go out even while a test runs.
  void BuildAndSendDeleteMsg(core::CPort& port) override;
  // Asks an online port to delete every access spec and every worker (two empty deletes).
  void DeleteAllProtocolObjects(core::CPort& port) override;
  void BuildAndSendProfileMessage(const ConfigSet& profiles, ObjType kind, core::CPort& port);
  // A worker without a profile or with a null target throws CKelLogicError.
  void BuildAndSendWorkerMessage(const ConfigSet& workers, ObjType kind, core::CPort& port);

  // ---- Validation ----
  using UsedPortGroupMap = std::map<const core::CPhysicalPortGroup*, std::vector<const core::CPort*>>;
  // Every added or modified worker of the port must have an active profile.
  void DoValidatePort(core::ValidationContext& ctx, const core::CPort& port) override;
  // At most one port per physical port group may run storage workers.
  void DoValidateProject(core::ValidationContext& ctx) override;
  void DoValidatePortGroupUsage(core::ValidationContext& ctx);
  void DoValidateUpdateUsedPortGroups(UsedPortGroupMap& usedPortGroups, framework::CProject& project);
  // Records the port for the worker; true when the port is settled (its other workers need no look).
  bool DoValidateUpdateUsedPortGroups(UsedPortGroupMap& usedPortGroups, const core::CPort& port,
                                      const CStorageWorkerConfig& worker);
  void DoValidateReportPortGroupUsageErrors(const UsedPortGroupMap& usedPortGroups,
                                            core::ValidationContext& ctx) const;

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

  // ---- Test run tracking ----
  using RunningPortMap = std::map<std::uint32_t, std::pair<int, int>>;
  // Ports running a test, by handle: the registration ids of their (test status, statistics)
  // notifications.
  const RunningPortMap& GetTestRunningPortSet() const { return m_testRunningPortSet; }
  // Records a port as running a test; a port already there gets the new ids.
  void AddToTestRunningPortSet(unsigned int portHandle, int testStatusRegId, int testResultsRegId);
  // On every worker of the active project that is an active leaf: start and learn enabled when
  // idle, stop enabled when not (in that order).
  void SetTestCommandStatus(bool idle);
  // The delegates the start command registers for the two notifications of a running test.
  MessageDelegate& GetTestStatusDelegate() { return m_testStatusDelegate; }
  MessageDelegate& GetStatsDelegate() { return m_statsDelegate; }
  // "BST_1.TestNotification": progress values 0 to 6 are logged to the user; any other value ends
  // the test on the port. `context` carries the port's handle.
  void TestStatusHandler(unsigned short status, Message* notification, void* context);
  // Ends the test on one port (deregistering its notifications) and, when it was the last, the
  // whole test. A failed deregistration throws CKelRunTimeError and leaves the port running.
  void EndTestProcessor(unsigned int portHandle, core::CPort* port);
  // A port that went offline: its handle leaves every profile's portHndSet and its discovered
  // targets are deleted; a running test is left as it is.
  void ProcessOfflinePort(core::CPort* port) override;

  // ---- Statistics and results ----
  // "BST_1.TestResultsNotification": writes worker and target results, then rolls the workers up
  // into profile, port and project results. Every level holds the plain sum of the level below
  // for all 30 values, averages and maxima included.
  void StatsHandler(unsigned short status, Message* notification, void* context);
  void PopulateResults(bst_1_bll::StorageBaseResults_s& record, CStorageBaseResults& result);
  void ResetResultStruct(bst_1_bll::StorageBaseResults_s& record);
  void UpdateProfileResults(boost::unordered_set<framework::CScriptable*>& profiles);
  void UpdatePortResults(boost::unordered_set<framework::CScriptable*>& ports);
  void UpdateProjectResults();
  // Zeroes every storage result of the active project, unless a test runs (then only a warning).
  void ClearResult() override;

 private:
  friend class CStorageWorkerProfile;  // forgets itself as the default when it is deleted
  friend class CStorageIOProtocolStatics;

  // Sends a request to the port with the port's handle as the reply context.
  void SendToPort(core::CPort& port, Message& request, MessageDelegate& replyDelegate);

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
  RunningPortMap m_testRunningPortSet;
  CStorageWorkerProfile* m_defaultProfile;  // not owned: the project owns the profile
};

}  // namespace storageio
}  // namespace kel
