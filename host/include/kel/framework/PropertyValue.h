#pragma once
// Typed property values of the object model, and their text forms for scripts and saved files.

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "kel/framework/Types.h"

namespace kel {
namespace framework {

// The alternatives of PropertyValue are in the order of this enum.
enum class PropertyType { U8, U16, U32, U64, Bool, Double, String, Handles };

using HandleList = std::vector<Handle>;
using PropertyValue =
    std::variant<std::uint8_t, std::uint16_t, std::uint32_t, std::uint64_t, bool, double, std::string, HandleList>;

// "u8", "u16", "u32", "u64", "bool", "double", "string", "handles".
const char* PropertyTypeName(PropertyType type);
// Parses a type name as above. Throws CKelLogicError naming the text when it is not one.
PropertyType ParsePropertyType(const std::string& name);

PropertyType TypeOf(const PropertyValue& value);
PropertyValue ZeroValue(PropertyType type);

// Text form: numbers in decimal, bool as "true"/"false", doubles round-trip exactly, handles as
// blank-separated decimal numbers.
std::string ToText(const PropertyValue& value);
// Parses text of the given type. Numbers accept decimal or 0x-prefixed hex; bool accepts
// true/false/1/0. Throws CKelRunTimeError saying what was expected when the text does not fit
// (out of range, trailing characters, empty).
PropertyValue FromText(PropertyType type, const std::string& text);

}  // namespace framework
}  // namespace kel
