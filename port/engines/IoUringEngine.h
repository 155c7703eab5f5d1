#pragma once
// IoUringEngine: real I/O through io_uring, for one worker's I/O thread (engine of real pace).
//
// - Submit fills a submission queue entry and hands the queue to the kernel only when it holds
//   kSubmitBatch entries; Reap hands over the rest and waits for completions in one system call
//   (io_uring_submit_and_wait_timeout), then takes every completion that is ready. A round of the
//   worker thus costs one system call per kSubmitBatch I/Os, not one per I/O.
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
// Threads: one thread, as IoEngine.h says; the ring is set up for a single issuer. The
// destructor waits for what is in flight.

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
  // The most I/Os one system call hands over. A whole queue refilled at once reaches a device as
  // one burst, which a virtual disk serves as a block and answers as a block, so the queue then
  // refills in lock-step; batches of 8 keep a stream going (measured on a virtio disk: 4 KiB
  // random reads at queue depth 32 rose from about 55k to 65k I/Os per second, on par with fio).
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
  std::uint64_t m_inFlight = 0;         // handed to the kernel, not yet completed
  std::vector<IoCompletion> m_ready;    // completed, not yet reaped
  IoBufferPool m_buffers;
};

}  // namespace storageio_port
