// The decoding half of the wire form; Tm_wire_writer.cpp holds the encoding half.
#include "tm/Tm_wire.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "Tm_wire_layout.h"
#include "tm/Tm_interned_name.h"

using tm_wire::is_simple;
using tm_wire::kContainerHead;
using tm_wire::kFirstGroupField;
using tm_wire::kFormatVersion;
using tm_wire::kGroupFields;
using tm_wire::kMessageFields;
using tm_wire::nesting_too_deep;
using tm_wire::row_width;

namespace {

std::uint16_t byte_swap(std::uint16_t value) { return __builtin_bswap16(value); }
std::uint32_t byte_swap(std::uint32_t value) { return __builtin_bswap32(value); }
std::uint64_t byte_swap(std::uint64_t value) { return __builtin_bswap64(value); }

template <class Unsigned>
Unsigned load_big_endian(const unsigned char* data) {
  Unsigned value;
  std::memcpy(&value, data, sizeof value);
  return byte_swap(value);
}

}  // namespace

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

Message tm_decode(const unsigned char* data, std::size_t size) {
  if (data == nullptr && size != 0) throw Tm_exception("wire: null data for " + std::to_string(size) + " bytes");
  return Tm_wire_reader(size).read(reinterpret_cast<const char*>(data), size);
}

Message tm_decode(const std::vector<unsigned char>& bytes) { return tm_decode(bytes.data(), bytes.size()); }
