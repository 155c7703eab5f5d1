#include "StorageIOProtocol.h"

#include <cstdint>

#include "StorageDiscoveredTargetResults.h"
#include "StorageDiscoveredTargets.h"
#include "StorageLearnTargetsCommand.h"
#include "StoragePortRequests.h"
#include "StoragePortResults.h"
#include "StorageResultRecords.h"
#include "StorageProfileResults.h"
#include "StorageProjectResults.h"
#include "StorageStartWorkerCommand.h"
#include "StorageStopWorkerCommand.h"
#include "StorageWorkerResults.h"
#include "StorageIOHost.h"
#include "StorageIOIds.h"
#include "StorageIOLog.h"
#include "StorageIOMessages.h"
#include "StorageWorkerConfig.h"
#include "StorageWorkerProfile.h"
#include "kel/core/ValidationContext.h"
#include "kel/framework/CommandStatusManager.h"
#include "kel/framework/ResourceManager.h"
#include "kel/framework/ScriptableLocator.h"
#include "msg/BST_1.h"
#include "kel/framework/Project.h"
#include "kel/framework/ScriptableCreator.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {

using framework::MakeDelegate;

const char* const kDefaultProfileName = "DefaultLoadProfile";

using framework::CScriptable;
using framework::ScriptableVec;

namespace {
const char* const kSourcePath = "content/storage/storageio/bll/src/StorageIOProtocol";
constexpr framework::PropId kIsDefaultProfile = ids::props::StorageWorkerProfile::IsDefaultProfile;
constexpr std::size_t kMostPortsNamed = 10;


}  // namespace

CStorageIOProtocol* CStorageIOProtocol::s_instance = nullptr;
std::string CStorageIOProtocol::s_name;
std::string CStorageIOProtocol::s_category;

// Sets the protocol's name and category when the library loads.
class CStorageIOProtocolStatics {
 public:
  CStorageIOProtocolStatics() {
    CStorageIOProtocol::s_name = "StorageIO";
    CStorageIOProtocol::s_category = "Switching";
  }
};

namespace {
const CStorageIOProtocolStatics s_statics;
}  // namespace

CStorageIOProtocol* CStorageIOProtocol::Instance() {
  if (s_instance == nullptr) {
    const std::string group = "Storage";
    const std::string name = "StorageIO";
    s_instance = new CStorageIOProtocol(group, name, CStorageWorkerConfig::CLASS_ID());
  }
  return s_instance;
}

void CStorageIOProtocol::DeleteInstance() {
  delete s_instance;
  s_instance = nullptr;
}

CStorageIOProtocol::CStorageIOProtocol(const std::string& group, const std::string& name,
                                       framework::ClassId workerClass)
    : CBaseProtocol(group, name, workerClass, "BST_1", userLogger()),
      m_profileConfigRespDelegate(MakeDelegate(this, &CStorageIOProtocol::ParseResponseConfigProfile)),
      m_workerConfigRespDelegate(MakeDelegate(this, &CStorageIOProtocol::ParseResponseConfigWorker)),
      m_profileDeleteRespDelegate(MakeDelegate(this, &CStorageIOProtocol::ParseResponseDeleteProfile)),
      m_workerDeleteRespDelegate(MakeDelegate(this, &CStorageIOProtocol::ParseResponseDeleteWorker)),
      m_testStatusDelegate(MakeDelegate(this, &CStorageIOProtocol::TestStatusHandler)),
      m_statsDelegate(MakeDelegate(this, &CStorageIOProtocol::StatsHandler)),
      m_testInProgress(false),
      m_defaultProfile(nullptr) {}

// The running-port map is dropped without deregistering: the ports' notifications die with the
// process or the next project.
CStorageIOProtocol::~CStorageIOProtocol() { m_testRunningPortSet.clear(); }

CStorageWorkerProfile* CStorageIOProtocol::GetDefaultProfile() {
  if (m_defaultProfile != nullptr) return m_defaultProfile;
  m_defaultProfile = static_cast<CStorageWorkerProfile*>(framework::CScriptableCreator().Create(
      CStorageWorkerProfile::CLASS_ID(), &framework::CProject::GetCurrentActiveInstance(), true, true, 0));
  if (m_defaultProfile == nullptr) {
    ThrowAssertion(texts::kNoDefaultProfile, kSourcePath, __LINE__);
  }
  m_defaultProfile->Set(framework::prop::Name, std::string(kDefaultProfileName));
  m_defaultProfile->Set(kIsDefaultProfile, true);
  return m_defaultProfile;
}

