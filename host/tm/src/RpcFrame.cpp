#include "tm/RpcFrame.h"

#include <msgpack.hpp>

#include "tm/Tm_exception.h"
#include "tm/Tm_wire.h"

std::vector<unsigned char> EncodeFrame(RpcFrameKind kind, std::uint64_t id, const Message& content) {
  const std::vector<unsigned char> message = tm_encode(content);
  msgpack::sbuffer buffer(message.size() + 16);
  msgpack::packer<msgpack::sbuffer> packer(buffer);
  packer.pack_array(3);
  packer.pack_uint8(static_cast<std::uint8_t>(kind));
  packer.pack_uint64(id);
  packer.pack_bin(static_cast<std::uint32_t>(message.size()));
  packer.pack_bin_body(reinterpret_cast<const char*>(message.data()), static_cast<std::uint32_t>(message.size()));
  return std::vector<unsigned char>(buffer.data(), buffer.data() + buffer.size());
}

RpcFrame DecodeFrame(const unsigned char* data, std::size_t size) {
  if (data == nullptr || size == 0) throw Tm_exception("frame: empty");
  msgpack::object_handle handle;
  std::size_t used = 0;
  try {
    // The envelope is three items; the message inside is a bin decoded by the message library.
    const msgpack::unpack_limit limit(4, 0, 0, size, 0, 2);
    handle = msgpack::unpack(reinterpret_cast<const char*>(data), size, used, nullptr, nullptr, limit);
  } catch (const std::exception& e) {
    throw Tm_exception(std::string("frame: not a frame (") + e.what() + ")");
  }
  if (used != size) throw Tm_exception("frame: " + std::to_string(size - used) + " bytes after the frame");
  const msgpack::object& envelope = handle.get();
  if (envelope.type != msgpack::type::ARRAY || envelope.via.array.size != 3) {
    throw Tm_exception("frame: expected [kind, id, message]");
  }
  const msgpack::object* items = envelope.via.array.ptr;
  if (items[0].type != msgpack::type::POSITIVE_INTEGER || items[0].via.u64 > 2) {
    throw Tm_exception("frame: unknown kind");
  }
  if (items[1].type != msgpack::type::POSITIVE_INTEGER) throw Tm_exception("frame: the id is not a number");
  if (items[2].type != msgpack::type::BIN) throw Tm_exception("frame: the message is not binary");
  RpcFrame frame;
  frame.kind = static_cast<RpcFrameKind>(items[0].via.u64);
  frame.id = items[1].via.u64;
  frame.message = tm_decode(reinterpret_cast<const unsigned char*>(items[2].via.bin.ptr), items[2].via.bin.size);
  return frame;
}
