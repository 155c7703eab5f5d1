#include "port/targets/TargetError.h"

#include <cstring>

namespace storageio_port {

std::string ErrnoText(int error) {
  // The _np lookups return static strings, so they are safe from any thread, unlike strerror.
  const char* description = strerrordesc_np(error);
  const char* name = strerrorname_np(error);
  if (description == nullptr || name == nullptr) return "error " + std::to_string(error);
  return std::string(description) + " (" + name + ")";
}

}  // namespace storageio_port
