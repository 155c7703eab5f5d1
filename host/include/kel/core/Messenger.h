#pragma once
// Messenger: one port's message channel, as a byte pipe. Transports implement it (the in-process
// firmware, a recorder for tests, a network agent); the RPC manager speaks frames over it.
//
// Threads: Send is called on the business-layer thread. A transport may call the receiver and
// the connection callback from any thread; the host moves what arrives onto the event loop.

#include <functional>
#include <string>
#include <vector>

namespace kel {
namespace core {

class Messenger {
 public:
  using Bytes = std::vector<unsigned char>;
  using Receiver = std::function<void(Bytes)>;
  using ConnectionCallback = std::function<void(bool connected)>;

  virtual ~Messenger() = default;

  // The endpoint the messenger reaches ("inproc", "tcp://127.0.0.1:7100", ...).
  virtual const std::string& GetEndpoint() const = 0;
  // Whether the endpoint answers now.
  virtual bool IsConnected() const = 0;
  // Hands one encoded frame to the port. A disconnected messenger drops it.
  virtual void Send(Bytes frame) = 0;

  // Set by the host before the first Send: where frames from the port and changes of the
  // connection go.
  void SetReceiver(Receiver receiver) { m_receiver = std::move(receiver); }
  void SetConnectionCallback(ConnectionCallback callback) { m_connection = std::move(callback); }

 protected:
  // For transports: deliver a frame from the port, report a change of the connection.
  void Deliver(Bytes frame) const {
    if (m_receiver) m_receiver(std::move(frame));
  }
  void ReportConnection(bool connected) const {
    if (m_connection) m_connection(connected);
  }

 private:
  Receiver m_receiver;
  ConnectionCallback m_connection;
};

}  // namespace core
}  // namespace kel
