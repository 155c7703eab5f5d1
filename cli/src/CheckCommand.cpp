#include "CheckCommand.h"

#include <optional>

#include "ExitCodes.h"
#include "ProjectBuilder.h"
#include "SessionSteps.h"
#include "kel/framework/Exceptions.h"

namespace storageio_cli {

using storageio_project::ProjectBuilder;

int CheckDescription(const std::string& descriptionPath, const std::string& pluginPath, std::ostream& out,
                     std::ostream& err) {
  const std::optional<TestDescription> description = LoadDescription(descriptionPath, err);
  if (!description) return kExitRefused;
  LoadPlugin(pluginPath);
  try {
    // No transport is registered, so no port is ever reached.
    const TestProject project(*description);
    ProjectBuilder::MakeApply(/*validateOnly=*/true)->Execute(false);
  } catch (const ProjectError& refused) {
    err << refused.what() << "\n";
    return kExitRefused;
  } catch (const kel::framework::CKelException& refused) {
    err << refused.what() << "\n";
    return kExitRefused;
  }
  out << descriptionPath << ": valid (" << description->ports.size() << " port(s), " << description->profiles.size()
      << " profile(s), " << description->workers.size() << " worker(s))\n";
  return kExitCompleted;
}

}  // namespace storageio_cli
