// Statistics intake during a storage test: one "BST_1.TestResultsNotification" with the records of
// 1,000 workers (on one port, each on an emulated device of its own as a real port is configured,
// spread over 10 profiles) and of their 10,000 targets, handed to the protocol's StatsHandler: worker and target results written, then
// rolled up into profile, port and project results. Speed is counted in records (11,000 per
// notification); it must reach 1 million records per second on one core.
//
// Two notifications with different figures are built with the port side's codec and passed
// through the wire format before timing, so that StatsHandler reads them as it reads what the host
// receives from a port; a first one makes the result objects. The loop alternates them, so every
// value changes at every notification, as in the steady state of a running test. The plug-in is
// registered as the host registers it, so the result module observes every result change as it
// does in the host; its publishing turn runs between iterations, untimed.
//
// After the benchmark, StatsHandler is compared in turns with a plain loop over the same records:
// copy all 11,000 and add each worker record once per level into worker, profile, port and
// project accumulators. The ratio is printed as stats_vs_plain_rollup=<x>.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "AlternatingRatio.h"
#include "PhysicalDrive.h"
#include "ProjectBuilder.h"
#include "StorageIOProtocol.h"
#include "StorageWorkerProfile.h"
#include "kel/core/Port.h"
#include "kel/core/ProtocolModule.h"
#include "kel/framework/KelSystem.h"
#include "kel/framework/TaskManager.h"
#include "msg/BST_1.h"
#include "msg/bst_1_statistics.h"
#include "tm/Tm_wire.h"

extern "C" int PluginRegister();

namespace {

using kel::framework::CScriptable;
using kel::storageio::CStorageIOProtocol;
using storageio_project::ProjectBuilder;

constexpr int kWorkers = 1000;
constexpr int kProfiles = 10;
constexpr int kTargetsPerWorker = 10;

bst_1_bll::StorageBaseResults_s RecordFor(const CScriptable& object, unsigned long scale) {
  bst_1_bll::StorageBaseResults_s record;
  record.Result.BllHandle = object.GetHandle();
  record.BytesRead = 4096 * scale;
  record.BytesWritten = 2048 * scale;
  record.ReadTransactionCount = scale;
  record.WriteTransactionCount = scale;
  record.AllTransactionCount = 2 * scale;
  record.AvgLatency = 0.5 * static_cast<double>(scale);
  record.MaxLatency = 1.5 * static_cast<double>(scale);
  record.AvgMBps = 12.0 * static_cast<double>(scale);
  return record;
}

using Record = bst_1_bll::StorageBaseResults_s;

// The roll-up without a host: plain records and sums, the floor StatsHandler is measured against.
class PlainRollup {
 public:
  PlainRollup(const Message& notification, std::vector<int> profileOfWorker)
      : m_profileOfWorker(std::move(profileOfWorker)), m_profiles(kProfiles) {
    BST_1_bll::parse_req_TestResultsNotification(&notification, &m_workersIn, &m_targetsIn);
    m_workers.resize(m_workersIn.size());
    m_targets.resize(m_targetsIn.size());
  }

  void Run() {
    for (std::size_t t = 0; t < m_targetsIn.size(); ++t) m_targets[t] = m_targetsIn[t].StorageBaseResults;
    for (Record& profile : m_profiles) Zero(profile);
    Zero(m_port);
    Zero(m_project);
    for (std::size_t w = 0; w < m_workersIn.size(); ++w) {
      const Record& record = m_workersIn[w].StorageBaseResults;
      m_workers[w] = record;
      Add(m_profiles[static_cast<std::size_t>(m_profileOfWorker[w])], record);
      Add(m_port, record);
      Add(m_project, record);
    }
    benchmark::DoNotOptimize(m_project);
  }

 private:
  static void Zero(Record& sum) {
    for (auto field : bst_1_bll::kCounterFields) sum.*field = 0;
    for (auto field : bst_1_bll::kDoubleFields) sum.*field = 0.0;
  }
  static void Add(Record& sum, const Record& record) {
    for (auto field : bst_1_bll::kCounterFields) sum.*field += record.*field;
    for (auto field : bst_1_bll::kDoubleFields) sum.*field += record.*field;
  }

