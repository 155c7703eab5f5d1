#pragma once
// CPortChannels: the messenger of every port, and the port's online state that follows it.
//
// A port's messenger is made on first use from its Location by the transport registered for the
// location's scheme ("inproc", "tcp", ...). A location no transport serves gets a messenger that
// never connects, so the port stays offline and sends fail; nothing throws. Tests and tools may
// attach a messenger of their own to a port instead.
//
// Online state: a port is online while its messenger is connected. Going offline drops the port's
// pending replies and calls every protocol's OnPortStatusChange(port, false); coming back calls
// OnPortStatusChange(port, true) before anything else is sent to the port. An exception of a
// protocol is written to the developer log and the other protocols still hear of the change.

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "kel/core/Messenger.h"
#include "kel/framework/Types.h"

namespace kel {
namespace core {

class CPort;

class CPortChannels {
 public:
  using TransportFactory = std::function<std::unique_ptr<Messenger>(CPort& port, const std::string& location)>;

  static CPortChannels& Instance();

  // Serves locations "<scheme>" and "<scheme>://...". A later registration replaces the earlier.
  void RegisterTransport(const std::string& scheme, TransportFactory factory);
  // The port's messenger, made on first use.
  Messenger& GetMessenger(CPort& port);
  // Replaces the port's messenger (the old one is destroyed and its pending replies dropped).
  Messenger& Attach(CPort& port, std::unique_ptr<Messenger> messenger);
  // Destroys the port's messenger (a deleted port, a new location); the next use makes another.
  void Forget(framework::Handle port);
  // Destroys every messenger.
  void Clear();

  // Host side: the port monitor's verdict, as described above.
  void SetPortOnline(CPort& port, bool online);

 private:
  std::map<std::string, TransportFactory> m_transports;
  std::map<framework::Handle, std::unique_ptr<Messenger>> m_messengers;
};

}  // namespace core
}  // namespace kel