void CStorageIOProtocol::LogCommandFailedError(const std::string&) const {
  throw framework::CCommandErrorException("");
}

void CStorageIOProtocol::ParseResponseConfigProfile(unsigned short, Message*, void*) const {}
void CStorageIOProtocol::ParseResponseConfigWorker(unsigned short, Message*, void*) const {}
void CStorageIOProtocol::ParseResponseDeleteProfile(unsigned short, Message*, void*) const {}
void CStorageIOProtocol::ParseResponseDeleteWorker(unsigned short, Message*, void*) const {}


// ---- Apply ----

void CStorageIOProtocol::ProcessGlobalConfigs() {
  framework::CProject& project = framework::CProject::GetCurrentActiveInstance();
  ScriptableVec& dirty = GetDirtyVec();
  ScriptableVec profiles;
  project.GetObjects(profiles, CStorageWorkerProfile::CLASS_ID(), framework::ParentChild());
  project.GetRemovedObjects(profiles, CStorageWorkerProfile::CLASS_ID(), framework::ParentChild());
  InsertGlobalConfigIntoCache(profiles, dirty);
}

void CStorageIOProtocol::InsertGlobalConfigIntoCache(ScriptableVec& profiles, ScriptableVec& dirty) {
  for (CScriptable* object : profiles) {
    if (!object->IsTypeOf(CStorageWorkerProfile::CLASS_ID())) {
      STORAGEIO_LOG_WARN(devLogger(), "CStorageIOProtocol::ProcessGlobalConfigs scrip is not of type Profile");
      continue;
    }
    auto* profile = static_cast<CStorageWorkerProfile*>(object);
    CStorageWorkerProfile::PortSet created, modified, deleted, clean;
    const CScriptable::State state = profile->ProcessConfigForCache(created, modified, deleted, clean);
    for (core::CPort* port : created) InsertIntoCache(CScriptable::STATE_CREATED, port, profile);
    for (core::CPort* port : modified) InsertIntoCache(CScriptable::STATE_MODIFIED, port, profile);
    for (core::CPort* port : deleted) InsertIntoCache(CScriptable::STATE_DELETED, port, profile);
    for (core::CPort* port : clean) InsertIntoCache(CScriptable::STATE_CLEAN, port, profile);
    if (state != CScriptable::STATE_CLEAN && !m_testInProgress) dirty.push_back(profile);
  }
}

void CStorageIOProtocol::BuildAddModifyObjectMap(const core::CPort& port, CScriptable* obj) {
  if (obj == nullptr) {
    ThrowAssertion(texts::kNullObjectToMap, kSourcePath, __LINE__);
  }
  if (!obj->IsTypeOf(CStorageWorkerConfig::CLASS_ID())) {
    ThrowAssertion(texts::kNotAWorkerToMap, kSourcePath, __LINE__);
  }
  if (obj->GetActive()) {
    const CScriptable::State state = static_cast<CStorageWorkerConfig*>(obj)->ProcessConfigForCache(GetDirtyVec());
    InsertIntoCache(state, &port, obj);
  } else if (!m_testInProgress) {
    GetDirtyVec().push_back(obj);
  }
}

void CStorageIOProtocol::SendToPort(core::CPort& port, Message& request, MessageDelegate& replyDelegate) {
  core::CRpcManager::Instance().SendAsyncMessage(GetMessenger(port), request, &replyDelegate, PortCookie(port), 0,
                                                 true);
}

void CStorageIOProtocol::BuildAndSendAddModifyMsg(ObjType kind, core::CPort& port) {
  if (m_testInProgress) return;
  if (const ConfigSet* profiles = GetConfigsFromCache(port, CStorageWorkerProfile::CLASS_ID(), kind)) {
    BuildAndSendProfileMessage(*profiles, kind, port);
  }
  if (const ConfigSet* workers = GetConfigsFromCache(port, CStorageWorkerConfig::CLASS_ID(), kind)) {
    BuildAndSendWorkerMessage(*workers, kind, port);
  }
}

