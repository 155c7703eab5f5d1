#include "StorageStopWorkerCommand.h"

#include "StorageIOHost.h"
#include "StorageIOLog.h"
#include "StorageIOProtocol.h"
#include "StoragePortRequests.h"
#include "msg/BST_1.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {

namespace {

const char* const kSourcePath = "content/storage/storageio/bll/src/StorageStopWorkerCommand";

// This command's user log has a name of its own, all in lower case.
framework::BLLLogger* stopUserLogger() {
  static framework::BLLLogger* logger = framework::BLLLoggerFactory::GetInstance().GetLogger("user.storageio");
  return logger;
}

}  // namespace

STORAGEIO_DEFINE_CLASS(CStorageStopWorkerCommand, ids::classes::StorageStopWorkerCommand)

CStorageStopWorkerCommand::CStorageStopWorkerCommand()
    : m_responseDelegate(framework::MakeDelegate(this, &CStorageStopWorkerCommand::ParseResponseStopTargets)),
      // The send-failure text names the start command: the two commands share it.
      m_outstanding("StorageStartWorkerCommand", stopUserLogger(), kSourcePath) {}

bool CStorageStopWorkerCommand::DoRun() {
  CStorageIOProtocol* protocol = CStorageIOProtocol::Instance();
  if (!protocol->IsTestInProgress()) {
    STORAGEIO_LOG_INFO(stopUserLogger(), texts::kNothingToStop);
  } else {
    for (const auto& entry : protocol->GetTestRunningPortSet()) {
      core::CPort* port = FindPort(entry.first);
      if (port == nullptr) ThrowAssertion(texts::kNoPortOfHandle, kSourcePath, __LINE__);
      Message stop;
      BST_1_bll::create_req_StopTest(&stop);
      m_outstanding.Send(*port, stop, m_responseDelegate);
    }
  }
  m_outstanding.Wait();
  protocol->SetTestCommandStatus(true);
  return true;
}

void CStorageStopWorkerCommand::ParseResponseStopTargets(unsigned short, Message* response, void* cookie) {
  BST_1_bll::StatusCode_t status = BST_1_bll::StatusCode_t::Failure;
  BST_1_bll::parse_resp_StopTest(response, &status);
  if (status != BST_1_bll::StatusCode_t::Success) return;
  core::CPort* port = m_outstanding.PortOfAnswer(cookie);
  if (port == nullptr) return;
  CStorageIOProtocol::Instance()->EndTestProcessor(port->GetHandle(), port);
  m_outstanding.Answered(port->GetHandle());
}

}  // namespace storageio
}  // namespace kel
