#include "port/transports/zmq/AgentServer.h"

#include <zmq_addon.hpp>

#include "port/firmware/StorageFirmware.h"
#include "port/transports/zmq/SocketEvents.h"

namespace storageio_port {

namespace {

// ZeroMQ binds a free port for "*"; the command line says 0, as most tools do.
std::string BindableEndpoint(const std::string& endpoint) {
  if (endpoint.size() > 2 && endpoint.compare(endpoint.size() - 2, 2, ":0") == 0) {
    return endpoint.substr(0, endpoint.size() - 1) + "*";
  }
  return endpoint;
}

std::string Z85Of(const zmq::message_t& key) {
  char text[41] = {};
  if (key.size() != 32 || zmq_z85_encode(text, static_cast<const std::uint8_t*>(key.data()), 32) == nullptr) return "";
  return text;
}

// How a client is named in the log: its address and, with CURVE, its key.
std::string PeerOf(zmq::message_t& message) {
  std::string peer;
  try {
    peer = message.gets("Peer-Address");
  } catch (const zmq::error_t&) {
    peer = "a client";
  }
  try {
    const std::string key = message.gets("User-Id");
    if (!key.empty()) peer += " (key " + key + ")";
  } catch (const zmq::error_t&) {
  }
  return peer;
}

}  // namespace

AgentServer::AgentServer(const std::string& endpoint, Security security, PortLog log, Handlers handlers)
    : m_security(std::move(security)),
      m_log(std::move(log)),
      m_handlers(std::move(handlers)),
      m_router(m_context, zmq::socket_type::router),
      m_zap(m_context, zmq::socket_type::rep),
      m_outbox(m_context, "agent") {
  if (m_security.serverKeys) {
    // ZeroMQ asks the handler bound here about every CURVE handshake.
    m_zap.bind("inproc://zeromq.zap.01");
    m_router.set(zmq::sockopt::curve_server, true);
    m_router.set(zmq::sockopt::curve_secretkey, m_security.serverKeys->secretKey);
    m_router.set(zmq::sockopt::zap_domain, "storageio");
  }
  m_router.set(zmq::sockopt::heartbeat_ivl, kHeartbeatMs);
  m_router.set(zmq::sockopt::heartbeat_timeout, kHeartbeatTimeoutMs);
  m_router.set(zmq::sockopt::linger, 1000);
  m_router.set(zmq::sockopt::router_mandatory, true);  // a frame for a vanished host fails instead of vanishing
  m_events = WatchEvents(m_context, m_router, "agent", ZMQ_EVENT_DISCONNECTED);
  m_router.bind(BindableEndpoint(endpoint));
  m_boundEndpoint = m_router.get(zmq::sockopt::last_endpoint);
  m_thread = std::thread(&AgentServer::Run, this);
}

AgentServer::~AgentServer() {
  m_outbox.PostStop();
  m_thread.join();
}

void AgentServer::SendToHost(Bytes frame) { m_outbox.Post(frame); }

void AgentServer::Run() {
  zmq::pollitem_t items[] = {{m_router.handle(), 0, ZMQ_POLLIN, 0},
                             {m_outbox.Socket().handle(), 0, ZMQ_POLLIN, 0},
                             {m_events.handle(), 0, ZMQ_POLLIN, 0},
                             {m_zap.handle(), 0, ZMQ_POLLIN, 0}};
  const int watched = m_security.serverKeys ? 4 : 3;
  for (;;) {
    try {
      zmq::poll(items, watched, std::chrono::milliseconds(-1));
      if (items[0].revents & ZMQ_POLLIN) OnClientMessage();
      if (items[2].revents & ZMQ_POLLIN) OnConnectionEvent();
      if (watched == 4 && (items[3].revents & ZMQ_POLLIN)) OnAuthenticationRequest();
      if (items[1].revents & ZMQ_POLLIN) {
        std::optional<zmq::message_t> frame = m_outbox.Take();
        if (!frame) return;
        if (m_owner) {
          try {
            m_router.send(zmq::buffer(m_owner->routingId), zmq::send_flags::sndmore);
            m_router.send(*frame, zmq::send_flags::none);
          } catch (const zmq::error_t& e) {
            m_log(LogLevel::Warning, "Dropped a frame for " + m_owner->peer + ": " + e.what());
          }
        }
      }
    } catch (const zmq::error_t& e) {
      m_log(LogLevel::Error, std::string("Socket thread: ") + e.what());
    }
  }
}

void AgentServer::OnClientMessage() {
  std::vector<zmq::message_t> parts;
  (void)zmq::recv_multipart(m_router, std::back_inserter(parts), zmq::recv_flags::dontwait);
  if (parts.size() != 2) {
    m_log(LogLevel::Warning, "Dropped a message of " + std::to_string(parts.size()) + " parts; a frame comes in one");
    return;
  }
  const std::string routingId = parts[0].to_string();
  zmq::message_t& frame = parts[1];
  if (!m_owner) {
    m_owner = Owner{routingId, frame.get(ZMQ_SRCFD), PeerOf(frame)};
    m_log(LogLevel::Info, "serving " + m_owner->peer);
  }
  Bytes bytes(static_cast<const unsigned char*>(frame.data()), static_cast<const unsigned char*>(frame.data()) + frame.size());
  if (routingId == m_owner->routingId) {
    m_handlers.onRequestFrame(std::move(bytes));
    return;
  }
  m_log(LogLevel::Warning, "busy: serving " + m_owner->peer + "; refused a request of " + PeerOf(frame));
  try {
    const RpcFrame request = DecodeFrame(bytes);
    if (request.kind != RpcFrameKind::Request) return;
    const Bytes reply = StorageFirmware::FailureReplyTo(request);
    m_router.send(zmq::buffer(routingId), zmq::send_flags::sndmore);
    m_router.send(zmq::buffer(reply), zmq::send_flags::none);
  } catch (const std::exception&) {
    // Bytes that are not a frame from a client that is not served: nothing to answer.
  }
}

void AgentServer::OnConnectionEvent() {
  while (const std::optional<SocketEvent> event = NextEvent(m_events)) {
    if (event->event != ZMQ_EVENT_DISCONNECTED || !m_owner || static_cast<int>(event->value) != m_owner->connection) {
      continue;
    }
    m_log(LogLevel::Warning, "lost the host " + m_owner->peer + "; free again");
    m_owner.reset();
    m_handlers.onHostLost();
  }
}

void AgentServer::OnAuthenticationRequest() {
  std::vector<zmq::message_t> request;
  (void)zmq::recv_multipart(m_zap, std::back_inserter(request), zmq::recv_flags::dontwait);
  // version, request id, domain, address, routing id, mechanism, credentials...
  if (request.size() < 6) return;
  const std::string address = request[3].to_string();
  const std::string key = request.size() >= 7 ? Z85Of(request[6]) : "";
  const bool authorized = request[5].to_string() == "CURVE" && m_security.authorizedKeys.count(key) > 0;
  if (!authorized) {
    m_log(LogLevel::Warning, "refused client " + address + ": key " + (key.empty() ? "(none)" : key) +
                                 " is not authorized");
  }
  const std::string replies[] = {"1.0", request[1].to_string(), authorized ? "200" : "400",
                                 authorized ? "OK" : "not authorized", authorized ? key : "", ""};
  for (std::size_t i = 0; i < 6; ++i) {
    m_zap.send(zmq::buffer(replies[i]), i + 1 < 6 ? zmq::send_flags::sndmore : zmq::send_flags::none);
  }
}

}  // namespace storageio_port
