#pragma once
// CRecorderMessenger: a port channel that records the requests it receives and answers each at
// once, for tests and tools that look at what the host sends without a firmware behind it.
//
// Every request gets a reply with the request's name, message type 1 and the text member
// "status" set to the answer ("Success" unless told otherwise); with the answer "" it stays
// silent. Notify sends a notification to the host as a port would. The recorder is "connected"
// until SetConnected(false).

#include <string>
#include <vector>

#include "kel/core/Messenger.h"
#include "tm/Message.h"

namespace kel {
namespace core {

class CRecorderMessenger : public Messenger {
 public:
  explicit CRecorderMessenger(std::string endpoint = "recorder") : m_endpoint(std::move(endpoint)) {}

  const std::string& GetEndpoint() const override { return m_endpoint; }
  bool IsConnected() const override { return m_connected; }
  void Send(Bytes frame) override;

  // The requests received so far, decoded, in order.
  const std::vector<Message>& Received() const { return m_received; }
  // Their request names, in order.
  std::vector<std::string> ReceivedNames() const;
  void ClearReceived() { m_received.clear(); }

  // The status text of later replies; "" for no reply at all.
  void SetAnswer(const std::string& status) { m_answer = status; }
  // Changes the connection and tells the host, as a transport does.
  void SetConnected(bool connected);
  // Sends a notification to the host.
  void Notify(const Message& notification);

 private:
  std::string m_endpoint;
  bool m_connected = true;
  std::string m_answer = "Success";
  std::vector<Message> m_received;
};

}  // namespace core
}  // namespace kel
