#include "tm/Tm_struct.h"

#include <cstring>

#include "tm/Tm_array.h"
#include "tm/Tm_exception.h"
#include "tm/Tm_interned_name.h"

namespace {

// The first block of an arena that holds the names of one structure.
constexpr std::size_t kNamesBlock = 256;

bool same_name(const char* left, const char* right) { return left == right || std::strcmp(left, right) == 0; }

const char* checked_name(const char* name) {
  if (name == nullptr) throw Tm_exception("member name is null");
  return name;
}

Tm_slot text_slot(const char* name, const char* value) {
  if (value == nullptr) throw Tm_exception("add_member() given a null text for '" + std::string(name) + "'");
  return Tm_slot(std::string_view(value));
}

}  // namespace

Tm_struct::Tm_struct(Tm_value_container* container) : Tm_value_container(container) {}

Tm_struct::Tm_struct(const Tm_struct& other) : Tm_value_container(other), m_unique_names(other.m_unique_names) {
  // Names from a static table are shared; names from an arena are copied into one of our own.
  if (other.m_arena || other.m_in_message_arena) m_arena = std::make_shared<Tm_arena>(kNamesBlock);
  m_members.reserve(other.m_members.size());
  for (const Member& member : other.m_members) {
    const char* name = m_arena ? m_arena->add_text(member.name) : member.name;
    adopt_copy(m_members.emplace_back(name, tm_slot_copy(tm_view_of(member.value))).value);
  }
}

Tm_struct::Tm_struct(Tm_struct&& other) noexcept
    : Tm_value_container(other),
      m_arena(std::move(other.m_arena)),
      m_members(std::move(other.m_members)),
      m_next_lookup(other.m_next_lookup),
      m_unique_names(other.m_unique_names) {
  for (Member& member : m_members) rebind_moved(member.value);
  other.clear();
}

Tm_struct& Tm_struct::operator=(const Tm_struct& other) {
  if (this != &other) *this = Tm_struct(other);
  return *this;
}

Tm_struct& Tm_struct::operator=(Tm_struct&& other) noexcept {
  if (this == &other) return *this;
  m_members = std::move(other.m_members);
  m_arena = std::move(other.m_arena);
  m_next_lookup = other.m_next_lookup;
  m_unique_names = other.m_unique_names;
  for (Member& member : m_members) rebind_moved(member.value);
  other.clear();
  return *this;
}

Tm_struct::~Tm_struct() = default;

void Tm_struct::add_member(const char* name, bool value) { append_copying_name(name, Tm_slot(value)); }
void Tm_struct::add_member(const char* name, signed char value) { append_copying_name(name, Tm_slot(value)); }
void Tm_struct::add_member(const char* name, unsigned char value) { append_copying_name(name, Tm_slot(value)); }
void Tm_struct::add_member(const char* name, short value) { append_copying_name(name, Tm_slot(value)); }
void Tm_struct::add_member(const char* name, unsigned short value) { append_copying_name(name, Tm_slot(value)); }
void Tm_struct::add_member(const char* name, int value) { append_copying_name(name, Tm_slot(value)); }
void Tm_struct::add_member(const char* name, unsigned int value) { append_copying_name(name, Tm_slot(value)); }
void Tm_struct::add_member(const char* name, long value) { append_copying_name(name, Tm_slot(value)); }
void Tm_struct::add_member(const char* name, unsigned long value) { append_copying_name(name, Tm_slot(value)); }
void Tm_struct::add_member(const char* name, double value) { append_copying_name(name, Tm_slot(value)); }
void Tm_struct::add_member(const char* name, const char* value) {
  append_copying_name(name, text_slot(checked_name(name), value));
}
void Tm_struct::add_member(const char* name, const std::string& value) {
  append_copying_name(name, Tm_slot(std::string_view(value)));
}
void Tm_struct::add_member(const char* name, const Tm_binary& value) {
  append_copying_name(name, Tm_slot(std::make_unique<Tm_binary>(value)));
}

void Tm_struct::add_member_and_own(const char* name, Tm_value* value) {
  // Owned first, so that a refused name frees the value as a taken one.
  Tm_slot slot = own(value);
  append_copying_name(name, std::move(slot));
}

// Inline: every getter is this call plus a conversion, and records are read member by member.
inline const Tm_slot& Tm_struct::value_named(const char* name, TMV type) const {
  // Records are read member by member in order: try the member after the last one found first,
  // and the first one again once a read has gone past the end.
  if (static_cast<std::size_t>(m_next_lookup) >= m_members.size()) m_next_lookup = 0;
  const auto next = static_cast<std::size_t>(m_next_lookup);
  const Member* member = nullptr;
  if (m_unique_names && next < m_members.size() && name != nullptr && same_name(m_members[next].name, name)) {
    member = &m_members[next];
    ++m_next_lookup;
  } else {
    member = &member_named(name);
  }
  if (member->value.type() != type) throw Tm_type_mismatch_exception(member->value.type(), type);
  return member->value;
}

