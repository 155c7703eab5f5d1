#include "tm/Message.h"

#include "tm/Tm_exception.h"

Message::Message() = default;

void Message::set_msg_type(TMT type) {
  if (type != TMT_REQUEST && type != TMT_RESPONSE) {
    throw Tm_exception("message type " + std::to_string(static_cast<int>(type)) +
                       " is neither request (0) nor response (1)");
  }
  m_type = type;
}

Tm_struct& Message::get_group(TMG group) { return group_of(group).members; }
const Tm_struct& Message::get_group(TMG group) const { return group_of(group).members; }

void Message::clear_group(TMG group) {
  Group& cleared = group_of(group);
  cleared.members.clear();
  cleared.catalog.clear();
  cleared.catalog_on_wire = false;
}

void Message::add_member(TMG group, const char* name, bool value) { get_group(group).add_member(name, value); }
void Message::add_member(TMG group, const char* name, signed char value) { get_group(group).add_member(name, value); }
void Message::add_member(TMG group, const char* name, unsigned char value) { get_group(group).add_member(name, value); }
void Message::add_member(TMG group, const char* name, short value) { get_group(group).add_member(name, value); }
void Message::add_member(TMG group, const char* name, unsigned short value) {
  get_group(group).add_member(name, value);
}
void Message::add_member(TMG group, const char* name, int value) { get_group(group).add_member(name, value); }
void Message::add_member(TMG group, const char* name, unsigned int value) { get_group(group).add_member(name, value); }
void Message::add_member(TMG group, const char* name, long value) { get_group(group).add_member(name, value); }
void Message::add_member(TMG group, const char* name, unsigned long value) { get_group(group).add_member(name, value); }
void Message::add_member(TMG group, const char* name, double value) { get_group(group).add_member(name, value); }
void Message::add_member(TMG group, const char* name, const char* value) { get_group(group).add_member(name, value); }
void Message::add_member(TMG group, const char* name, const std::string& value) {
  get_group(group).add_member(name, value);
}
void Message::add_member_and_own(TMG group, const char* name, Tm_value* value) {
  get_group(group).add_member_and_own(name, value);
}

bool Message::get_member_bool(TMG group, const char* name) const { return get_group(group).get_member_bool(name); }
signed char Message::get_member_int8(TMG group, const char* name) const {
  return get_group(group).get_member_int8(name);
}
unsigned char Message::get_member_uint8(TMG group, const char* name) const {
  return get_group(group).get_member_uint8(name);
}
short Message::get_member_int16(TMG group, const char* name) const { return get_group(group).get_member_int16(name); }
unsigned short Message::get_member_uint16(TMG group, const char* name) const {
  return get_group(group).get_member_uint16(name);
}
int Message::get_member_int32(TMG group, const char* name) const { return get_group(group).get_member_int32(name); }
unsigned int Message::get_member_uint32(TMG group, const char* name) const {
  return get_group(group).get_member_uint32(name);
}
long Message::get_member_int64(TMG group, const char* name) const { return get_group(group).get_member_int64(name); }
unsigned long Message::get_member_uint64(TMG group, const char* name) const {
  return get_group(group).get_member_uint64(name);
}
double Message::get_member_double(TMG group, const char* name) const {
  return get_group(group).get_member_double(name);
}
const char* Message::get_member_string(TMG group, const char* name) const {
  return get_group(group).get_member_string(name);
}
const Tm_binary& Message::get_member_binary(TMG group, const char* name) const {
  return get_group(group).get_member_binary(name);
}
const Tm_struct* Message::get_member_struct(TMG group, const char* name) const {
  return get_group(group).get_member_struct(name);
}
const Tm_array* Message::get_member_array(TMG group, const char* name) const {
  return get_group(group).get_member_array(name);
}

Tm_catalog<std::string>* Message::get_send_member_string(TMG group) { return &group_of(group).catalog; }

void Message::create_send_member_string_meta() {
  for (Group& group : m_groups) {
    if (m_use_catalog) {
      for (int i = 0; i < group.members.get_member_count(); ++i) group.catalog.add(group.members.get_member_name(i));
    }
    group.catalog_on_wire = true;
  }
}

bool Message::equals(const Message& other) const {
  return m_request_name == other.m_request_name && m_type == other.m_type &&
         m_groups[0].members.equals(other.m_groups[0].members) && m_groups[1].members.equals(other.m_groups[1].members);
}

Message::Group& Message::group_of(TMG group) {
  return const_cast<Group&>(static_cast<const Message*>(this)->group_of(group));
}

const Message::Group& Message::group_of(TMG group) const {
  if (group != TMG_0 && group != TMG_1) {
    throw Tm_exception("no member group " + std::to_string(static_cast<int>(group)) + " (groups are 0 and 1)");
  }
  return m_groups[group];
}