void CStorageIOProtocol::BuildAndSendProfileMessage(const ConfigSet& profiles, ObjType kind, core::CPort& port) {
  std::vector<BST_1_bll::AccessSpec_s> accessSpecs;
  for (CScriptable* profile : profiles) accessSpecs.push_back(AccessSpecOf(*static_cast<CStorageWorkerProfile*>(profile)));
  Message request;
  if (kind == OBJ_CREATED) {
    BST_1_bll::create_req_AddAccessSpecs(&request, accessSpecs, true);
  } else if (kind == OBJ_MODIFIED) {
    BST_1_bll::create_req_UpdateAccessSpecs(&request, accessSpecs, true);
  }
  SendToPort(port, request, m_profileConfigRespDelegate);
}

void CStorageIOProtocol::BuildAndSendWorkerMessage(const ConfigSet& workers, ObjType kind, core::CPort& port) {
  std::vector<BST_1_bll::WorkerConfig_s> configs;
  for (const CScriptable* worker : workers) configs.push_back(WorkerConfigOf(*worker));
  Message request;
  if (kind == OBJ_CREATED) {
    BST_1_bll::create_req_AddWorkers(&request, configs, true);
  } else if (kind == OBJ_MODIFIED) {
    BST_1_bll::create_req_UpdateWorkers(&request, configs, true);
  }
  SendToPort(port, request, m_workerConfigRespDelegate);
}

void CStorageIOProtocol::BuildAndSendDeleteMsg(core::CPort& port) {
  if (!GetPortOnline(port)) return;
  std::vector<unsigned int> handles;
  if (const ConfigSet* profiles = GetConfigsFromCache(port, CStorageWorkerProfile::CLASS_ID(), OBJ_DELETED)) {
    for (const CScriptable* profile : *profiles) handles.push_back(profile->GetHandle());
  }
  if (!handles.empty()) {
    Message request;
    BST_1_bll::create_req_DeleteAccessSpecs(&request, handles, true);
    SendToPort(port, request, m_profileDeleteRespDelegate);
    handles.clear();
  }
  if (const ConfigSet* workers = GetConfigsFromCache(port, CStorageWorkerConfig::CLASS_ID(), OBJ_DELETED)) {
    for (const CScriptable* worker : *workers) handles.push_back(worker->GetHandle());
  }
  if (!handles.empty()) {
    Message request;
    BST_1_bll::create_req_DeleteWorkers(&request, handles, true);
    SendToPort(port, request, m_workerDeleteRespDelegate);
  }
}

void CStorageIOProtocol::DeleteAllProtocolObjects(core::CPort& port) {
  if (!GetPortOnline(port)) return;
  const std::vector<unsigned int> everything;
  Message profiles;
  BST_1_bll::create_req_DeleteAccessSpecs(&profiles, everything, true);
  SendToPort(port, profiles, m_profileDeleteRespDelegate);
  Message workers;
  BST_1_bll::create_req_DeleteWorkers(&workers, everything, true);
  SendToPort(port, workers, m_workerDeleteRespDelegate);
}

// ---- Test run tracking ----

void CStorageIOProtocol::AddToTestRunningPortSet(unsigned int portHandle, int testStatusRegId, int testResultsRegId) {
  m_testRunningPortSet[portHandle] = std::make_pair(testStatusRegId, testResultsRegId);
}

void CStorageIOProtocol::SetTestCommandStatus(bool idle) {
  ScriptableVec workers;
  framework::CScriptableLocator::Instance().GetObjectsEx(workers, CStorageWorkerConfig::CLASS_ID(),
                                                          &framework::CProject::GetCurrentActiveInstance(),
                                                          framework::FILTER_INACTIVE_LEAVES);
  framework::CCommandStatusManager& status = framework::CCommandStatusManager::Instance();
  for (const CScriptable* worker : workers) {
    status.SetCommandStatus(worker->GetHandle(), CStorageStartWorkerCommand::CLASS_ID(), idle);
    status.SetCommandStatus(worker->GetHandle(), CStorageStopWorkerCommand::CLASS_ID(), !idle);
    status.SetCommandStatus(worker->GetHandle(), CStorageLearnTargetsCommand::CLASS_ID(), idle);
  }
}

