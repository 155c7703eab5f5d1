#include "StorageWorkerProfile.h"

#include "StorageIOHost.h"
#include "StorageIOIds.h"
#include "StorageIOLog.h"
#include "StorageIOProtocol.h"
#include "StorageWorkerConfig.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {

namespace {
const char* const kSourcePath = "content/storage/storageio/bll/src/StorageWorkerProfile";
}  // namespace

STORAGEIO_DEFINE_CLASS(CStorageWorkerProfile, ids::classes::StorageWorkerProfile)

bool CStorageWorkerProfile::OnLoadCompleted() {
  if (GetName() == kDefaultProfileName) CStorageIOProtocol::Instance()->SetDefaultProfile(this);
  return true;
}

bool CStorageWorkerProfile::OnMarkDelete() {
  if (GetName() == kDefaultProfileName && CStorageIOProtocol::s_instance != nullptr) {
    CStorageIOProtocol::s_instance->m_defaultProfile = nullptr;
  }
  return true;
}

void CStorageWorkerProfile::ToIdl(bst_1_bll::StorageWorkerProfile_s& out) const {
  out.TransferRequestSize = GetU32(ids::props::StorageWorkerProfile::TransferRequestSize);
  out.PercentRandomDistribution = GetU8(ids::props::StorageWorkerProfile::PercentRandomDistribution);
  out.EnableReplySize = GetBool(ids::props::StorageWorkerProfile::EnableReplySize);
  out.ReplySize = GetU32(ids::props::StorageWorkerProfile::ReplySize);
  out.PercentReadDistribution = GetU8(ids::props::StorageWorkerProfile::PercentReadDistribution);
  out.TransferDelay = GetU32(ids::props::StorageWorkerProfile::TransferDelay);
  out.BurstLength = GetU32(ids::props::StorageWorkerProfile::BurstLength);
  out.EnableAlignIOs = GetBool(ids::props::StorageWorkerProfile::EnableAlignIOs);
  out.AlignIOs = GetU32(ids::props::StorageWorkerProfile::AlignIOs);
  out.IsDefaultProfile = GetBool(ids::props::StorageWorkerProfile::IsDefaultProfile);
}

void CStorageWorkerProfile::BuildNewPortSet(PortSet& ports, framework::ScriptableVec& workers) {
  for (framework::CScriptable* worker : workers) {
    if (!worker->GetActive()) continue;
    framework::CScriptable* emd = worker->GetParent();
    if (emd == nullptr) {
      ThrowAssertion(texts::kWorkerWithoutParent, kSourcePath, __LINE__);
    }
    core::CPort* port = AffiliatedPort(*emd);
    if (port == nullptr) {
      ThrowAssertion(texts::kDeviceWithoutPort, kSourcePath, __LINE__);
    }
    ports.insert(port);
  }
}

framework::CScriptable::State CStorageWorkerProfile::ProcessConfigForCache(PortSet& created, PortSet& modified,
                                                                           PortSet& deleted, PortSet& clean) {
  const State state = GetObjectState();
  if (state == STATE_DELETED || (!GetActive() && GetActivatedState() == 1)) {
    for (std::uint32_t handle : portHndSet) {
      core::CPort* port = FindPort(handle);
      if (port == nullptr) ThrowAssertion(texts::kNoPortInHandleSet, kSourcePath, __LINE__);
      if (IsEligiblePort(*port)) deleted.insert(port);
    }
    portHndSet.clear();
    return state;
  }
  if (!GetActive()) return state;

  framework::ScriptableVec workers;
  GetObjects(workers, CStorageWorkerConfig::CLASS_ID(), framework::RelationType(kWorkerToProfile).ReverseDir());
  PortSet ports;
  BuildNewPortSet(ports, workers);

  std::set<std::uint32_t> stillUsed;
  for (core::CPort* port : ports) {
    if (!IsEligiblePort(*port)) continue;
    const std::uint32_t handle = port->GetHandle();
    if (portHndSet.insert(handle).second) {
      created.insert(port);
    } else if (state == STATE_CREATED) {
      created.insert(port);
    } else if (state == STATE_MODIFIED) {
      modified.insert(port);
    } else if (state == STATE_CLEAN) {
      clean.insert(port);
    }
    stillUsed.insert(handle);
  }
  for (auto it = portHndSet.begin(); it != portHndSet.end();) {
    if (stillUsed.count(*it) != 0) {
      ++it;
      continue;
    }
    core::CPort* port = FindPort(*it);
    if (port == nullptr) ThrowAssertion(texts::kNoPortInHandleSet, kSourcePath, __LINE__);
    if (IsEligiblePort(*port)) {
      deleted.insert(port);
      it = portHndSet.erase(it);
    } else {
      ++it;
    }
  }
  return state;
}

}  // namespace storageio
}  // namespace kel
