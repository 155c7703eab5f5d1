#pragma once
// What a loaded plug-in registered with the host, as text for a terminal.

#include <ostream>

#include "kel/framework/PluginLoader.h"

namespace storageio_cli {

// Writes the plug-in's version, the protocols and result handlers registered with the host, the
// classes of `idBlock` and the string resources of that block.
void WriteRegistrationReport(std::ostream& out, const kel::framework::PluginInfo& plugin, unsigned idBlock);

}  // namespace storageio_cli