bool Tm_struct::get_member_bool(const char* name) const { return value_named(name, TMV_BOOL).simple<bool>(); }
signed char Tm_struct::get_member_int8(const char* name) const {
  return value_named(name, TMV_INT8).simple<signed char>();
}
unsigned char Tm_struct::get_member_uint8(const char* name) const {
  return value_named(name, TMV_UINT8).simple<unsigned char>();
}
short Tm_struct::get_member_int16(const char* name) const { return value_named(name, TMV_INT16).simple<short>(); }
unsigned short Tm_struct::get_member_uint16(const char* name) const {
  return value_named(name, TMV_UINT16).simple<unsigned short>();
}
int Tm_struct::get_member_int32(const char* name) const { return value_named(name, TMV_INT32).simple<int>(); }
unsigned int Tm_struct::get_member_uint32(const char* name) const {
  return value_named(name, TMV_UINT32).simple<unsigned int>();
}
long Tm_struct::get_member_int64(const char* name) const { return value_named(name, TMV_INT64).simple<long>(); }
unsigned long Tm_struct::get_member_uint64(const char* name) const {
  return value_named(name, TMV_UINT64).simple<unsigned long>();
}
double Tm_struct::get_member_double(const char* name) const { return value_named(name, TMV_DOUBLE).simple<double>(); }
const char* Tm_struct::get_member_string(const char* name) const { return value_named(name, TMV_STRING).c_text(); }
const Tm_binary& Tm_struct::get_member_binary(const char* name) const { return value_named(name, TMV_BINARY).binary(); }
const Tm_struct* Tm_struct::get_member_struct(const char* name) const {
  return value_named(name, TMV_STRUCT).structure();
}
const Tm_array* Tm_struct::get_member_array(const char* name) const { return value_named(name, TMV_ARRAY).array(); }

int Tm_struct::get_member_index(const char* name) const {
  if (name == nullptr) return -1;
  const int count = get_member_count();
  // With distinct names a match is the first one, so in-order reads succeed on the first try.
  if (m_unique_names && m_next_lookup < count &&
      same_name(m_members[static_cast<std::size_t>(m_next_lookup)].name, name)) {
    return m_next_lookup++;
  }
  for (int index = 0; index < count; ++index) {
    if (same_name(m_members[static_cast<std::size_t>(index)].name, name)) {
      m_next_lookup = index + 1;
      return index;
    }
  }
  return -1;
}

const char* Tm_struct::get_member_name(int index) const { return member_at(index).name; }

TMV Tm_struct::get_member_value_type(int index) const { return tm_slot_type(member_at(index).value); }

void Tm_struct::item_accept(int index, Tm_visitor& visitor) const { tm_slot_accept(member_at(index).value, visitor); }

void Tm_struct::clear() {
  m_members.clear();
  m_arena.reset();
  m_next_lookup = 0;
  m_unique_names = true;
}

Tm_value* Tm_struct::clone() const { return new Tm_struct(*this); }

bool Tm_struct::equals(const Tm_value& other) const {
  const auto* structure = dynamic_cast<const Tm_struct*>(&other);
  if (structure == nullptr || structure->get_member_count() != get_member_count()) return false;
  for (std::size_t i = 0; i < m_members.size(); ++i) {
    const Member& mine = m_members[i];
    const Member& theirs = structure->m_members[i];
    if (!same_name(mine.name, theirs.name) || !tm_views_equal(tm_view_of(mine.value), tm_view_of(theirs.value))) {
      return false;
    }
  }
  return true;
}

void Tm_struct::accept(Tm_visitor& visitor) const { visitor.visit_struct(*this); }

void Tm_struct::append(const char* name, Tm_slot&& value, bool name_is_new) {
  if (!name_is_new && m_unique_names) {
    for (const Member& member : m_members) {
      if (same_name(member.name, name)) {
        m_unique_names = false;
        break;
      }
    }
  }
  m_members.emplace_back(name, std::move(value));
}

void Tm_struct::append_copying_name(const char* name, Tm_slot&& value) {
  checked_name(name);
  // Readers that ask by the interned name then find this member by pointer.
  if (const char* interned = tm_find_interned_name(name)) {
    append(interned, std::move(value), false);
    return;
  }
  if (!m_arena) m_arena = std::make_shared<Tm_arena>(kNamesBlock);
  append(m_arena->add_text(name), std::move(value), false);
}

const Tm_struct::Member& Tm_struct::member_at(int index) const {
  if (index < 0 || index >= get_member_count()) throw Tm_out_of_range_exception(index, 0, get_member_count() - 1);
  return m_members[static_cast<std::size_t>(index)];
}

const Tm_struct::Member& Tm_struct::member_named(const char* name) const {
  const int index = get_member_index(checked_name(name));
  if (index < 0) throw Tm_exception("no member '" + std::string(name) + "'");
  return m_members[static_cast<std::size_t>(index)];
}
