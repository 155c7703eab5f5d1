#pragma once
// ZmqTransport: the host's end of the ZeroMQ transport, a port channel (kel::core::Messenger)
// to a storage agent (`storageio agent`) at a tcp:// location.
//
// A DEALER socket, run by a socket thread of the transport's own: frames sent are queued to it,
// frames received are handed to the host's receiver from it (the host queues them onto the event
// loop). The connection is the transport's business: it is reported up when the handshake with
// the agent succeeds, and down when the connection is lost, which ZeroMQ's own heartbeats detect
// within kHeartbeatTimeoutMs; they never reach the RPC manager. ZeroMQ reconnects by itself.
//
// CURVE: with keys, the agent's public key is pinned and the client's pair presented; the agent
// accepts only authorized clients, and a refused client's port simply never comes online. A
// location off loopback without keys is never connected at all (RegisterZmqTransport).
//
// Threads: Send, the constructor and the destructor on the business-layer thread.

#include <atomic>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <zmq.hpp>

#include "kel/core/Messenger.h"
#include "port/transports/zmq/CurveKeys.h"
#include "port/transports/zmq/Outbox.h"

namespace storageio_port {

struct ClientKeys {
  std::string agentPublicKey;
  CurveKeyPair client;
};

class ZmqTransport : public kel::core::Messenger {
 public:
  static constexpr int kHeartbeatMs = 1000;
  static constexpr int kHeartbeatTimeoutMs = 3000;

  // Starts connecting to `endpoint`. Throws zmq::error_t for an endpoint ZeroMQ cannot parse.
  ZmqTransport(std::string endpoint, std::optional<ClientKeys> keys);
  ~ZmqTransport() override;

  const std::string& GetEndpoint() const override { return m_endpoint; }
  bool IsConnected() const override { return m_connected.load(); }
  void Send(Bytes frame) override;

 private:
  void Run();
  void SetConnected(bool connected);

  const std::string m_endpoint;
  std::atomic<bool> m_connected{false};
  zmq::context_t m_context;
  zmq::socket_t m_dealer;
  zmq::socket_t m_events;
  Outbox m_outbox;
  std::thread m_thread;
};

// Serves the location scheme "tcp" with a ZmqTransport per port, with the keys given for its
// location ("tcp://host:port") if any. A location off loopback without keys gets a channel that
// never connects, and one line in the developer log "storageio.transport" says why. Replaces an
// earlier registration of the scheme.
void RegisterZmqTransport(std::map<std::string, ClientKeys> keysByEndpoint = {});

}  // namespace storageio_port
