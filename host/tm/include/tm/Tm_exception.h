#pragma once
// Exceptions of the message library. Every error of building, reading or decoding a message is
// one of these; decoding hostile bytes never ends any other way.

#include <stdexcept>
#include <string>

#include "tm/Tm_types.h"

class Tm_exception : public std::runtime_error {
 public:
  explicit Tm_exception(const std::string& what) : std::runtime_error(what) {}
};

// An index outside [low, high]. Text: "index <i> out of range [<low>, <high>]".
class Tm_out_of_range_exception : public Tm_exception {
 public:
  Tm_out_of_range_exception(int index, int low, int high);
  int index() const { return m_index; }
  int low() const { return m_low; }
  int high() const { return m_high; }

 private:
  int m_index, m_low, m_high;
};

// A message or value of another type than the one asked for.
// Text: "type mismatch: got <got>, expected <expected>", with the names of tmt_name/tmv_name.
class Tm_type_mismatch_exception : public Tm_exception {
 public:
  Tm_type_mismatch_exception(TMT got, TMT expected);
  Tm_type_mismatch_exception(TMV got, TMV expected);
};
