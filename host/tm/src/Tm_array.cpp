#include "tm/Tm_array.h"

#include "tm/Tm_exception.h"
#include "tm/Tm_struct.h"

namespace {

// Appends a copy of every item it is handed to an array.
class Item_copier : public Tm_visitor {
 public:
  explicit Item_copier(Tm_array& target) : m_target(target) {}

  void visit_int8(signed char value) override { m_target.add_member(value); }
  void visit_uint8(unsigned char value) override { m_target.add_member(value); }
  void visit_int16(short value) override { m_target.add_member(value); }
  void visit_uint16(unsigned short value) override { m_target.add_member(value); }
  void visit_int32(int value) override { m_target.add_member(value); }
  void visit_uint32(unsigned int value) override { m_target.add_member(value); }
  void visit_int64(long value) override { m_target.add_member(value); }
  void visit_uint64(unsigned long value) override { m_target.add_member(value); }
  void visit_double(double value) override { m_target.add_member(value); }
  void visit_bool(bool value) override { m_target.add_member(value); }
  void visit_string(const char* text, std::size_t length) override { m_target.add_member(std::string(text, length)); }
  void visit_binary(const Tm_binary& value) override { m_target.add_member_and_own(value.clone()); }
  void visit_struct(const Tm_struct& value) override { m_target.add_member_and_own(value.clone()); }
  void visit_array(const Tm_array& value) override { m_target.add_member_and_own(value.clone()); }

 private:
  Tm_array& m_target;
};

Tm_exception no_such_values(const char* operation) {
  return Tm_exception(std::string(operation) + "() has no values in this message library");
}

}  // namespace

Tm_array::Tm_array() : Tm_value_container(nullptr) {}

Tm_array::Tm_array(Tm_value_container* container) : Tm_value_container(container) {}

Tm_array::~Tm_array() = default;

void Tm_array::reserve(int count) {
  if (count < 0) throw Tm_exception("reserve() given a negative count " + std::to_string(count));
  m_items.reserve(static_cast<std::size_t>(count));
}

void Tm_array::add_member_and_own(Tm_value* value) { m_items.emplace_back(own(value)); }

void Tm_array::add_member(bool value) { m_items.emplace_back(value); }
void Tm_array::add_member(signed char value) { m_items.emplace_back(value); }
void Tm_array::add_member(unsigned char value) { m_items.emplace_back(value); }
void Tm_array::add_member(short value) { m_items.emplace_back(value); }
void Tm_array::add_member(unsigned short value) { m_items.emplace_back(value); }
void Tm_array::add_member(int value) { m_items.emplace_back(value); }
void Tm_array::add_member(unsigned int value) { m_items.emplace_back(value); }
void Tm_array::add_member(long value) { m_items.emplace_back(value); }
void Tm_array::add_member(unsigned long value) { m_items.emplace_back(value); }
void Tm_array::add_member(double value) { m_items.emplace_back(value); }
void Tm_array::add_member(const char* value) {
  if (value == nullptr) throw Tm_exception("add_member() given a null text");
  m_items.emplace_back(std::string_view(value));
}
void Tm_array::add_member(const std::string& value) { m_items.emplace_back(std::string_view(value)); }

void Tm_array::clear() { m_items.clear(); }

int Tm_array::get_member_count() const { return static_cast<int>(m_items.size()); }

TMV Tm_array::get_member_value_type(int index) const { return tm_slot_type(item_at(index)); }

const Tm_slot& Tm_array::value_at(int index, TMV type) const {
  const Tm_slot& item = item_at(index);
  if (item.type() != type) throw Tm_type_mismatch_exception(item.type(), type);
  return item;
}

const Tm_struct* Tm_array::get_member_struct(int index) const { return value_at(index, TMV_STRUCT).structure(); }
signed char Tm_array::get_member_int8(int index) const { return value_at(index, TMV_INT8).simple<signed char>(); }
unsigned char Tm_array::get_member_uint8(int index) const { return value_at(index, TMV_UINT8).simple<unsigned char>(); }
short Tm_array::get_member_int16(int index) const { return value_at(index, TMV_INT16).simple<short>(); }
unsigned short Tm_array::get_member_uint16(int index) const {
  return value_at(index, TMV_UINT16).simple<unsigned short>();
}
int Tm_array::get_member_int32(int index) const { return value_at(index, TMV_INT32).simple<int>(); }
unsigned int Tm_array::get_member_uint32(int index) const { return value_at(index, TMV_UINT32).simple<unsigned int>(); }
long Tm_array::get_member_int64(int index) const { return value_at(index, TMV_INT64).simple<long>(); }
unsigned long Tm_array::get_member_uint64(int index) const {
  return value_at(index, TMV_UINT64).simple<unsigned long>();
}
double Tm_array::get_member_double(int index) const { return value_at(index, TMV_DOUBLE).simple<double>(); }
bool Tm_array::get_member_bool(int index) const { return value_at(index, TMV_BOOL).simple<bool>(); }
const char* Tm_array::get_member_string(int index) const { return value_at(index, TMV_STRING).c_text(); }
const Tm_binary& Tm_array::get_member_binary(int index) const { return value_at(index, TMV_BINARY).binary(); }
const Tm_array* Tm_array::get_member_array(int index) const { return value_at(index, TMV_ARRAY).array(); }
const Tm_value* Tm_array::get_member_message(int) const { throw no_such_values("get_member_message"); }
const Tm_value* Tm_array::get_member_file(int) const { throw no_such_values("get_member_file"); }
const Tm_value* Tm_array::get_member_date(int) const { throw no_such_values("get_member_date"); }

void Tm_array::item_accept(int index, Tm_visitor& visitor) const { tm_slot_accept(item_at(index), visitor); }

Tm_value* Tm_array::clone() const {
  auto copy = std::make_unique<Tm_array>();
  const int count = get_member_count();
  copy->reserve(count);
  Item_copier copier(*copy);
  for (int i = 0; i < count; ++i) item_accept(i, copier);
  return copy.release();
}

bool Tm_array::equals(const Tm_value& other) const {
  const auto* array = dynamic_cast<const Tm_array*>(&other);
  if (array == nullptr || array->get_member_count() != get_member_count()) return false;
  for (int i = 0; i < get_member_count(); ++i) {
    if (!tm_views_equal(tm_view_of_item(*this, i), tm_view_of_item(*array, i))) return false;
  }
  return true;
}

void Tm_array::accept(Tm_visitor& visitor) const { visitor.visit_array(*this); }

const Tm_slot& Tm_array::item_at(int index) const {
  const int count = static_cast<int>(m_items.size());
  if (index < 0 || index >= count) throw Tm_out_of_range_exception(index, 0, count - 1);
  return m_items[static_cast<std::size_t>(index)];
}
