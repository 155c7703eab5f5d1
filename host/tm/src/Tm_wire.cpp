#include "tm/Tm_wire.h"

// The host never uses msgpack's Boost adaptors; leaving them out keeps this file self-contained.
#define MSGPACK_NO_BOOST
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <msgpack.hpp>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "tm/Tm_exception.h"
#include "tm/Tm_interned_name.h"

namespace {

constexpr std::uint64_t kFormatVersion = 1;
constexpr std::uint32_t kMessageFields = 6;
constexpr std::uint32_t kFirstGroupField = 4;
constexpr std::uint32_t kGroupFields = 4;
// A structure or array begins with its shape index or item types, then its row.
constexpr std::uint32_t kContainerHead = 2;

bool is_simple(TMV type) { return type <= TMV_BOOL; }

// Bytes of each simple type in a row, by TMV.
std::uint32_t row_width(TMV type) {
  static constexpr std::uint32_t kWidths[] = {1, 1, 2, 2, 4, 4, 8, 8, 8, 1};
  return kWidths[type];
}

Tm_exception nesting_too_deep() {
  return Tm_exception("wire: nesting deeper than " + std::to_string(tm_wire_max_depth));
}

std::uint16_t byte_swap(std::uint16_t value) { return __builtin_bswap16(value); }
std::uint32_t byte_swap(std::uint32_t value) { return __builtin_bswap32(value); }
std::uint64_t byte_swap(std::uint64_t value) { return __builtin_bswap64(value); }

template <class Unsigned>
Unsigned load_big_endian(const unsigned char* data) {
  Unsigned value;
  std::memcpy(&value, data, sizeof value);
  return byte_swap(value);
}

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

// Builds a Message from msgpack parse events, checking each against the layout in Tm_wire.h.
// Every refusal throws Tm_exception, which ends the parse.
class Tm_wire_reader {
 public:
  // The arena's first block: decoded records take a few times their wire size.
  explicit Tm_wire_reader(std::size_t size) : m_size(size), m_arena(std::make_shared<Tm_arena>(size * 2)) {
    m_frames.reserve(tm_wire_max_depth);
  }

  Message read(const char* data, std::size_t size) {
    std::size_t offset = 0;
    bool complete = false;
    try {
      complete = msgpack::parse(data, size, offset, *this);
    } catch (const msgpack::unpack_error& error) {
      throw Tm_exception(std::string("wire: ") + error.what());
    }
    if (!complete) {
      if (m_error_offset) {
        throw Tm_exception("wire: byte " + std::to_string(*m_error_offset) + " does not start a msgpack value");
      }
      throw Tm_exception("wire: truncated message");
    }
    if (offset != size) {
      throw Tm_exception("wire: the message ends at byte " + std::to_string(offset) + " of " + std::to_string(size));
    }
    return std::move(m_message);
  }