void CStorageIOProtocol::TestStatusHandler(unsigned short, Message* notification, void* context) {
  const std::uint32_t handle = HandleFromCookie(context);
  core::CPort* port = FindPort(handle);
  if (port == nullptr) {
    STORAGEIO_LOG_WARN(devLogger(), texts::kPortOfAnswerNotFound);
    return;
  }
  BST_1_bll::TestStatus_t progress = BST_1_bll::TestStatus_t::Max;
  BST_1_bll::parse_req_TestNotification(notification, &progress);
  const int value = static_cast<int>(progress);
  if (value >= 0 && value <= static_cast<int>(BST_1_bll::TestStatus_t::Done75Percent)) {
    framework::BLLLogger* log = userLogger();
    if (log != nullptr && log->IsEnabledFor(framework::LOG_LEVEL_INFO)) {
      framework::ResourceFormatter text(ids::resources::TestStatus);
      text << port->GetName() << texts::kProgress[value];
      log->Info(text.ToString(), kSourcePath, __LINE__);
    }
    return;
  }
  EndTestProcessor(handle, port);
}

void CStorageIOProtocol::EndTestProcessor(unsigned int portHandle, core::CPort* port) {
  const auto entry = m_testRunningPortSet.find(portHandle);
  if (entry == m_testRunningPortSet.end()) {
    STORAGEIO_LOG_ERROR(devLogger(), "Got EOT notification from port " << port->GetName()
                                                                       << " that is not in the m_testRunningPortSet.");
  } else {
    Message statusRequest;
    BST_1_bll::create_req_DeregisterTestStatusNotify(&statusRequest);
    Message resultsRequest;
    BST_1_bll::create_req_DeregisterTestResults(&resultsRequest);
    core::CRpcManager& rpc = core::CRpcManager::Instance();
    if (rpc.DeregisterForNotification(GetMessenger(*port), statusRequest, entry->second.first) != 0) {
      throw framework::CKelRunTimeError("BAD RPC MESSAGE ERROR: Error in BLL-IL communication. ");
    }
    if (rpc.DeregisterForNotification(GetMessenger(*port), resultsRequest, entry->second.second) != 0) {
      throw framework::CKelRunTimeError("BAD RPC MESSAGE ERROR: Error in BLL-IL communication. ");
    }
    STORAGEIO_LOG_INFO(userLogger(), texts::kPortFinishedBefore << port->GetName() << texts::kPortFinishedAfter);
    m_testRunningPortSet.erase(entry);
  }
  if (m_testRunningPortSet.empty()) {
    m_testInProgress = false;
    SetTestCommandStatus(true);
    STORAGEIO_LOG_INFO(userLogger(), texts::kTestCompleted);
  }
}

void CStorageIOProtocol::ProcessOfflinePort(core::CPort* port) {
  ScriptableVec profiles;
  framework::CProject::Instance().GetObjects(profiles, CStorageWorkerProfile::CLASS_ID(), framework::ParentChild());
  for (CScriptable* profile : profiles) static_cast<CStorageWorkerProfile*>(profile)->portHndSet.erase(port->GetHandle());
  for (CScriptable* device : AffiliatedDevices(*port)) {
    ScriptableVec workers;
    device->GetObjects(workers, CStorageWorkerConfig::CLASS_ID(), framework::ParentChild());
    for (CScriptable* worker : workers) {
      ScriptableVec targets;
      worker->GetObjects(targets, CStorageDiscoveredTargets::CLASS_ID(), framework::ParentChild());
      for (CScriptable* target : targets) target->MarkDelete(true, true);
    }
  }
}

// ---- Statistics and results ----

void CStorageIOProtocol::StatsHandler(unsigned short, Message* notification, void*) {
  std::vector<bst_1_bll::StorageWorkerResults_s> workerRecords;
  std::vector<bst_1_bll::StorageDiscoveredTargetResults_s> targetRecords;
  BST_1_bll::parse_req_TestResultsNotification(notification, &workerRecords, &targetRecords);
  boost::unordered_set<CScriptable*> profiles;
  boost::unordered_set<CScriptable*> ports;
  framework::CHandleRegistry& registry = framework::CHandleRegistry::Instance();
  for (bst_1_bll::StorageWorkerResults_s& record : workerRecords) {
    CScriptable* worker = registry.Find(record.StorageBaseResults.Result.BllHandle);
    if (worker == nullptr || !worker->IsTypeOf(CStorageWorkerConfig::CLASS_ID())) continue;
    if (auto* result = FindOrCreateResult<CStorageWorkerResults>(*worker)) {
      PopulateResults(record.StorageBaseResults, *result);
    }
    if (CScriptable* profile = worker->GetObject(CStorageWorkerProfile::CLASS_ID(),
                                                 framework::RelationType(kWorkerToProfile))) {
      profiles.insert(profile);
    }
    if (const CScriptable* device = worker->GetParent()) {
      if (core::CPort* port = AffiliatedPort(*device)) ports.insert(port);
    }
  }
  UpdateProfileResults(profiles);
  UpdatePortResults(ports);
  UpdateProjectResults();
  for (bst_1_bll::StorageDiscoveredTargetResults_s& record : targetRecords) {
    CScriptable* target = registry.Find(record.StorageBaseResults.Result.BllHandle);
    if (target == nullptr || !target->IsTypeOf(CStorageDiscoveredTargets::CLASS_ID())) continue;
    if (auto* result = FindOrCreateResult<CStorageDiscoveredTargetResults>(*target)) {
      PopulateResults(record.StorageBaseResults, *result);
    }
  }
}

