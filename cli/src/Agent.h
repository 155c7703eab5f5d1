#pragma once
// `storageio agent`: a storage test port served from this machine to a host elsewhere
// (StorageAgent), and `storageio agent keygen`: a CURVE key pair for an agent or a client.

#include <ostream>
#include <string>

#include "port/agent/StorageAgent.h"

namespace storageio_cli {

// Runs the agent until SIGTERM or SIGINT. Writes the bound endpoint as the first line of `out`,
// and the agent's log to standard error. Returns the process's exit status: 0 after a signal
// (a running test ended as if its duration had elapsed, or Failure while it was laying out its
// files), 2 for options the agent must not run with, 1 when it cannot start otherwise.
int RunAgent(const storageio_port::AgentOptions& options, std::ostream& out);

// Writes a key pair to `path` and its public half to `path`.pub. Returns 0, or 1 with a message on
// standard error.
int WriteAgentKeys(const std::string& path, std::ostream& out);

}  // namespace storageio_cli