  std::vector<int> m_profileOfWorker;
  std::vector<bst_1_bll::StorageWorkerResults_s> m_workersIn;
  std::vector<bst_1_bll::StorageDiscoveredTargetResults_s> m_targetsIn;
  std::vector<Record> m_workers, m_targets, m_profiles;
  Record m_port, m_project;
};

// Which profile each worker of BuildTest uses, by the worker's place in the notification.
std::vector<int> ProfileOfWorker() {
  std::vector<int> profiles;
  for (int w = 0; w < kWorkers; ++w) profiles.push_back(w % kProfiles);
  return profiles;
}

// A fresh project as described above; returns two successive notifications of its port.
std::vector<Message> BuildTest() {
  kel::framework::CKelSystem::Instance().ResetProject();
  CStorageIOProtocol::DeleteInstance();
  kel::core::CProtocolModule::Instance().RegisterProtocol(CStorageIOProtocol::Instance());

  kel::core::CPort& port = ProjectBuilder::AddPort("Port 1", "inproc");
  std::vector<CScriptable*> profiles{CStorageIOProtocol::Instance()->GetDefaultProfile()};
  while (profiles.size() < kProfiles) {
    profiles.push_back(&ProjectBuilder::AddProfile("Profile " + std::to_string(profiles.size() + 1)));
  }

  std::vector<const CScriptable*> workers;
  std::vector<const CScriptable*> targets;
  for (int w = 0; w < kWorkers; ++w) {
    CScriptable& worker = ProjectBuilder::AddWorker("Worker " + std::to_string(w + 1), port, profiles[w % kProfiles]);
    workers.push_back(&worker);
    for (int t = 0; t < kTargetsPerWorker; ++t) targets.push_back(&ProjectBuilder::AddTarget(worker, PhysicalDrive(t)));
  }
  std::vector<Message> notifications(2);
  for (unsigned long round = 0; round < notifications.size(); ++round) {
    std::vector<bst_1_bll::StorageWorkerResults_s> workerRecords;
    for (const CScriptable* worker : workers) workerRecords.push_back({RecordFor(*worker, round + 1)});
    std::vector<bst_1_bll::StorageDiscoveredTargetResults_s> targetRecords;
    for (const CScriptable* target : targets) targetRecords.push_back({RecordFor(*target, round + 1), "PhysicalDrive"});
    Message built;
    BST_1_port::create_notify_TestResultsNotification(&built, workerRecords, targetRecords, true);
    notifications[round] = tm_decode(tm_encode(built));
  }
  return notifications;
}

// The host on its virtual clock with the test of BuildTest, its results made by a first
// notification; returns the two notifications.
std::vector<Message> SetUpHost() {
  static const int registered = PluginRegister();
  (void)registered;
  kel::framework::CTaskManager& tasks = kel::framework::CTaskManager::Instance();
  tasks.Reset();
  tasks.SetClockMode(kel::framework::CTaskManager::ClockMode::Virtual);
  std::vector<Message> notifications = BuildTest();
  CStorageIOProtocol::Instance()->StatsHandler(0, &notifications[1], nullptr);
  tasks.RunUntilIdle();
  return notifications;
}

void TearDownHost() {
  kel::framework::CKelSystem::Instance().ResetProject();
  kel::framework::CTaskManager::Instance().Reset();
}

void BM_StatsHandler(benchmark::State& state) {
  std::vector<Message> notifications = SetUpHost();
  kel::framework::CTaskManager& tasks = kel::framework::CTaskManager::Instance();
  CStorageIOProtocol& protocol = *CStorageIOProtocol::Instance();

  const std::int64_t records = kWorkers * (1 + kTargetsPerWorker);
  std::size_t next = 0;
  for (auto _ : state) {
    protocol.StatsHandler(0, &notifications[next], nullptr);
    next = 1 - next;
    state.PauseTiming();
    tasks.RunUntilIdle();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * records);
  state.counters["records"] = static_cast<double>(records);
  TearDownHost();
}

BENCHMARK(BM_StatsHandler)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();

  std::vector<Message> notifications = SetUpHost();
  CStorageIOProtocol& protocol = *CStorageIOProtocol::Instance();
  PlainRollup plain(notifications[0], ProfileOfWorker());
  std::size_t next = 0;
  const bench::Ratio ratio = bench::CompareInTurns(
      [&] {
        protocol.StatsHandler(0, &notifications[next], nullptr);
        next = 1 - next;
      },
      [&] { plain.Run(); }, 15, [] { kel::framework::CTaskManager::Instance().RunUntilIdle(); });
  bench::PrintRatio("stats_vs_plain_rollup", "StatsHandler", "plain copy and roll-up", ratio);
  TearDownHost();
  return 0;
}
