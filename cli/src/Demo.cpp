#include "Demo.h"

#include <memory>

#include "RegistrationReport.h"
#include "ResultTables.h"
#include "ResultsFollower.h"
#include "UserLogPrinter.h"
#include "kel/core/EmulatedDevice.h"
#include "kel/core/Port.h"
#include "kel/framework/Command.h"
#include "kel/framework/CommandStatusManager.h"
#include "kel/framework/Exceptions.h"
#include "kel/framework/HostClassIds.h"
#include "kel/framework/Logger.h"
#include "kel/framework/PluginLoader.h"
#include "kel/framework/Project.h"
#include "kel/framework/ScriptableAutoPtr.h"
#include "kel/framework/ScriptableCreator.h"
#include "kel/framework/TaskManager.h"
#include "port/transports/InProcessTransport.h"

namespace storageio_cli {

namespace {

using kel::framework::CScriptable;
using kel::framework::CScriptableCreator;

constexpr unsigned kStorageIOBlock = 0x86000000;
constexpr std::int64_t kMostWaitAfterStartMs = 60000;

// An object of a class the host knows by name (the plug-in's classes included).
CScriptable& Make(const std::string& className, CScriptable* parent) {
  CScriptable* object = CScriptableCreator().Create(kel::framework::CMetaClassManager::Instance().GetClass(className),
                                                    parent, true, true, 0);
  if (object == nullptr) throw kel::framework::CKelRunTimeError("Cannot create a " + className);
  return *object;
}

// A reserved port on the embedded in-process firmware, with one device and one storage worker.
CScriptable& MakeWorkerOnNewPort(const std::string& portName) {
  kel::framework::CProject& project = kel::framework::CProject::GetCurrentActiveInstance();
  auto& port = static_cast<kel::core::CPort&>(Make("Port", &project));
  port.Set("Name", portName);
  port.Set("Location", "inproc");
  port.Set("ReservedForTesting", "true");
  auto& device = static_cast<kel::core::CEmulatedDevice&>(Make("EmulatedDevice", &project));
  device.Set("Name", "Host on " + portName);
  device.SetPort(&port);
  CScriptable& worker = Make("StorageWorkerConfig", &device);
  worker.Set("Name", "Worker on " + portName);
  return worker;
}

bool TestStillRunning(const std::vector<CScriptable*>& workers, kel::framework::ClassId startCommand) {
  for (const CScriptable* worker : workers) {
    if (!kel::framework::CCommandStatusManager::Instance().GetCommandStatus(worker->GetHandle(), startCommand)) {
      return true;
    }
  }
  return false;
}

}  // namespace

int RunDemo(const DemoOptions& options, std::ostream& out) {
  const kel::framework::PluginInfo plugin = kel::framework::CPluginLoader::Instance().Load(options.pluginPath);
  WriteRegistrationReport(out, plugin, kStorageIOBlock);
  storageio_port::RegisterInProcessTransport();
  kel::framework::CTaskManager& loop = kel::framework::CTaskManager::Instance();
  loop.SetClockMode(kel::framework::CTaskManager::ClockMode::Real);
  auto printer = std::make_shared<UserLogPrinter>(out);
  kel::framework::BLLLoggerFactory::GetInstance().AddSink(printer);

  std::vector<CScriptable*> workers = {&MakeWorkerOnNewPort("Port 1"), &MakeWorkerOnNewPort("Port 2")};
  // The second worker reads and writes at random offsets with a profile of its own.
  CScriptable& mixed = Make("StorageWorkerProfile", &kel::framework::CProject::GetCurrentActiveInstance());
  mixed.Set("Name", "Random 70% read");
  mixed.Set("PercentRandomDistribution", "100");
  mixed.Set("PercentReadDistribution", "70");
  const kel::framework::RelationDesc* usesProfile = kel::framework::CMetaClassManager::Instance().GetRelation("UsesProfile");
  if (usesProfile == nullptr) throw kel::framework::CKelRunTimeError("The plug-in describes no relation UsesProfile");
  workers[1]->SetObjects({&mixed}, kel::framework::RelationType(usesProfile->id), true);

  ResultsFollower results;
  const kel::framework::CMetaClass* startClass =
      kel::framework::CMetaClassManager::Instance().GetClass("StorageStartWorkerCommand");
  kel::framework::CScriptableAutoPtr<kel::framework::CCommand> start(
      static_cast<kel::framework::CCommand*>(&Make("StorageStartWorkerCommand", nullptr)));
  std::string hostList;
  for (const CScriptable* worker : workers) hostList += (hostList.empty() ? "" : " ") + std::to_string(worker->GetHandle());
  start->Set("HostList", hostList);
  start->Set("Duration", std::to_string(options.durationSeconds));
  start->Set("LearnFirst", "true");
  out << "\nStarting a " << options.durationSeconds << " s storage test on 2 ports\n";
  results.SetOrigin(loop.NowMs());
  start->Execute(false);

  // The start command returns when the ports have answered; the end of the test follows.
  const std::int64_t deadline = loop.NowMs() + kMostWaitAfterStartMs;
  while (TestStillRunning(workers, startClass->GetClassId()) && loop.NowMs() < deadline) loop.CtmYield(100, nullptr, false);
  kel::framework::BLLLoggerFactory::GetInstance().RemoveSink(printer);
  const bool completed = !TestStillRunning(workers, startClass->GetClassId());
  WriteResultTables(out, results.Records());
  out << "\n" << (completed ? "Test completed" : "Test did not complete in time") << "\n";
  return completed ? 0 : 1;
}

}  // namespace storageio_cli
