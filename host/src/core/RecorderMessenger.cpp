#include "kel/core/RecorderMessenger.h"

#include "tm/RpcFrame.h"

namespace kel {
namespace core {

void CRecorderMessenger::Send(Bytes bytes) {
  if (!m_connected) return;
  RpcFrame frame = DecodeFrame(bytes);
  m_received.push_back(frame.message);
  if (m_answer.empty()) return;
  Message reply;
  reply.set_request_name(frame.message.get_request_name());
  reply.set_msg_type(TMT_RESPONSE);
  reply.add_member(TMG_1, "status", m_answer);
  Deliver(EncodeFrame(RpcFrameKind::Reply, frame.id, reply));
}

std::vector<std::string> CRecorderMessenger::ReceivedNames() const {
  std::vector<std::string> names;
  for (const Message& message : m_received) names.push_back(message.get_request_name());
  return names;
}

void CRecorderMessenger::SetConnected(bool connected) {
  if (connected == m_connected) return;
  m_connected = connected;
  ReportConnection(connected);
}

void CRecorderMessenger::Notify(const Message& notification) {
  Deliver(EncodeFrame(RpcFrameKind::Notification, 0, notification));
}

}  // namespace core
}  // namespace kel