  // msgpack's visitor interface. Each returns true to go on; refusals throw.
  bool visit_nil() {
    if (role() != Role::catalog) unexpected("nil");
    return true;
  }
  bool visit_boolean(bool value) {
    if (role() != Role::catalog_switch) unexpected("a boolean");
    m_message.m_use_catalog = value;
    return true;
  }
  bool visit_positive_integer(std::uint64_t value) {
    switch (role()) {
      case Role::format:
        if (value != kFormatVersion) throw Tm_exception("wire: unsupported format version " + std::to_string(value));
        return true;
      case Role::message_type:
        if (value != TMT_REQUEST && value != TMT_RESPONSE) {
          throw Tm_exception("wire: message type " + std::to_string(value) +
                             " is neither request (0) nor response (1)");
        }
        m_message.m_type = static_cast<TMT>(value);
        return true;
      case Role::catalog: m_catalog_size = value; return true;
      case Role::shape_entry: add_shape_entry(value); return true;
      case Role::shape_index: take_shape(value); return true;
      default: unexpected("an unsigned integer");
    }
  }
  bool visit_negative_integer(std::int64_t) { unexpected("a negative integer"); }
  bool visit_float32(float) { unexpected("a float32"); }
  bool visit_float64(double) { unexpected("a float64"); }
  bool visit_str(const char* text, std::uint32_t size) {
    switch (role()) {
      case Role::request_name: m_message.m_request_name.assign(text, size); return true;
      case Role::name: add_name({text, size}); return true;
      case Role::item: put_text(std::string_view(text, size)); return true;
      default: unexpected("a text");
    }
  }
  bool visit_bin(const char* bytes, std::uint32_t size) {
    const auto* data = reinterpret_cast<const unsigned char*>(bytes);
    switch (role()) {
      case Role::item_types: take_item_types(data, size); return true;
      case Role::row: take_row(data, size); return true;
      case Role::item:
        put_item(TMV_BINARY, "a binary", std::make_unique<Tm_binary>(data, size));
        top().owns_nothing = false;
        return true;
      default: unexpected("a binary");
    }
  }
  bool visit_ext(const char*, std::uint32_t) { unexpected("an ext value"); }
  bool start_array(std::uint32_t count) {
    const Role expected = role();
    if (m_frames.size() >= static_cast<std::size_t>(tm_wire_max_depth)) throw nesting_too_deep();
    m_declared += count;
    if (m_declared > m_size) {
      throw Tm_exception("wire: an array declares " + std::to_string(count) +
                         " items, more than the message's bytes can hold");
    }
    switch (expected) {
      case Role::message:
        require_items(count, kMessageFields, "a message");
        push(Frame::Kind::message, count);
        return true;
      case Role::group:
        require_items(count, kGroupFields, "a member group");
        begin_group();
        push(Frame::Kind::group, count);
        return true;
      case Role::names: push(Frame::Kind::names, count); return true;
      case Role::shapes: push(Frame::Kind::shapes, count); return true;
      case Role::shape:
        if (count % 2 != 0) {
          throw Tm_exception("wire: a shape lists name index and type pairs, found " + std::to_string(count) +
                             " items");
        }
        m_shapes.emplace_back();
        push(Frame::Kind::shape, count);
        return true;
      case Role::members: {
        // The root keeps the arena that its members below live in.
        Tm_struct& root = m_message.m_groups[m_group].members;
        root.m_arena = m_arena;
        push(Frame::Kind::structure, count).structure = &root;
        return true;
      }
      case Role::item: begin_nested(count); return true;
      default: unexpected("an array");
    }
  }
  bool start_array_item() { return true; }
  bool end_array_item() {
    ++top().position;
    return true;
  }
  bool end_array() {
    const Frame& ended = top();
    switch (ended.kind) {
      case Frame::Kind::names: finish_names(); break;
      case Frame::Kind::shape: finish_shape(); break;
      case Frame::Kind::structure:
        if (ended.owns_nothing) ended.structure->m_members.set_elements_own_nothing();
        break;
      case Frame::Kind::array:
        if (ended.owns_nothing) ended.array->m_items.set_elements_own_nothing();
        break;
      default: break;
    }
    const bool owns_nothing = ended.owns_nothing;
    m_frames.pop_back();
    if (!m_frames.empty() && is_container(top())) {
      top().owns_nothing = top().owns_nothing && owns_nothing;
      // The simple values after a nested structure or array follow from the row.
      fill(top());
    }
    return true;
  }
  bool start_map(std::uint32_t) { unexpected("a map"); }
  // Maps are refused at their start, so no map ever has keys or values.
  bool start_map_key() { return true; }
  bool end_map_key() { return true; }
  bool start_map_value() { return true; }
  bool end_map_value() { return true; }
  bool end_map() { return true; }
  void parse_error(std::size_t, std::size_t error_offset) { m_error_offset = error_offset; }
  void insufficient_bytes(std::size_t, std::size_t) {}
  bool referenced() const { return false; }
  void set_referenced(bool) {}

 private:
  // What the next msgpack value must be.
  enum class Role {
    message,
    format,
    message_type,
    request_name,
    catalog_switch,
    group,
    catalog,
    names,
    shapes,
    members,
    name,
    shape,
    shape_entry,
    shape_index,
    item_types,
    row,
    item
  };

  struct Frame {
    enum class Kind { message, group, names, shapes, shape, structure, array };
    Kind kind;
    std::uint32_t declared = 0;  // items of the msgpack array
    std::uint32_t position = 0;  // items complete
    // A structure or array being built: its members' or items' types (and names), where the next
    // one is, and its row.
    Tm_struct* structure = nullptr;
    Tm_array* array = nullptr;
    const unsigned char* types = nullptr;
    const char* const* names = nullptr;
    std::uint32_t count = 0;
    std::uint32_t next = 0;
    std::uint64_t row_bytes = 0;
    const unsigned char* row = nullptr;
    // No value so far holds memory outside the arena (only binaries do).
    bool owns_nothing = true;
  };

