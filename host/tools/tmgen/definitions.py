"""Reads a message-set definition file (TOML) and the files of the sets it uses into a checked model.

A definition file describes one message set and is named after it (<set>.toml):

    set = "BST_1"                  # requests travel as "<set>.<message>"
    namespace = "BST_1_bll"        # namespace of the plug-in's side; the port's side is <set>_port
    uses = ["bst_1"]               # sets whose records, enums or messages this one refers to
    use_send_member_string = true  # optional: every builder switches the member-name catalog on

    [[enum]]
    name = "StatusCode_t"          # the C++ type; its map is em_<name>
    max_row = true                 # optional: a "Max" row, one past the highest value, ends the map
    values = [["Success", 0], ["Failure", 1]]  # in map order

    [[record]]
    name = "DiskSpec"              # DiskSpec_s, DiskSpec_t_names, DiskSpec_t_to_struct, ...
    fields = [{ name = "SectorSize", type = "uint32" }]  # in wire order

    [[message]]                    # a request the plug-in sends and the response it reads
    name = "Echo"
    request = [{ name = "Command", type = "string" }]  # optional
    status = true                  # whether the response carries the text member "status"
    response = []                  # further response members, optional

    [[notification]]               # a request the port sends
    name = "TestNotification"
    members = [{ name = "status", type = "TestStatus_t", as = "text" }]

    [[borrow]]                     # messages of a used set, carried under this set's name
    set = "LOGGINGAPI_2"
    messages = ["SetLogLevel"]
    notifications = ["EvtLogNotify"]

A field or member is { name, type }. The type is a scalar (bool, uint8, uint16, uint32, uint64,
int8, int16, int32, int64, double, string, binary), a record or enum of this set by its name, or
one of a used set as "<set>.<name>"; "[]" behind it makes an array. An enum-typed field says how
it travels: as = "text" (the enumerator's name) or as = "number" with wire = "<integer scalar>"
(the record then holds that scalar, so values outside the enum pass unchanged).

Every error names the file and the entry: DefinitionError.
"""

from __future__ import annotations

import re
import tomllib
from dataclasses import dataclass, field
from pathlib import Path

INTEGER_RANGES = {
    "int8": (-(2**7), 2**7 - 1),
    "uint8": (0, 2**8 - 1),
    "int16": (-(2**15), 2**15 - 1),
    "uint16": (0, 2**16 - 1),
    "int32": (-(2**31), 2**31 - 1),
    "uint32": (0, 2**32 - 1),
    "int64": (-(2**63), 2**63 - 1),
    "uint64": (0, 2**64 - 1),
}
SCALARS = {"bool", "double", "string", "binary", *INTEGER_RANGES}

# Names that cannot be C++ identifiers as they are. Enumerators with these names get a trailing
# underscore in C++ (their wire names stay as written); other names must avoid them.
CPP_RESERVED = {
    "alignas", "alignof", "and", "and_eq", "asm", "auto", "bitand", "bitor", "bool", "break",
    "case", "catch", "char", "char16_t", "char32_t", "class", "compl", "const", "const_cast",
    "constexpr", "continue", "decltype", "default", "delete", "do", "double", "dynamic_cast",
    "else", "enum", "explicit", "export", "extern", "false", "float", "for", "friend", "goto",
    "if", "inline", "int", "long", "mutable", "namespace", "new", "noexcept", "not", "not_eq",
    "nullptr", "operator", "or", "or_eq", "private", "protected", "public", "register",
    "reinterpret_cast", "return", "short", "signed", "sizeof", "static", "static_assert",
    "static_cast", "struct", "switch", "template", "this", "thread_local", "throw", "true", "try",
    "typedef", "typeid", "typename", "union", "unsigned", "using", "virtual", "void", "volatile",
    "wchar_t", "while", "xor", "xor_eq",
    # macros of the C and C++ standard libraries
    "NULL", "EOF", "BUFSIZ", "EXIT_SUCCESS", "EXIT_FAILURE", "errno", "assert", "stdin", "stdout",
    "stderr",
}
# Names of the parameters and variables of the generated builders and parsers, whose other
# parameters are named after the message's members; a member may not take them.
CODEC_NAMES = {"msg", "copy", "catalog", "group", "array", "count", "i", "element", "value"}
IDENTIFIER = re.compile(r"^[A-Za-z_][A-Za-z0-9_]*$")


