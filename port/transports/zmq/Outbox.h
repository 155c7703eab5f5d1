#pragma once
// Outbox: frames from one thread to a socket thread, whose sockets no other thread may touch: an
// inproc PUSH/PULL pair in the socket thread's context. The other thread posts; the socket thread
// polls Socket() with its other sockets and takes what came, in order. An empty frame is the
// signal to stop, so Post drops empty frames.
//
// Threads: Post and PostStop on one thread (the one that made the outbox); Socket and Take on the
// socket thread.

#include <optional>
#include <string>
#include <vector>
#include <zmq.hpp>

namespace storageio_port {

class Outbox {
 public:
  // `name` must be unique in the context.
  Outbox(zmq::context_t& context, const std::string& name);

  void Post(const std::vector<unsigned char>& frame);
  void PostStop();

  zmq::socket_t& Socket() { return m_receiver; }
  // After a poll found Socket() readable: the frame, or nullopt for the signal to stop.
  std::optional<zmq::message_t> Take();

 private:
  zmq::socket_t m_receiver;
  zmq::socket_t m_sender;
};

}  // namespace storageio_port
