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

#include "PhysicalDrive.h"
#include "ProjectBuilder.h"
#include "StorageIOProtocol.h"
#include "StorageWorkerProfile.h"
#include "kel/core/Port.h"
#include "kel/core/PortChannels.h"
#include "kel/core/ProtocolModule.h"
#include "kel/core/RecorderMessenger.h"
#include "kel/framework/KelSystem.h"
#include "kel/framework/TaskManager.h"

namespace {

using kel::framework::CScriptable;
using kel::storageio::CStorageIOProtocol;
using storageio_project::ProjectBuilder;

constexpr int kPorts = 100;
constexpr int kTargetsPerWorker = 8;
constexpr int kWorkersPerProfile = 100;

// A fresh project of `workers` new workers, spread evenly over the ports, and a fresh protocol.
void BuildProject(int workers) {
  kel::framework::CKelSystem::Instance().ResetProject();
  CStorageIOProtocol::DeleteInstance();
  kel::core::CProtocolModule::Instance().RegisterProtocol(CStorageIOProtocol::Instance());

  std::vector<kel::core::CPort*> ports;
  for (int i = 0; i < kPorts; ++i) {
    // The host's default location; the recorder attached next is the port's channel.
    kel::core::CPort& port = ProjectBuilder::AddPort("Port " + std::to_string(i + 1), "inproc");
    kel::core::CPortChannels::Instance().Attach(port, std::make_unique<kel::core::CRecorderMessenger>());
    ports.push_back(&port);
  }
  for (int w = 0; w < workers; ++w) {
    // Each new worker takes the protocol's default profile: a new one for every hundred workers.
    if (w % kWorkersPerProfile == 0) {
      CScriptable& profile = ProjectBuilder::AddProfile("Profile " + std::to_string(w / kWorkersPerProfile + 1));
      CStorageIOProtocol::Instance()->SetDefaultProfile(&dynamic_cast<kel::storageio::CStorageWorkerProfile&>(profile));
    }
    CScriptable& worker = ProjectBuilder::AddWorker("Worker " + std::to_string(w + 1), *ports[w % kPorts]);
    for (int t = 0; t < kTargetsPerWorker; ++t) ProjectBuilder::AddTarget(worker, PhysicalDrive(t));
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
    const ProjectBuilder::Command apply = ProjectBuilder::MakeApply();
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
