"""Every function a message set's codecs define, in the order the header declares them.

The plug-in's side (namespace <set>_bll) holds the record codecs and, per message, create_req_ and
parse_resp_; per notification, parse_req_ and create_resp_. The port's side (namespace <set>_port)
holds the other end of each exchange: parse_req_ and create_resp_ per message, create_notify_ per
notification. Messages a set borrows call the lending set's functions and, where they build,
rename the request to this set's name.
"""

from __future__ import annotations

import re
from dataclasses import dataclass

import cpp_names
import statements
from definitions import Member, Message, MessageSet, Record
from statements import Context, Helpers, MessageSink, StructSink, Target


@dataclass
class Function:
    result: str
    name: str
    parameters: list[str]
    body: list[str]

    def declaration(self) -> str:
        return cpp_names.signature(self.result, self.name, self.parameters) + ";"

    def definition(self) -> list[str]:
        # A parameter the body does not use keeps its name only as a comment, so that builders
        # share one shape (every builder with members takes copy) without unused warnings.
        text = "\n".join(self.body)
        parameters = []
        for parameter in self.parameters:
            kind, _, name = parameter.rpartition(" ")
            used = re.search(rf"\b{re.escape(name)}\b", text)
            parameters.append(parameter if used else f"{kind} /*{name}*/")
        head = cpp_names.signature(self.result, self.name, parameters)
        return [head + " {", *[f"  {line}" for line in self.body], "}"]


@dataclass
class Section:
    title: str  # a comment line above the section's declarations
    functions: list[Function]


# --- records ----------------------------------------------------------------------------------

def record_section(record: Record, helpers: Helpers) -> Section:
    scope = record.owner.namespace
    record_type = f"{record.name}_s"
    context = Context(scope, record.name, helpers)
    encoding = [f"destination->clear({record.name}_t_names);"]
    decoding: list[str] = []
    for index, member in enumerate(record.fields):
        encoding += statements.write(member, f"source->{member.name}", StructSink(index), context)
        decoding += statements.read(member, "source", Target.field(member.name), context)
    encoding.append("return destination;")
    comparison = " &&\n         ".join(f"left.{member.name} == right.{member.name}"
                                       for member in record.fields) or "true"
    return Section(f"record {record.name}", [
        Function("bool", "operator==",
                 [f"const {record_type}& left", f"const {record_type}& right"],
                 [f"return {comparison};"]),
        Function("Tm_prenamed_struct*", f"{record.name}_t_to_struct",
                 ["Tm_prenamed_struct* destination", f"const {record_type}* source", "bool copy",
                  "Tm_catalog<std::string>* catalog"], encoding),
        Function("void", f"{record.name}_t_from_struct",
                 ["const Tm_struct* source", f"{record_type}* destination"], decoding),
    ])


# --- building and parsing one exchange ----------------------------------------------------------

def _builder(message_set: MessageSet, name: str, members: list[Member], message_type: str,
             request_name: str, context: Context, with_copy: bool) -> Function:
    body = ["msg->set_use_send_member_string(true);"] if message_set.use_send_member_string else []
    body += ["msg->clear_group(TMG_1);",
             f"msg->set_msg_type({message_type});",
             f'msg->set_request_name("{request_name}");']
    writes = [line for member in members
              for line in statements.write(member, member.name, MessageSink(member.name), context)]
    if any("catalog" in line for line in writes):
        body.append("Tm_catalog<std::string>* catalog = msg->get_send_member_string(TMG_1);")
    body += writes + ["msg->clear_group(TMG_0);", "msg->create_send_member_string_meta();"]
    return Function("void", name, cpp_names.builder_parameters(members, context.scope, with_copy),
                    body)


def _parser(name: str, members: list[Member], expected_type: str | None,
            context: Context) -> Function:
    body: list[str] = []
    if expected_type is not None:
        body += [f"if (msg->get_msg_type() != {expected_type}) {{",
                 f"  throw Tm_type_mismatch_exception(msg->get_msg_type(), {expected_type});",
                 "}"]
    if members:
        body.append("const Tm_struct* group = &msg->get_group(TMG_1);")
    for member in members:
        body += statements.read(member, "group", Target.output(member.name), context)
    return Function("void", name, cpp_names.parser_parameters(members, context.scope), body)


