#include "tm/Tm_enum_map.h"

#include <cstring>

#include "tm/Tm_exception.h"

namespace {

const tm_enum_map* checked(const tm_enum_map* map, const char* operation) {
  if (map == nullptr) throw Tm_exception(std::string(operation) + "() given a null enum map");
  return map;
}

}  // namespace

const char* tms_enum_to_string(int value, const tm_enum_map* map) {
  for (const tm_enum_map* row = checked(map, "tms_enum_to_string"); row->name != nullptr; ++row) {
    if (row->value == value) return row->name;
  }
  return nullptr;
}

int tms_string_to_enum(const char* name, const tm_enum_map* map) {
  const tm_enum_map* row = checked(map, "tms_string_to_enum");
  if (name == nullptr) return -1;
  for (; row->name != nullptr; ++row) {
    if (std::strcmp(row->name, name) == 0) return row->value;
  }
  return -1;
}
