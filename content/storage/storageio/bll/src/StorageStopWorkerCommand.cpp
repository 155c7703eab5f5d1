#include "StorageStopWorkerCommand.h"

#include "StorageIOHost.h"
#include "StorageIOLog.h"
#include "StorageIOProtocol.h"
#include "StoragePortRequests.h"
#include "msg/BST_1.h"

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

STORAGEIO_DEFINE_CLASS(CStorageStopWorkerCommand, 0x86006000)

CStorageStopWorkerCommand::CStorageStopWorkerCommand()
    : m_responseDelegate(framework::MakeDelegate(this, &CStorageStopWorkerCommand::ParseResponseStopTargets)) {}

bool CStorageStopWorkerCommand::DoRun() {
  CStorageIOProtocol* protocol = CStorageIOProtocol::Instance();
  if (!protocol->IsTestInProgress()) {
    STORAGEIO_LOG_INFO(stopUserLogger(), "There is no test running.Skipping stop");
  } else {
    for (const auto& entry : protocol->GetTestRunningPortSet()) {
      core::CPort* port = FindPort(entry.first);
      if (port == nullptr) ThrowAssertion("Cannot get the port from the port handle", "port", kSourcePath, 47);
      Message stop;
      BST_1_bll::create_req_StopTest(&stop);
      const int sent = core::CRpcManager::Instance().SendAsyncMessage(protocol->GetMessenger(*port), stop,
                                                                      &m_responseDelegate, PortCookie(*port), 0, true);
      if (SendFailed(sent)) {
        // The text names the start command: the two commands share it.
        LogSendFailure("StorageStartWorkerCommand", *port, stopUserLogger(), kSourcePath, __LINE__);
        continue;
      }
      m_outstanding.insert(entry.first);
    }
  }
  WaitForPorts(m_outstanding);
  protocol->SetTestCommandStatus(true);
  return true;
}

void CStorageStopWorkerCommand::ParseResponseStopTargets(unsigned short, Message* response, void* cookie) {
  BST_1_bll::StatusCode_t status = BST_1_bll::StatusCode_t::Failure;
  BST_1_bll::parse_resp_StopTest(response, &status);
  if (status != BST_1_bll::StatusCode_t::Success) return;
  const std::uint32_t handle = HandleFromCookie(cookie);
  core::CPort* port = FindPort(handle);
  if (port == nullptr) {
    STORAGEIO_LOG_WARN(devLogger(), "Cannot find port for processing the response ParseResponseLearnTargets ");
    return;
  }
  CStorageIOProtocol::Instance()->EndTestProcessor(handle, port);
  m_outstanding.erase(handle);
}

}  // namespace storageio
}  // namespace kel
