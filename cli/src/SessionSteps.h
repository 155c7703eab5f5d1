#pragma once
// The steps that `storageio run`, `learn` and `check` share, in the order they take them: read the
// description, load the plug-in, reach the ports, learn their targets.

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

#include "TestDescription.h"
#include "TestProject.h"
#include "kel/framework/PluginLoader.h"
#include "ProjectBuilder.h"

namespace storageio_cli {

// The description at `path`, or nullopt after writing every error to `err`, one line each.
std::optional<TestDescription> LoadDescription(const std::string& path, std::ostream& err);

// Loads the plug-in at `path` through the host's loader and puts the host on the real clock (or the
// virtual one). Throws std::runtime_error when the plug-in refuses to register.
kel::framework::PluginInfo LoadPlugin(const std::string& path, bool virtualClock = false);

// Runs the loop until every port of `project` is online, for at most `timeoutMs`, or until
// `giveUp` turns true. Writes "PORT: LOCATION does not answer" to `err` for each port still
// offline and returns false then.
bool ConnectPorts(TestProject& project, std::int64_t timeoutMs, const bool& giveUp, std::ostream& err);

// Runs the learn command over every port of `project` and returns it: the caller keeps it for as
// long as the ports may still answer it.
storageio_project::ProjectBuilder::Command LearnTargets(TestProject& project);

}  // namespace storageio_cli
