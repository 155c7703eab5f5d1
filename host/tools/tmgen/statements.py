"""The C++ statements that put one field or member into a message value and read it back.

Writers go through a sink: a prenamed structure (by index, with the catalog) or a message's group 1
(by name). Readers take a `const Tm_struct*` expression and a destination. Statements that need a
helper function record it in the Helpers they are given, so the source holds only helpers it uses.
"""

from __future__ import annotations

from dataclasses import dataclass, field

import cpp_names
from definitions import INTEGER_RANGES, Member

HELPERS = {
    "element_count": """\
// The element count of an array member; a message counts elements in an int.
int element_count(std::size_t size, const char* member) {
  if (size > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    throw Tm_exception(std::string("array '") + member + "' has " + std::to_string(size) +
                       " elements, more than a message can hold");
  }
  return static_cast<int>(size);
}
""",
    "enum_name": """\
// The name of an enum value carried as text; a value outside the enum's map cannot travel.
const char* enum_name(int value, const tm_enum_map* map, const char* member, const char* enumeration) {
  const char* name = tms_enum_to_string(value, map);
  if (name == nullptr) {
    throw Tm_exception(std::string(member) + ": " + std::to_string(value) + " is not a value of " +
                       enumeration);
  }
  return name;
}
""",
    "value_array": """\
// An array member over the caller's values: referring to them (copy false; they must outlive the
// send) or holding its own copy of them (copy true).
template <class T>
Tm_array* value_array(const std::vector<T>& values, bool copy, const char* member) {
  using Iterator = typename std::vector<T>::const_iterator;
  const int count = element_count(values.size(), member);
  if (copy) {
    return new Tm_copy_backed_array<T, Iterator>(values.begin(), count);
  }
  return new Tm_backed_array<Iterator>(values.begin(), count);
}
""",
    "record_struct": """\
template <class Record>
using Encoder = Tm_prenamed_struct* (*)(Tm_prenamed_struct*, const Record*, bool, Tm_catalog<std::string>*);

// A nested structure holding one record.
template <class Record>
Tm_prenamed_struct* record_struct(const Record& record, Encoder<Record> encode, bool copy,
                                  Tm_catalog<std::string>* catalog) {
  auto nested = std::make_unique<Tm_prenamed_struct>();
  encode(nested.get(), &record, copy, catalog);
  return nested.release();
}
""",
    "record_array": """\
// An array member holding one nested structure per record, in order.
template <class Record>
Tm_array* record_array(const std::vector<Record>& records, Encoder<Record> encode, bool copy,
                       Tm_catalog<std::string>* catalog, const char* member) {
  auto array = std::make_unique<Tm_array>();
  array->reserve(element_count(records.size(), member));
  for (const Record& record : records) {
    array->add_member_and_own(record_struct(record, encode, copy, catalog));
  }
  return array.release();
}
""",
    "read_record_array": """\
// Empties records, then appends one decoded record per element of array, in order.
template <class Record>
void read_record_array(const Tm_array* array, void (*decode)(const Tm_struct*, Record*),
                       std::vector<Record>* records) {
  const int count = array->get_member_count();
  records->clear();
  records->reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    Record record;
    decode(array->get_member_struct(i), &record);
    records->push_back(std::move(record));
  }
}
""",
}
# Helpers that other helpers call.
HELPER_NEEDS = {
    "value_array": ["element_count"],
    "record_array": ["element_count", "record_struct"],
}


@dataclass
class Helpers:
    used: set[str] = field(default_factory=set)
    member_names: set[str] = field(default_factory=set)

    def use(self, name: str) -> None:
        self.used.add(name)
        for needed in HELPER_NEEDS.get(name, []):
            self.use(needed)

    def member_name(self, name: str) -> str:
        """The constant holding the interned copy of a member name."""
        self.member_names.add(name)
        return f"name_{name}"

    def text(self) -> str:
        return "\n".join(HELPERS[name] for name in HELPERS if name in self.used)

    def member_names_text(self) -> str:
        lines = ["// The member names, interned: the names tables and the readers use the copies that a decoded",
                 "// structure carries, so each read finds its member by pointer."]
        lines += [f'const char* const name_{name} = tm_intern_name("{name}");'
                  for name in sorted(self.member_names)]
        return "\n".join(lines) + "\n"


class StructSink:
    """Adds members to `destination`, a Tm_prenamed_struct*, by index."""

    def __init__(self, index: int):
        self.index = index

    def add(self, value: str) -> str:
        return f"destination->add_member({self.index}, {value}, catalog);"

    def own(self, value: str) -> str:
        return f"destination->add_member_and_own({self.index}, {value}, catalog);"


