#pragma once
// RpcFrame: what travels between the host and a port, over any transport: a request, its reply
// or a notification, with the request's id so a reply finds its request. On the wire a frame is a
// MessagePack array [kind, id, message] whose message is the message library's wire form.

#include <cstdint>
#include <vector>

#include "tm/Message.h"

enum class RpcFrameKind : std::uint8_t { Request = 0, Reply = 1, Notification = 2 };

struct RpcFrame {
  RpcFrameKind kind = RpcFrameKind::Request;
  std::uint64_t id = 0;  // a request's id, echoed by its reply; 0 for notifications
  Message message;
};

std::vector<unsigned char> EncodeFrame(RpcFrameKind kind, std::uint64_t id, const Message& message);
// Bytes from a port are untrusted: anything that is not a frame throws Tm_exception with a text
// that says what was wrong.
RpcFrame DecodeFrame(const unsigned char* data, std::size_t size);
inline RpcFrame DecodeFrame(const std::vector<unsigned char>& bytes) { return DecodeFrame(bytes.data(), bytes.size()); }
