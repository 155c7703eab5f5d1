#pragma once
// The fixture of the end-to-end tests. They reach the storage I/O plug-in only as a user's script
// does: the library loaded by path through the host, objects made by class name, properties set by
// name, commands run through the host, results followed through the host's result module, and the
// log lines read back from a memory sink. No plug-in header is included.
//
// Every test starts on an empty project at virtual time 0, with the embedded in-process ports
// ("inproc", the default setup) and silent ports ("silent": requests are taken and never answered)
// available. TearDown empties the project, the port channels and the event loop again. The
// plug-in's protocol lives for the process, so a test must leave no storage test running.

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ProjectBuilder.h"
#include "kel/core/Port.h"
#include "kel/core/RecorderMessenger.h"
#include "kel/framework/Command.h"
#include "kel/framework/LogSinks.h"
#include "kel/framework/TaskManager.h"
#include "port/transports/InProcessTransport.h"

namespace storageio_e2e {

using kel::framework::CScriptable;
using kel::framework::ScriptableVec;

// The plug-in's logs.
inline const char* const kUserLog = "user.StorageIO";
inline const char* const kStopUserLog = "user.storageio";
inline const char* const kDeveloperLog = "content.storage.storageio";

// The user log's last line of a storage test.
inline const char* const kTestCompleted = "The Storage test has been completed.";

// The fixture builds its projects with ProjectBuilder: the tests use its names (AddPort, AddWorker,
// PortOf, ProfileOf, LearnedTargetsOf, ClassIdOf, Relation...) as the fixture's own.
class StorageIOE2ETest : public ::testing::Test, protected storageio_project::ProjectBuilder {
 protected:
  // Loads the plug-in once for the process.
  static void SetUpTestSuite();
  void SetUp() override;
  void TearDown() override;

  // ---- Making the project ----
  // A port reserved for testing, reached at `location`, with one storage worker on it ("Worker on
  // <portName>"); returns the worker.
  static CScriptable& MakeWorkerOnNewPort(const std::string& portName, const std::string& location = "inproc");
  // An emulated device of the project on `port` with no worker: a layout the builder never makes.
  static CScriptable& MakeDevice(kel::core::CPort& port, const std::string& name);

  // ---- Commands ----
  // Made by the builder and kept by the fixture until the test ends, so a test may hold them by
  // reference while the event loop runs: a command by class name, the learn command for `ports`,
  // the start command for `workers` (duration in seconds, learn-first flag).
  kel::framework::CCommand& MakeCommand(const std::string& className);
  kel::framework::CCommand& MakeLearn(const std::vector<kel::core::CPort*>& ports);
  kel::framework::CCommand& MakeStart(const ScriptableVec& workers, unsigned durationSeconds, bool learnFirst);

  // ---- Reading the model ----
  // The first child of `parent` of a class named `className`; fails the test (throws) when there
  // is none.
  static CScriptable& Child(const CScriptable& parent, const std::string& className);
  // Whether a user interface may run the command class on the object.
  static bool Enabled(const CScriptable& object, const std::string& commandClass);
  // Every property of an object as text, by name.
  static std::map<std::string, std::string> Values(const CScriptable& object);

  // ---- Result views ----
  // What a result view was told of one result object: when, which, and its values then.
  struct SeenResult {
    std::int64_t atMs;
    kel::framework::Handle handle;
    std::map<std::string, std::string> values;
  };
  // Subscribes a result view to the results of class `resultClass` below `parents`; what it is
  // told of changed objects is kept in Seen(). TearDown unsubscribes it.
  void Subscribe(const std::string& resultClass, const ScriptableVec& parents);
  const std::vector<SeenResult>& Seen() const { return m_seen; }

  // ---- Ports ----
  static storageio_port::InProcessTransport& InProcess(kel::core::CPort& port);
  static kel::core::CRecorderMessenger& Silent(kel::core::CPort& port);

  // ---- Time and logs ----
  static kel::framework::CTaskManager& Loop() { return kel::framework::CTaskManager::Instance(); }
  // Runs `action` on the event loop `delayMs` from now: how a test acts while a command waits.
  static void At(std::int64_t delayMs, std::function<void()> action);
  const kel::framework::MemorySink& Log() const { return *m_log; }
  // The lines of a logger at a level.
  std::vector<std::string> Lines(const std::string& logger, kel::framework::LogLevelType level) const;
  // How often the logger wrote exactly that line.
  long Count(const std::string& logger, const std::string& line) const;

 private:
  // Holds `command` until TearDown.
  kel::framework::CCommand& Keep(Command command);

  std::shared_ptr<kel::framework::MemorySink> m_log;
  std::vector<Command> m_commands;
  std::vector<unsigned> m_subscriptions;
  std::vector<SeenResult> m_seen;
};

}  // namespace storageio_e2e