void CStorageIOProtocol::PopulateResults(bst_1_bll::StorageBaseResults_s& record, CStorageBaseResults& result) {
  CopyValues(record, result);
}

void CStorageIOProtocol::ResetResultStruct(bst_1_bll::StorageBaseResults_s& record) { ZeroValues(record); }

void CStorageIOProtocol::UpdateProfileResults(boost::unordered_set<CScriptable*>& profiles) {
  for (CScriptable* profile : profiles) {
    auto* result = FindOrCreateResult<CStorageProfileResults>(*profile);
    if (result == nullptr) return;
    ResultRecord sum;
    ResetResultStruct(sum);
    ScriptableVec workers;
    profile->GetObjects(workers, CStorageWorkerConfig::CLASS_ID(), framework::RelationType(kWorkerToProfile).ReverseDir());
    for (const CScriptable* worker : workers) AddActiveWorker(*worker, sum);
    PopulateResults(sum, *result);
  }
}

void CStorageIOProtocol::UpdatePortResults(boost::unordered_set<CScriptable*>& ports) {
  for (CScriptable* port : ports) {
    auto* result = FindOrCreateResult<CStoragePortResults>(*port);
    if (result == nullptr) return;
    ResultRecord sum;
    ResetResultStruct(sum);
    // A port counts the first worker of each of its devices.
    for (const CScriptable* device : AffiliatedDevices(*static_cast<core::CPort*>(port))) {
      if (const CScriptable* worker = device->GetObject(CStorageWorkerConfig::CLASS_ID(), framework::ParentChild())) {
        AddActiveWorker(*worker, sum);
      }
    }
    PopulateResults(sum, *result);
  }
}

void CStorageIOProtocol::UpdateProjectResults() {
  ResultRecord sum;
  ResetResultStruct(sum);
  framework::CProject& project = framework::CProject::GetCurrentActiveInstance();
  auto* result = FindOrCreateResult<CStorageProjectResults>(project);
  if (result == nullptr) return;
  ScriptableVec profiles;
  project.GetObjects(profiles, CStorageWorkerProfile::CLASS_ID(), framework::ParentChild());
  for (const CScriptable* profile : profiles) {
    if (const CScriptable* profileResult = profile->GetObject(CStorageProfileResults::CLASS_ID(), framework::ParentChild())) {
      AddValues(*profileResult, sum);
    }
  }
  PopulateResults(sum, *result);
}

void CStorageIOProtocol::ClearResult() {
  framework::CProject& project = framework::CProject::GetCurrentActiveInstance();
  ScriptableVec workers;
  framework::CScriptableLocator::Instance().GetObjectsEx(workers, CStorageWorkerConfig::CLASS_ID(), &project,
                                                          framework::FILTER_INACTIVE_LEAVES);
  if (workers.empty()) return;
  if (m_testInProgress) {
    framework::BLLLogger* log = userLogger();
    if (log != nullptr && log->IsEnabledFor(framework::LOG_LEVEL_WARN)) {
      log->Warn(framework::ResourceFormatter(ids::resources::ClearDuringTest).ToString(), kSourcePath, __LINE__);
    }
    return;
  }
  ScriptableVec results;
  framework::CScriptableLocator::Instance().GetObjectsEx(results, CStorageBaseResults::CLASS_ID(), &project,
                                                          framework::FILTER_INACTIVE_ROOTS);
  for (CScriptable* result : results) static_cast<CStorageBaseResults*>(result)->ResetResults();
}

