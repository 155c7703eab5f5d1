#include "StorageIOMessages.h"

#include "StorageDiscoveredTargets.h"
#include "StorageIOIds.h"
#include "StorageIOLog.h"
#include "StorageWorkerConfig.h"
#include "StorageWorkerProfile.h"

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
    ThrowAssertion("CStorageIOProtocol::BuildAndSendWorkerMessage worker does not have a profile", "profile",
                   kSourcePath, 604);
  }
  framework::ScriptableVec targets;
  worker.GetObjects(targets, CStorageDiscoveredTargets::CLASS_ID(), framework::RelationType(kWorkerToTarget));
  BST_1_bll::WorkerConfig_s config;
  for (const framework::CScriptable* scrip : targets) {
    if (scrip == nullptr) {
      ThrowAssertion("NULL obtained for scrip in BuildAndSendWorkerMessage", "scrip", kSourcePath, 616);
    }
    BST_1_bll::TargetSpec_s target;
    target.Type = scrip->GetU32(0x8600300a);
    target.TargetName = scrip->GetString(0x86003003);
    target.QueueDepth = worker.GetU32(0x86002005);
    target.EnableTestConnectionRate = worker.GetBool(0x86002006);
    target.TransactionsPerConnection = worker.GetU32(0x86002007);
    target.DiskSpecification.SectorSize = scrip->GetU32(0x86003008);
    target.DiskSpecification.MaximumDiskSize = worker.GetU64(0x86002003);
    target.DiskSpecification.StartingDiskSector = worker.GetU64(0x86002004);
    target.BllHandle = scrip->GetDataStore().GetU32(framework::prop::Handle);
    config.targetSpec.push_back(target);
  }
  config.handle = worker.GetHandle();
  config.profileHandle = profile->GetHandle();
  return config;
}

}  // namespace storageio
}  // namespace kel
