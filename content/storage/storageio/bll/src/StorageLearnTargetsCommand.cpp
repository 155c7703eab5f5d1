#include "StorageLearnTargetsCommand.h"

#include "StoragePortRequests.h"
#include "StorageDiscoveredTargets.h"
#include "StorageIOHost.h"
#include "StorageIOLog.h"
#include "StorageIOProtocol.h"
#include "StorageWorkerConfig.h"
#include "kel/framework/ScriptableCreator.h"
#include "kel/framework/ScriptableLocator.h"
#include "msg/BST_1.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {

using framework::CScriptable;
using framework::ScriptableVec;

namespace {

const char* const kSourcePath = "content/storage/storageio/bll/src/StorageLearnTargetsCommand";
constexpr framework::PropId kPortList = ids::props::StorageLearnTargetsCommand::PortList;
constexpr framework::PropId kVolumeName = ids::props::StorageDiscoveredTargets::VolumeName;
constexpr framework::PropId kSize = ids::props::StorageDiscoveredTargets::Size;
constexpr framework::PropId kStartingDiskSector = ids::props::StorageDiscoveredTargets::StartingDiskSector;
constexpr framework::PropId kSectorSize = ids::props::StorageDiscoveredTargets::SectorSize;
constexpr framework::PropId kQueueDepth = ids::props::StorageDiscoveredTargets::QueueDepth;
constexpr framework::PropId kTargetType = ids::props::StorageDiscoveredTargets::TargetType;

// The first worker of each of the port's devices; devices without one are passed over.
ScriptableVec WorkersOnPort(const core::CPort& port) {
  ScriptableVec workers;
  for (const CScriptable* device : AffiliatedDevices(port)) {
    if (CScriptable* worker = device->GetObject(CStorageWorkerConfig::CLASS_ID(), framework::ParentChild())) {
      workers.push_back(worker);
    }
  }
  return workers;
}

// Records what a port reported about one target under `worker`: an existing target of that
// volume name is updated where it differs (its type never); otherwise a new one is made.
void RecordTarget(CScriptable& worker, const ScriptableVec& knownTargets, const BST_1_bll::TargetSpec_s& reported) {
  const BST_1_bll::DiskSpec_s& disk = reported.DiskSpecification;
  for (CScriptable* target : knownTargets) {
    if (target->GetString(kVolumeName) != reported.TargetName) continue;
    // The size is compared with the sector count but stored in bytes, so with sectors of more
    // than one byte it is written again on every learn; that does no harm.
    if (target->GetU64(kSize) != disk.MaximumDiskSize) target->Set(kSize, disk.MaximumDiskSize * disk.SectorSize);
    if (target->GetU64(kStartingDiskSector) != disk.StartingDiskSector) {
      target->Set(kStartingDiskSector, disk.StartingDiskSector);
    }
    if (target->GetU32(kQueueDepth) != reported.QueueDepth) target->Set(kQueueDepth, reported.QueueDepth);
    if (target->GetU32(kSectorSize) != disk.SectorSize) target->Set(kSectorSize, disk.SectorSize);
    return;
  }
  CScriptable* target =
      framework::CScriptableCreator().Create(CStorageDiscoveredTargets::CLASS_ID(), &worker, true, true, 0);
  if (target == nullptr) {
    STORAGEIO_LOG_WARN(devLogger(), "Cannot create a new discovered device under" << worker.GetName());
    return;
  }
  target->Set(kVolumeName, reported.TargetName);
  target->Set(kSize, static_cast<unsigned long>(disk.SectorSize) * disk.MaximumDiskSize);
  target->Set(kStartingDiskSector, disk.StartingDiskSector);
  target->Set(kQueueDepth, reported.QueueDepth);
  target->Set(kSectorSize, disk.SectorSize);
  target->Set(kTargetType, reported.Type);
}

}  // namespace

STORAGEIO_DEFINE_CLASS(CStorageLearnTargetsCommand, ids::classes::StorageLearnTargetsCommand)

CStorageLearnTargetsCommand::CStorageLearnTargetsCommand()
    : m_responseDelegate(framework::MakeDelegate(this, &CStorageLearnTargetsCommand::ParseResponseLearnTargets)),
      m_outstanding("StorageLearnTargetsCommand", userLogger(), kSourcePath) {}

framework::HandleCollection CStorageLearnTargetsCommand::GetPortList() { return {*this, kPortList}; }
const framework::HandleCollection CStorageLearnTargetsCommand::GetPortList() const { return {*this, kPortList}; }

bool CStorageLearnTargetsCommand::DoRun() {
  const std::vector<unsigned> handles(GetPortList().begin(), GetPortList().end());
  ScriptableVec objects;
  ProcessInputHandleVec(core::CPort::CLASS_ID(), handles, objects, framework::FILTER_INACTIVE_ROOTS);
  for (CScriptable* object : objects) {
    auto* port = dynamic_cast<core::CPort*>(object);
    if (port == nullptr || !IsEligiblePort(*port)) continue;
    const ScriptableVec devices = AffiliatedDevices(*port);
    if (devices.empty()) {
      const std::string text =
          "Command StorageLearnTargets: " + port->GetName() + " does not have Emulated Devices. Skipping the port.";
      STORAGEIO_LOG_WARN(userLogger(), text);
      STORAGEIO_LOG_WARN(devLogger(), text);
      continue;
    }
    for (const CScriptable* device : devices) {
      if (device->GetObject(CStorageWorkerConfig::CLASS_ID(), framework::ParentChild()) != nullptr) continue;
      // The request still goes to the port: its answer then finds no worker for the targets.
      const std::string text =
          "Command StorageLearnTargets: " + port->GetName() + " does not have StorageWorkerConfigs. Skipping the port.";
      STORAGEIO_LOG_WARN(userLogger(), text);
      STORAGEIO_LOG_WARN(devLogger(), text);
    }
    Message request;
    BST_1_bll::create_req_LearnTargets(&request);
    m_outstanding.Send(*port, request, m_responseDelegate);
  }
  m_outstanding.Wait();
  return true;
}

void CStorageLearnTargetsCommand::ParseResponseLearnTargets(unsigned short, Message* response, void* cookie) {
  BST_1_bll::StatusCode_t status = BST_1_bll::StatusCode_t::Failure;
  std::vector<BST_1_bll::TargetSpec_s> reported;
  BST_1_bll::parse_resp_LearnTargets(response, &status, &reported);
  if (status != BST_1_bll::StatusCode_t::Success) return;
  core::CPort* port = m_outstanding.PortOfAnswer(cookie);
  if (port == nullptr) return;
  for (CScriptable* worker : WorkersOnPort(*port)) {
    ScriptableVec knownTargets;
    worker->GetObjects(knownTargets, CStorageDiscoveredTargets::CLASS_ID(), framework::ParentChild());
    for (const BST_1_bll::TargetSpec_s& target : reported) RecordTarget(*worker, knownTargets, target);
  }
  m_outstanding.Answered(port->GetHandle());
}

}  // namespace storageio
}  // namespace kel