// ---- Validation ----

void CStorageIOProtocol::DoValidatePort(core::ValidationContext& ctx, const core::CPort& port) {
  const struct {
    ObjType kind;
    const texts::Assertion& nullWorker;
  } kinds[] = {{OBJ_CREATED, texts::kNullCreatedWorker}, {OBJ_MODIFIED, texts::kNullModifiedWorker}};
  for (const auto& kind : kinds) {
    const ConfigSet* workers = GetConfigsFromCache(port, CStorageWorkerConfig::CLASS_ID(), kind.kind);
    if (workers == nullptr) continue;
    for (CScriptable* worker : *workers) {
      if (worker == nullptr) {
        ThrowAssertion(kind.nullWorker, kSourcePath, __LINE__);
      }
      static_cast<CStorageWorkerConfig*>(worker)->ValidateWorker(ctx);
    }
  }
}

void CStorageIOProtocol::DoValidateProject(core::ValidationContext& ctx) {
  DoValidatePortGroupUsage(ctx);
  ThrowValidationErrors(ctx);
}

void CStorageIOProtocol::DoValidatePortGroupUsage(core::ValidationContext& ctx) {
  auto* project = dynamic_cast<framework::CProject*>(ctx.GetObjectUnderValidation());
  if (project == nullptr) ThrowAssertion(texts::kNoProject, kSourcePath, __LINE__);
  UsedPortGroupMap usedPortGroups;
  DoValidateUpdateUsedPortGroups(usedPortGroups, *project);
  DoValidateReportPortGroupUsageErrors(usedPortGroups, ctx);
}

void CStorageIOProtocol::DoValidateUpdateUsedPortGroups(UsedPortGroupMap& usedPortGroups,
                                                        framework::CProject& project) {
  ScriptableVec ports;
  project.GetObjects(ports, core::CPort::CLASS_ID(), framework::ParentChild());
  const bool simulation = framework::CKelSystem::Instance().GetBool(framework::prop::SimulationMode);
  for (CScriptable* object : ports) {
    const auto* port = dynamic_cast<const core::CPort*>(object);
    if (port == nullptr) ThrowAssertion(texts::kNullPort, kSourcePath, __LINE__);
    if (!port->GetBool(core::prop::ReservedForTesting) && !simulation) continue;
    bool settled = false;
    for (ObjType kind : {OBJ_CREATED, OBJ_MODIFIED, OBJ_CLEAN}) {
      const ConfigSet* workers = GetConfigsFromCache(*port, CStorageWorkerConfig::CLASS_ID(), kind);
      if (workers == nullptr) continue;
      for (CScriptable* worker : *workers) {
        if (worker == nullptr) {
          ThrowAssertion(texts::kNullPortWorker, kSourcePath, __LINE__);
        }
        settled = DoValidateUpdateUsedPortGroups(usedPortGroups, *port, *static_cast<CStorageWorkerConfig*>(worker));
        if (settled) break;
      }
      if (settled) break;
    }
  }
}

bool CStorageIOProtocol::DoValidateUpdateUsedPortGroups(UsedPortGroupMap& usedPortGroups, const core::CPort& port,
                                                        const CStorageWorkerConfig& worker) {
  if (port.GetU16(core::prop::OwnStorageEngine) == 1) return true;
  if (!worker.GetActive()) return false;
  const auto result = usedPortGroups.emplace(port.GetPortGroup(), std::vector<const core::CPort*>());
  if (result.first == usedPortGroups.end()) {
    ThrowAssertion(texts::kPortGroupNotInserted, kSourcePath, __LINE__);
  }
  result.first->second.push_back(&port);
  return true;
}

void CStorageIOProtocol::DoValidateReportPortGroupUsageErrors(const UsedPortGroupMap& usedPortGroups,
                                                              core::ValidationContext& ctx) const {
  for (const auto& group : usedPortGroups) {
    if (group.second.size() < 2) continue;
    std::string text = "Only one port per port group may be used for storage IO - the following ports are in conflict: ";
    for (std::size_t count = 1; count <= group.second.size(); ++count) {
      if (count > kMostPortsNamed) {
        text += " and more";
        break;
      }
      if (count > 1) text += ", ";
      text += group.second[count - 1]->GetName();
    }
    ctx.AddError("StorageIO Port", text);
  }
}

}  // namespace storageio
}  // namespace kel

