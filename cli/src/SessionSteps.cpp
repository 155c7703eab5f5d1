#include "SessionSteps.h"

#include <algorithm>
#include <stdexcept>

#include "kel/framework/TaskManager.h"

namespace storageio_cli {

namespace {

// How often the loop looks at the ports while they connect.
constexpr std::int64_t kConnectPollMs = 20;

}  // namespace

std::optional<TestDescription> LoadDescription(const std::string& path, std::ostream& err) {
  LoadResult loaded = LoadTestDescriptionFile(path);
  for (const DescriptionError& error : loaded.errors) err << error.Text() << "\n";
  return std::move(loaded.description);
}

kel::framework::PluginInfo LoadPlugin(const std::string& path, bool virtualClock) {
  kel::framework::PluginInfo plugin = kel::framework::CPluginLoader::Instance().Load(path);
  if (plugin.registerResult != 0) {
    throw std::runtime_error("the plug-in " + path + " refused to register (" + std::to_string(plugin.registerResult) +
                             ")");
  }
  using Clock = kel::framework::CTaskManager::ClockMode;
  const Clock clock = virtualClock ? Clock::Virtual : Clock::Real;
  kel::framework::CTaskManager& loop = kel::framework::CTaskManager::Instance();
  if (loop.GetClockMode() != clock) loop.SetClockMode(clock);
  return plugin;
}

bool ConnectPorts(TestProject& project, std::int64_t timeoutMs, const bool& giveUp, std::ostream& err) {
  kel::framework::CTaskManager& loop = kel::framework::CTaskManager::Instance();
  const auto allOnline = [&] {
    return std::all_of(project.Ports().begin(), project.Ports().end(),
                       [](const ProjectPort& port) { return port.port->IsOnline(); });
  };
  const std::int64_t deadline = loop.NowMs() + timeoutMs;
  while (!allOnline() && !giveUp && loop.NowMs() < deadline) loop.RunFor(kConnectPollMs);
  if (allOnline()) return true;
  if (giveUp) return false;
  for (const ProjectPort& port : project.Ports()) {
    if (!port.port->IsOnline()) err << port.description->name << ": " << port.location << " does not answer\n";
  }
  return false;
}

storageio_project::ProjectBuilder::Command LearnTargets(TestProject& project) {
  std::vector<kel::core::CPort*> ports;
  for (ProjectPort& port : project.Ports()) ports.push_back(port.port);
  storageio_project::ProjectBuilder::Command learn = storageio_project::ProjectBuilder::MakeLearn(ports);
  learn->Execute(false);
  return learn;
}

}  // namespace storageio_cli
