#include "port/targets/ByteSize.h"

#include <cctype>
#include <limits>
#include <stdexcept>

namespace storageio_port {
namespace {

constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();

[[noreturn]] void Refuse(const std::string& text, const std::string& why) {
  throw std::invalid_argument("'" + text + "' is not a byte size: " + why);
}

// The power of the unit's letter: K 1, M 2, G 3, T 4; 0 when it is none of them.
int PowerOf(char letter) {
  const std::string letters = "KMGT";
  const std::size_t at = letters.find(static_cast<char>(std::toupper(static_cast<unsigned char>(letter))));
  return at == std::string::npos ? 0 : static_cast<int>(at) + 1;
}

// Bytes per one of `unit`, or 0 when `unit` is not one ParseByteSize takes.
std::uint64_t UnitBytes(const std::string& unit) {
  if (unit.empty()) return 1;
  const int power = PowerOf(unit[0]);
  const std::string rest = unit.substr(1);
  std::uint64_t base = 0;
  if (rest.empty() || rest == "iB") base = 1024;
  if (rest == "B") base = 1000;
  if (power == 0 || base == 0) return 0;
  std::uint64_t bytes = 1;
  for (int i = 0; i < power; ++i) bytes *= base;
  return bytes;
}

}  // namespace

std::uint64_t ParseByteSize(const std::string& text) {
  if (text.empty()) Refuse(text, "it is empty");
  std::size_t digits = 0;
  std::uint64_t count = 0;
  for (; digits < text.size() && std::isdigit(static_cast<unsigned char>(text[digits])); ++digits) {
    const std::uint64_t digit = static_cast<std::uint64_t>(text[digits] - '0');
    if (count > (kMax - digit) / 10) Refuse(text, "it is larger than 2^64 - 1 bytes");
    count = count * 10 + digit;
  }
  if (digits == 0) Refuse(text, "it does not start with a number");
  const std::string unit = text.substr(digits);
  const std::uint64_t unitBytes = UnitBytes(unit);
  if (unitBytes == 0) {
    Refuse(text, "'" + unit + "' is not a unit (use K, KiB, M, MiB, G, GiB, T, TiB, KB, MB, GB or TB)");
  }
  if (count > kMax / unitBytes) Refuse(text, "it is larger than 2^64 - 1 bytes");
  return count * unitBytes;
}

}  // namespace storageio_port