def _acknowledgement(message_set: MessageSet, name: str) -> Function:
    body = ["msg->set_use_send_member_string(true);"] if message_set.use_send_member_string else []
    body += ["msg->clear_group(TMG_1);", "msg->set_msg_type(TMT_RESPONSE);",
             "msg->clear_group(TMG_0);"]
    return Function("void", name, ["Message* msg"], body)


def _forward(name: str, parameters: list[str], origin_namespace: str,
             rename: str | None) -> Function:
    """A function of a borrowing set that calls the lending set's function of the same name."""
    arguments = [parameter.rpartition(" ")[2] for parameter in parameters]
    body = [f"{origin_namespace}::{name}({', '.join(arguments)});"]
    if rename is not None:
        body.append(f'msg->set_request_name("{rename}");')
    return Function("void", name, parameters, body)


def _response_members(message_set: MessageSet, message: Message) -> list[Member]:
    status = [cpp_names.status_member(message_set)] if message.status else []
    return status + message.response


# --- the two sides of a set ---------------------------------------------------------------------

def plugin_sections(message_set: MessageSet, helpers: Helpers) -> list[Section]:
    scope = message_set.namespace
    sections = []
    for message in message_set.messages:
        request_name = f"{message_set.name}.{message.name}"
        context = Context(scope, request_name, helpers)
        response = _response_members(message_set, message)
        sections.append(Section(f'"{request_name}"', [
            _builder(message_set, f"create_req_{message.name}", message.request, "TMT_REQUEST",
                     request_name, context, with_copy=True),
            _parser(f"parse_resp_{message.name}", response, "TMT_RESPONSE", context),
        ]))
    for notification in message_set.notifications:
        name = f"{message_set.name}.{notification.name}"
        context = Context(scope, name, helpers)
        sections.append(Section(f'"{name}" (sent by the port)', [
            _parser(f"parse_req_{notification.name}", notification.members, None, context),
            _acknowledgement(message_set, f"create_resp_{notification.name}"),
        ]))
    for origin, message in message_set.borrowed_messages:
        name = f"{message_set.name}.{message.name}"
        sections.append(Section(f'"{name}" (the members of {origin.name}.{message.name})', [
            _forward(f"create_req_{message.name}",
                     cpp_names.builder_parameters(message.request, scope, with_copy=True),
                     origin.namespace, name),
        ]))
    for origin, notification in message_set.borrowed_notifications:
        sections.append(Section(f"{origin.name}.{notification.name}, read here as well", [
            _forward(f"parse_req_{notification.name}",
                     cpp_names.parser_parameters(notification.members, scope), origin.namespace,
                     None),
        ]))
    return sections


def port_sections(message_set: MessageSet, helpers: Helpers) -> list[Section]:
    scope = message_set.port_namespace
    sections = []
    for message in message_set.messages:
        request_name = f"{message_set.name}.{message.name}"
        context = Context(scope, request_name, helpers, copy="true")
        response = _response_members(message_set, message)
        sections.append(Section(f'"{request_name}"', [
            _parser(f"parse_req_{message.name}", message.request, "TMT_REQUEST", context),
            _builder(message_set, f"create_resp_{message.name}", response, "TMT_RESPONSE",
                     request_name, context, with_copy=False),
        ]))
    for notification in message_set.notifications:
        name = f"{message_set.name}.{notification.name}"
        context = Context(scope, name, helpers)
        sections.append(Section(f'"{name}"', [
            _builder(message_set, f"create_notify_{notification.name}", notification.members,
                     "TMT_REQUEST", name, context, with_copy=True),
        ]))
    for origin, message in message_set.borrowed_messages:
        name = f"{message_set.name}.{message.name}"
        response = _response_members(origin, message)
        sections.append(Section(f'"{name}" (the members of {origin.name}.{message.name})', [
            _forward(f"parse_req_{message.name}",
                     cpp_names.parser_parameters(message.request, scope), origin.port_namespace,
                     None),
            _forward(f"create_resp_{message.name}",
                     cpp_names.builder_parameters(response, scope, with_copy=False),
                     origin.port_namespace, name),
        ]))
    for origin, notification in message_set.borrowed_notifications:
        name = f"{message_set.name}.{notification.name}"
        sections.append(Section(f'"{name}" (the members of {origin.name}.{notification.name})', [
            _forward(f"create_notify_{notification.name}",
                     cpp_names.builder_parameters(notification.members, scope, with_copy=True),
                     origin.port_namespace, name),
        ]))
    return sections
