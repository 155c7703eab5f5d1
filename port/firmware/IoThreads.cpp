#include "port/firmware/IoThreads.h"

#include <pthread.h>
#include <sys/resource.h>

#include <cinttypes>
#include <cstdio>

#include "port/firmware/MonotonicClock.h"

namespace storageio_port {

namespace {

struct CpuSeconds {
  double user = 0;
  double system = 0;
};

CpuSeconds ThreadCpu() {
  rusage usage{};
  getrusage(RUSAGE_THREAD, &usage);
  const auto seconds = [](const timeval& t) { return static_cast<double>(t.tv_sec) + t.tv_usec / 1e6; };
  return CpuSeconds{seconds(usage.ru_utime), seconds(usage.ru_stime)};
}

std::string CpuLine(unsigned worker, const CpuSeconds& used, std::uint64_t ios) {
  char line[256];
  const double total = used.user + used.system;
  std::snprintf(line, sizeof line,
                "worker %u: I/O thread CPU while recording: %.3f s user, %.3f s system, %" PRIu64
                " I/Os, %.3f s per million I/Os",
                worker, used.user, used.system, ios, ios > 0 ? total / (static_cast<double>(ios) / 1e6) : 0.0);
  return line;
}

}  // namespace

IoThreads::IoThreads(const std::vector<WorkerPlan>& plans, const IoEngineFactory& engines,
                     const std::vector<std::unique_ptr<TallyBoard>>& boards, const LoadWindow& window,
                     PortLog log, FailureSink onFailure)
    : m_log(std::move(log)), m_onFailure(std::move(onFailure)) {
  m_threads.reserve(plans.size());
  for (std::size_t i = 0; i < plans.size(); ++i) {
    m_threads.emplace_back(&IoThreads::Run, this, std::cref(plans[i]), std::cref(engines), std::ref(*boards[i]),
                           window);
  }
}

IoThreads::~IoThreads() { Stop(); }

void IoThreads::Stop() {
  m_stop.store(true, std::memory_order_relaxed);
  for (std::thread& thread : m_threads) {
    if (thread.joinable()) thread.join();
  }
}

void IoThreads::Run(const WorkerPlan& plan, const IoEngineFactory& engines, TallyBoard& board, LoadWindow window) {
  pthread_setname_np(pthread_self(), "storageio-io");
  try {
    WorkerLoad load(plan, engines.Make(), IoEngine::Pace::Real, window, board);
    bool recording = false;
    CpuSeconds atRecordStart;
    for (double nowMs = MonotonicMs(); !m_stop.load(std::memory_order_relaxed) && load.RunRound(nowMs);) {
      nowMs = MonotonicMs();
      load.Post(nowMs);
      if (!recording && nowMs >= window.recordFromMs) {
        recording = true;
        atRecordStart = ThreadCpu();
      }
    }
    load.Post(MonotonicMs());
    if (!recording) return;
    const CpuSeconds end = ThreadCpu();
    std::uint64_t ios = 0;
    for (const IoTally& tally : board.Read().targets) ios += tally.reads + tally.writes;
    m_log(LogLevel::Info,
          CpuLine(plan.handle, CpuSeconds{end.user - atRecordStart.user, end.system - atRecordStart.system}, ios));
  } catch (const std::exception& e) {
    m_onFailure("worker " + std::to_string(plan.handle) + ": " + e.what());
  }
}

}  // namespace storageio_port
