#include "port/transports/zmq/SocketEvents.h"

#include <cstring>

namespace storageio_port {

zmq::socket_t WatchEvents(zmq::context_t& context, zmq::socket_t& watched, const std::string& name, int events) {
  const std::string endpoint = "inproc://events-" + name;
  if (zmq_socket_monitor(watched.handle(), endpoint.c_str(), events) != 0) throw zmq::error_t();
  zmq::socket_t reader(context, zmq::socket_type::pair);
  reader.connect(endpoint);
  return reader;
}

std::optional<SocketEvent> NextEvent(zmq::socket_t& events) {
  zmq::message_t head;
  if (!events.recv(head, zmq::recv_flags::dontwait)) return std::nullopt;
  zmq::message_t address;
  if (head.more()) (void)events.recv(address);  // the second part always follows the first
  SocketEvent event;
  if (head.size() >= 6) {
    std::memcpy(&event.event, head.data(), 2);
    std::memcpy(&event.value, static_cast<const char*>(head.data()) + 2, 4);
  }
  event.address = address.to_string();
  return event;
}

}  // namespace storageio_port
