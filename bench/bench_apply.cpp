// Applying a large new storage configuration to the ports: 1,000 workers with 8 targets each over
// 100 ports, one profile per 100 workers, every port's channel a recorder, through the apply
// command as the user runs it. It must take under 100 ms on one core. The argument is the number
// of workers, so the run at 10,000 shows how the apply grows.
//
// Only the apply command is timed: building the project before it and delivering the ports'
// replies after it are not.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "StorageDiscoveredTargets.h"
#include "StorageIOIds.h"
#include "StorageIOProtocol.h"
#include "StorageWorkerConfig.h"
#include "StorageWorkerProfile.h"
#include "kel/core/ApplyToILCommand.h"
#include "kel/core/EmulatedDevice.h"
#include "kel/core/Port.h"
#include "kel/core/PortChannels.h"
#include "kel/core/ProtocolModule.h"
#include "kel/core/RecorderMessenger.h"
#include "kel/framework/HostClassIds.h"
#include "kel/framework/KelSystem.h"
#include "kel/framework/Project.h"
#include "kel/framework/ScriptableAutoPtr.h"
#include "kel/framework/ScriptableCreator.h"
#include "kel/framework/TaskManager.h"

namespace {

using kel::framework::CScriptable;
using kel::framework::CScriptableCreator;
using kel::storageio::CStorageIOProtocol;

constexpr int kPorts = 100;
constexpr int kTargetsPerWorker = 8;
constexpr int kWorkersPerProfile = 100;

template <class T>
T* Make(kel::framework::ClassId classId, CScriptable* parent) {
  return static_cast<T*>(CScriptableCreator().Create(classId, parent));
}

// A fresh project of `workers` new workers, spread evenly over the ports, and a fresh protocol.
void BuildProject(int workers) {
  kel::framework::CKelSystem::Instance().ResetProject();
  CStorageIOProtocol::DeleteInstance();
  kel::core::CProtocolModule::Instance().RegisterProtocol(CStorageIOProtocol::Instance());
  kel::framework::CProject& project = kel::framework::CProject::Instance();

  std::vector<kel::core::CPort*> ports;
  for (int i = 0; i < kPorts; ++i) {
    auto* port = Make<kel::core::CPort>(kel::framework::classid::Port, &project);
    port->Set(kel::framework::prop::Name, "Port " + std::to_string(i + 1));
    port->Set(kel::core::prop::ReservedForTesting, true);
    kel::core::CPortChannels::Instance().Attach(*port, std::make_unique<kel::core::CRecorderMessenger>());
    ports.push_back(port);
  }
  for (int w = 0; w < workers; ++w) {
    // Each new worker takes the protocol's default profile: a new one for every hundred workers.
    if (w % kWorkersPerProfile == 0) {
      CStorageIOProtocol::Instance()->SetDefaultProfile(
          Make<kel::storageio::CStorageWorkerProfile>(kel::storageio::CStorageWorkerProfile::CLASS_ID(), &project));
    }
    auto* device = Make<kel::core::CEmulatedDevice>(kel::framework::classid::EmulatedDevice, &project);
    device->SetPort(ports[w % kPorts]);
    auto* worker = Make<kel::storageio::CStorageWorkerConfig>(kel::storageio::CStorageWorkerConfig::CLASS_ID(), device);
    for (int t = 0; t < kTargetsPerWorker; ++t) {
      auto* target = Make<kel::storageio::CStorageDiscoveredTargets>(
          kel::storageio::CStorageDiscoveredTargets::CLASS_ID(), worker);
      target->Set(0x86003003, "PhysicalDrive" + std::to_string(t));
      target->Set(0x8600300a, 0x8c000000u);
      worker->AddObject(*target, kel::framework::RelationType(kel::storageio::kWorkerToTarget));
    }
  }
}

void BM_ApplyNewConfiguration(benchmark::State& state) {
  kel::framework::CTaskManager& tasks = kel::framework::CTaskManager::Instance();
  tasks.Reset();
  tasks.SetClockMode(kel::framework::CTaskManager::ClockMode::Virtual);
  const int workers = static_cast<int>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    BuildProject(workers);
    kel::framework::CScriptableAutoPtr<kel::core::CApplyToILCommand> apply(
        Make<kel::core::CApplyToILCommand>(kel::core::CApplyToILCommand::CLASS_ID(), nullptr));
    state.ResumeTiming();

    apply->Execute(false);

    state.PauseTiming();
    if (apply->GetRunnableState() != kel::framework::CRunnable::STATE_COMPLETED) state.SkipWithError("apply failed");
    tasks.RunUntilIdle();
    state.ResumeTiming();
  }
  state.counters["workers"] = workers;
  state.counters["targets"] = workers * kTargetsPerWorker;
}

BENCHMARK(BM_ApplyNewConfiguration)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
