#include "TestProject.h"

#include <map>
#include <optional>

#include "ProjectBuilder.h"
#include "port/engines/IoUringEngine.h"
#include "port/engines/TargetInfo.h"
#include "port/targets/TargetEntry.h"
#include "port/transports/InProcessTransport.h"
#include "port/transports/zmq/CurveKeys.h"
#include "port/transports/zmq/ZmqTransport.h"

namespace storageio_cli {

namespace {

using storageio_project::ProjectBuilder;
using storageio_project::PropertyTexts;

// A model port's disks: the target's path as its name, its size in 512-byte sectors.
constexpr std::uint32_t kModelSectorSize = 512;

std::vector<storageio_port::TargetInfo> TargetsOf(const PortDescription& port) {
  std::vector<storageio_port::TargetInfo> targets;
  for (const TargetDescription& target : port.targets) {
    const std::string where = "port " + port.name + ": target " + target.path;
    if (port.engine == EngineKind::Model) {
      const std::uint64_t sectors = target.sizeBytes.value_or(0) / kModelSectorSize;
      if (sectors == 0) throw ProjectError(where + ": a model target needs a size of at least 512 bytes");
      targets.push_back(storageio_port::ModelDisk(target.path, kModelSectorSize, sectors,
                                                  storageio_port::DiskType::LogicalDisk));
      continue;
    }
    storageio_port::TargetEntry entry;
    entry.path = target.path;
    entry.sizeBytes = target.sizeBytes.value_or(0);
    entry.buffered = target.buffered.value_or(false);
    try {
      // Embedded ports never write to block devices: that takes an agent and its explicit flag.
      targets.push_back(storageio_port::RealTarget(entry, /*allowBlockDeviceWrites=*/false));
    } catch (const std::exception& refused) {
      throw ProjectError(where + ": " + refused.what());
    }
  }
  return targets;
}

// Throws ProjectError, in one line that names the fix, when this process may not use io_uring.
void RequireIoUring(const PortDescription& port) {
  try {
    storageio_port::IoUringEngine probe;
  } catch (const storageio_port::EngineError& refused) {
    throw ProjectError("port " + port.name + ": this system refuses io_uring (" + refused.what() +
                       "); allow it (sysctl kernel.io_uring_disabled=0, or a container profile that permits "
                       "io_uring), or try examples/model.yaml, which touches no disk");
  }
}

storageio_port::InProcessSetup SetupOf(const PortDescription& port) {
  if (port.engine == EngineKind::IoUring) RequireIoUring(port);
  storageio_port::InProcessSetup setup;
  setup.engine = port.engine == EngineKind::Model ? storageio_port::InProcessSetup::Engine::Model
                                                  : storageio_port::InProcessSetup::Engine::IoUring;
  if (port.modelSpeedMBps) setup.device.speedMBps = *port.modelSpeedMBps;
  if (port.modelLatencyMs) setup.device.latencyMs = *port.modelLatencyMs;
  setup.firmware.targets = TargetsOf(port);
  return setup;
}

storageio_port::ClientKeys KeysOf(const PortDescription& port) {
  try {
    return storageio_port::ClientKeys{storageio_port::ReadPublicKey(*port.serverKeyFile),
                                      storageio_port::ReadKeyPair(*port.clientKeyFile)};
  } catch (const std::exception& refused) {
    throw ProjectError("port " + port.name + ": " + refused.what());
  }
}

// Sets the property to the value the description gives; a value left out keeps the data
// model's default.
template <class Number>
void SetIfGiven(PropertyTexts& properties, const char* name, const std::optional<Number>& value) {
  if (value) properties[name] = std::to_string(*value);
}

// The description's readable names, turned into the data model's properties.
PropertyTexts ProfileProperties(const ProfileDescription& profile) {
  PropertyTexts properties;
  const auto set = [&](const char* name, const auto& value) { SetIfGiven(properties, name, value); };
  set("TransferRequestSize", profile.transferSize);
  set("PercentReadDistribution", profile.readPercent);
  set("PercentRandomDistribution", profile.randomPercent);
  set("TransferDelay", profile.transferDelayMs);
  set("BurstLength", profile.burstLength);
  if (profile.align) {
    // 0 stands for "align: false": offsets then align on the target's sector size.
    properties["EnableAlignIOs"] = *profile.align != 0 ? "true" : "false";
    if (*profile.align != 0) set("AlignIOs", profile.align);
  }
  if (profile.replySize) {
    properties["EnableReplySize"] = "true";
    set("ReplySize", profile.replySize);
  }
  return properties;
}

PropertyTexts WorkerProperties(const WorkerDescription& worker) {
  PropertyTexts properties;
  const auto set = [&](const char* name, const auto& value) { SetIfGiven(properties, name, value); };
  set("OutstandingIOsPerTargetCount", worker.queueDepth);
  set("StartingDiskSector", worker.startSector);
  set("MaximumDiskSize", worker.sectors);
  if (worker.transactionsPerConnection) {
    properties["EnableTestConnectionRate"] = "true";
    set("TransactionsPerConnection", worker.transactionsPerConnection);
  }
  properties["Active"] = worker.active ? "true" : "false";
  return properties;
}

}  // namespace

std::string TestProject::LocationOf(const PortDescription& port) {
  return port.kind == PortKind::Embedded ? "inproc://" + port.name : port.endpoint;
}

void TestProject::RegisterTransports(const TestDescription& description) {
  std::map<std::string, storageio_port::InProcessSetup> embedded;
  std::map<std::string, storageio_port::ClientKeys> keys;
  for (const PortDescription& port : description.ports) {
    if (port.kind == PortKind::Embedded) {
      embedded.emplace(LocationOf(port), SetupOf(port));
    } else if (port.serverKeyFile.has_value() != port.clientKeyFile.has_value()) {
      throw ProjectError("port " + port.name + ": CURVE needs both server_key and client_key");
    } else if (port.serverKeyFile) {
      keys.emplace(port.endpoint, KeysOf(port));
    }
  }
  try {
    storageio_port::RegisterInProcessTransport(storageio_port::InProcessSetup(), embedded);
  } catch (const std::invalid_argument& refused) {
    throw ProjectError(refused.what());
  }
  storageio_port::RegisterZmqTransport(std::move(keys));
}

TestProject::TestProject(const TestDescription& description, WorkerLayout workers) {
  try {
    m_ports.reserve(description.ports.size());
    for (const PortDescription& port : description.ports) {
      const std::string location = LocationOf(port);
      m_ports.push_back(
          ProjectPort{&port, &ProjectBuilder::AddPort(port.name, location, port.portGroup.value_or("")), location});
    }
    if (workers == WorkerLayout::OnePerPort) {
      for (ProjectPort& port : m_ports) {
        ProjectBuilder::AddWorker(port.description->name + " targets", *port.port);
      }
      return;
    }
    std::map<std::string, kel::framework::CScriptable*> profiles;
    for (const ProfileDescription& profile : description.profiles) {
      profiles[profile.name] = &ProjectBuilder::AddProfile(profile.name, ProfileProperties(profile));
    }
    for (const WorkerDescription& worker : description.workers) {
      ProjectPort* port = FindPort(worker.port);
      if (port == nullptr) throw ProjectError("worker " + worker.name + ": no port is named " + worker.port);
      kel::framework::CScriptable* profile = worker.profile ? profiles.at(*worker.profile) : nullptr;
      m_workers.push_back(ProjectWorker{
          &worker, &ProjectBuilder::AddWorker(worker.name, *port->port, profile, WorkerProperties(worker)), port});
    }
  } catch (const ProjectError&) {
    throw;
  } catch (const std::exception& refused) {
    throw ProjectError(refused.what());
  }
}

ProjectPort* TestProject::FindPort(const std::string& name) {
  for (ProjectPort& port : m_ports) {
    if (port.description->name == name) return &port;
  }
  return nullptr;
}

std::vector<kel::framework::Handle> TestProject::ActiveWorkerHandles() const {
  std::vector<kel::framework::Handle> handles;
  for (const ProjectWorker& worker : m_workers) {
    if (worker.description->active) handles.push_back(worker.worker->GetHandle());
  }
  return handles;
}

}  // namespace storageio_cli
