#include "port/firmware/TargetLoad.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "port/firmware/MonotonicClock.h"

namespace storageio_port {

namespace {

std::uint32_t CheckedQueueDepth(const BST_1_bll::TargetSpec_s& spec) {
  if (spec.QueueDepth > TargetLoad::kMostInFlight) {
    throw std::invalid_argument("Queue depth " + std::to_string(spec.QueueDepth) + " on target '" + spec.TargetName +
                                "' is above " + std::to_string(TargetLoad::kMostInFlight));
  }
  return spec.QueueDepth;
}

IoPattern PatternOf(const TargetInfo& target, const BST_1_bll::TargetSpec_s& spec,
                    const bst_1_bll::StorageWorkerProfile_s& profile, unsigned workerHandle) {
  return IoPattern(profile, RegionOf(target, spec.DiskSpecification), AlignmentOf(profile, target),
                   SeedOf(workerHandle, target.name));
}

}  // namespace

void TargetLoad::Check(const TargetInfo& target, const BST_1_bll::TargetSpec_s& spec,
                       const bst_1_bll::StorageWorkerProfile_s& profile) {
  CheckedQueueDepth(spec);
  PatternOf(target, spec, profile, 0);
}

TargetLoad::TargetLoad(IoEngine& engine, IoEngine::Pace pace, const TargetInfo& target,
                       const BST_1_bll::TargetSpec_s& spec, const bst_1_bll::StorageWorkerProfile_s& profile,
                       unsigned workerHandle, const LoadWindow& window)
    : m_engine(engine),
      m_pace(pace),
      m_target(target),
      m_spec(spec),
      m_window(window),
      m_pattern(PatternOf(target, spec, profile, workerHandle)),
      m_forWrites(profile.PercentReadDistribution < 100),
      m_queueDepth(CheckedQueueDepth(spec)),
      m_burstLength(profile.BurstLength),
      m_transferDelayMs(profile.TransferDelay),
      m_transactionsPerConnection(spec.EnableTestConnectionRate ? spec.TransactionsPerConnection : 0),
      m_handle(engine.Open(target, m_forWrites)),
      m_freedAtMs(m_queueDepth),
      m_burstGateMs(window.beginIoMs) {
  FreeAllSlotsAt(window.beginIoMs);
}

TargetLoad::~TargetLoad() { m_engine.Close(m_handle); }

void TargetLoad::FreeAllSlotsAt(double ms) {
  std::fill(m_freedAtMs.begin(), m_freedAtMs.end(), ms);
  m_firstFree = 0;
  m_freeCount = m_queueDepth;
}

double TargetLoad::NextIssueMs() const {
  if (m_burstLength == 0 || m_freeCount == 0 || m_draining) return kNever;
  const double issueMs = std::max(m_freedAtMs[m_firstFree], m_burstGateMs);
  return issueMs < m_window.endMs ? issueMs : kNever;
}

void TargetLoad::IssueUpTo(double nowMs) {
  for (;;) {
    const double issueMs = NextIssueMs();
    if (issueMs > nowMs) return;
    m_firstFree = m_firstFree + 1 == m_queueDepth ? 0 : m_firstFree + 1;
    --m_freeCount;
    ++m_inFlight;
    const IoPattern::Io io = m_pattern.Next();
    m_engine.Submit(m_handle, IoRequest{m_nextTag++, io.offset, io.length, io.isRead, io.isRandom, issueMs});
    if (++m_inBurst == m_burstLength) {
      m_inBurst = 0;
      m_burstGateMs = issueMs + m_transferDelayMs;
    }
  }
}

void TargetLoad::Complete(const IoCompletion& completion) {
  // On a computed clock the completions of a whole stretch arrive at once: what would have been
  // issued before this one completed is issued first, so that a drain finds in flight exactly
  // what a device would have had.
  if (m_pace == IoEngine::Pace::Computed) IssueUpTo(std::nextafter(completion.completedMs, 0.0));
  --m_inFlight;
  std::uint32_t freed = m_firstFree + m_freeCount;
  if (freed >= m_queueDepth) freed -= m_queueDepth;
  m_freedAtMs[freed] = completion.completedMs;
  ++m_freeCount;
  Count(completion);
  if (m_transactionsPerConnection == 0) return;
  if (!m_draining && ++m_connectionTransactions == m_transactionsPerConnection) {
    m_draining = true;
    m_drainFromMs = completion.completedMs;
  }
  if (m_draining && m_inFlight == 0) Reopen(completion.completedMs);
}

void TargetLoad::Count(const IoCompletion& completion) {
  if (!InWindow(completion.completedMs)) return;
  if (!completion.ok) {
    ++(completion.isRead ? m_tally.readErrors : m_tally.writeErrors);
    return;
  }
  if (completion.isRead) {
    ++m_tally.reads;
    m_tally.bytesRead += completion.length;
    m_tally.readLatencyMs += completion.latencyMs;
    m_tally.maxReadLatencyMs = std::max(m_tally.maxReadLatencyMs, completion.latencyMs);
  } else {
    ++m_tally.writes;
    m_tally.bytesWritten += completion.length;
    m_tally.writeLatencyMs += completion.latencyMs;
    m_tally.maxWriteLatencyMs = std::max(m_tally.maxWriteLatencyMs, completion.latencyMs);
  }
}

void TargetLoad::Reopen(double drainedMs) {
  m_engine.Close(m_handle);
  m_handle = m_engine.Open(m_target, m_forWrites);
  const double openMs = m_pace == IoEngine::Pace::Real ? MonotonicMs() : drainedMs;
  if (InWindow(m_drainFromMs)) {
    const double latencyMs = openMs - m_drainFromMs;
    ++m_tally.connections;
    m_tally.connectionLatencyMs += latencyMs;
    m_tally.maxConnectionLatencyMs = std::max(m_tally.maxConnectionLatencyMs, latencyMs);
  }
  m_draining = false;
  m_connectionTransactions = 0;
  FreeAllSlotsAt(openMs);
}

}  // namespace storageio_port
