#include "tm/Tm_binary.h"

#include "tm/Tm_exception.h"

namespace {

std::vector<unsigned char> copy_bytes(const unsigned char* data, std::size_t size) {
  if (data == nullptr && size != 0)
    throw Tm_exception("Tm_binary given null bytes for a size of " + std::to_string(size));
  return size == 0 ? std::vector<unsigned char>() : std::vector<unsigned char>(data, data + size);
}

}  // namespace

Tm_binary::Tm_binary(const unsigned char* data, std::size_t size) : m_bytes(copy_bytes(data, size)) {}

Tm_binary::Tm_binary(std::vector<unsigned char> bytes) : m_bytes(std::move(bytes)) {}

Tm_value* Tm_binary::clone() const { return new Tm_binary(*this); }

bool Tm_binary::equals(const Tm_value& other) const {
  const auto* binary = dynamic_cast<const Tm_binary*>(&other);
  return binary != nullptr && binary->m_bytes == m_bytes;
}

void Tm_binary::accept(Tm_visitor& visitor) const { visitor.visit_binary(*this); }
