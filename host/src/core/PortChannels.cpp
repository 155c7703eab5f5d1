#include "kel/core/PortChannels.h"

#include "kel/core/Port.h"
#include "kel/core/ProtocolModule.h"
#include "kel/core/RpcManager.h"
#include "kel/framework/HandleRegistry.h"
#include "kel/framework/Logger.h"
#include "kel/framework/TaskManager.h"

namespace kel {
namespace core {

namespace {

// The messenger of a location that no transport serves: never connected, drops what it gets.
class UnreachableMessenger : public Messenger {
 public:
  explicit UnreachableMessenger(std::string endpoint) : m_endpoint(std::move(endpoint)) {}
  const std::string& GetEndpoint() const override { return m_endpoint; }
  bool IsConnected() const override { return false; }
  void Send(Bytes) override {}

 private:
  std::string m_endpoint;
};

std::string SchemeOf(const std::string& location) {
  const std::size_t separator = location.find("://");
  return separator == std::string::npos ? location : location.substr(0, separator);
}

void LogHost(framework::LogLevelType level, const std::string& text) {
  framework::BLLLogger* log = framework::BLLLoggerFactory::GetInstance().GetLogger("kel.host");
  if (!log->IsEnabledFor(level)) return;
  if (level == framework::LOG_LEVEL_ERROR) {
    log->Error(text, __FILE__, __LINE__);
  } else {
    log->Info(text, __FILE__, __LINE__);
  }
}

}  // namespace

CPortChannels& CPortChannels::Instance() {
  static CPortChannels instance;
  return instance;
}

void CPortChannels::RegisterTransport(const std::string& scheme, TransportFactory factory) {
  m_transports[scheme] = std::move(factory);
}

Messenger& CPortChannels::GetMessenger(CPort& port) {
  const auto it = m_messengers.find(port.GetHandle());
  if (it != m_messengers.end()) return *it->second;
  const std::string& location = port.GetLocation();
  const auto transport = m_transports.find(SchemeOf(location));
  std::unique_ptr<Messenger> messenger;
  if (transport != m_transports.end()) messenger = transport->second(port, location);
  if (!messenger) {
    LogHost(framework::LOG_LEVEL_INFO, "No transport serves " + location + "; port " + port.GetName() + " stays offline");
    messenger = std::make_unique<UnreachableMessenger>(location);
  }
  return Attach(port, std::move(messenger));
}

Messenger& CPortChannels::Attach(CPort& port, std::unique_ptr<Messenger> messenger) {
  const framework::Handle handle = port.GetHandle();
  Forget(handle);
  CRpcManager::Instance().Attach(*messenger);
  messenger->SetConnectionCallback([handle](bool connected) {
    framework::CTaskManager::Instance().PostFromAnyThread(
        [handle, connected] {
          if (auto* changed = dynamic_cast<CPort*>(framework::CHandleRegistry::Instance().Find(handle))) {
            CPortChannels::Instance().SetPortOnline(*changed, connected);
          }
        },
        framework::EventKind::Work);
  });
  // A port that just got its channel has nothing of any protocol yet: no transition to announce.
  port.SetOnline(messenger->IsConnected());
  Messenger& attached = *messenger;
  m_messengers[handle] = std::move(messenger);
  return attached;
}

void CPortChannels::Forget(framework::Handle port) {
  const auto it = m_messengers.find(port);
  if (it == m_messengers.end()) return;
  CRpcManager::Instance().DropMessenger(*it->second, true);
  m_messengers.erase(it);
}

void CPortChannels::Clear() {
  while (!m_messengers.empty()) Forget(m_messengers.begin()->first);
}

void CPortChannels::SetPortOnline(CPort& port, bool online) {
  if (port.IsOnline() == online) return;
  port.SetOnline(online);
  if (!online) {
    const auto it = m_messengers.find(port.GetHandle());
    if (it != m_messengers.end()) CRpcManager::Instance().DropMessenger(*it->second, false);
  }
  for (CProtocol* protocol : CProtocolModule::Instance().GetProtocols()) {
    try {
      protocol->OnPortStatusChange(port, online);
    } catch (const std::exception& e) {
      LogHost(framework::LOG_LEVEL_ERROR, protocol->GetName() + " failed on a change of port " + port.GetName() +
                                              ": " + e.what());
    }
  }
}

}  // namespace core
}  // namespace kel
