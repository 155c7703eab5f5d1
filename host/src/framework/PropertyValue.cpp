#include "kel/framework/PropertyValue.h"

#include <charconv>
#include <limits>
#include <sstream>

#include "kel/framework/Exceptions.h"

namespace kel {
namespace framework {

namespace {

const char* const kTypeNames[] = {"u8", "u16", "u32", "u64", "bool", "double", "string", "handles"};

// Decimal, or hex after "0x"; nothing else (no sign, blanks or octal), so "010" is ten.
std::uint64_t ParseUnsigned(const std::string& text, std::uint64_t max, const char* what) {
  const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  const char* begin = text.data() + (hex ? 2 : 0);
  const char* end = text.data() + text.size();
  std::uint64_t value = 0;
  const auto result = std::from_chars(begin, end, value, hex ? 16 : 10);
  if (result.ec != std::errc() || result.ptr != end || value > max) {
    throw CKelRunTimeError("'" + text + "' is not " + what);
  }
  return value;
}

}  // namespace

const char* PropertyTypeName(PropertyType type) { return kTypeNames[static_cast<int>(type)]; }

PropertyType ParsePropertyType(const std::string& name) {
  for (int i = 0; i <= static_cast<int>(PropertyType::Handles); ++i) {
    if (name == kTypeNames[i]) return static_cast<PropertyType>(i);
  }
  throw CKelLogicError("Unknown property type '" + name + "'");
}

PropertyType TypeOf(const PropertyValue& value) { return static_cast<PropertyType>(value.index()); }

PropertyValue ZeroValue(PropertyType type) {
  switch (type) {
    case PropertyType::U8: return std::uint8_t{0};
    case PropertyType::U16: return std::uint16_t{0};
    case PropertyType::U32: return std::uint32_t{0};
    case PropertyType::U64: return std::uint64_t{0};
    case PropertyType::Bool: return false;
    case PropertyType::Double: return 0.0;
    case PropertyType::String: return std::string();
    case PropertyType::Handles: return HandleList();
  }
  throw CKelLogicError("Invalid property type");
}

std::string ToText(const PropertyValue& value) {
  switch (TypeOf(value)) {
    case PropertyType::U8: return std::to_string(std::get<std::uint8_t>(value));
    case PropertyType::U16: return std::to_string(std::get<std::uint16_t>(value));
    case PropertyType::U32: return std::to_string(std::get<std::uint32_t>(value));
    case PropertyType::U64: return std::to_string(std::get<std::uint64_t>(value));
    case PropertyType::Bool: return std::get<bool>(value) ? "true" : "false";
    case PropertyType::Double: {
      char buf[64];
      const auto result = std::to_chars(buf, buf + sizeof buf, std::get<double>(value));
      return std::string(buf, result.ptr);
    }
    case PropertyType::String: return std::get<std::string>(value);
    case PropertyType::Handles: {
      std::string text;
      for (Handle h : std::get<HandleList>(value)) {
        if (!text.empty()) text += ' ';
        text += std::to_string(h);
      }
      return text;
    }
  }
  throw CKelLogicError("Invalid property value");
}

PropertyValue FromText(PropertyType type, const std::string& text) {
  switch (type) {
    case PropertyType::U8:
      return static_cast<std::uint8_t>(ParseUnsigned(text, 0xff, "an unsigned 8-bit number"));
    case PropertyType::U16:
      return static_cast<std::uint16_t>(ParseUnsigned(text, 0xffff, "an unsigned 16-bit number"));
    case PropertyType::U32:
      return static_cast<std::uint32_t>(ParseUnsigned(text, 0xffffffffu, "an unsigned 32-bit number"));
    case PropertyType::U64:
      return static_cast<std::uint64_t>(
          ParseUnsigned(text, std::numeric_limits<std::uint64_t>::max(), "an unsigned 64-bit number"));
    case PropertyType::Bool:
      if (text == "true" || text == "TRUE" || text == "True" || text == "1") return true;
      if (text == "false" || text == "FALSE" || text == "False" || text == "0") return false;
      throw CKelRunTimeError("'" + text + "' is not a bool (true or false)");
    case PropertyType::Double: {
      double value = 0.0;
      const char* end = text.data() + text.size();
      const auto result = std::from_chars(text.data(), end, value);
      if (text.empty() || result.ec != std::errc() || result.ptr != end) {
        throw CKelRunTimeError("'" + text + "' is not a number");
      }
      return value;
    }
    case PropertyType::String: return text;
    case PropertyType::Handles: {
      HandleList handles;
      std::istringstream in(text);
      std::string word;
      while (in >> word) {
        handles.push_back(static_cast<Handle>(ParseUnsigned(word, 0xffffffffu, "an object handle")));
      }
      return handles;
    }
  }
  throw CKelLogicError("Invalid property type");
}

}  // namespace framework
}  // namespace kel
