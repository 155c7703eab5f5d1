#pragma once
// TargetLoad: one worker's I/O on one of its targets during a test, through an IoEngine, and the
// tally of what it did. The issuing rules are the firmware's, the same for every engine:
//
// - I/O runs from `beginIoMs` until `endMs`: nothing is issued at or after the end, and what
//   completes after it is not counted.
// - At most QueueDepth I/Os are in flight; a slot frees when its I/O completes, and the next I/O
//   is issued at that moment (or later, see bursts).
// - Bursts: BurstLength I/Os are issued as slots allow; the next burst may start TransferDelay ms
//   after the last I/O of the previous burst was issued (at once with a delay of 0). A burst
//   length or queue depth of 0 issues nothing.
// - What is issued: IoPattern over the worker's region of the target.
// - Counted: I/Os that complete from `recordFromMs` to `endMs`. With the connection rate on, every
//   TransactionsPerConnection counted transactions make one connection whose latency is the sum
//   of theirs; with it off (or 0 transactions per connection) there are no connections.
//
// The load opens its target on construction and closes it on destruction (dropping what is in
// flight). It lives on the firmware's thread; the engine must outlive it.

#include <cstdint>
#include <deque>
#include <vector>

#include "msg/BST_1.h"
#include "port/engines/IoEngine.h"
#include "port/firmware/IoPattern.h"
#include "port/firmware/IoTally.h"

namespace storageio_port {

struct LoadWindow {
  double beginIoMs = 0;
  double recordFromMs = 0;
  double endMs = 0;
};

class TargetLoad {
 public:
  // The most I/Os a worker may keep in flight on one target.
  static constexpr std::uint32_t kMostInFlight = 65536;

  // Throws std::invalid_argument (a queue depth above kMostInFlight, or what RegionOf and
  // IoPattern refuse) or EngineError (the target cannot be opened); nothing stays open then.
  TargetLoad(IoEngine& engine, const TargetInfo& target, const BST_1_bll::TargetSpec_s& spec,
             const bst_1_bll::StorageWorkerProfile_s& profile, const LoadWindow& window);
  ~TargetLoad();
  TargetLoad(const TargetLoad&) = delete;
  TargetLoad& operator=(const TargetLoad&) = delete;

  // Issues and reaps everything due up to `nowMs` (and never beyond the end).
  void AdvanceTo(double nowMs);

  const IoTally& Tally() const { return m_tally; }
  const BST_1_bll::TargetSpec_s& Spec() const { return m_spec; }

 private:
  void IssueUpTo(double untilMs);
  void Count(const IoCompletion& completion);

  IoEngine& m_engine;
  const BST_1_bll::TargetSpec_s m_spec;
  const LoadWindow m_window;
  IoPattern m_pattern;
  const std::uint32_t m_burstLength;
  const double m_transferDelayMs;
  const std::uint64_t m_transactionsPerConnection;  // 0: no connections
  IoEngine::TargetHandle m_handle;

  std::uint32_t m_unusedSlots;    // slots free since I/O began
  std::deque<double> m_freedAtMs;  // when the other free slots freed, earliest first
  double m_burstGateMs;            // the earliest the next I/O may be issued
  std::uint32_t m_inBurst = 0;
  std::uint64_t m_nextTag = 0;
  IoTally m_tally;
  std::uint64_t m_connectionTransactions = 0;
  double m_connectionLatencyMs = 0;
  std::vector<IoCompletion> m_reaped;
};

}  // namespace storageio_port
