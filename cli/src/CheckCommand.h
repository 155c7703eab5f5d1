#pragma once
// `storageio check TEST.yaml`: the description and the project it makes, checked as the plug-in
// validates it, without reaching any port.

#include <ostream>
#include <string>

namespace storageio_cli {

// Validates the description, then the project through a validate-only apply. Returns 0 when both
// are accepted, 2 otherwise, with every error written to `err`.
int CheckDescription(const std::string& descriptionPath, const std::string& pluginPath, std::ostream& out,
                     std::ostream& err);

}  // namespace storageio_cli
