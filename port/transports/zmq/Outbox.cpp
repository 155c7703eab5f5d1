#include "port/transports/zmq/Outbox.h"

namespace storageio_port {

Outbox::Outbox(zmq::context_t& context, const std::string& name)
    : m_receiver(context, zmq::socket_type::pull), m_sender(context, zmq::socket_type::push) {
  m_receiver.bind("inproc://outbox-" + name);
  m_sender.connect("inproc://outbox-" + name);
}

void Outbox::Post(const std::vector<unsigned char>& frame) {
  if (!frame.empty()) m_sender.send(zmq::buffer(frame), zmq::send_flags::none);
}

void Outbox::PostStop() { m_sender.send(zmq::message_t(), zmq::send_flags::none); }

std::optional<zmq::message_t> Outbox::Take() {
  zmq::message_t frame;
  if (!m_receiver.recv(frame, zmq::recv_flags::dontwait) || frame.size() == 0) return std::nullopt;
  return frame;
}

}  // namespace storageio_port
