#pragma once
// A visitor over the value kinds of the message library: a container hands each of its values to
// the operation for that value's kind (item_accept), and a binary, structure or array hands
// itself (accept). The references and texts are valid only during the call.

#include <cstddef>

class Tm_binary;
class Tm_struct;
class Tm_array;

class Tm_visitor {
 public:
  virtual ~Tm_visitor() = default;

  virtual void visit_int8(signed char value) = 0;
  virtual void visit_uint8(unsigned char value) = 0;
  virtual void visit_int16(short value) = 0;
  virtual void visit_uint16(unsigned short value) = 0;
  virtual void visit_int32(int value) = 0;
  virtual void visit_uint32(unsigned int value) = 0;
  virtual void visit_int64(long value) = 0;
  virtual void visit_uint64(unsigned long value) = 0;
  virtual void visit_double(double value) = 0;
  virtual void visit_bool(bool value) = 0;
  // The text's bytes; it may hold NUL bytes, so length is authoritative.
  virtual void visit_string(const char* text, std::size_t length) = 0;
  virtual void visit_binary(const Tm_binary& value) = 0;
  virtual void visit_struct(const Tm_struct& value) = 0;
  virtual void visit_array(const Tm_array& value) = 0;
};
