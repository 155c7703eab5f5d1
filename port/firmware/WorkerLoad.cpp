#include "port/firmware/WorkerLoad.h"

#include <algorithm>

namespace storageio_port {

WorkerLoad::WorkerLoad(const WorkerPlan& plan, std::unique_ptr<IoEngine> engine, IoEngine::Pace pace,
                       const LoadWindow& window, TallyBoard& board)
    : m_engine(std::move(engine)), m_window(window), m_board(board), m_tallies(plan.targets.size()) {
  for (const WorkerPlan::Target& target : plan.targets) {
    m_loads.push_back(
        std::make_unique<TargetLoad>(*m_engine, pace, *target.info, target.spec, plan.profile, plan.handle, window));
  }
}

void WorkerLoad::AdvanceTo(double nowMs) {
  const double untilMs = std::min(nowMs, m_window.endMs);
  if (untilMs >= m_window.beginIoMs) {
    do {
      for (const auto& load : m_loads) load->IssueUpTo(untilMs);
      m_reaped.clear();
      m_engine->Reap(untilMs, m_reaped);
      HandOut();
    } while (!m_reaped.empty());
  }
  Post(nowMs);
}

bool WorkerLoad::RunRound(double nowMs) {
  if (nowMs >= m_window.endMs) return false;
  double wakeMs = std::min(m_window.endMs, nowMs + kLongestWaitMs);
  for (const auto& load : m_loads) {
    load->IssueUpTo(nowMs);
    wakeMs = std::min(wakeMs, load->NextIssueMs());
  }
  m_reaped.clear();
  m_engine->Reap(wakeMs, m_reaped);
  HandOut();
  return true;
}

void WorkerLoad::HandOut() {
  for (const IoCompletion& completion : m_reaped) {
    for (const auto& load : m_loads) {
      if (load->Handle() == completion.handle) {
        load->Complete(completion);
        break;
      }
    }
  }
}

void WorkerLoad::Post(double nowMs) {
  for (std::size_t i = 0; i < m_loads.size(); ++i) m_tallies[i] = m_loads[i]->Tally();
  const double recordedMs = std::clamp(nowMs, m_window.recordFromMs, m_window.endMs) - m_window.recordFromMs;
  m_board.Post(recordedMs, m_tallies);
}

}  // namespace storageio_port
