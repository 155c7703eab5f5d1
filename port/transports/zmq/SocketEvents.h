#pragma once
// SocketEvents: a ZeroMQ socket's connection events (handshakes, disconnections), read on the
// thread that owns the socket from a PAIR socket that it polls beside the others.

#include <cstdint>
#include <optional>
#include <string>
#include <zmq.hpp>

namespace storageio_port {

struct SocketEvent {
  std::uint16_t event = 0;  // ZMQ_EVENT_*
  std::uint32_t value = 0;  // for connection events, the connection's file descriptor
  std::string address;
};

// Starts watching `events` (a ZMQ_EVENT_* mask) of `watched` and returns the socket that reports
// them; `name` must be unique in the context. Throws zmq::error_t.
zmq::socket_t WatchEvents(zmq::context_t& context, zmq::socket_t& watched, const std::string& name, int events);
// The next event, without waiting: nullopt when none is ready.
std::optional<SocketEvent> NextEvent(zmq::socket_t& events);

}  // namespace storageio_port
