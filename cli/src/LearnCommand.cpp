#include "LearnCommand.h"

#include <iomanip>
#include <optional>

#include "ExitCodes.h"
#include "ProjectBuilder.h"
#include "SessionSteps.h"
#include "kel/core/PortChannels.h"

namespace storageio_cli {

namespace {

using kel::framework::CScriptable;
using storageio_project::ProjectBuilder;

std::string TypeName(const std::string& typeValue) {
  switch (std::stoul(typeValue)) {
    case 0x8c000000:
      return "physical disk";
    case 0x8a000000:
      return "logical disk";
    case 0x88000000:
      return "disk";
    default:
      return "other";
  }
}

void WriteTargets(std::ostream& out, const ProjectPort& port) {
  out << port.description->name << " (" << port.location << ")\n";
  for (const CScriptable* worker : ProjectBuilder::ObjectsOf("StorageWorkerConfig")) {
    if (&ProjectBuilder::PortOf(*worker) != port.port) continue;
    for (const CScriptable* target : ProjectBuilder::LearnedTargetsOf(*worker)) {
      out << "  " << std::left << std::setw(40) << target->Get("VolumeName") << " " << std::setw(14)
          << TypeName(target->Get("TargetType")) << std::right << " sector " << std::setw(5) << target->Get("SectorSize")
          << "  " << target->Get("Size") << " bytes\n";
    }
  }
}

}  // namespace

int LearnPorts(const LearnOptions& options, std::ostream& out, std::ostream& err) {
  const std::optional<TestDescription> description = LoadDescription(options.descriptionPath, err);
  if (!description) return kExitRefused;
  LoadPlugin(options.pluginPath);
  try {
    TestProject::RegisterTransports(*description);
    TestProject project(*description, TestProject::WorkerLayout::OnePerPort);
    const bool noGivingUp = false;
    const bool allAnswer =
        ConnectPorts(project, static_cast<std::int64_t>(options.connectTimeoutS * 1000), noGivingUp, err);
    const ProjectBuilder::Command learn = LearnTargets(project);
    for (const ProjectPort& port : project.Ports()) {
      if (port.port->IsOnline()) WriteTargets(out, port);
    }
    kel::core::CPortChannels::Instance().Clear();
    return allAnswer ? kExitCompleted : kExitFailed;
  } catch (const ProjectError& refused) {
    err << refused.what() << "\n";
    return kExitRefused;
  }
}

}  // namespace storageio_cli
