#pragma once
// What the command line keeps of one storage result object, and of one change of it over time.
// Plain values, so that tables and exports work on them without touching the object model.

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "kel/framework/Types.h"

namespace storageio_cli {

enum class ResultLevel { Project, Port, Profile, Worker, Target };

// "project", "port", "profile", "worker", "target".
const char* LevelName(ResultLevel level);

// A statistics value: counters are u64, everything else double (see ResultFields.h).
using ResultValue = std::variant<std::uint64_t, double>;

struct ResultRecord {
  ResultLevel level = ResultLevel::Project;
  std::string resultClass;
  kel::framework::Handle result = 0;
  std::string owner;  // a target's owner reads "<worker name>/<VolumeName>"
  kel::framework::Handle ownerHandle = 0;
  // The port's name for a port, a worker (its device's affiliated port) and a target (its
  // worker's port); empty for a profile and the project.
  std::string port;
  // A worker's profile name; empty otherwise.
  std::string profile;
  // Handles of that port and profile (0: none). Peaks match workers to ports and profiles by
  // handle, so that two objects of the same name, or a rename, cannot mix them up.
  kel::framework::Handle portHandle = 0;
  kel::framework::Handle profileHandle = 0;
  bool active = true;  // a worker's, or a target's worker's, active flag
  bool deleted = false;
  std::vector<ResultValue> values;  // in the order of ResultFieldList()
};

struct SeriesPoint {
  std::int64_t tMs = 0;  // loop time relative to the start of the test
  ResultLevel level = ResultLevel::Project;
  std::string owner;
  std::vector<ResultValue> values;
};

// The value at `index` as a double; 0 when the record has no value there, so that a short or
// hand-made record never reads out of bounds.
double NumberAt(const std::vector<ResultValue>& values, std::size_t index);

}  // namespace storageio_cli