  struct Shape {
    std::vector<const char*> names;
    std::vector<std::uint32_t> name_indices;
    std::vector<unsigned char> types;
    std::uint32_t others = 0;  // members after the row
    std::uint64_t row_bytes = 0;
    bool unique_names = true;
  };

  Role role() const {
    if (m_frames.empty()) return Role::message;
    const Frame& frame = m_frames.back();
    switch (frame.kind) {
      case Frame::Kind::message: {
        constexpr Role fields[] = {Role::format, Role::message_type, Role::request_name, Role::catalog_switch};
        return frame.position < kFirstGroupField ? fields[frame.position] : Role::group;
      }
      case Frame::Kind::group: {
        constexpr Role fields[] = {Role::catalog, Role::names, Role::shapes, Role::members};
        return fields[frame.position];
      }
      case Frame::Kind::names: return Role::name;
      case Frame::Kind::shapes: return Role::shape;
      case Frame::Kind::shape: return Role::shape_entry;
      case Frame::Kind::structure:
        return frame.position == 0 ? Role::shape_index : frame.position == 1 ? Role::row : Role::item;
      case Frame::Kind::array:
        return frame.position == 0 ? Role::item_types : frame.position == 1 ? Role::row : Role::item;
    }
    return Role::item;
  }

  [[noreturn]] void unexpected(const char* found) const {
    static const char* const expected[] = {"a message (array of 6)",
                                           "the format version",
                                           "the message type (0 or 1)",
                                           "the request name (text)",
                                           "the catalog switch (bool)",
                                           "a member group (array of 4)",
                                           "the catalog size (nil or uint)",
                                           "the group's names (array)",
                                           "the group's shapes (array)",
                                           "the group's members (structure)",
                                           "a name (text)",
                                           "a shape (array)",
                                           "a shape entry (uint)",
                                           "a shape index (uint)",
                                           "the item types (binary)",
                                           "the row (binary)"};
    const Role now = role();
    const std::string what =
        now == Role::item ? a_value_of(next_type(m_frames.back())) : expected[static_cast<int>(now)];
    throw Tm_exception("wire: expected " + what + ", found " + found);
  }

  // "an int8 value", "a struct value", ...
  static std::string a_value_of(TMV type) {
    const std::string name = tmv_name(type);
    return (std::string("aeio").find(name[0]) != std::string::npos ? "an " : "a ") + name + " value";
  }

  static void require_items(std::uint32_t count, std::uint32_t expected, const char* what) {
    if (count != expected) {
      throw Tm_exception(std::string("wire: ") + what + " is an array of " + std::to_string(expected) +
                         " items, found " + std::to_string(count));
    }
  }

  static bool is_container(const Frame& frame) {
    return frame.kind == Frame::Kind::structure || frame.kind == Frame::Kind::array;
  }

  static TMV next_type(const Frame& frame) {
    if (frame.next >= frame.count) throw Tm_exception("wire: more values than the row's container holds");
    return static_cast<TMV>(frame.types[frame.next]);
  }

  Frame& push(Frame::Kind kind, std::uint32_t declared) {
    Frame& frame = m_frames.emplace_back();
    frame.kind = kind;
    frame.declared = declared;
    return frame;
  }

  Frame& top() { return m_frames.back(); }

  void begin_group() {
    m_group = top().position - kFirstGroupField;
    m_catalog_size.reset();
    m_group_names.clear();
    m_group_name_set.clear();
    m_shapes.clear();
  }

  void add_name(std::string_view name) {
    if (name.find('\0') != std::string_view::npos) throw Tm_exception("wire: a member name holds a NUL byte");
    if (!m_group_name_set.insert(name).second) {
      throw Tm_exception("wire: the group lists the name '" + std::string(name) + "' twice");
    }
    // The interned copy lets codecs that ask by interned names match by pointer.
    const char* interned = tm_find_interned_name(name);
    m_group_names.push_back(interned != nullptr ? interned : m_arena->add_text(name));
  }

