#pragma once
// AgentServer: the agent's end of the ZeroMQ transport. A ROUTER socket on the listening
// endpoint, run by a socket thread of its own, between one host and the agent's firmware.
//
// - One host at a time: the first client whose request arrives (after CURVE, when it is on)
//   owns the agent until its connection is lost: closed, or silent past the heartbeat time-out
//   (ZeroMQ's heartbeats, both ways, every kHeartbeatMs). Requests of any other client are
//   answered "Failure" and logged as "busy: serving <peer>". When the owner is lost the agent is
//   told (onHostLost) and the next client may own it.
// - CURVE: with server keys, only clients whose public key is in the authorized set complete the
//   handshake (a ZAP handler on the socket thread); a refused client gets nothing and the refusal
//   is logged. Without server keys the transport is plain, for loopback only (the caller's check).
// - Frames from the owner go to onRequestFrame as they are, on the socket thread. Frames from the
//   firmware go to the owner, or nowhere when there is none.
//
// Threads: SendToHost and the destructor come from the thread that made the server (the
// firmware's); the handlers are called on the socket thread. The destructor stops the socket
// thread and gives frames still queued up to a second to leave.

#include <atomic>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>
#include <zmq.hpp>

#include "port/firmware/PortLog.h"
#include "port/transports/zmq/CurveKeys.h"
#include "port/transports/zmq/Outbox.h"

namespace storageio_port {

class AgentServer {
 public:
  using Bytes = std::vector<unsigned char>;
  struct Handlers {
    std::function<void(Bytes frame)> onRequestFrame;
    std::function<void()> onHostLost;
  };
  struct Security {
    std::optional<CurveKeyPair> serverKeys;  // none: a plain transport
    std::set<std::string> authorizedKeys;    // the clients' public keys
  };

  static constexpr int kHeartbeatMs = 1000;
  // A host silent this long is lost.
  static constexpr int kHeartbeatTimeoutMs = 3000;

  // Binds `endpoint`; a tcp port of 0 binds a free one. Throws zmq::error_t when it cannot.
  AgentServer(const std::string& endpoint, Security security, PortLog log, Handlers handlers);
  ~AgentServer();
  AgentServer(const AgentServer&) = delete;
  AgentServer& operator=(const AgentServer&) = delete;

  // The endpoint actually bound, "tcp://127.0.0.1:43127" say.
  const std::string& BoundEndpoint() const { return m_boundEndpoint; }
  // Queues a frame for the owner.
  void SendToHost(Bytes frame);

 private:
  struct Owner {
    std::string routingId;
    int connection;  // file descriptor, as connection events name it
    std::string peer;
  };

  void Run();
  void OnClientMessage();
  void OnConnectionEvent();
  void OnAuthenticationRequest();

  const Security m_security;
  const PortLog m_log;
  const Handlers m_handlers;
  zmq::context_t m_context;
  zmq::socket_t m_router;
  zmq::socket_t m_zap;
  zmq::socket_t m_events;
  Outbox m_outbox;
  std::string m_boundEndpoint;
  std::optional<Owner> m_owner;  // socket thread only
  std::thread m_thread;
};

}  // namespace storageio_port