class DefinitionError(Exception):
    def __init__(self, path: Path, entry: str, text: str):
        super().__init__(f"{path}: {entry}: {text}" if entry else f"{path}: {text}")


@dataclass
class Enum:
    name: str
    owner: "MessageSet"
    values: list[tuple[str, int]]
    max_row: bool
    underlying: str  # "int" or "unsigned int"

    def rows(self) -> list[tuple[str, int]]:
        """The map's rows in order, with the Max row where the set asks for one."""
        if not self.max_row:
            return list(self.values)
        return self.values + [("Max", max(value for _, value in self.values) + 1)]


@dataclass
class Record:
    name: str
    owner: "MessageSet"
    fields: list["Member"] = field(default_factory=list)


@dataclass
class Type:
    """What a field or member holds. scalar is set for scalars and for enums carried as numbers."""

    array: bool
    scalar: str | None = None
    record: Record | None = None
    enum: Enum | None = None
    carried_as: str | None = None  # "text" or "number", for enums

    @property
    def text_enum(self) -> Enum | None:
        return self.enum if self.carried_as == "text" else None


@dataclass
class Member:
    name: str
    type: Type


@dataclass
class Message:
    name: str
    request: list[Member]
    status: bool
    response: list[Member]


@dataclass
class Notification:
    name: str
    members: list[Member]


@dataclass
class MessageSet:
    name: str
    path: Path
    namespace: str
    uses: list["MessageSet"]
    use_send_member_string: bool
    enums: list[Enum] = field(default_factory=list)
    records: list[Record] = field(default_factory=list)  # each after the records it holds
    messages: list[Message] = field(default_factory=list)
    notifications: list[Notification] = field(default_factory=list)
    borrowed_messages: list[tuple["MessageSet", Message]] = field(default_factory=list)
    borrowed_notifications: list[tuple["MessageSet", Notification]] = field(default_factory=list)

    @property
    def port_namespace(self) -> str:
        return f"{self.name}_port"

    @property
    def has_exchanges(self) -> bool:
        return bool(self.messages or self.notifications or self.borrowed_messages
                    or self.borrowed_notifications)

    def find_type(self, name: str) -> Record | Enum | None:
        for item in (*self.records, *self.enums):
            if item.name == name:
                return item
        return None

    def all_sets(self) -> list["MessageSet"]:
        """This set and every set it uses, directly or not, each once."""
        found: list[MessageSet] = []
        pending = [self]
        while pending:
            current = pending.pop()
            if current not in found:
                found.append(current)
                pending.extend(current.uses)
        return found


def load(path: Path) -> MessageSet:
    """Reads the definition at path and, from the same folder, the definitions of the sets it uses."""
    return _Loader(path.parent).load(path.stem, [])


class _Loader:
    def __init__(self, folder: Path):
        self.folder = folder
        self.loaded: dict[str, MessageSet] = {}

    def load(self, name: str, chain: list[str]) -> MessageSet:
        if name in self.loaded:
            return self.loaded[name]
        path = self.folder / f"{name}.toml"
        if name in chain:
            raise DefinitionError(path, "uses", "sets use each other in a circle: "
                                  + " -> ".join(chain + [name]))
        if not path.is_file():
            raise DefinitionError(path, "", f"no definition file for set '{name}'")
        try:
            with path.open("rb") as stream:
                document = tomllib.load(stream)
        except tomllib.TOMLDecodeError as error:
            raise DefinitionError(path, "", f"not valid TOML: {error}") from None
        reader = _SetReader(path, document)
        uses = [self.load(used, chain + [name]) for used in reader.used_set_names()]
        message_set = reader.read(uses)
        self.loaded[name] = message_set
        return message_set


