// A host following many ports: N embedded model ports through a whole storage test of 60 s on the
// host's virtual clock, for N = 10, 100, 1,000 and 10,000, each N in a process of its own (for its
// peak memory).
//
// The layout: every port has one emulated device with one worker on two model disks (learned from
// the port: "disk0" and "disk1"), all workers share the project's default profile, set to random
// I/O (PercentRandomDistribution 100) at queue depth 1 on devices of 10 ms latency: about 100 I/Os
// per second per target, so that simulating the disks is not what is measured. Learn runs with a
// learn command of its own kept alive (late answers still reach it), the loop is drained after
// learn and after apply, and the start command runs without learn-first. Measured: from the start
// command to "The Storage test has been completed." (the loop drained), wall and CPU time of the
// whole process (host and embedded ports share the one thread), and the process's peak memory.
//
// Usage: bench_scale            every N in a child process, a table, then scale_growth=<x>: time
//                               per port at the largest N over time per port at 100
//        bench_scale N          one run of N ports, printing one line of figures
// Environment: SCALE_PORTS (default "10 100 1000 10000").
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "ProjectBuilder.h"
#include "StorageIOProtocol.h"
#include "StorageWorkerProfile.h"
#include "kel/core/HostReset.h"
#include "kel/core/ProtocolModule.h"
#include "kel/framework/TaskManager.h"
#include "port/transports/InProcessTransport.h"

extern "C" int PluginRegister();

namespace {

using kel::framework::CTaskManager;
using storageio_project::ProjectBuilder;

constexpr unsigned kTestSeconds = 60;

double CpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& t) { return static_cast<double>(t.tv_sec) + t.tv_usec / 1e6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

long PeakKiB() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// One run of `ports` ports; prints "ports=.. wall_s=.. cpu_s=.. peak_kib=.. completed=..".
int RunOne(int ports) {
  kel::core::ResetHost(CTaskManager::ClockMode::Virtual);
  PluginRegister();
  kel::storageio::CStorageIOProtocol& protocol = *kel::storageio::CStorageIOProtocol::Instance();
  kel::core::CProtocolModule::Instance().RegisterProtocol(&protocol);
  storageio_port::InProcessSetup slowDisks;
  slowDisks.device = {100.0, 10.0};
  storageio_port::RegisterInProcessTransport(slowDisks);

  ProjectBuilder::Set(*protocol.GetDefaultProfile(), {{"PercentRandomDistribution", "100"}});
  std::vector<kel::core::CPort*> allPorts;
  std::vector<kel::framework::CScriptable*> workers;
  for (int i = 0; i < ports; ++i) {
    kel::core::CPort& port = ProjectBuilder::AddPort("P" + std::to_string(i), "inproc");
    allPorts.push_back(&port);
    workers.push_back(&ProjectBuilder::AddWorker("W" + std::to_string(i), port, nullptr,
                                                 {{"OutstandingIOsPerTargetCount", "1"}}));
  }
  CTaskManager& tasks = CTaskManager::Instance();
  ProjectBuilder::Command learn = ProjectBuilder::MakeLearn(allPorts);
  learn->Execute(false);
  tasks.RunUntilIdle();
  std::vector<kel::framework::Handle> handles;
  for (kel::framework::CScriptable* worker : workers) {
    ProjectBuilder::UseTargets(*worker, ProjectBuilder::LearnedTargetsOf(*worker));
    handles.push_back(worker->GetHandle());
  }
  ProjectBuilder::MakeApply()->Execute(false);
  tasks.RunUntilIdle();

  const auto wallStart = std::chrono::steady_clock::now();
  const double cpuStart = CpuSeconds();
  ProjectBuilder::Command start = ProjectBuilder::MakeStart(handles, kTestSeconds, false);
  start->Execute(false);
  tasks.RunUntilIdle();
  const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - wallStart).count();
  const double cpu = CpuSeconds() - cpuStart;
  const kel::framework::ScriptableVec results = ProjectBuilder::ObjectsOf("StorageProjectResults");
  const std::string ios = results.empty() ? "0" : results.front()->Get("AllTransactionCount");
  std::printf("ports=%d wall_s=%.3f cpu_s=%.3f peak_kib=%ld completed=%d ios=%s\n", ports, wall, cpu, PeakKiB(),
              protocol.IsTestInProgress() ? 0 : 1, ios.c_str());
  return protocol.IsTestInProgress() ? 1 : 0;
}

struct Figures {
  double wall = 0;
  double cpu = 0;
  long peakKiB = 0;
  bool completed = false;
};

// Runs `self N` and reads its line; a run that fails or prints nothing has no figures. The child's
// log is dropped: from about 750 ports the start command's answers use up its yield budget and it
// logs its time-out line, which this measurement does not depend on.
bool RunChild(const std::string& self, int ports, Figures& figures) {
  const std::string command = self + " " + std::to_string(ports) + " 2>/dev/null";
  FILE* child = popen(command.c_str(), "r");
  if (child == nullptr) return false;
  char line[512] = {};
  bool found = false;
  while (std::fgets(line, sizeof line, child) != nullptr) {
    int completed = 0;
    int read = 0;
    if (std::sscanf(line, "ports=%d wall_s=%lf cpu_s=%lf peak_kib=%ld completed=%d ios=", &read, &figures.wall,
                    &figures.cpu, &figures.peakKiB, &completed) == 5) {
      figures.completed = completed == 1;
      found = true;
    }
  }
  pclose(child);
  return found;
}

int RunAll(const std::string& self) {
  const char* chosen = std::getenv("SCALE_PORTS");
  std::istringstream counts(chosen != nullptr ? chosen : "10 100 1000 10000");
  std::map<int, Figures> all;
  std::printf("%8s %10s %10s %14s %14s %12s  %s\n", "ports", "wall s", "cpu s", "wall ms/port", "cpu ms/port",
              "peak KiB/port", "completed");
  for (int ports = 0; counts >> ports;) {
    Figures figures;
    if (!RunChild(self, ports, figures)) {
      std::printf("%8d  (the run failed)\n", ports);
      continue;
    }
    all[ports] = figures;
    std::printf("%8d %10.3f %10.3f %14.4f %14.4f %12.1f  %s\n", ports, figures.wall, figures.cpu,
                1e3 * figures.wall / ports, 1e3 * figures.cpu / ports, static_cast<double>(figures.peakKiB) / ports,
                figures.completed ? "yes" : "NO");
    std::fflush(stdout);
  }
  if (all.count(100) != 0 && all.rbegin()->first > 100) {
    const auto& [largest, figures] = *all.rbegin();
    const double growth = (figures.wall / largest) / (all[100].wall / 100);
    std::printf("a %u s test on %d ports took %.1f s of wall time (%s than real time)\n", kTestSeconds, largest,
                figures.wall, figures.wall < kTestSeconds ? "faster" : "slower");
    std::printf("scale_growth=%.2f\n", growth);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) return RunOne(std::atoi(argv[1]));
  return RunAll(argv[0]);
}
