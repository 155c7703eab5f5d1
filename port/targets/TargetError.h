#pragma once
// The errors of the storage targets: TargetError says which target cannot be used and why, in a
// text meant for the operator; LayoutCancelled is the one case a caller may want to tell apart.

#include <stdexcept>
#include <string>

namespace storageio_port {

class TargetError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A layout stopped because its cancel flag was set. Still a TargetError, so code that only
// reports failures needs no second catch.
class LayoutCancelled : public TargetError {
 public:
  using TargetError::TargetError;
};

// The system's text for an errno value with its name, e.g. "No space left on device (ENOSPC)".
// Never throws; an unknown value gives "error <number>".
std::string ErrnoText(int error);

}  // namespace storageio_port
