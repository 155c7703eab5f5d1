#pragma once
// An opaque byte string value.

#include <cstddef>
#include <vector>

#include "tm/Tm_value.h"

class Tm_binary : public Tm_value {
 public:
  // Copies size bytes from data; data may be null only when size is 0 (else Tm_exception).
  Tm_binary(const unsigned char* data, std::size_t size);
  explicit Tm_binary(std::vector<unsigned char> bytes);

  // Null or dangling only when size() is 0.
  const unsigned char* data() const { return m_bytes.data(); }
  std::size_t size() const { return m_bytes.size(); }

  TMV get_value_type() const override { return TMV_BINARY; }
  Tm_value* clone() const override;
  bool equals(const Tm_value& other) const override;
  void accept(Tm_visitor& visitor) const override;

 private:
  std::vector<unsigned char> m_bytes;
};