  void finish_names() {
    if (!m_catalog_size) return;
    if (*m_catalog_size > m_group_names.size()) {
      throw Tm_exception("wire: catalog size " + std::to_string(*m_catalog_size) + " exceeds the name table (size " +
                         std::to_string(m_group_names.size()) + ")");
    }
    Message::Group& group = m_message.m_groups[m_group];
    for (std::size_t i = 0; i < *m_catalog_size; ++i) group.catalog.add(m_group_names[i]);
    group.catalog_on_wire = true;
  }

  void add_shape_entry(std::uint64_t value) {
    Shape& shape = m_shapes.back();
    const std::size_t shape_index = m_shapes.size() - 1;
    if (top().position % 2 == 0) {
      if (value >= m_group_names.size()) {
        throw Tm_exception("wire: shape " + std::to_string(shape_index) + " refers to name " + std::to_string(value) +
                           " outside the name table (size " + std::to_string(m_group_names.size()) + ")");
      }
      shape.names.push_back(m_group_names[value]);
      shape.name_indices.push_back(static_cast<std::uint32_t>(value));
    } else {
      if (value > TMV_ARRAY) {
        throw Tm_exception("wire: shape " + std::to_string(shape_index) + " has unknown value type " +
                           std::to_string(value));
      }
      shape.types.push_back(static_cast<unsigned char>(value));
    }
  }

  void finish_shape() {
    Shape& shape = m_shapes.back();
    for (const unsigned char type : shape.types) {
      if (is_simple(static_cast<TMV>(type))) {
        shape.row_bytes += row_width(static_cast<TMV>(type));
      } else {
        ++shape.others;
      }
    }
    std::vector<std::uint32_t> sorted = shape.name_indices;
    std::sort(sorted.begin(), sorted.end());
    shape.unique_names = std::adjacent_find(sorted.begin(), sorted.end()) == sorted.end();
  }

  void take_shape(std::uint64_t index) {
    if (index >= m_shapes.size()) {
      throw Tm_exception("wire: shape " + std::to_string(index) + " outside the shape table (size " +
                         std::to_string(m_shapes.size()) + ")");
    }
    const Shape& shape = m_shapes[index];
    Frame& frame = top();
    if (frame.declared != kContainerHead + shape.others) {
      throw Tm_exception("wire: a structure of shape " + std::to_string(index) + " is an array of " +
                         std::to_string(kContainerHead + shape.others) + " items, found " +
                         std::to_string(frame.declared));
    }
    frame.types = shape.types.data();
    frame.names = shape.names.data();
    frame.count = static_cast<std::uint32_t>(shape.types.size());
    frame.row_bytes = shape.row_bytes;
    frame.structure->m_unique_names = shape.unique_names;
  }

  void take_item_types(const unsigned char* types, std::uint32_t count) {
    Frame& frame = top();
    std::uint32_t others = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
      const TMV type = static_cast<TMV>(types[i]);
      if (type > TMV_ARRAY)
        throw Tm_exception("wire: array item " + std::to_string(i) + " has unknown value type " +
                           std::to_string(types[i]));
      if (is_simple(type)) {
        frame.row_bytes += row_width(type);
      } else {
        ++others;
      }
    }
    if (frame.declared != kContainerHead + others) {
      throw Tm_exception("wire: an array with these item types is an array of " +
                         std::to_string(kContainerHead + others) + " items, found " + std::to_string(frame.declared));
    }
    frame.types = types;
    frame.count = count;
    frame.array->m_items.lend(m_arena->allocate<Tm_slot>(count), count);
  }

  void take_row(const unsigned char* row, std::uint32_t size) {
    Frame& frame = top();
    if (size != frame.row_bytes) {
      throw Tm_exception("wire: row size " + std::to_string(size) + ", expected " + std::to_string(frame.row_bytes));
    }
    frame.row = row;
    if (frame.structure != nullptr) {
      frame.structure->m_members.lend(m_arena->allocate<Tm_struct::Member>(frame.count), frame.count);
    }
    fill(frame);
  }

  // Builds the value in place as the container's next member or item.
  template <class Value>
  static void emplace(Frame& frame, Value&& value) {
    if (frame.structure != nullptr) {
      frame.structure->m_members.emplace_back(frame.names[frame.next], std::forward<Value>(value));
    } else {
      frame.array->m_items.emplace_back(std::forward<Value>(value));
    }
    ++frame.next;
  }

