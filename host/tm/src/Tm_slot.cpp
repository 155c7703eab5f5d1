#include "tm/Tm_slot.h"

#include "tm/Tm_array.h"
#include "tm/Tm_exception.h"
#include "tm/Tm_struct.h"

namespace {

// Records the item a container hands over; the view borrows texts and values from it.
class View_capture : public Tm_visitor {
 public:
  void visit_int8(signed char value) override { view = value; }
  void visit_uint8(unsigned char value) override { view = value; }
  void visit_int16(short value) override { view = value; }
  void visit_uint16(unsigned short value) override { view = value; }
  void visit_int32(int value) override { view = value; }
  void visit_uint32(unsigned int value) override { view = value; }
  void visit_int64(long value) override { view = value; }
  void visit_uint64(unsigned long value) override { view = value; }
  void visit_double(double value) override { view = value; }
  void visit_bool(bool value) override { view = value; }
  void visit_string(const char* text, std::size_t length) override { view = std::string_view(text, length); }
  void visit_binary(const Tm_binary& value) override { view = &value; }
  void visit_struct(const Tm_struct& value) override { view = &value; }
  void visit_array(const Tm_array& value) override { view = &value; }

  Tm_item_view view;
};

template <class Container>
Tm_item_view capture(const Container& container, int index) {
  View_capture capture;
  container.item_accept(index, capture);
  return capture.view;
}

}  // namespace

Tm_slot::Tm_slot(std::string_view text) : m_type(TMV_STRING) {
  if (text.size() <= kInlineText) {
    if (!text.empty()) std::memcpy(m_bytes, text.data(), text.size());
    m_bytes[text.size()] = '\0';
    m_held = static_cast<unsigned char>(text.size());
  } else {
    set_pointer(new std::string(text));
    m_held = kHeapText;
  }
}

Tm_slot::Tm_slot(std::unique_ptr<Tm_binary> value) : m_type(TMV_BINARY) { set_pointer(value.release()); }
Tm_slot::Tm_slot(std::unique_ptr<Tm_struct> value) : m_type(TMV_STRUCT) { set_pointer(value.release()); }
Tm_slot::Tm_slot(std::unique_ptr<Tm_array> value) : m_type(TMV_ARRAY) { set_pointer(value.release()); }

Tm_slot Tm_slot::in_arena(Tm_struct* value) {
  Tm_slot slot;
  slot.m_type = TMV_STRUCT;
  slot.m_held = kInArena;
  slot.set_pointer(value);
  return slot;
}

Tm_slot Tm_slot::in_arena(Tm_array* value) {
  Tm_slot slot;
  slot.m_type = TMV_ARRAY;
  slot.m_held = kInArena;
  slot.set_pointer(value);
  return slot;
}

Tm_slot Tm_slot::in_arena(std::string_view text) {
  Tm_slot slot;
  slot.m_type = TMV_STRING;
  slot.m_held = kInArena;
  slot.set_pointer(text.data());
  const auto length = static_cast<std::uint32_t>(text.size());
  std::memcpy(slot.m_bytes + sizeof(const char*), &length, sizeof length);
  return slot;
}

std::string_view Tm_slot::text() const {
  if (m_held == kHeapText) return *pointer<std::string>();
  if (m_held == kInArena) {
    std::uint32_t length;
    std::memcpy(&length, m_bytes + sizeof(const char*), sizeof length);
    return std::string_view(pointer<const char>(), length);
  }
  return std::string_view(reinterpret_cast<const char*>(m_bytes), m_held);
}

void Tm_slot::release_owned() noexcept {
  switch (m_type) {
    case TMV_STRING:
      if (m_held == kHeapText) delete pointer<std::string>();
      break;
    case TMV_BINARY: delete pointer<Tm_binary>(); break;
    case TMV_STRUCT:
      if (m_held == kInArena) {
        pointer<Tm_struct>()->~Tm_struct();
      } else {
        delete pointer<Tm_struct>();
      }
      break;
    case TMV_ARRAY:
      if (m_held == kInArena) {
        pointer<Tm_array>()->~Tm_array();
      } else {
        delete pointer<Tm_array>();
      }
      break;
    default: break;
  }
}

Tm_item_view tm_view_of(const Tm_slot& slot) {
  switch (slot.type()) {
    case TMV_INT8: return slot.simple<signed char>();
    case TMV_UINT8: return slot.simple<unsigned char>();
    case TMV_INT16: return slot.simple<short>();
    case TMV_UINT16: return slot.simple<unsigned short>();
    case TMV_INT32: return slot.simple<int>();
    case TMV_UINT32: return slot.simple<unsigned int>();
    case TMV_INT64: return slot.simple<long>();
    case TMV_UINT64: return slot.simple<unsigned long>();
    case TMV_DOUBLE: return slot.simple<double>();
    case TMV_BOOL: return slot.simple<bool>();
    case TMV_STRING: return slot.text();
    case TMV_BINARY: return &slot.binary();
    case TMV_STRUCT: return static_cast<const Tm_struct*>(slot.structure());
    case TMV_ARRAY: return static_cast<const Tm_array*>(slot.array());
  }
  throw Tm_exception("corrupt slot of type " + tmv_name(slot.type()));
}

