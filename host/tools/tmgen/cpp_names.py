"""How the things of a message set are spelled in C++: types, parameters, enumerators, signatures."""

from __future__ import annotations

from definitions import CPP_RESERVED, Enum, Member, MessageSet, Record, Type

SCALAR_TYPES = {
    "bool": "bool",
    "uint8": "unsigned char",
    "uint16": "unsigned short",
    "uint32": "unsigned int",
    "uint64": "unsigned long",
    "int8": "signed char",
    "int16": "short",
    "int32": "int",
    "int64": "long",
    "double": "double",
    "string": "std::string",
    "binary": "std::vector<unsigned char>",
}
# Scalars passed to builders by reference rather than by value.
HEAVY_SCALARS = {"string", "binary"}


def enumerator(name: str) -> str:
    return f"{name}_" if name in CPP_RESERVED else name


def qualified(namespace: str, name: str, scope: str) -> str:
    return name if namespace == scope else f"{namespace}::{name}"


def record_type(record: Record, scope: str) -> str:
    return qualified(record.owner.namespace, f"{record.name}_s", scope)


def enum_type(enum: Enum, scope: str) -> str:
    return qualified(enum.owner.namespace, enum.name, scope)


def enum_map(enum: Enum, scope: str) -> str:
    return qualified(enum.owner.namespace, f"em_{enum.name}", scope)


def encoder(record: Record, scope: str) -> str:
    return qualified(record.owner.namespace, f"{record.name}_t_to_struct", scope)


def decoder(record: Record, scope: str) -> str:
    return qualified(record.owner.namespace, f"{record.name}_t_from_struct", scope)


def element_type(kind: Type, scope: str) -> str:
    if kind.record is not None:
        return record_type(kind.record, scope)
    if kind.text_enum is not None:
        return enum_type(kind.text_enum, scope)
    return SCALAR_TYPES[kind.scalar]


def value_type(kind: Type, scope: str) -> str:
    element = element_type(kind, scope)
    return f"std::vector<{element}>" if kind.array else element


def input_parameter(member: Member, scope: str) -> str:
    kind = member.type
    by_reference = kind.array or kind.record is not None or kind.scalar in HEAVY_SCALARS
    spelled = value_type(kind, scope)
    return f"const {spelled}& {member.name}" if by_reference else f"{spelled} {member.name}"


def output_parameter(member: Member, scope: str) -> str:
    return f"{value_type(member.type, scope)}* {member.name}"


def status_member(message_set: MessageSet) -> Member:
    """The text member "status" of responses, a StatusCode_t of the set."""
    status_enum = next(enum for enum in message_set.enums if enum.name == "StatusCode_t")
    return Member("status", Type(False, enum=status_enum, carried_as="text"))


def builder_parameters(members: list[Member], scope: str, with_copy: bool) -> list[str]:
    parameters = ["Message* msg"] + [input_parameter(member, scope) for member in members]
    return parameters + ["bool copy"] if with_copy and members else parameters


def parser_parameters(members: list[Member], scope: str) -> list[str]:
    return ["const Message* msg"] + [output_parameter(member, scope) for member in members]


def signature(result: str, name: str, parameters: list[str]) -> str:
    return f"{result} {name}({', '.join(parameters)})"
