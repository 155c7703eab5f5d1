#include "port/firmware/IoThreads.h"

#include "port/firmware/MonotonicClock.h"

namespace storageio_port {

IoThreads::IoThreads(const std::vector<WorkerPlan>& plans, const IoEngineFactory& engines,
                     const std::vector<std::unique_ptr<TallyBoard>>& boards, double warmUpMs, double durationMs,
                     FailureSink onFailure)
    : m_onFailure(std::move(onFailure)) {
  const double beginMs = MonotonicMs();
  const LoadWindow window{beginMs, beginMs + warmUpMs, beginMs + warmUpMs + durationMs};
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
  try {
    WorkerLoad load(plan, engines.Make(), IoEngine::Pace::Real, window, board);
    while (!m_stop.load(std::memory_order_relaxed) && load.RunRound(MonotonicMs())) load.Post(MonotonicMs());
    load.Post(MonotonicMs());
  } catch (const std::exception& e) {
    m_onFailure("worker " + std::to_string(plan.handle) + ": " + e.what());
  }
}

}  // namespace storageio_port
