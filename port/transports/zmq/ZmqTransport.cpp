#include "port/transports/zmq/ZmqTransport.h"

#include "kel/core/PortChannels.h"
#include "kel/framework/Logger.h"
#include "port/transports/zmq/SocketEvents.h"

namespace storageio_port {

namespace {

// The channel of a location that may not be reached without keys.
class RefusedChannel : public kel::core::Messenger {
 public:
  explicit RefusedChannel(std::string endpoint) : m_endpoint(std::move(endpoint)) {}
  const std::string& GetEndpoint() const override { return m_endpoint; }
  bool IsConnected() const override { return false; }
  void Send(Bytes) override {}

 private:
  std::string m_endpoint;
};

}  // namespace

ZmqTransport::ZmqTransport(std::string endpoint, std::optional<ClientKeys> keys)
    : m_endpoint(std::move(endpoint)),
      m_dealer(m_context, zmq::socket_type::dealer),
      m_outbox(m_context, "host") {
  if (keys) {
    m_dealer.set(zmq::sockopt::curve_serverkey, keys->agentPublicKey);
    m_dealer.set(zmq::sockopt::curve_publickey, keys->client.publicKey);
    m_dealer.set(zmq::sockopt::curve_secretkey, keys->client.secretKey);
  }
  m_dealer.set(zmq::sockopt::heartbeat_ivl, kHeartbeatMs);
  m_dealer.set(zmq::sockopt::heartbeat_timeout, kHeartbeatTimeoutMs);
  m_dealer.set(zmq::sockopt::reconnect_ivl, 500);
  m_dealer.set(zmq::sockopt::immediate, true);  // nothing is queued for an agent that is not there
  m_dealer.set(zmq::sockopt::linger, 0);
  m_events = WatchEvents(m_context, m_dealer, "host",
                         ZMQ_EVENT_HANDSHAKE_SUCCEEDED | ZMQ_EVENT_DISCONNECTED | ZMQ_EVENT_MONITOR_STOPPED);
  m_dealer.connect(m_endpoint);
  m_thread = std::thread(&ZmqTransport::Run, this);
}

ZmqTransport::~ZmqTransport() {
  m_outbox.PostStop();
  m_thread.join();
}

void ZmqTransport::Send(Bytes frame) {
  if (IsConnected()) m_outbox.Post(frame);
}

void ZmqTransport::SetConnected(bool connected) {
  if (m_connected.exchange(connected) != connected) ReportConnection(connected);
}

void ZmqTransport::Run() {
  zmq::pollitem_t items[] = {{m_dealer.handle(), 0, ZMQ_POLLIN, 0},
                             {m_outbox.Socket().handle(), 0, ZMQ_POLLIN, 0},
                             {m_events.handle(), 0, ZMQ_POLLIN, 0}};
  for (;;) {
    try {
      zmq::poll(items, 3, std::chrono::milliseconds(-1));
      if (items[0].revents & ZMQ_POLLIN) {
        zmq::message_t frame;
        while (m_dealer.recv(frame, zmq::recv_flags::dontwait)) {
          const auto* data = static_cast<const unsigned char*>(frame.data());
          Deliver(Bytes(data, data + frame.size()));
        }
      }
      if (items[2].revents & ZMQ_POLLIN) {
        while (const std::optional<SocketEvent> event = NextEvent(m_events)) {
          SetConnected(event->event == ZMQ_EVENT_HANDSHAKE_SUCCEEDED);
        }
      }
      if (items[1].revents & ZMQ_POLLIN) {
        std::optional<zmq::message_t> frame = m_outbox.Take();
        if (!frame) return;
        (void)m_dealer.send(*frame, zmq::send_flags::dontwait);  // an agent gone meanwhile: dropped
      }
    } catch (const zmq::error_t& e) {
      kel::framework::BLLLoggerFactory::GetInstance().GetLogger("storageio.transport")
          ->Error(m_endpoint + ": " + e.what(), __FILE__, __LINE__);
    }
  }
}

void RegisterZmqTransport(std::map<std::string, ClientKeys> keysByEndpoint) {
  kel::core::CPortChannels::Instance().RegisterTransport(
      "tcp", [keysByEndpoint = std::move(keysByEndpoint)](
                 kel::core::CPort&, const std::string& location) -> std::unique_ptr<kel::core::Messenger> {
        const auto keys = keysByEndpoint.find(location);
        if (keys == keysByEndpoint.end() && !IsLoopbackEndpoint(location)) {
          kel::framework::BLLLoggerFactory::GetInstance().GetLogger("storageio.transport")
              ->Error(location + " is off loopback and no CURVE keys are given for it; its port stays offline",
                      __FILE__, __LINE__);
          return std::make_unique<RefusedChannel>(location);
        }
        return std::make_unique<ZmqTransport>(
            location, keys == keysByEndpoint.end() ? std::nullopt : std::optional<ClientKeys>(keys->second));
      });
}

}  // namespace storageio_port
