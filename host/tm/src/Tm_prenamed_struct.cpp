#include "tm/Tm_prenamed_struct.h"

#include "tm/Tm_exception.h"

Tm_prenamed_struct::Tm_prenamed_struct(Tm_value_container* container) : Tm_struct(container) {}

void Tm_prenamed_struct::clear(const char** names) {
  if (names == nullptr) throw Tm_exception("Tm_prenamed_struct::clear() given a null names table");
  Tm_struct::clear();
  if (names != m_names) {
    m_names = names;
    m_name_count = 0;
    while (names[m_name_count] != nullptr) ++m_name_count;
  }
  reserve_members(static_cast<std::size_t>(m_name_count));
  m_last_index = -1;
  m_indexed_count = 0;
}

void Tm_prenamed_struct::add_member(int index, bool value, Tm_catalog<std::string>* catalog) {
  append_indexed(index, Tm_slot(value), catalog);
}
void Tm_prenamed_struct::add_member(int index, unsigned char value, Tm_catalog<std::string>* catalog) {
  append_indexed(index, Tm_slot(value), catalog);
}
void Tm_prenamed_struct::add_member(int index, short value, Tm_catalog<std::string>* catalog) {
  append_indexed(index, Tm_slot(value), catalog);
}
void Tm_prenamed_struct::add_member(int index, unsigned short value, Tm_catalog<std::string>* catalog) {
  append_indexed(index, Tm_slot(value), catalog);
}
void Tm_prenamed_struct::add_member(int index, int value, Tm_catalog<std::string>* catalog) {
  append_indexed(index, Tm_slot(value), catalog);
}
void Tm_prenamed_struct::add_member(int index, unsigned int value, Tm_catalog<std::string>* catalog) {
  append_indexed(index, Tm_slot(value), catalog);
}
void Tm_prenamed_struct::add_member(int index, long value, Tm_catalog<std::string>* catalog) {
  append_indexed(index, Tm_slot(value), catalog);
}
void Tm_prenamed_struct::add_member(int index, unsigned long value, Tm_catalog<std::string>* catalog) {
  append_indexed(index, Tm_slot(value), catalog);
}
void Tm_prenamed_struct::add_member(int index, double value, Tm_catalog<std::string>* catalog) {
  append_indexed(index, Tm_slot(value), catalog);
}
void Tm_prenamed_struct::add_member(int index, const char* value, Tm_catalog<std::string>* catalog) {
  if (value == nullptr) throw Tm_exception("add_member() given a null text for member index " + std::to_string(index));
  append_indexed(index, Tm_slot(std::string_view(value)), catalog);
}
void Tm_prenamed_struct::add_member(int index, const std::string& value, Tm_catalog<std::string>* catalog) {
  append_indexed(index, Tm_slot(std::string_view(value)), catalog);
}

void Tm_prenamed_struct::add_member_and_own(int index, Tm_value* value, Tm_catalog<std::string>* catalog) {
  // Owned first, so that a refused index frees the value as a taken one.
  Tm_slot slot = own(value);
  append_indexed(index, std::move(slot), catalog);
}

Tm_value* Tm_prenamed_struct::clone() const { return new Tm_prenamed_struct(*this); }

void Tm_prenamed_struct::append_indexed(int index, Tm_slot&& value, Tm_catalog<std::string>* catalog) {
  if (index < 0 || index >= m_name_count) throw Tm_out_of_range_exception(index, 0, m_name_count - 1);
  const char* name = m_names[index];
  if (catalog != nullptr) catalog->add(name);
  const bool name_is_new = index > m_last_index && m_indexed_count == get_member_count();
  append(name, std::move(value), name_is_new);
  m_last_index = index;
  ++m_indexed_count;
}
