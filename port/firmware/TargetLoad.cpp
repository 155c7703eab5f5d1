#include "port/firmware/TargetLoad.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace storageio_port {

namespace {

std::uint32_t CheckedQueueDepth(const BST_1_bll::TargetSpec_s& spec) {
  if (spec.QueueDepth > TargetLoad::kMostInFlight) {
    throw std::invalid_argument("Queue depth " + std::to_string(spec.QueueDepth) + " on target '" + spec.TargetName +
                                "' is above " + std::to_string(TargetLoad::kMostInFlight));
  }
  return spec.QueueDepth;
}

}  // namespace

TargetLoad::TargetLoad(IoEngine& engine, const TargetInfo& target, const BST_1_bll::TargetSpec_s& spec,
                       const bst_1_bll::StorageWorkerProfile_s& profile, const LoadWindow& window)
    : m_engine(engine),
      m_spec(spec),
      m_window(window),
      m_pattern(profile, RegionOf(target, spec.DiskSpecification)),
      m_burstLength(profile.BurstLength),
      m_transferDelayMs(profile.TransferDelay),
      m_transactionsPerConnection(spec.EnableTestConnectionRate ? spec.TransactionsPerConnection : 0),
      m_handle(0),
      m_unusedSlots(CheckedQueueDepth(spec)),
      m_burstGateMs(window.beginIoMs) {
  m_handle = engine.Open(target);
}

TargetLoad::~TargetLoad() { m_engine.Close(m_handle); }

void TargetLoad::AdvanceTo(double nowMs) {
  const double untilMs = std::min(nowMs, m_window.endMs);
  if (untilMs < m_window.beginIoMs) return;
  for (;;) {
    IssueUpTo(untilMs);
    m_reaped.clear();
    m_engine.Reap(m_handle, untilMs, m_reaped);
    if (m_reaped.empty()) return;
    for (const IoCompletion& completion : m_reaped) {
      Count(completion);
      m_freedAtMs.push_back(completion.completedMs);
    }
  }
}

void TargetLoad::IssueUpTo(double untilMs) {
  if (m_burstLength == 0) return;
  for (;;) {
    double slotFreeMs;
    if (m_unusedSlots > 0) {
      slotFreeMs = m_window.beginIoMs;
    } else if (!m_freedAtMs.empty()) {
      slotFreeMs = m_freedAtMs.front();
    } else {
      return;
    }
    const double issueMs = std::max(slotFreeMs, m_burstGateMs);
    if (issueMs > untilMs || issueMs >= m_window.endMs) return;
    if (m_unusedSlots > 0) {
      --m_unusedSlots;
    } else {
      m_freedAtMs.pop_front();
    }
    const IoPattern::Io io = m_pattern.Next();
    m_engine.Submit(m_handle, IoRequest{m_nextTag++, io.offset, io.length, io.isRead, io.isRandom, issueMs});
    if (++m_inBurst == m_burstLength) {
      m_inBurst = 0;
      m_burstGateMs = issueMs + m_transferDelayMs;
    }
  }
}

void TargetLoad::Count(const IoCompletion& completion) {
  if (completion.completedMs < m_window.recordFromMs || completion.completedMs > m_window.endMs) return;
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
  if (m_transactionsPerConnection == 0) return;
  m_connectionLatencyMs += completion.latencyMs;
  if (++m_connectionTransactions < m_transactionsPerConnection) return;
  ++m_tally.connections;
  m_tally.connectionLatencyMs += m_connectionLatencyMs;
  m_tally.maxConnectionLatencyMs = std::max(m_tally.maxConnectionLatencyMs, m_connectionLatencyMs);
  m_connectionTransactions = 0;
  m_connectionLatencyMs = 0;
}

}  // namespace storageio_port
