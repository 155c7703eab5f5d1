#pragma once
// Tables that translate enumerators to their names and back. A table ends with a row whose name
// is null. A null table throws Tm_exception.

struct tm_enum_map {
  int value;
  const char* name;
};

// The name of the first row with that value; null when there is none.
const char* tms_enum_to_string(int value, const tm_enum_map* map);
// The value of the first row with that name; -1 for a name not in the table or a null name.
int tms_string_to_enum(const char* name, const tm_enum_map* map);
