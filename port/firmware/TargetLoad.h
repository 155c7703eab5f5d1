#pragma once
// TargetLoad: one worker's I/O on one of its targets during a test, through an IoEngine, and the
// tally of what it did. The issuing rules are the firmware's, the same for every engine:
//
// - I/O runs from `beginIoMs` until `endMs`: nothing is issued at or after the end, and what
//   completes after it is not counted.
// - At most QueueDepth I/Os are in flight; a slot frees when its I/O completes, and the next I/O
//   is issued at that moment (or later, see bursts).
// - Bursts: the first burst starts at once; each later burst of BurstLength I/Os starts
//   TransferDelay ms after the previous burst's last issue (no wait when 0). A burst length or
//   queue depth of 0 issues nothing.
// - What is issued: IoPattern over the worker's region of the target, seeded by the worker's
//   handle and the target's name.
// - Counted: I/Os that complete from `recordFromMs` to `endMs`.
// - Connection rate (EnableTestConnectionRate with TransactionsPerConnection > 0): every
//   TransactionsPerConnection completed transactions, issuing stops, the I/Os still in flight are
//   drained (and counted as usual), the target is closed and opened again, and issuing resumes.
//   Each reopen is one connection; its latency (Units.h) runs from the completion of the
//   transaction that ended it until the target is open again. A reopen counts when that
//   completion lies in the recorded window.
//
// Who calls what: the worker's driver issues (IssueUpTo), reaps the engine, and hands each
// completion to the load whose Handle it carries (Complete). The load opens its target on
// construction and closes it on destruction; the engine must outlive it. One thread at a time.

#include <cstdint>
#include <limits>
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
  static constexpr double kNever = std::numeric_limits<double>::infinity();

  // Checks what a load of `spec` and `profile` on `target` needs, opening nothing. Throws
  // std::invalid_argument: a queue depth above kMostInFlight, or what RegionOf and IoPattern
  // refuse.
  static void Check(const TargetInfo& target, const BST_1_bll::TargetSpec_s& spec,
                    const bst_1_bll::StorageWorkerProfile_s& profile);

  // Throws what Check throws, or EngineError (the target cannot be opened); nothing stays open
  // then. `pace` says how a reopen's moment is known: computed from the completions, or read from
  // MonotonicMs().
  TargetLoad(IoEngine& engine, IoEngine::Pace pace, const TargetInfo& target, const BST_1_bll::TargetSpec_s& spec,
             const bst_1_bll::StorageWorkerProfile_s& profile, unsigned workerHandle, const LoadWindow& window);
  ~TargetLoad();
  TargetLoad(const TargetLoad&) = delete;
  TargetLoad& operator=(const TargetLoad&) = delete;

  // Issues every I/O that free slots and bursts allow by `nowMs`.
  void IssueUpTo(double nowMs);
  // Takes one completion of this load's handle.
  void Complete(const IoCompletion& completion);
  // When the load would issue next if nothing completed: kNever when no slot is free, a drain is
  // under way, or the moment lies at or after the end.
  double NextIssueMs() const;

  IoEngine::TargetHandle Handle() const { return m_handle; }
  const IoTally& Tally() const { return m_tally; }
  const BST_1_bll::TargetSpec_s& Spec() const { return m_spec; }

 private:
  bool InWindow(double ms) const { return ms >= m_window.recordFromMs && ms <= m_window.endMs; }
  void Count(const IoCompletion& completion);
  void Reopen(double drainedMs);
  void FreeAllSlotsAt(double ms);

  IoEngine& m_engine;
  const IoEngine::Pace m_pace;
  const TargetInfo& m_target;
  const BST_1_bll::TargetSpec_s m_spec;
  const LoadWindow m_window;
  IoPattern m_pattern;
  const bool m_forWrites;
  const std::uint32_t m_queueDepth;
  const std::uint32_t m_burstLength;
  const double m_transferDelayMs;
  const std::uint64_t m_transactionsPerConnection;  // 0: no connections
  IoEngine::TargetHandle m_handle;

  // When each free slot freed, earliest first: a ring of QueueDepth entries.
  std::vector<double> m_freedAtMs;
  std::uint32_t m_firstFree = 0;
  std::uint32_t m_freeCount = 0;
  std::uint32_t m_inFlight = 0;

  double m_burstGateMs;  // the earliest the next I/O may be issued
  std::uint32_t m_inBurst = 0;
  std::uint64_t m_nextTag = 0;
  IoTally m_tally;

  std::uint64_t m_connectionTransactions = 0;
  bool m_draining = false;
  double m_drainFromMs = 0;
};

}  // namespace storageio_port
