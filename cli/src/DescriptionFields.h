#pragma once
// Typed values read out of the YAML maps of a test description. Every problem becomes a
// DescriptionError at the offending node, and reading goes on, so one pass reports them all.

#include <yaml-cpp/yaml.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "TestDescription.h"

namespace storageio_cli {

// Key paths in errors: "workers" + "queue_depth" -> "workers.queue_depth"; "workers" + 0 ->
// "workers[0]". An empty parent is the top level.
std::string ChildPath(const std::string& parent, const std::string& key);
std::string ItemPath(const std::string& parent, std::size_t index);

// The errors of one file, in the order they were found.
class DescriptionErrors {
 public:
  explicit DescriptionErrors(std::string fileName);

  // `mark` is yaml-cpp's 0-based position; a null mark (-1) becomes line 1, column 1.
  void Add(const YAML::Mark& mark, const std::string& key, const std::string& what);
  void Add(const YAML::Node& at, const std::string& key, const std::string& what);

  std::size_t Count() const { return m_errors.size(); }
  std::vector<DescriptionError> Take() { return std::move(m_errors); }

 private:
  std::string m_fileName;
  std::vector<DescriptionError> m_errors;
};

// What a node is, for "must be X, not Y": "a list", "a map", "empty", or the scalar's text quoted
// (shortened, with control characters replaced, so junk input still prints as one line).
std::string DescribeNode(const YAML::Node& node);

// Checks `node` is a list; reports "must be a list" otherwise. With `atLeastOne`, an empty list
// is reported too. Returns whether the items can be read.
bool ExpectList(const YAML::Node& node, const std::string& path, bool atLeastOne, DescriptionErrors& errors);

// One map of the description. Construction reports keys that are not in `knownKeys` (at the
// key), keys that are not plain names, and keys given twice; the fields are then read one by one.
// Every read reports a present but unusable value at the value and returns nullopt; the Required
// reads also report an absent key, at the map. `errors` must outlive the object. Nothing here
// throws but what yaml-cpp may throw for a node it cannot give.
class MapFields {
 public:
  // Returns nullopt, after reporting "must be a map", when `node` is not a map.
  static std::optional<MapFields> Open(const YAML::Node& node, const std::string& path,
                                       const std::vector<std::string>& knownKeys, DescriptionErrors& errors);

  const std::string& Path() const { return m_path; }
  // The key's path below this map, for errors about its value.
  std::string PathOf(const std::string& key) const { return ChildPath(m_path, key); }

  bool Has(const std::string& key) const { return m_values.count(key) != 0; }
  // The value of `key`; nullopt when absent.
  std::optional<YAML::Node> Value(const std::string& key) const;
  // Reports "is missing" for `key`, at this map.
  void ReportMissing(const std::string& key);

  // Any scalar, quoted or not, that is not empty.
  std::optional<std::string> OptionalString(const std::string& key);
  std::optional<std::string> RequiredString(const std::string& key);

  // An unquoted true or false (also True, TRUE, False, FALSE); nothing else is a boolean.
  std::optional<bool> OptionalBool(const std::string& key);

  // An unquoted whole number written in decimal, within [min, max].
  std::optional<std::uint64_t> OptionalWhole(const std::string& key, std::uint64_t min, std::uint64_t max);
  std::optional<std::uint64_t> RequiredWhole(const std::string& key, std::uint64_t min, std::uint64_t max);

  // An unquoted decimal number, finite, within [min, max] or, with `minExcluded`, above min.
  std::optional<double> OptionalNumber(const std::string& key, double min, bool minExcluded);

  // Bytes, as storageio_port::ParseByteSize reads them ("4096", "4KiB", "1GB"), within [min, max].
  std::optional<std::uint64_t> OptionalSize(const std::string& key, std::uint64_t min, std::uint64_t max);

  // As OptionalSize, or an unquoted false, which reads as 0.
  std::optional<std::uint64_t> OptionalSizeOrFalse(const std::string& key, std::uint64_t min, std::uint64_t max);

  // Milliseconds of a duration written as whole seconds ("10") or with a unit ms, s, m or h
  // ("500ms", "10s", "5m", "1h"), not 0 and at most `maxMs`; with `wholeSeconds`, a whole number
  // of seconds.
  std::optional<std::uint64_t> OptionalDurationMs(const std::string& key, std::uint64_t maxMs,
                                                  bool wholeSeconds = false);
  std::optional<std::uint64_t> RequiredDurationMs(const std::string& key, std::uint64_t maxMs,
                                                  bool wholeSeconds = false);

  // Reports `what` about the value of `key`, which must be present.
  void ReportValue(const std::string& key, const std::string& what);

 private:
  MapFields(const YAML::Node& node, std::string path, DescriptionErrors& errors);

  // The value of `key` when it is a scalar; reports "must be <wanted>" and returns nullopt for a
  // list, a map, an empty value, or (with `plainOnly`) a quoted or tagged scalar.
  std::optional<std::string> ScalarText(const std::string& key, const std::string& wanted, bool plainOnly);

  YAML::Node m_node;
  std::string m_path;
  DescriptionErrors* m_errors;
  std::map<std::string, YAML::Node> m_values;  // first occurrence of each known key
};

}  // namespace storageio_cli
