#include "OutstandingPorts.h"

#include "StorageIOHost.h"
#include "StorageIOLog.h"
#include "StorageIOProtocol.h"
#include "StoragePortRequests.h"
#include "kel/framework/TaskManager.h"

namespace kel {
namespace storageio {

OutstandingPorts::OutstandingPorts(std::string command, framework::BLLLogger* userLog, const char* sourcePath)
    : m_command(std::move(command)), m_userLog(userLog), m_sourcePath(sourcePath) {}

bool OutstandingPorts::Send(core::CPort& port, Message& request, core::RpcDelegate& answers) {
  const int sent = core::CRpcManager::Instance().SendAsyncMessage(CStorageIOProtocol::Instance()->GetMessenger(port),
                                                                  request, &answers, PortCookie(port), 0, true);
  if (static_cast<short>(sent) >= 0) {
    m_ports.insert(port.GetHandle());
    return true;
  }
  const std::string text = m_command + ": Received error response trying to send message to port " + port.GetName();
  for (const auto& log : {std::make_pair(devLogger(), ".Skipping port."), std::make_pair(m_userLog, ".Skipping the port.")}) {
    if (log.first != nullptr && log.first->IsEnabledFor(framework::LOG_LEVEL_ERROR)) {
      log.first->Error(text + log.second, m_sourcePath, __LINE__);
    }
  }
  return false;
}

core::CPort* OutstandingPorts::PortOfAnswer(void* context) const {
  const char* const kSourcePath = m_sourcePath;  // the command's, as its log records name it
  core::CPort* port = FindPort(HandleFromCookie(context));
  if (port == nullptr) {
    STORAGEIO_LOG_WARN(devLogger(), texts::kPortOfAnswerNotFound);
  }
  return port;
}

bool OutstandingPorts::Wait() const {
  int budget = m_ports.size() < 31 ? static_cast<int>(m_ports.size()) * 50 : 1500;
  while (budget > 0 && !m_ports.empty()) {
    framework::CTaskManager::Instance().CtmYield(5000, nullptr, false);
    --budget;
  }
  return m_ports.empty();
}

}  // namespace storageio
}  // namespace kel
