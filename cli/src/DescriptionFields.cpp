#include "DescriptionFields.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <sstream>
#include <stdexcept>

#include "port/targets/ByteSize.h"

namespace storageio_cli {
namespace {

// Long enough to recognise a value, short enough that junk input keeps messages on one line.
constexpr std::size_t kShownCharacters = 40;

// yaml-cpp tags an unquoted scalar "?" and a quoted one "!".
bool IsPlainScalar(const YAML::Node& node) { return node.IsScalar() && node.Tag() == "?"; }

// The spellings of YAML's booleans; yes, no, on and off are plain text here.
bool IsTrueText(const std::string& text) { return text == "true" || text == "True" || text == "TRUE"; }
bool IsFalseText(const std::string& text) { return text == "false" || text == "False" || text == "FALSE"; }

std::string JoinKeys(const std::vector<std::string>& keys) {
  std::string text;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (i > 0) text += i + 1 == keys.size() ? " or " : ", ";
    text += keys[i];
  }
  return text;
}

std::string ShowNumber(double value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

// A whole number in decimal with an optional leading '-': its magnitude, whether it is negative, and
// whether it is beyond 2^64 - 1. nullopt when `text` is anything else.
struct WholeNumber {
  std::uint64_t magnitude = 0;
  bool negative = false;
  bool tooLarge = false;
};

std::optional<WholeNumber> ParseWhole(const std::string& text) {
  WholeNumber number;
  number.negative = !text.empty() && text[0] == '-';
  const char* first = text.data() + (number.negative ? 1 : 0);
  const char* last = text.data() + text.size();
  // from_chars takes no sign for unsigned types, so only digits remain to be accepted.
  if (first == last || *first < '0' || *first > '9') return std::nullopt;
  const auto [end, error] = std::from_chars(first, last, number.magnitude);
  if (end != last) return std::nullopt;
  number.tooLarge = error == std::errc::result_out_of_range;
  return number;
}

}  // namespace

std::string ChildPath(const std::string& parent, const std::string& key) {
  return parent.empty() ? key : parent + "." + key;
}

std::string ItemPath(const std::string& parent, std::size_t index) {
  return parent + "[" + std::to_string(index) + "]";
}

DescriptionErrors::DescriptionErrors(std::string fileName) : m_fileName(std::move(fileName)) {}

void DescriptionErrors::Add(const YAML::Mark& mark, const std::string& key, const std::string& what) {
  m_errors.push_back({m_fileName, mark.line < 0 ? 1 : mark.line + 1, mark.column < 0 ? 1 : mark.column + 1, key, what});
}

void DescriptionErrors::Add(const YAML::Node& at, const std::string& key, const std::string& what) {
  Add(at.Mark(), key, what);
}

std::string DescribeNode(const YAML::Node& node) {
  if (node.IsSequence()) return "a list";
  if (node.IsMap()) return "a map";
  if (!node.IsScalar()) return "empty";
  const std::string& text = node.Scalar();
  std::string shown;
  for (std::size_t i = 0; i < text.size() && i < kShownCharacters; ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    shown += c < 0x20 || c == 0x7f ? '?' : text[i];
  }
  if (text.size() > kShownCharacters) shown += "...";
  return "\"" + shown + "\"";
}

bool ExpectList(const YAML::Node& node, const std::string& path, bool atLeastOne, DescriptionErrors& errors) {
  if (!node.IsSequence()) {
    errors.Add(node, path, "must be a list, not " + DescribeNode(node));
    return false;
  }
  if (atLeastOne && node.size() == 0) {
    errors.Add(node, path, "must list at least one entry");
    return false;
  }
  return true;
}

std::optional<MapFields> MapFields::Open(const YAML::Node& node, const std::string& path,
                                         const std::vector<std::string>& knownKeys, DescriptionErrors& errors) {
  if (!node.IsMap()) {
    errors.Add(node, path.empty() ? "(document)" : path, "must be a map, not " + DescribeNode(node));
    return std::nullopt;
  }
  MapFields fields(node, path, errors);
  for (const auto& entry : node) {
    const YAML::Node& key = entry.first;
    if (!key.IsScalar()) {
      errors.Add(key, path.empty() ? "(document)" : path, "keys must be names, not " + DescribeNode(key));
      continue;
    }
    const std::string& name = key.Scalar();
    if (std::find(knownKeys.begin(), knownKeys.end(), name) == knownKeys.end()) {
      errors.Add(key, ChildPath(path, name), "is not a key here (use " + JoinKeys(knownKeys) + ")");
    } else if (!fields.m_values.emplace(name, entry.second).second) {
      errors.Add(key, ChildPath(path, name), "is given twice");
    }
  }
  return fields;
}

MapFields::MapFields(const YAML::Node& node, std::string path, DescriptionErrors& errors)
    : m_node(node), m_path(std::move(path)), m_errors(&errors) {}

std::optional<YAML::Node> MapFields::Value(const std::string& key) const {
  const auto found = m_values.find(key);
  if (found == m_values.end()) return std::nullopt;
  return found->second;
}

void MapFields::ReportMissing(const std::string& key) { m_errors->Add(m_node, PathOf(key), "is missing"); }

void MapFields::ReportValue(const std::string& key, const std::string& what) {
  m_errors->Add(m_values.at(key), PathOf(key), what);
}

std::optional<std::string> MapFields::ScalarText(const std::string& key, const std::string& wanted, bool plainOnly) {
  const std::optional<YAML::Node> value = Value(key);
  if (!value) return std::nullopt;
  if (!value->IsScalar() || (plainOnly && !IsPlainScalar(*value))) {
    ReportValue(key, "must be " + wanted + ", not " + DescribeNode(*value));
    return std::nullopt;
  }
  return value->Scalar();
}

std::optional<std::string> MapFields::OptionalString(const std::string& key) {
  std::optional<std::string> text = ScalarText(key, "a text", false);
  if (text && text->empty()) {
    ReportValue(key, "must not be empty");
    return std::nullopt;
  }
  return text;
}

std::optional<std::string> MapFields::RequiredString(const std::string& key) {
  if (!Has(key)) ReportMissing(key);
  return OptionalString(key);
}

std::optional<bool> MapFields::OptionalBool(const std::string& key) {
  const std::optional<std::string> text = ScalarText(key, "true or false", true);
  if (!text) return std::nullopt;
  if (IsTrueText(*text)) return true;
  if (IsFalseText(*text)) return false;
  ReportValue(key, "must be true or false, not " + DescribeNode(*Value(key)));
  return std::nullopt;
}

std::optional<std::uint64_t> MapFields::OptionalWhole(const std::string& key, std::uint64_t min, std::uint64_t max) {
  const std::optional<std::string> text = ScalarText(key, "a whole number", true);
  if (!text) return std::nullopt;
  const std::optional<WholeNumber> number = ParseWhole(*text);
  if (!number) {
    ReportValue(key, "must be a whole number, not " + DescribeNode(*Value(key)));
    return std::nullopt;
  }
  const bool belowMin = number->negative ? number->magnitude > 0 || number->tooLarge || min > 0
                                         : !number->tooLarge && number->magnitude < min;
  if (belowMin) {
    ReportValue(key, "must be at least " + std::to_string(min) + ", not " + *text);
    return std::nullopt;
  }
  if (number->tooLarge || number->magnitude > max) {
    ReportValue(key, "must be at most " + std::to_string(max) + ", not " + *text);
    return std::nullopt;
  }
  return number->magnitude;
}

std::optional<std::uint64_t> MapFields::RequiredWhole(const std::string& key, std::uint64_t min, std::uint64_t max) {
  if (!Has(key)) ReportMissing(key);
  return OptionalWhole(key, min, max);
}

std::optional<double> MapFields::OptionalNumber(const std::string& key, double min, bool minExcluded) {
  const std::optional<std::string> text = ScalarText(key, "a number", true);
  if (!text) return std::nullopt;
  double number = 0;
  const char* last = text->data() + text->size();
  const auto [end, error] = std::from_chars(text->data(), last, number);
  if (text->empty() || end != last || error != std::errc() || !std::isfinite(number)) {
    ReportValue(key, "must be a number, not " + DescribeNode(*Value(key)));
    return std::nullopt;
  }
  if (minExcluded ? number <= min : number < min) {
    ReportValue(key, std::string(minExcluded ? "must be more than " : "must be at least ") + ShowNumber(min) +
                         ", not " + *text);
    return std::nullopt;
  }
  return number;
}

std::optional<std::uint64_t> MapFields::OptionalSize(const std::string& key, std::uint64_t min, std::uint64_t max) {
  // Quoting is harmless here: a size is text with a unit either way.
  const std::optional<std::string> text = ScalarText(key, "a size such as 4096 or 4KiB", false);
  if (!text) return std::nullopt;
  std::uint64_t bytes = 0;
  try {
    bytes = storageio_port::ParseByteSize(*text);
  } catch (const std::invalid_argument& refused) {
    ReportValue(key, refused.what());
    return std::nullopt;
  }
  if (bytes < min) {
    ReportValue(key, "must be at least " + std::to_string(min) + (min == 1 ? " byte" : " bytes") + ", not " + *text);
    return std::nullopt;
  }
  if (bytes > max) {
    ReportValue(key, "must be at most " + std::to_string(max) + " bytes, not " + *text);
    return std::nullopt;
  }
  return bytes;
}

std::optional<std::uint64_t> MapFields::OptionalSizeOrFalse(const std::string& key, std::uint64_t min,
                                                            std::uint64_t max) {
  const std::optional<YAML::Node> value = Value(key);
  if (value && IsPlainScalar(*value)) {
    const std::string& text = value->Scalar();
    if (IsFalseText(text)) return 0;
    if (IsTrueText(text)) {
      ReportValue(key, "must be a size or false, not " + text);
      return std::nullopt;
    }
  }
  return OptionalSize(key, min, max);
}

std::optional<std::uint64_t> MapFields::OptionalDurationMs(const std::string& key, std::uint64_t maxMs,
                                                          bool wholeSeconds) {
  const std::string wanted = "a duration such as 10, 10s, 5m, 1h or 500ms";
  const std::optional<std::string> text = ScalarText(key, wanted, true);
  if (!text) return std::nullopt;
  std::string digits = *text;
  std::uint64_t msPerUnit = 1000;
  const char unit = digits.empty() ? '\0' : digits.back();
  if (digits.size() > 2 && digits.compare(digits.size() - 2, 2, "ms") == 0) {
    digits.resize(digits.size() - 2);
    msPerUnit = 1;
  } else if (unit == 's' || unit == 'm' || unit == 'h') {
    digits.pop_back();
    msPerUnit = unit == 's' ? 1000 : unit == 'm' ? 60'000 : 3'600'000;
  }
  const std::optional<WholeNumber> number = ParseWhole(digits);
  if (!number || number->negative) {
    ReportValue(key, "must be " + wanted + ", not " + DescribeNode(*Value(key)));
    return std::nullopt;
  }
  if (number->tooLarge || number->magnitude > maxMs / msPerUnit) {
    ReportValue(key, "must be at most " + std::to_string(maxMs / 1000) + "s, not " + *text);
    return std::nullopt;
  }
  const std::uint64_t ms = number->magnitude * msPerUnit;
  if (ms == 0 || (wholeSeconds && ms % 1000 != 0)) {
    ReportValue(key, std::string(wholeSeconds ? "must be whole seconds, at least 1s" : "must be at least 1ms") +
                         ", not " + *text);
    return std::nullopt;
  }
  return ms;
}

std::optional<std::uint64_t> MapFields::RequiredDurationMs(const std::string& key, std::uint64_t maxMs,
                                                          bool wholeSeconds) {
  if (!Has(key)) ReportMissing(key);
  return OptionalDurationMs(key, maxMs, wholeSeconds);
}

}  // namespace storageio_cli
