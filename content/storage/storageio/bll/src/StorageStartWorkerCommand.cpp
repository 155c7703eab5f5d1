#include "StorageStartWorkerCommand.h"

#include "StorageBaseResults.h"
#include "StorageDiscoveredTargets.h"
#include "StorageIOHost.h"
#include "StorageIOIds.h"
#include "StorageIOLog.h"
#include "StorageIOProtocol.h"
#include "StorageLearnTargetsCommand.h"
#include "StoragePortRequests.h"
#include "StorageWorkerConfig.h"
#include "kel/core/ApplyToILCommand.h"
#include "kel/framework/Project.h"
#include "kel/framework/ScriptableAutoPtr.h"
#include "kel/framework/ScriptableCreator.h"
#include "kel/framework/ScriptableLocator.h"
#include "msg/BST_1.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {

using framework::CScriptable;
using framework::ScriptableVec;

namespace {

const char* const kSourcePath = "content/storage/storageio/bll/src/StorageStartWorkerCommand";
constexpr framework::PropId kHostList = ids::props::StorageStartWorkerCommand::HostList;
constexpr framework::PropId kDuration = ids::props::StorageStartWorkerCommand::Duration;
constexpr framework::PropId kLearnFirst = ids::props::StorageStartWorkerCommand::LearnFirst;
constexpr framework::PropId kCommandState = 0xE00F;
constexpr unsigned kCompleted = 5;

// Notifications come every second per port for up to ten ports, else every ten seconds.
unsigned NotificationIntervalMs(std::size_t ports) {
  return ports <= 10 ? static_cast<unsigned>(ports) * 1000 : 10000;
}

// Learns the targets of the ports, relates every learned target to its worker, and applies the
// configuration to the ports.
void LearnAndApply(const rtgcore::PortCfgVecMap& workersByPort) {
  {
    framework::CScriptableAutoPtr<CStorageLearnTargetsCommand> learn(static_cast<CStorageLearnTargetsCommand*>(
        framework::CScriptableCreator().Create(CStorageLearnTargetsCommand::CLASS_ID(), nullptr, true, true, 0)));
    learn->GetPortList().Clear();
    for (const auto& entry : workersByPort) learn->GetPortList().Add(entry.first->GetHandle());
    learn->Execute(false);
  }
  for (const auto& entry : workersByPort) {
    for (CScriptable* worker : entry.second) {
      ScriptableVec targets;
      worker->GetObjects(targets, CStorageDiscoveredTargets::CLASS_ID(), framework::ParentChild());
      for (CScriptable* target : targets) worker->AddObject(*target, framework::RelationType(kWorkerToTarget));
    }
  }
  framework::CScriptableAutoPtr<framework::CCommand> apply(static_cast<framework::CCommand*>(
      framework::CScriptableCreator().Create(core::CApplyToILCommand::GetMetaClassStatic(), nullptr, true, true, 0)));
  apply->Execute(false);
}

}  // namespace

STORAGEIO_DEFINE_CLASS(CStorageStartWorkerCommand, ids::classes::StorageStartWorkerCommand)

CStorageStartWorkerCommand::CStorageStartWorkerCommand()
    : m_responseDelegate(framework::MakeDelegate(this, &CStorageStartWorkerCommand::ParseResponseStartTargets)),
      m_outstanding("StorageStartWorkerCommand", userLogger(), kSourcePath) {}

framework::HandleCollection CStorageStartWorkerCommand::GetHostList() { return {*this, kHostList}; }
const framework::HandleCollection CStorageStartWorkerCommand::GetHostList() const { return {*this, kHostList}; }

void CStorageStartWorkerCommand::ClearResults() const {
  ScriptableVec results;
  framework::CScriptableLocator::Instance().GetObjectsEx(results, CStorageBaseResults::CLASS_ID(),
                                                          &framework::CProject::GetCurrentActiveInstance(),
                                                          framework::FILTER_INACTIVE_ROOTS);
  for (CScriptable* result : results) result->MarkDelete(true, true);
}

bool CStorageStartWorkerCommand::DoRun() {
  m_outstanding.Clear();
  const std::vector<unsigned> handles(GetHostList().begin(), GetHostList().end());
  ScriptableVec workers;
  ProcessInputHandleVec(CStorageWorkerConfig::CLASS_ID(), handles, workers, framework::FILTER_INACTIVE_ROOTS);
  CStorageIOProtocol* protocol = CStorageIOProtocol::Instance();
  rtgcore::PortCfgVecMap workersByPort;
  protocol->BuildPortCfgVecMap(workers, workersByPort);

  if (GetBool(kLearnFirst)) LearnAndApply(workersByPort);
  ClearResults();

  const unsigned long duration = GetU32(kDuration);
  const unsigned interval = NotificationIntervalMs(workersByPort.size());
  core::CRpcManager& rpc = core::CRpcManager::Instance();
  for (const auto& entry : workersByPort) {
    core::CPort& port = *entry.first;
    if (!IsEligiblePort(port)) continue;
    core::Messenger& messenger = protocol->GetMessenger(port);
    Message statusRequest;
    BST_1_bll::create_req_RegisterTestStatusNotify(&statusRequest, interval, true);
    Message resultsRequest;
    BST_1_bll::create_req_RegisterTestResults(&resultsRequest, interval, true);
    int statusRegId = 0;
    if (rpc.RegisterForNotification(messenger, statusRequest, "BST_1.TestNotification",
                                    protocol->GetTestStatusDelegate(), PortCookie(port), &statusRegId,
                                    core::NotificationRatePolicy::GetDefaultPolicy(), true) != 0) {
      STORAGEIO_LOG_ERROR(devLogger(), "Failed to send RegisterForNotification message to register EOT handler");
      return true;
    }
    int resultsRegId = 0;
    if (rpc.RegisterForNotification(messenger, resultsRequest, "BST_1.TestResultsNotification",
                                    protocol->GetStatsDelegate(), PortCookie(port), &resultsRegId,
                                    core::NotificationRatePolicy::GetDefaultPolicy(), true) != 0) {
      STORAGEIO_LOG_ERROR(devLogger(), "Failed to send RegisterForNotification message to register Stats Handler");
      return true;
    }
    std::vector<unsigned int> workerHandles;
    for (const CScriptable* worker : entry.second) workerHandles.push_back(worker->GetHandle());
    Message start;
    BST_1_bll::create_req_StartTest(&start, workerHandles, duration, true);
    if (!m_outstanding.Send(port, start, m_responseDelegate)) continue;
    protocol->AddToTestRunningPortSet(port.GetHandle(), statusRegId, resultsRegId);
    protocol->SetTestInProgress(true);
  }

  if (!m_outstanding.Wait()) {
    STORAGEIO_LOG_ERROR(devLogger(), texts::kStartTimedOut);
    m_outstanding.Clear();
  }
  protocol->SetTestCommandStatus(false);
  StoreValue(kCommandState, static_cast<std::uint32_t>(kCompleted));
  return true;
}

void CStorageStartWorkerCommand::ParseResponseStartTargets(unsigned short, Message* response, void* cookie) {
  BST_1_bll::StatusCode_t status = BST_1_bll::StatusCode_t::Failure;
  BST_1_bll::parse_resp_StartTest(response, &status);
  if (status != BST_1_bll::StatusCode_t::Success) return;
  if (const core::CPort* port = m_outstanding.PortOfAnswer(cookie)) m_outstanding.Answered(port->GetHandle());
}

}  // namespace storageio
}  // namespace kel