Tm_item_view tm_view_of_item(const Tm_struct& container, int index) { return capture(container, index); }

Tm_item_view tm_view_of_item(const Tm_array& container, int index) { return capture(container, index); }

Tm_slot tm_slot_copy(const Tm_item_view& view) {
  switch (static_cast<TMV>(view.index())) {
    case TMV_INT8: return Tm_slot(std::get<TMV_INT8>(view));
    case TMV_UINT8: return Tm_slot(std::get<TMV_UINT8>(view));
    case TMV_INT16: return Tm_slot(std::get<TMV_INT16>(view));
    case TMV_UINT16: return Tm_slot(std::get<TMV_UINT16>(view));
    case TMV_INT32: return Tm_slot(std::get<TMV_INT32>(view));
    case TMV_UINT32: return Tm_slot(std::get<TMV_UINT32>(view));
    case TMV_INT64: return Tm_slot(std::get<TMV_INT64>(view));
    case TMV_UINT64: return Tm_slot(std::get<TMV_UINT64>(view));
    case TMV_DOUBLE: return Tm_slot(std::get<TMV_DOUBLE>(view));
    case TMV_BOOL: return Tm_slot(std::get<TMV_BOOL>(view));
    case TMV_STRING: return Tm_slot(std::get<TMV_STRING>(view));
    case TMV_BINARY: return Tm_slot(std::make_unique<Tm_binary>(*std::get<TMV_BINARY>(view)));
    case TMV_STRUCT:
      return Tm_slot(std::unique_ptr<Tm_struct>(static_cast<Tm_struct*>(std::get<TMV_STRUCT>(view)->clone())));
    case TMV_ARRAY:
      return Tm_slot(std::unique_ptr<Tm_array>(static_cast<Tm_array*>(std::get<TMV_ARRAY>(view)->clone())));
  }
  throw Tm_exception("corrupt item view of type " + tmv_name(static_cast<TMV>(view.index())));
}

bool tm_views_equal(const Tm_item_view& left, const Tm_item_view& right) {
  if (left.index() != right.index()) return false;
  switch (static_cast<TMV>(left.index())) {
    case TMV_DOUBLE: {
      const double a = std::get<TMV_DOUBLE>(left);
      const double b = std::get<TMV_DOUBLE>(right);
      return std::memcmp(&a, &b, sizeof a) == 0;
    }
    case TMV_BINARY: return std::get<TMV_BINARY>(left)->equals(*std::get<TMV_BINARY>(right));
    case TMV_STRUCT: return std::get<TMV_STRUCT>(left)->equals(*std::get<TMV_STRUCT>(right));
    case TMV_ARRAY: return std::get<TMV_ARRAY>(left)->equals(*std::get<TMV_ARRAY>(right));
    default: return left == right;
  }
}

void tm_slot_accept(const Tm_slot& slot, Tm_visitor& visitor) {
  switch (slot.type()) {
    case TMV_INT8: return visitor.visit_int8(slot.simple<signed char>());
    case TMV_UINT8: return visitor.visit_uint8(slot.simple<unsigned char>());
    case TMV_INT16: return visitor.visit_int16(slot.simple<short>());
    case TMV_UINT16: return visitor.visit_uint16(slot.simple<unsigned short>());
    case TMV_INT32: return visitor.visit_int32(slot.simple<int>());
    case TMV_UINT32: return visitor.visit_uint32(slot.simple<unsigned int>());
    case TMV_INT64: return visitor.visit_int64(slot.simple<long>());
    case TMV_UINT64: return visitor.visit_uint64(slot.simple<unsigned long>());
    case TMV_DOUBLE: return visitor.visit_double(slot.simple<double>());
    case TMV_BOOL: return visitor.visit_bool(slot.simple<bool>());
    case TMV_STRING: {
      const std::string_view text = slot.text();
      return visitor.visit_string(text.data(), text.size());
    }
    case TMV_BINARY: return visitor.visit_binary(slot.binary());
    case TMV_STRUCT: return visitor.visit_struct(*slot.structure());
    case TMV_ARRAY: return visitor.visit_array(*slot.array());
  }
  throw Tm_exception("corrupt slot of type " + tmv_name(slot.type()));
}
