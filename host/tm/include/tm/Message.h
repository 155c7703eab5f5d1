#pragma once
// One request, response or notification: a request name, a message type and two groups of named
// members, each group with a member-name catalog.
//
// The catalog: structures built with a group's catalog enter their member names into it, and with
// set_use_send_member_string(true) create_send_member_string_meta() enters the group's own
// top-level names too. The wire carries every member name once per group and members refer to
// names by index (see Tm_wire.h); a catalog that create_send_member_string_meta() finalised travels
// as the first of those names, so it comes back with the message. After decoding every member has
// its name again; readers never see indices.
//
// A TMG other than 0 or 1, or a TMT other than 0 or 1, throws Tm_exception. Member reads have the
// getters and errors of Tm_struct. Copies are deep; a Message is used by one thread at a time.

#include <string>

#include "tm/Tm_catalog.h"
#include "tm/Tm_struct.h"

class Message {
 public:
  using TMT = ::TMT;
  using TMG = ::TMG;

  // A request with no name, two empty groups, catalogs empty and off.
  Message();

  void set_request_name(const std::string& name) { m_request_name = name; }
  const std::string& get_request_name() const { return m_request_name; }
  void set_msg_type(TMT type);
  TMT get_msg_type() const { return m_type; }

  Tm_struct& get_group(TMG group);
  const Tm_struct& get_group(TMG group) const;
  // Empties the group and its catalog, and withdraws the catalog from the wire until the next
  // create_send_member_string_meta().
  void clear_group(TMG group);

  void add_member(TMG group, const char* name, bool value);
  void add_member(TMG group, const char* name, signed char value);
  void add_member(TMG group, const char* name, unsigned char value);
  void add_member(TMG group, const char* name, short value);
  void add_member(TMG group, const char* name, unsigned short value);
  void add_member(TMG group, const char* name, int value);
  void add_member(TMG group, const char* name, unsigned int value);
  void add_member(TMG group, const char* name, long value);
  void add_member(TMG group, const char* name, unsigned long value);
  void add_member(TMG group, const char* name, double value);
  void add_member(TMG group, const char* name, const char* value);
  void add_member(TMG group, const char* name, const std::string& value);
  void add_member_and_own(TMG group, const char* name, Tm_value* value);

  bool get_member_bool(TMG group, const char* name) const;
  signed char get_member_int8(TMG group, const char* name) const;
  unsigned char get_member_uint8(TMG group, const char* name) const;
  short get_member_int16(TMG group, const char* name) const;
  unsigned short get_member_uint16(TMG group, const char* name) const;
  int get_member_int32(TMG group, const char* name) const;
  unsigned int get_member_uint32(TMG group, const char* name) const;
  long get_member_int64(TMG group, const char* name) const;
  unsigned long get_member_uint64(TMG group, const char* name) const;
  double get_member_double(TMG group, const char* name) const;
  const char* get_member_string(TMG group, const char* name) const;
  const Tm_binary& get_member_binary(TMG group, const char* name) const;
  const Tm_struct* get_member_struct(TMG group, const char* name) const;
  const Tm_array* get_member_array(TMG group, const char* name) const;

  // The group's member-name catalog; valid while the message lives.
  Tm_catalog<std::string>* get_send_member_string(TMG group);
  // Puts both catalogs on the wire; with the catalog switched on, first enters every group's
  // top-level member names.
  void create_send_member_string_meta();
  void set_use_send_member_string(bool use) { m_use_catalog = use; }
  bool get_use_send_member_string() const { return m_use_catalog; }

  // Same request name, type and groups (deep); catalogs are not compared.
  bool equals(const Message& other) const;

 private:
  friend class Tm_wire_reader;
  friend class Tm_wire_writer;

  struct Group {
    Tm_struct members;
    Tm_catalog<std::string> catalog;
    bool catalog_on_wire = false;
  };

  Group& group_of(TMG group);
  const Group& group_of(TMG group) const;

  std::string m_request_name;
  TMT m_type = TMT_REQUEST;
  Group m_groups[2];
  bool m_use_catalog = false;
};
