#include "StorageIOMessages.h"

#include "StorageDiscoveredTargets.h"
#include "StorageIOIds.h"
#include "StorageIOLog.h"
#include "StorageWorkerConfig.h"
#include "StorageWorkerProfile.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {

namespace {

// The assertions here name the protocol's unit, as they always have: they are part of its apply.
const char* const kSourcePath = "content/storage/storageio/bll/src/StorageIOProtocol";
constexpr unsigned long kAccessSpecOfSize = 100;

}  // namespace

BST_1_bll::AccessSpec_s AccessSpecOf(CStorageWorkerProfile& profile) {
  BST_1_bll::AccessSpec_s spec;
  spec.profileHandle = profile.GetHandle();
  spec.OfSize = kAccessSpecOfSize;
  profile.ToIdl(spec.workerProfile);
  return spec;
}

BST_1_bll::WorkerConfig_s WorkerConfigOf(const framework::CScriptable& worker) {
  const framework::CScriptable* profile =
      worker.GetObject(CStorageWorkerProfile::CLASS_ID(), framework::RelationType(kWorkerToProfile));
  if (profile == nullptr) {
    ThrowAssertion(texts::kWorkerWithoutProfileToSend, kSourcePath, __LINE__);
  }
  framework::ScriptableVec targets;
  worker.GetObjects(targets, CStorageDiscoveredTargets::CLASS_ID(), framework::RelationType(kWorkerToTarget));
  BST_1_bll::WorkerConfig_s config;
  for (const framework::CScriptable* scrip : targets) {
    if (scrip == nullptr) {
      ThrowAssertion(texts::kNullTargetToSend, kSourcePath, __LINE__);
    }
    BST_1_bll::TargetSpec_s target;
    target.Type = scrip->GetU32(ids::props::StorageDiscoveredTargets::TargetType);
    target.TargetName = scrip->GetString(ids::props::StorageDiscoveredTargets::VolumeName);
    target.QueueDepth = worker.GetU32(ids::props::StorageWorkerConfig::OutstandingIOsPerTargetCount);
    target.EnableTestConnectionRate = worker.GetBool(ids::props::StorageWorkerConfig::EnableTestConnectionRate);
    target.TransactionsPerConnection = worker.GetU32(ids::props::StorageWorkerConfig::TransactionsPerConnection);
    target.DiskSpecification.SectorSize = scrip->GetU32(ids::props::StorageDiscoveredTargets::SectorSize);
    target.DiskSpecification.MaximumDiskSize = worker.GetU64(ids::props::StorageWorkerConfig::MaximumDiskSize);
    target.DiskSpecification.StartingDiskSector = worker.GetU64(ids::props::StorageWorkerConfig::StartingDiskSector);
    target.BllHandle = scrip->GetDataStore().GetU32(framework::prop::Handle);
    config.targetSpec.push_back(target);
  }
  config.handle = worker.GetHandle();
  config.profileHandle = profile->GetHandle();
  return config;
}

}  // namespace storageio
}  // namespace kel
