#include "port/targets/TargetEntry.h"

#include <cctype>
#include <stdexcept>
#include <vector>

#include "port/targets/ByteSize.h"

namespace storageio_port {
namespace {

constexpr std::uint64_t kSmallestSector = 512;
constexpr std::uint64_t kLargestSector = 65536;
const std::string kSectorOption = "sector=";

// Splits at each ':' that is not written "\:"; the escape is removed.
std::vector<std::string> SplitFields(const std::string& text) {
  std::vector<std::string> fields(1);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 1 < text.size() && text[i + 1] == ':') {
      fields.back() += ':';
      ++i;
    } else if (text[i] == ':') {
      fields.emplace_back();
    } else {
      fields.back() += text[i];
    }
  }
  return fields;
}

bool IsPowerOfTwo(std::uint64_t value) { return value != 0 && (value & (value - 1)) == 0; }

[[noreturn]] void Refuse(const std::string& text, const std::string& why) {
  throw std::invalid_argument("Target entry '" + text + "': " + why);
}

// ParseByteSize's own text names the field; the entry's text says where it came from.
std::uint64_t FieldBytes(const std::string& text, const std::string& field) {
  try {
    return ParseByteSize(field);
  } catch (const std::invalid_argument& e) {
    Refuse(text, e.what());
  }
}

}  // namespace

TargetEntry ParseTargetEntry(const std::string& text) {
  const std::vector<std::string> fields = SplitFields(text);
  TargetEntry entry;
  entry.path = fields[0];
  if (entry.path.empty()) Refuse(text, "the path is empty");
  for (std::size_t i = 1; i < fields.size(); ++i) {
    const std::string& field = fields[i];
    if (field.empty()) {
      Refuse(text, "an option is empty");
    } else if (field == "buffered") {
      if (entry.buffered) Refuse(text, "'buffered' is given twice");
      entry.buffered = true;
    } else if (field.compare(0, kSectorOption.size(), kSectorOption) == 0) {
      if (entry.sectorSize != 0) Refuse(text, "the sector size is given twice");
      const std::uint64_t sector = FieldBytes(text, field.substr(kSectorOption.size()));
      if (!IsPowerOfTwo(sector) || sector < kSmallestSector || sector > kLargestSector) {
        Refuse(text, "the sector size " + std::to_string(sector) + " is not a power of two from 512 to 65536");
      }
      entry.sectorSize = static_cast<std::uint32_t>(sector);
    } else if (std::isdigit(static_cast<unsigned char>(field[0]))) {
      if (entry.sizeBytes != 0) Refuse(text, "the size is given twice");
      entry.sizeBytes = FieldBytes(text, field);
      if (entry.sizeBytes == 0) Refuse(text, "the size is 0");
    } else {
      Refuse(text, "unknown option '" + field +
                       "' (expected a size, sector=N or buffered; a ':' in the path is written '\\:')");
    }
  }
  return entry;
}

}  // namespace storageio_port
