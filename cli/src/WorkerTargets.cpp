#include "WorkerTargets.h"

#include "ProjectBuilder.h"

namespace storageio_cli {

namespace {

using kel::framework::CScriptable;
using storageio_project::ProjectBuilder;

std::uint64_t Whole(const CScriptable& object, const char* property) {
  return std::stoull(object.Get(property));
}

bool IsBuffered(const ProjectWorker& worker, const std::string& targetName) {
  for (const TargetDescription& target : worker.port->description->targets) {
    if (target.path == targetName) return target.buffered.value_or(false);
  }
  return false;
}

}  // namespace

std::vector<std::string> RelateTargets(TestProject& project) {
  std::vector<std::string> errors;
  for (ProjectWorker& worker : project.Workers()) {
    const kel::framework::ScriptableVec learned = ProjectBuilder::LearnedTargetsOf(*worker.worker);
    kel::framework::ScriptableVec used;
    for (const std::string& name : worker.description->targets) {
      CScriptable* found = nullptr;
      for (CScriptable* target : learned) {
        if (target->Get("VolumeName") == name) {
          found = target;
          break;
        }
      }
      if (found != nullptr) {
        used.push_back(found);
        continue;
      }
      std::string reported;
      for (const CScriptable* target : learned) reported += (reported.empty() ? "" : ", ") + target->Get("VolumeName");
      errors.push_back("worker " + worker.description->name + ": port " + worker.port->description->name +
                       " reports no target " + name + "; it reports " + (reported.empty() ? "none" : reported));
    }
    ProjectBuilder::UseTargets(*worker.worker, used);
  }
  return errors;
}

std::vector<std::string> RefusalsOf(const TargetLoadFigures& load) {
  std::vector<std::string> refusals;
  if (load.transferSize == 0) refusals.push_back("the transfer size is 0");
  if (load.startSector >= load.targetSectors) {
    refusals.push_back("start sector " + std::to_string(load.startSector) + " lies at or past the end of the target (" +
                       std::to_string(load.targetSectors) + " sectors)");
  } else if (load.transferSize != 0) {
    const std::uint64_t left = load.targetSectors - load.startSector;
    const std::uint64_t sectors = load.sectors == 0 ? left : std::min(load.sectors, left);
    if (sectors * load.sectorSize < load.transferSize) {
      refusals.push_back("the disk range of " + std::to_string(sectors) + " sectors cannot hold one transfer of " +
                         std::to_string(load.transferSize) + " bytes");
    }
  }
  if (load.direct && load.sectorSize != 0) {
    if (load.transferSize % load.sectorSize != 0) {
      refusals.push_back("transfer size " + std::to_string(load.transferSize) + " is not a multiple of the sector size " +
                         std::to_string(load.sectorSize) + ", which direct I/O needs");
    }
    if (load.alignment % load.sectorSize != 0) {
      refusals.push_back("alignment " + std::to_string(load.alignment) + " is not a multiple of the sector size " +
                         std::to_string(load.sectorSize) + ", which direct I/O needs");
    }
  }
  return refusals;
}

std::vector<std::string> PortRefusals(const TestProject& project) {
  std::vector<std::string> refusals;
  for (const ProjectWorker& worker : project.Workers()) {
    if (!worker.description->active) continue;
    const CScriptable* profile = ProjectBuilder::ProfileOf(*worker.worker);
    if (profile == nullptr) continue;  // the plug-in's validation refuses it in its own words
    kel::framework::ScriptableVec targets;
    worker.worker->GetObjects(targets, ProjectBuilder::ClassIdOf("StorageDiscoveredTargets"),
                              ProjectBuilder::Relation("UsesTarget"));
    for (const CScriptable* target : targets) {
      TargetLoadFigures load;
      load.transferSize = Whole(*profile, "TransferRequestSize");
      load.alignment = profile->Get("EnableAlignIOs") == "true" ? Whole(*profile, "AlignIOs") : 0;
      load.startSector = Whole(*worker.worker, "StartingDiskSector");
      load.sectors = Whole(*worker.worker, "MaximumDiskSize");
      load.sectorSize = Whole(*target, "SectorSize");
      load.targetSectors = load.sectorSize == 0 ? 0 : Whole(*target, "Size") / load.sectorSize;
      const std::string name = target->Get("VolumeName");
      load.direct = worker.port->description->kind == PortKind::Agent ||
                    (worker.port->description->engine == EngineKind::IoUring && !IsBuffered(worker, name));
      for (const std::string& refusal : RefusalsOf(load)) {
        refusals.push_back("worker " + worker.description->name + " on target " + name + ": " + refusal);
      }
    }
  }
  return refusals;
}

}  // namespace storageio_cli
