#pragma once
// IoUringEngine: real I/O through io_uring, for one worker's I/O thread (engine of real pace).
//
// - Submit fills a submission queue entry and hands what is queued to the kernel in batches that
//   grow through a round: the first I/O after a Reap goes at once, then 2, 4, up to kSubmitBatch.
//   Reap hands over the rest and waits for completions in one system call
//   (io_uring_submit_and_wait_timeout), then takes every completion that is ready. A round of k
//   I/Os thus costs about log2(k) + k / kSubmitBatch system calls, not one per I/O.
// - Latency runs from just before the system call that hands an I/O to the kernel to the moment
//   its completion is taken; every completion taken in one round shares that moment.
// - Targets are opened through OpenTarget: O_DIRECT unless the target is buffered or its
//   filesystem refuses it; the allow-list's identity and block-device rules hold.
// - Buffers come from an IoBufferPool (huge pages where granted), aligned to 4096 bytes (or the
//   target's direct-I/O alignment, if larger) and reused. Write buffers start as pseudo-random bytes and each write stamps its sequence number
//   and offset into the first 16 bytes of every 4 KiB, so no two blocks written are alike and
//   compressing or deduplicating targets are not flattered.
// - A completion whose result is negative or shorter than the length is an error; it is not
//   retried.
// - A request beyond the target's end is not sent; it completes failed at the next Reap.
//
// Threads: one thread, the one that makes the engine: the ring is set up for a single issuer,
// whose completions run only in its own system calls. The destructor waits for what is in flight.

#include <liburing.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "port/engines/IoBufferPool.h"
#include "port/engines/IoEngine.h"
#include "port/targets/TargetFile.h"

namespace storageio_port {

class IoUringEngine : public IoEngine {
 public:
  class Factory : public IoEngineFactory {
   public:
    Pace GetPace() const override { return Pace::Real; }
    std::string Name() const override { return "io_uring"; }
    std::unique_ptr<IoEngine> Make() const override { return std::make_unique<IoUringEngine>(); }
  };

  // Submission queue entries of the ring; more I/Os than this may be in flight.
  static constexpr unsigned kRingEntries = 256;
  // The most I/Os one system call hands over. A device answers a burst as a block, so a queue
  // refilled at once refills in lock-step; a virtual disk here served 4 KiB random I/O at queue
  // depth 32 about a quarter slower that way than with I/Os handed over as they come. Growing
  // batches get the first refills of a round to the device at once and keep the system calls
  // few (measured on par with fio, which hands over one I/O per call).
  static constexpr std::size_t kSubmitBatch = 8;

  // Throws EngineError when the kernel refuses io_uring, with its reason.
  IoUringEngine();
  ~IoUringEngine() override;
  IoUringEngine(const IoUringEngine&) = delete;
  IoUringEngine& operator=(const IoUringEngine&) = delete;

  // Throws EngineError for a model disk (no device), or with OpenTarget's reason.
  TargetHandle Open(const TargetInfo& target, bool forWrites) override;
  void Submit(TargetHandle target, const IoRequest& request) override;
  void Reap(double untilMs, std::vector<IoCompletion>& completions) override;
  void Close(TargetHandle target) override;

 private:
  struct Target {
    std::unique_ptr<TargetFile> file;  // null: a free handle
    std::uint64_t sizeBytes = 0;
    std::size_t bufferAlignment = 4096;
    std::uint32_t inFlight = 0;
  };
  // One I/O handed to the kernel; its index is the entry's user data.
  struct Slot {
    TargetHandle handle = 0;
    std::uint64_t tag = 0;
    std::uint32_t length = 0;
    bool isRead = true;
    double submittedMs = 0;
    unsigned char* buffer = nullptr;
  };

  Target& TargetOf(TargetHandle handle);
  io_uring_sqe* NextEntry();
  void SubmitQueued(unsigned waitFor, double untilMs);
  // Takes every ready completion: those of `dropHandle` are forgotten, the others go to m_ready.
  void TakeCompletions(TargetHandle dropHandle);

  io_uring m_ring{};
  std::vector<Target> m_targets;  // handle h is m_targets[h - 1]
  std::vector<Slot> m_slots;
  std::vector<std::uint32_t> m_freeSlots;
  std::vector<std::uint32_t> m_queued;  // slots filled since the last submission
  std::size_t m_batchLimit = 1;         // queued entries that trigger a submission in this round
  std::uint64_t m_inFlight = 0;         // handed to the kernel, not yet completed
  std::vector<IoCompletion> m_ready;    // completed, not yet reaped
  IoBufferPool m_buffers;
};

}  // namespace storageio_port
