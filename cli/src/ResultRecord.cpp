#include "ResultRecord.h"

namespace storageio_cli {

const char* LevelName(ResultLevel level) {
  switch (level) {
    case ResultLevel::Project: return "project";
    case ResultLevel::Port: return "port";
    case ResultLevel::Profile: return "profile";
    case ResultLevel::Worker: return "worker";
    case ResultLevel::Target: return "target";
  }
  return "?";
}

double NumberAt(const std::vector<ResultValue>& values, std::size_t index) {
  if (index >= values.size()) return 0;
  return std::visit([](auto value) { return static_cast<double>(value); }, values[index]);
}

}  // namespace storageio_cli
