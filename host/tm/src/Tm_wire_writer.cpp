// The encoding half of the wire form; Tm_wire_reader.cpp holds the decoding half.
#include "tm/Tm_wire.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Tm_wire_layout.h"

using tm_wire::is_simple;
using tm_wire::kContainerHead;
using tm_wire::kFormatVersion;
using tm_wire::kGroupFields;
using tm_wire::kMessageFields;
using tm_wire::nesting_too_deep;

namespace {

// msgpack's output stream: appends to the bytes.
struct Sink {
  void write(const char* data, std::size_t size) { bytes.insert(bytes.end(), data, data + size); }
  std::vector<unsigned char> bytes;
};

std::uint32_t checked_size(std::size_t size, const char* what) {
  if (size > std::numeric_limits<std::uint32_t>::max()) {
    throw Tm_exception(std::string("wire: a ") + what + " of " + std::to_string(size) + " bytes is too long");
  }
  return static_cast<std::uint32_t>(size);
}

void pack_text(msgpack::packer<Sink>& packer, std::string_view text) {
  const std::uint32_t size = checked_size(text.size(), "text");
  packer.pack_str(size);
  packer.pack_str_body(text.data(), size);
}

void pack_bytes(msgpack::packer<Sink>& packer, const void* bytes, std::size_t length) {
  const std::uint32_t size = checked_size(length, "binary");
  packer.pack_bin(size);
  packer.pack_bin_body(static_cast<const char*>(bytes), size);
}

// Collects the simple values a container hands over into its row.
class Row_builder : public Tm_visitor {
 public:
  void visit_int8(signed char value) override { append(static_cast<unsigned char>(value), 1); }
  void visit_uint8(unsigned char value) override { append(value, 1); }
  void visit_int16(short value) override { append(static_cast<unsigned short>(value), 2); }
  void visit_uint16(unsigned short value) override { append(value, 2); }
  void visit_int32(int value) override { append(static_cast<unsigned int>(value), 4); }
  void visit_uint32(unsigned int value) override { append(value, 4); }
  void visit_int64(long value) override { append(static_cast<unsigned long>(value), 8); }
  void visit_uint64(unsigned long value) override { append(value, 8); }
  void visit_double(double value) override {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    append(bits, 8);
  }
  void visit_bool(bool value) override { append(value ? 1 : 0, 1); }
  // The other kinds follow the row as values of their own.
  void visit_string(const char*, std::size_t) override {}
  void visit_binary(const Tm_binary&) override {}
  void visit_struct(const Tm_struct&) override {}
  void visit_array(const Tm_array&) override {}

  std::vector<unsigned char> bytes;

 private:
  void append(std::uint64_t bits, int width) {
    for (int i = width - 1; i >= 0; --i) bytes.push_back(static_cast<unsigned char>(bits >> (8 * i)));
  }
};

}  // namespace

// Writes a Message as the layout in Tm_wire.h describes. Structures and arrays hand their items
// over through item_accept, so arrays that keep their values elsewhere are written like any other.
// As a visitor it writes the values that follow a row; simple values go into rows (Row_builder).
class Tm_wire_writer : public Tm_visitor {
 public:
  std::vector<unsigned char> write(const Message& message) {
    Sink out;
    msgpack::packer<Sink> packer(out);
    enter();
    packer.pack_array(kMessageFields);
    packer.pack_uint64(kFormatVersion);
    packer.pack_uint64(static_cast<std::uint64_t>(message.m_type));
    pack_text(packer, message.m_request_name);
    message.m_use_catalog ? packer.pack_true() : packer.pack_false();
    for (const Message::Group& group : message.m_groups) write_group(out, packer, group);
    leave();
    return std::move(out.bytes);
  }

  void visit_int8(signed char) override {}
  void visit_uint8(unsigned char) override {}
  void visit_int16(short) override {}
  void visit_uint16(unsigned short) override {}
  void visit_int32(int) override {}
  void visit_uint32(unsigned int) override {}
  void visit_int64(long) override {}
  void visit_uint64(unsigned long) override {}
  void visit_double(double) override {}
  void visit_bool(bool) override {}
  void visit_string(const char* text, std::size_t length) override { pack_text(m_packer, {text, length}); }
  void visit_binary(const Tm_binary& value) override { pack_bytes(m_packer, value.data(), value.size()); }
  void visit_struct(const Tm_struct& value) override { write_struct(value); }
  void visit_array(const Tm_array& value) override { write_array(value); }

 private:
  // The shape of the structure last written at one depth: records of an array share theirs, so
  // comparing name pointers and types finds it again without looking names up.
  struct Last_shape {
    std::vector<const char*> names;
    std::vector<unsigned char> types;
    std::uint32_t index = 0;
    bool known = false;
  };