  // Takes the simple values up to the next value that follows the row, or to the end. Records are
  // mostly simple values, so this loop is the decoder's hot path: it keeps the frame in locals and
  // builds each member in place from the row's bits.
  static void fill(Frame& frame) {
    const std::uint32_t count = frame.count;
    const unsigned char* const types = frame.types;
    std::uint32_t next = frame.next;
    const unsigned char* row = frame.row;
    if (frame.structure != nullptr) {
      Tm_storage<Tm_struct::Member>& members = frame.structure->m_members;
      const char* const* const names = frame.names;
      for (; next < count && is_simple(static_cast<TMV>(types[next])); ++next) {
        const TMV type = static_cast<TMV>(types[next]);
        members.emplace_back(names[next], type, read_bits(type, row));
      }
    } else {
      Tm_storage<Tm_slot>& items = frame.array->m_items;
      for (; next < count && is_simple(static_cast<TMV>(types[next])); ++next) {
        const TMV type = static_cast<TMV>(types[next]);
        items.emplace_back(type, read_bits(type, row));
      }
    }
    frame.next = next;
    frame.row = row;
  }

  // The bits of the simple value of that type at the row, which moves past it.
  static std::uint64_t read_bits(TMV type, const unsigned char*& row) {
    const unsigned char* at = row;
    row += row_width(type);
    switch (row_width(type)) {
      case 1:
        if (type == TMV_BOOL && at[0] > 1) throw Tm_exception("wire: a bool is 0 or 1, found " + std::to_string(at[0]));
        return at[0];
      case 2: return load_big_endian<std::uint16_t>(at);
      case 4: return load_big_endian<std::uint32_t>(at);
      default: return load_big_endian<std::uint64_t>(at);
    }
  }

  template <class Value>
  void put_item(TMV type, const char* found, Value&& value) {
    Frame& frame = top();
    if (next_type(frame) != type) unexpected(found);
    emplace(frame, Tm_slot(std::forward<Value>(value)));
    fill(frame);
  }

  // Short texts live in their slot; longer ones in the arena, which spares a heap block per text.
  void put_text(std::string_view text) {
    if (text.size() <= Tm_slot::kInlineText) {
      put_item(TMV_STRING, "a text", text);
    } else {
      put_item(TMV_STRING, "a text", Tm_slot::in_arena(std::string_view(m_arena->add_text(text), text.size())));
    }
  }

  void begin_nested(std::uint32_t count) {
    Frame& parent = top();
    Tm_value_container* owner =
        parent.structure != nullptr ? static_cast<Tm_value_container*>(parent.structure) : parent.array;
    switch (next_type(parent)) {
      case TMV_STRUCT: {
        auto* built = new (m_arena->allocate<Tm_struct>(1)) Tm_struct(owner);
        built->m_in_message_arena = true;
        emplace(parent, Tm_slot::in_arena(built));
        push(Frame::Kind::structure, count).structure = built;
        return;
      }
      case TMV_ARRAY: {
        auto* built = new (m_arena->allocate<Tm_array>(1)) Tm_array(owner);
        emplace(parent, Tm_slot::in_arena(built));
        push(Frame::Kind::array, count).array = built;
        return;
      }
      default: unexpected("an array");
    }
  }

  const std::uint64_t m_size;
  // Holds the message's names and member storage, shared by its structures.
  std::shared_ptr<Tm_arena> m_arena;
  std::uint64_t m_declared = 0;  // items declared by every array so far; each takes a byte at least
  std::optional<std::size_t> m_error_offset;
  Message m_message;
  std::vector<Frame> m_frames;
  // The group being read: its catalog size, names and shapes.
  std::uint32_t m_group = 0;
  std::optional<std::uint64_t> m_catalog_size;
  std::vector<const char*> m_group_names;
  std::unordered_set<std::string_view> m_group_name_set;
  std::vector<Shape> m_shapes;
};

std::vector<unsigned char> tm_encode(const Message& message) { return Tm_wire_writer().write(message); }

Message tm_decode(const unsigned char* data, std::size_t size) {
  if (data == nullptr && size != 0) throw Tm_exception("wire: null data for " + std::to_string(size) + " bytes");
  return Tm_wire_reader(size).read(reinterpret_cast<const char*>(data), size);
}

Message tm_decode(const std::vector<unsigned char>& bytes) { return tm_decode(bytes.data(), bytes.size()); }
