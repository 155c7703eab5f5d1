#pragma once
// TestProject: a test description made real in the host: the transports that reach its ports,
// and the project of ports, profiles and workers (through the ProjectBuilder).
//
// Embedded ports are served in this process, each at the Location "inproc://<port name>" with its
// own targets and engine; agents are reached over ZeroMQ at their endpoints with their keys.

#include <stdexcept>
#include <string>
#include <vector>

#include "TestDescription.h"
#include "kel/core/Port.h"
#include "kel/framework/Scriptable.h"

namespace storageio_cli {

// A refusal of the description by what it names outside the file: a target the port cannot serve,
// a key file that cannot be read, a value the host's data model refuses. The text names the port,
// worker or profile and what is wrong.
class ProjectError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct ProjectPort {
  const PortDescription* description;
  kel::core::CPort* port;
  std::string location;
};

struct ProjectWorker {
  const WorkerDescription* description;
  kel::framework::CScriptable* worker;
  ProjectPort* port;
};

class TestProject {
 public:
  // Registers the "inproc" and "tcp" transports for the description's ports: embedded targets are
  // resolved (and model disks made) now. Throws ProjectError.
  static void RegisterTransports(const TestDescription& description);

  // The workers to build: the description's, or one per port to learn what each port reports.
  enum class WorkerLayout { AsDescribed, OnePerPort };

  // Builds the project in the host's current active project. Requires the plug-in to be loaded;
  // `description` must outlive the object. Throws ProjectError.
  explicit TestProject(const TestDescription& description, WorkerLayout workers = WorkerLayout::AsDescribed);

  std::vector<ProjectPort>& Ports() { return m_ports; }
  const std::vector<ProjectPort>& Ports() const { return m_ports; }
  std::vector<ProjectWorker>& Workers() { return m_workers; }
  const std::vector<ProjectWorker>& Workers() const { return m_workers; }
  // The port of that name; null when there is none.
  ProjectPort* FindPort(const std::string& name);
  // The handles of the active workers, as the start command takes them.
  std::vector<kel::framework::Handle> ActiveWorkerHandles() const;

  // The location a port of the description is reached at.
  static std::string LocationOf(const PortDescription& port);

 private:
  std::vector<ProjectPort> m_ports;
  std::vector<ProjectWorker> m_workers;
};

}  // namespace storageio_cli
