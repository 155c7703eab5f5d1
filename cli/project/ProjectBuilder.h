#pragma once
// ProjectBuilder: builds a storage test project in the host's object model, by name, as any host
// client does: objects made by class name, properties set by name, relations by name. The command
// line, the end-to-end tests and the benchmarks all build their projects through it.
//
// The layout it makes is the one the storage plug-in counts on:
// - every port is reserved for testing, so the plug-in's commands take it;
// - every worker sits on an emulated device of its own, because learn attaches targets only to a
//   device's first worker and a port's result counts only that worker;
// - a worker that is given no profile keeps the project's default profile, which the plug-in
//   attaches to every new worker.
//
// Requires the plug-in to be loaded (its classes registered with the host) and works on the
// host's current active project, on the business-layer thread. Every method throws
// std::runtime_error naming what the host refused (an unknown class, property or relation, a value
// it cannot parse); objects made before the failure stay in the project.

#include <map>
#include <string>
#include <vector>

#include "kel/core/Port.h"
#include "kel/framework/Command.h"
#include "kel/framework/Scriptable.h"
#include "kel/framework/ScriptableAutoPtr.h"

namespace storageio_project {

using kel::framework::CScriptable;
using kel::framework::ScriptableVec;

// Property values by the names of the host's class description, as text ("4096", "true").
using PropertyTexts = std::map<std::string, std::string>;

class ProjectBuilder {
 public:
  // A port reserved for testing, reached at `location` ("inproc", "inproc://P1",
  // "tcp://10.0.0.7:7100"); in the physical port group `portGroup` unless it is empty.
  static kel::core::CPort& AddPort(const std::string& name, const std::string& location,
                                   const std::string& portGroup = "");

  // A profile of the project with `properties` set (StorageWorkerProfile's names).
  static CScriptable& AddProfile(const std::string& name, const PropertyTexts& properties = {});

  // A worker on `port`, on an emulated device of its own named "<name> device", with `properties`
  // set (StorageWorkerConfig's names). With a profile it uses that one instead of the default.
  static CScriptable& AddWorker(const std::string& name, kel::core::CPort& port, CScriptable* profile = nullptr,
                                const PropertyTexts& properties = {});

  // Sets properties by name on any object.
  static void Set(CScriptable& object, const PropertyTexts& properties);

  // A discovered target under `worker`, as learn would make it, related to the worker. For
  // projects that run without learning (benchmarks, simulations).
  static CScriptable& AddTarget(CScriptable& worker, const PropertyTexts& properties);

  // Relates `worker` to `targets` (its learned targets), so that the worker exercises them.
  static void UseTargets(CScriptable& worker, const ScriptableVec& targets);

  // A command of a class the host knows by name, owned by the caller.
  using Command = kel::framework::CScriptableAutoPtr<kel::framework::CCommand>;
  static Command MakeCommand(const std::string& className);
  // The learn command for `ports`, the start command for `workers` (a duration in seconds; with
  // learn-first, learn and apply come first), the stop command, the apply command (validate-only:
  // the verdict alone).
  static Command MakeLearn(const std::vector<kel::core::CPort*>& ports);
  static Command MakeStart(const std::vector<kel::framework::Handle>& workers, unsigned durationSeconds,
                           bool learnFirst);
  static Command MakeStop();
  static Command MakeApply(bool validateOnly = false);

  // ---- Reading the model back ----
  // The port a worker's device sits on; throws when it has none.
  static kel::core::CPort& PortOf(const CScriptable& worker);
  // The profile a worker uses; null when it has none.
  static CScriptable* ProfileOf(const CScriptable& worker);
  // The targets learn put under `worker`, in child order.
  static ScriptableVec LearnedTargetsOf(const CScriptable& worker);
  // The objects of class `className` below the project, in the host's order.
  static ScriptableVec ObjectsOf(const std::string& className);

  // ---- Names of the host's model ----
  static kel::framework::ClassId ClassIdOf(const std::string& className);
  static kel::framework::RelationType Relation(const std::string& relationName);
  // An object of a class the host knows by name, below `parent` (none for commands).
  static CScriptable& Make(const std::string& className, CScriptable* parent);
};

}  // namespace storageio_project
