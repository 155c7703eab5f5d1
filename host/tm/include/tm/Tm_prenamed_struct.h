#pragma once
// A structure built by member index against a static, null-terminated table of member names (the
// names tables of the generated codecs). The table must outlive the structure and its copies, and
// its names must be distinct; the structure refers to the table's texts instead of copying them.

#include <string>

#include "tm/Tm_catalog.h"
#include "tm/Tm_struct.h"

class Tm_prenamed_struct : public Tm_struct {
 public:
  // No table yet: every add by index is out of range until clear(names) binds one.
  explicit Tm_prenamed_struct(Tm_value_container* container = nullptr);

  using Tm_struct::add_member;
  using Tm_struct::add_member_and_own;
  using Tm_struct::clear;

  // Empties the structure and binds names (null throws Tm_exception).
  void clear(const char** names);

  // Appends the member names[index]. An index outside the table throws
  // Tm_out_of_range_exception(index, 0, count - 1). When catalog is not null the name is entered
  // into it. A null text throws Tm_exception.
  void add_member(int index, bool value, Tm_catalog<std::string>* catalog);
  void add_member(int index, unsigned char value, Tm_catalog<std::string>* catalog);
  void add_member(int index, short value, Tm_catalog<std::string>* catalog);
  void add_member(int index, unsigned short value, Tm_catalog<std::string>* catalog);
  void add_member(int index, int value, Tm_catalog<std::string>* catalog);
  void add_member(int index, unsigned int value, Tm_catalog<std::string>* catalog);
  void add_member(int index, long value, Tm_catalog<std::string>* catalog);
  void add_member(int index, unsigned long value, Tm_catalog<std::string>* catalog);
  void add_member(int index, double value, Tm_catalog<std::string>* catalog);
  void add_member(int index, const char* value, Tm_catalog<std::string>* catalog);
  void add_member(int index, const std::string& value, Tm_catalog<std::string>* catalog);
  // Takes ownership of a binary, structure or array (see Tm_value_container for the checks).
  void add_member_and_own(int index, Tm_value* value, Tm_catalog<std::string>* catalog);

  Tm_value* clone() const override;

 private:
  void append_indexed(int index, Tm_slot&& value, Tm_catalog<std::string>* catalog);

  const char** m_names = nullptr;
  int m_name_count = 0;
  // While every member arrived by index, in increasing order, the names are known to be distinct.
  int m_last_index = -1;
  int m_indexed_count = 0;
};
