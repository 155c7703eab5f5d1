#include "StorageWorkerConfig.h"

#include "StorageDiscoveredTargets.h"
#include "StorageIOIds.h"
#include "StorageIOLog.h"
#include "StorageIOProtocol.h"
#include "StorageLearnTargetsCommand.h"
#include "StorageStartWorkerCommand.h"
#include "StorageStopWorkerCommand.h"
#include "StorageWorkerProfile.h"
#include "kel/core/ValidationContext.h"
#include "kel/framework/CommandStatusManager.h"
#include "kel/framework/KelSystem.h"
#include "kel/framework/ResourceManager.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {

using framework::RelationType;
using framework::ScriptableVec;

namespace {
const char* const kSourcePath = "content/storage/storageio/bll/src/StorageWorkerConfig";
}  // namespace

STORAGEIO_DEFINE_CLASS(CStorageWorkerConfig, ids::classes::StorageWorkerConfig)

bool CStorageWorkerConfig::OnInit() {
  CStorageIOProtocol* protocol = CStorageIOProtocol::Instance();
  if (!framework::CKelSystem::Instance().GetBool(framework::prop::LoadingConfiguration)) {
    if (CStorageWorkerProfile* profile = protocol->GetDefaultProfile()) {
      AddObject(*profile, RelationType(kWorkerToProfile));
    }
  }
  const bool idle = !protocol->IsTestInProgress();
  framework::CCommandStatusManager& status = framework::CCommandStatusManager::Instance();
  status.SetCommandStatus(GetHandle(), CStorageStartWorkerCommand::CLASS_ID(), idle);
  status.SetCommandStatus(GetHandle(), CStorageStopWorkerCommand::CLASS_ID(), !idle);
  status.SetCommandStatus(GetHandle(), CStorageLearnTargetsCommand::CLASS_ID(), idle);
  return true;
}

void CStorageWorkerConfig::OnRelationModified(RelationType type, framework::CScriptable&, bool) {
  if (IsDeleted() || GetObjectState() != STATE_CLEAN) return;
  if (type == RelationType(kWorkerToTarget) || type == RelationType(kWorkerToProfile)) SetObjectState(STATE_MODIFIED);
}

void CStorageWorkerConfig::AddToDirtyVec(ScriptableVec& objects, ScriptableVec& dirty) {
  if (CStorageIOProtocol::Instance()->IsTestInProgress()) return;
  for (framework::CScriptable* object : objects) {
    if (object->GetObjectState() != STATE_CLEAN) dirty.push_back(object);
  }
}

framework::CScriptable::State CStorageWorkerConfig::ProcessConfigForCache(ScriptableVec& dirty) {
  switch (GetObjectState()) {
    case STATE_CREATED:
    case STATE_MODIFIED: {
      dirty.push_back(this);
      ScriptableVec targets;
      GetObjects(targets, CStorageDiscoveredTargets::CLASS_ID(), RelationType(kWorkerToTarget));
      AddToDirtyVec(targets, dirty);
      return GetObjectState();
    }
    case STATE_DELETED:
    case STATE_DELETED_LOCAL:
      STORAGEIO_LOG_WARN(devLogger(),
                         "Trying to access wokerConfig whose state is Deleted or Deleted_Local. Skipping the config");
      return STATE_CLEAN;
    case STATE_CLEAN: {
      const State state = ProcessCleanConfig(dirty);
      if (state != STATE_CLEAN) dirty.push_back(this);
      return state;
    }
  }
  STORAGEIO_LOG_WARN(devLogger(), "Invalid default case reached in CStorageIOProtocol::BuildAddModifyObjectMap");
  return STATE_CLEAN;
}

framework::CScriptable::State CStorageWorkerConfig::ProcessCleanConfig(ScriptableVec& dirty) {
  const RelationType toTarget(kWorkerToTarget);
  ScriptableVec removed, added, current;
  GetRemovedObjects(removed, CStorageDiscoveredTargets::CLASS_ID(), toTarget);
  GetAddedObjects(added, CStorageDiscoveredTargets::CLASS_ID(), toTarget);
  GetObjects(current, CStorageDiscoveredTargets::CLASS_ID(), toTarget);

  State state = STATE_MODIFIED;
  if (removed.empty() && added.empty()) {
    state = STATE_CLEAN;
    for (const framework::CScriptable* target : current) {
      if (target->GetObjectState() == STATE_CREATED || target->GetObjectState() == STATE_MODIFIED) {
        state = STATE_MODIFIED;
        break;
      }
    }
  }
  AddToDirtyVec(removed, dirty);
  AddToDirtyVec(current, dirty);
  if (state == STATE_MODIFIED) return state;

  ScriptableVec newProfiles;
  GetAddedObjects(newProfiles, CStorageWorkerProfile::CLASS_ID(), RelationType(kWorkerToProfile));
  return newProfiles.empty() ? STATE_CLEAN : STATE_MODIFIED;
}

bool CStorageWorkerConfig::ValidateWorker(core::ValidationContext& ctx) {
  const framework::CScriptable* profile =
      GetObject(CStorageWorkerProfile::CLASS_ID(), RelationType(kWorkerToProfile));
  if (profile != nullptr && profile->GetActive()) return true;
  framework::ResourceFormatter text(ids::resources::WorkerWithoutProfile);
  text << GetName();
  ctx.AddError(std::string(kSourcePath) + "174", text.ToString());
  return false;
}

}  // namespace storageio
}  // namespace kel