  // Members are written first, into the body, while the group's names and shapes are collected;
  // the group's head then goes out in front of them.
  void write_group(Sink& out_bytes, msgpack::packer<Sink>& out, const Message::Group& group) {
    enter();
    m_names.clear();
    m_name_indices.clear();
    m_shapes.clear();
    m_shape_indices.clear();
    m_last_shapes.assign(tm_wire_max_depth + 1, Last_shape{});
    m_body.bytes.clear();
    if (group.catalog_on_wire) {
      for (int i = 0; i < group.catalog.size(); ++i) {
        if (group.catalog.get(i).find('\0') != std::string::npos) {
          throw Tm_exception("wire: catalog entry " + std::to_string(i) + " holds a NUL byte");
        }
        name_index(group.catalog.get(i));
      }
    }
    write_struct(group.members);

    out.pack_array(kGroupFields);
    group.catalog_on_wire ? out.pack_uint32(static_cast<std::uint32_t>(group.catalog.size())) : out.pack_nil();
    enter();
    out.pack_array(static_cast<std::uint32_t>(m_names.size()));
    for (const std::string& name : m_names) pack_text(out, name);
    leave();
    enter();
    out.pack_array(static_cast<std::uint32_t>(m_shapes.size()));
    for (const std::vector<std::uint64_t>* shape : m_shapes) {
      enter();
      out.pack_array(static_cast<std::uint32_t>(shape->size() * 2));
      for (const std::uint64_t member : *shape) {
        out.pack_uint64(member >> 8);
        out.pack_uint64(member & 0xff);
      }
      leave();
    }
    leave();
    out_bytes.write(reinterpret_cast<const char*>(m_body.bytes.data()), m_body.bytes.size());
    leave();
  }

  void write_struct(const Tm_struct& structure) {
    enter();
    const std::uint32_t shape = shape_of(structure);
    write_container(structure, structure.get_member_count(), [&] { m_packer.pack_uint32(shape); });
    leave();
  }

  void write_array(const Tm_array& array) {
    enter();
    const int count = array.get_member_count();
    m_types.clear();
    for (int i = 0; i < count; ++i) m_types.push_back(static_cast<unsigned char>(array.get_member_value_type(i)));
    write_container(array, count, [&] { pack_bytes(m_packer, m_types.data(), m_types.size()); });
    leave();
  }

  // [head, row, other values]; the head (shape index or item types) is written by write_head.
  template <class Container, class Head>
  void write_container(const Container& container, int count, Head write_head) {
    m_row.bytes.clear();
    int others = 0;
    for (int i = 0; i < count; ++i) {
      if (is_simple(container.get_member_value_type(i))) {
        container.item_accept(i, m_row);
      } else {
        ++others;
      }
    }
    m_packer.pack_array(kContainerHead + static_cast<std::uint32_t>(others));
    write_head();
    pack_bytes(m_packer, m_row.bytes.data(), m_row.bytes.size());
    for (int i = 0; i < count; ++i) {
      if (!is_simple(container.get_member_value_type(i))) container.item_accept(i, *this);
    }
  }

  std::uint32_t shape_of(const Tm_struct& structure) {
    Last_shape& last = m_last_shapes[static_cast<std::size_t>(m_depth)];
    const std::size_t count = structure.m_members.size();
    bool same = last.known && last.names.size() == count;
    for (std::size_t i = 0; same && i < count; ++i) {
      const Tm_struct::Member& member = structure.m_members[i];
      same = member.name == last.names[i] && tm_slot_type(member.value) == last.types[i];
    }
    if (same) return last.index;

    last.names.clear();
    last.types.clear();
    std::vector<std::uint64_t> shape;
    shape.reserve(count);
    for (const Tm_struct::Member& member : structure.m_members) {
      last.names.push_back(member.name);
      last.types.push_back(static_cast<unsigned char>(tm_slot_type(member.value)));
      shape.push_back(std::uint64_t{name_index(member.name)} << 8 | last.types.back());
    }
    const auto [position, added] =
        m_shape_indices.emplace(std::move(shape), static_cast<std::uint32_t>(m_shapes.size()));
    if (added) m_shapes.push_back(&position->first);
    last.index = position->second;
    last.known = true;
    return last.index;
  }

  std::uint32_t name_index(const std::string& name) {
    const auto [position, added] = m_name_indices.emplace(name, static_cast<std::uint32_t>(m_names.size()));
    if (added) m_names.push_back(name);
    return position->second;
  }

  void enter() {
    if (++m_depth > tm_wire_max_depth) throw nesting_too_deep();
  }
  void leave() { --m_depth; }

  Sink m_body;
  msgpack::packer<Sink> m_packer{m_body};
  Row_builder m_row;
  std::vector<unsigned char> m_types;
  std::vector<std::string> m_names;
  std::unordered_map<std::string, std::uint32_t> m_name_indices;
  std::vector<const std::vector<std::uint64_t>*> m_shapes;
  std::map<std::vector<std::uint64_t>, std::uint32_t> m_shape_indices;
  std::vector<Last_shape> m_last_shapes;
  int m_depth = 0;
};

std::vector<unsigned char> tm_encode(const Message& message) { return Tm_wire_writer().write(message); }