class _SetReader:
    def __init__(self, path: Path, document: dict):
        self.path = path
        self.document = document

    def fail(self, entry: str, text: str):
        raise DefinitionError(self.path, entry, text)

    def used_set_names(self) -> list[str]:
        self.check_keys(self.document, "", {"set", "namespace", "uses", "use_send_member_string",
                                            "enum", "record", "message", "notification", "borrow"})
        uses = self.document.get("uses", [])
        if not isinstance(uses, list) or not all(isinstance(used, str) for used in uses):
            self.fail("uses", "must be a list of set names")
        if len(set(uses)) != len(uses):
            self.fail("uses", "names a set twice")
        return uses

    def read(self, uses: list[MessageSet]) -> MessageSet:
        name = self.text(self.document, "set", "")
        if name != self.path.stem:
            self.fail("set", f"'{name}' must match the file name '{self.path.stem}'")
        namespace = self.text(self.document, "namespace", "")
        self.identifier(namespace, "namespace")
        catalog = self.document.get("use_send_member_string", False)
        if not isinstance(catalog, bool):
            self.fail("use_send_member_string", "must be true or false")
        self.set = MessageSet(name, self.path, namespace, uses, catalog)
        self.names: dict[str, str] = {}  # every name a set declares, to the entry that declared it
        for entry in self.tables("enum"):
            self.set.enums.append(self.read_enum(entry))
        # Every record is declared before any field is read: records may hold records defined
        # further down the file.
        declared = [self.declare_record(entry) for entry in self.tables("record")]
        self.set.records = [record for record, _ in declared]
        for record, entry in declared:
            record.fields = self.members(entry, "fields", f"record '{record.name}'")
            self.check_record_fields(record)
        self.set.records = self.in_dependency_order(self.set.records)
        for entry in self.tables("message"):
            self.set.messages.append(self.read_message(entry))
        for entry in self.tables("notification"):
            self.set.notifications.append(self.read_notification(entry))
        for entry in self.tables("borrow"):
            self.read_borrow(entry)
        return self.set

    # --- entries ---------------------------------------------------------------------------

    def read_enum(self, entry: dict) -> Enum:
        name = self.text(entry, "name", "enum")
        where = f"enum '{name}'"
        self.check_keys(entry, where, {"name", "max_row", "values"})
        self.declare(name, where)
        max_row = entry.get("max_row", False)
        if not isinstance(max_row, bool):
            self.fail(where, "max_row must be true or false")
        values = entry.get("values")
        if not isinstance(values, list) or not values:
            self.fail(where, "values must be a non-empty list of [name, value] pairs")
        seen: set[str] = set()
        pairs: list[tuple[str, int]] = []
        for pair in values:
            if (not isinstance(pair, list) or len(pair) != 2 or not isinstance(pair[0], str)
                    or not isinstance(pair[1], int) or isinstance(pair[1], bool)):
                self.fail(where, f"value {pair!r} is not a [name, integer] pair")
            enumerator, value = pair
            if not IDENTIFIER.match(enumerator):
                self.fail(where, f"enumerator '{enumerator}' is not an identifier")
            if enumerator in seen or (max_row and enumerator == "Max"):
                self.fail(where, f"duplicate enumerator '{enumerator}'")
            seen.add(enumerator)
            pairs.append((enumerator, value))
        enum = Enum(name, self.set, pairs, max_row, "int")
        numbers = [value for _, value in enum.rows()]
        if self.fits("int32", numbers):
            enum.underlying = "int"
        elif self.fits("uint32", numbers):
            enum.underlying = "unsigned int"
        else:
            self.fail(where, "values must all fit a 32-bit int or all a 32-bit unsigned int")
        return enum

    def declare_record(self, entry: dict) -> tuple[Record, dict]:
        name = self.text(entry, "name", "record")
        where = f"record '{name}'"
        self.check_keys(entry, where, {"name", "fields"})
        self.declare(name, where)
        return Record(name, self.set), entry

    def read_message(self, entry: dict) -> Message:
        name = self.text(entry, "name", "message")
        where = f"message '{name}'"
        self.check_keys(entry, where, {"name", "request", "status", "response"})
        self.declare_exchange(name, where)
        status = entry.get("status")
        if not isinstance(status, bool):
            self.fail(where, "status must be true or false (does the response carry \"status\"?)")
        request = self.members(entry, "request", where)
        response = self.members(entry, "response", where)
        if status:
            if any(member.name == "status" for member in response):
                self.fail(where, "duplicate response member 'status'")
            if self.status_enum() is None:
                self.fail(where, "a response with status needs an enum StatusCode_t in this set")
        self.check_parameters(request + response, where)
        return Message(name, request, status, response)

    def read_notification(self, entry: dict) -> Notification:
        name = self.text(entry, "name", "notification")
        where = f"notification '{name}'"
        self.check_keys(entry, where, {"name", "members"})
        self.declare_exchange(name, where)
        members = self.members(entry, "members", where)
        self.check_parameters(members, where)
        return Notification(name, members)

    def read_borrow(self, entry: dict) -> None:
        origin_name = self.text(entry, "set", "borrow")
        where = f"borrow from '{origin_name}'"
        self.check_keys(entry, where, {"set", "messages", "notifications"})
        origin = self.used_set(origin_name, where)
        for key, found, into in (("messages", origin.messages, self.set.borrowed_messages),
                                 ("notifications", origin.notifications,
                                  self.set.borrowed_notifications)):
            names = entry.get(key, [])
            if not isinstance(names, list) or not all(isinstance(item, str) for item in names):
                self.fail(where, f"{key} must be a list of names")
            for item_name in names:
                matches = [item for item in found if item.name == item_name]
                if not matches:
                    self.fail(f"{where}, {key[:-1]} '{item_name}'",
                              f"set '{origin_name}' has no such {key[:-1]}")
                self.declare_exchange(item_name, f"{where}, {key[:-1]} '{item_name}'")
                into.append((origin, matches[0]))

    # --- members and types -----------------------------------------------------------------

    def members(self, entry: dict, key: str, where: str) -> list[Member]:
        items = entry.get(key, [])
        if not isinstance(items, list):
            self.fail(where, f"{key} must be a list of {{ name, type }} tables")
        members: list[Member] = []
        for item in items:
            if not isinstance(item, dict):
                self.fail(where, f"{key} must be a list of {{ name, type }} tables")
            name = self.text(item, "name", f"{where}, {key}")
            member_where = f"{where}, {key[:-1] if key.endswith('s') else key} '{name}'"
            self.check_keys(item, member_where, {"name", "type", "as", "wire"})
            self.identifier(name, member_where)
            if any(member.name == name for member in members):
                self.fail(member_where, f"duplicate name '{name}'")
            members.append(Member(name, self.resolve(item, member_where)))
        return members

    def resolve(self, item: dict, where: str) -> Type:
        text = self.text(item, "type", where)
        array = text.endswith("[]")
        base = text[:-2] if array else text
        carried_as = item.get("as")
        wire = item.get("wire")
        if base in SCALARS:
            found = None
        elif "." in base:
            set_name, _, local = base.partition(".")
            found = self.used_set(set_name, where).find_type(local)
            if found is None:
                self.fail(where, f"unknown type '{base}': set '{set_name}' has no record or enum "
                          f"'{local}'")
        else:
            found = self.set.find_type(base)
            if found is None:
                self.fail(where, f"unknown type '{base}': not a scalar, nor a record or enum of "
                          f"set '{self.set.name}' (write <set>.<name> for a used set's)")
        if not isinstance(found, Enum) and (carried_as is not None or wire is not None):
            self.fail(where, "'as' and 'wire' are only for enum-typed fields")
        if found is None:
            return Type(array, scalar=base)
        if isinstance(found, Record):
            return Type(array, record=found)
        if carried_as == "text":
            if wire is not None:
                self.fail(where, "an enum carried as text takes no 'wire'")
            return Type(array, enum=found, carried_as="text")
        if carried_as == "number":
            if wire not in INTEGER_RANGES:
                self.fail(where, "an enum carried as a number needs wire = one of "
                          + ", ".join(INTEGER_RANGES))
            numbers = [value for _, value in found.rows()]
            if not self.fits(wire, numbers):
                self.fail(where, f"the values of enum '{found.name}' do not fit wire type {wire}")
            return Type(array, scalar=wire, enum=found, carried_as="number")
        self.fail(where, f"enum '{found.name}' must say how it is carried: as = \"text\" or "
                  "as = \"number\"")

    # --- checks ----------------------------------------------------------------------------

    def in_dependency_order(self, records: list[Record]) -> list[Record]:
        ordered: list[Record] = []
        visiting: list[Record] = []

        def visit(record: Record) -> None:
            if record in ordered:
                return
            if record in visiting:
                cycle = " -> ".join(item.name for item in visiting[visiting.index(record):])
                self.fail(f"record '{record.name}'", f"records hold each other in a circle: "
                          f"{cycle} -> {record.name}")
            visiting.append(record)
            for member in record.fields:
                if member.type.record is not None and member.type.record.owner is self.set:
                    visit(member.type.record)
            visiting.pop()
            ordered.append(record)

        for record in records:
            visit(record)
        return ordered

    def check_record_fields(self, record: Record) -> None:
        # A structure built by member index has no int8 member; the value would travel widened.
        for member in record.fields:
            if member.type.scalar == "int8" and not member.type.array:
                self.fail(f"record '{record.name}', field '{member.name}'",
                          "an int8 field cannot travel in a record (no int8 member of a prenamed "
                          "structure); use int16")

    def declare(self, name: str, where: str) -> None:
        self.identifier(name, where)
        if name in self.names:
            self.fail(where, f"duplicate name '{name}' (also {self.names[name]})")
        self.names[name] = where

    def declare_exchange(self, name: str, where: str) -> None:
        self.identifier(name, where)
        key = f"exchange {name}"
        if key in self.names:
            self.fail(where, f"duplicate name '{name}' (also {self.names[key]})")
        self.names[key] = where

    def check_parameters(self, members: list[Member], where: str) -> None:
        for member in members:
            if member.name in CODEC_NAMES:
                self.fail(f"{where}, member '{member.name}'",
                          "the name is taken by the generated functions' own parameters and "
                          "variables")

    def status_enum(self) -> Enum | None:
        return next((enum for enum in self.set.enums if enum.name == "StatusCode_t"), None)

    def used_set(self, name: str, where: str) -> MessageSet:
        for used in self.set.uses:
            if used.name == name:
                return used
        self.fail(where, f"unknown set '{name}': not in uses")

    def identifier(self, name: str, where: str) -> None:
        if not IDENTIFIER.match(name):
            self.fail(where, f"'{name}' is not an identifier")
        if name in CPP_RESERVED:
            self.fail(where, f"'{name}' is reserved in C++")

    @staticmethod
    def fits(scalar: str, numbers: list[int]) -> bool:
        low, high = INTEGER_RANGES[scalar]
        return all(low <= number <= high for number in numbers)

    def tables(self, key: str) -> list[dict]:
        tables = self.document.get(key, [])
        if not isinstance(tables, list) or not all(isinstance(item, dict) for item in tables):
            self.fail(key, f"write each {key} as a [[{key}]] table")
        return tables

    def text(self, table: dict, key: str, where: str) -> str:
        value = table.get(key)
        if not isinstance(value, str) or not value:
            self.fail(where or key, f"'{key}' must be a non-empty text")
        return value

    def check_keys(self, table: dict, where: str, allowed: set[str]) -> None:
        for key in table:
            if key not in allowed:
                self.fail(where or key, f"unknown key '{key}'")