class MessageSink:
    """Adds members to group 1 of `msg` by name."""

    def __init__(self, name: str):
        self.name = name

    def add(self, value: str) -> str:
        return f'msg->add_member(TMG_1, "{self.name}", {value});'

    def own(self, value: str) -> str:
        return f'msg->add_member_and_own(TMG_1, "{self.name}", {value});'


@dataclass
class Context:
    scope: str  # the namespace the statements are written in
    owner: str  # record or message, for error texts
    helpers: Helpers
    copy: str = "copy"  # the expression of the copy flag


def write(member: Member, value: str, sink, context: Context) -> list[str]:
    """Statements that add `value` (an expression of the member's C++ type) as member."""
    kind = member.type
    scope = context.scope
    if kind.record is not None:
        encode = cpp_names.encoder(kind.record, scope)
        if kind.array:
            context.helpers.use("record_array")
            return [sink.own(f'record_array({value}, &{encode}, {context.copy}, catalog, '
                             f'"{member.name}")')]
        context.helpers.use("record_struct")
        return [sink.own(f"record_struct({value}, &{encode}, {context.copy}, catalog)")]
    if kind.array and kind.scalar in INTEGER_RANGES:
        context.helpers.use("value_array")
        return [sink.own(f'value_array({value}, {context.copy}, "{member.name}")')]
    if kind.array:
        context.helpers.use("element_count")
        element = _element_value(member, "element", context)
        adding = ("array->add_member_and_own(new Tm_binary(element));" if kind.scalar == "binary"
                  else f"array->add_member({element});")
        return ["{",
                "  auto array = std::make_unique<Tm_array>();",
                f'  array->reserve(element_count({value}.size(), "{member.name}"));',
                f"  for (const auto& element : {value}) {{",
                f"    {adding}",
                "  }",
                f"  {sink.own('array.release()')}",
                "}"]
    if kind.scalar == "binary":
        return [sink.own(f"new Tm_binary({value})")]
    return [sink.add(_element_value(member, value, context))]


def _element_value(member: Member, value: str, context: Context) -> str:
    enum = member.type.text_enum
    if enum is None:
        return value
    context.helpers.use("enum_name")
    return (f'enum_name(static_cast<int>({value}), {cpp_names.enum_map(enum, context.scope)}, '
            f'"{context.owner}.{member.name}", "{enum.name}")')


class Target:
    """Where a read value goes: `lvalue` names it, `pointer` is its address, `access` reaches its
    members ("out->" or "destination->field.")."""

    def __init__(self, lvalue: str, pointer: str, access: str):
        self.lvalue = lvalue
        self.pointer = pointer
        self.access = access

    @classmethod
    def output(cls, name: str) -> "Target":
        return cls(f"*{name}", name, f"{name}->")

    @classmethod
    def field(cls, name: str) -> "Target":
        return cls(f"destination->{name}", f"&destination->{name}", f"destination->{name}.")


def read(member: Member, source: str, target: Target, context: Context) -> list[str]:
    """Statements that read member from source (a const Tm_struct*) into target."""
    kind = member.type
    name = context.helpers.member_name(member.name)
    if kind.record is not None:
        decode = cpp_names.decoder(kind.record, context.scope)
        if kind.array:
            context.helpers.use("read_record_array")
            return [f'read_record_array({source}->get_member_array({name}), &{decode}, '
                    f"{target.pointer});"]
        return [f'{decode}({source}->get_member_struct({name}), {target.pointer});']
    if kind.array:
        return ["{",
                f'  const Tm_array* array = {source}->get_member_array({name});',
                "  const int count = array->get_member_count();",
                f"  {target.access}clear();",
                f"  {target.access}reserve(static_cast<std::size_t>(count));",
                "  for (int i = 0; i < count; ++i) {",
                *[f"    {line}" for line in _append_element(member, target, context)],
                "  }",
                "}"]
    if kind.scalar == "binary":
        return ["{",
                f'  const Tm_binary& value = {source}->get_member_binary({name});',
                f"  {target.access}assign(value.data(), value.data() + value.size());",
                "}"]
    return [f"{target.lvalue} = {_scalar_value(member, source, name, context)};"]


def _append_element(member: Member, target: Target, context: Context) -> list[str]:
    if member.type.scalar == "binary":
        return ["const Tm_binary& element = array->get_member_binary(i);",
                f"{target.access}emplace_back(element.data(), element.data() + element.size());"]
    return [f"{target.access}push_back({_scalar_value(member, 'array', 'i', context)});"]


def _scalar_value(member: Member, source: str, key: str, context: Context) -> str:
    enum = member.type.text_enum
    if enum is not None:
        enum_type = cpp_names.enum_type(enum, context.scope)
        enum_map = cpp_names.enum_map(enum, context.scope)
        return (f"static_cast<{enum_type}>(tms_string_to_enum({source}->get_member_string({key}), "
                f"{enum_map}))")
    return f"{source}->get_member_{member.type.scalar}({key})"
