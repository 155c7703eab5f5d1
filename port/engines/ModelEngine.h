#pragma once
// ModelEngine: an I/O engine that touches no disk. It computes when each I/O would complete on a
// simple device, deterministically: the same requests always give the same completions.
//
// The device formula. Every opened target is one device that serves one I/O at a time, in the
// order the I/Os were submitted:
//
//   service(io) = latencyMs * (io.isRandom ? 1 : kSequentialLatencyShare)
//                 + io.length / (speedMBps * 1000)                          [ms; MB = 1,000,000 B]
//   start(io)   = max(io.issueMs, completion of the previous I/O on the device)
//   completion  = start(io) + service(io),      latency = completion - io.issueMs
//
// Reads and writes cost the same. An I/O beyond the target's end completes failed at its start,
// taking no device time. Two opens of one target are two devices that do not slow each other.
//
// What a worker's figures then come to. The firmware issues I/O as TargetLoad.h says: up to the
// queue depth Q in flight per target, bursts of B I/Os with the next burst at least the transfer
// delay D ms after the previous burst's last issue, the k-th I/O a read and random by an exact
// spread of the percentages (IoPattern.h). With s the mean service time over that spread:
// - D = 0 (the device never idles): transactions/s = 1000 / s, MB/s = transactions/s * size / 1e6,
//   and once the queue is full every I/O waits for the Q - 1 ahead of it: latency = Q * s for
//   I/Os of one kind (a mix makes the waits vary around it).
// - B <= Q and B * s <= D (the device keeps up with each burst): transactions/s = 1000 * B / D.
// For example 4096-byte sequential reads at 100 MB/s and 1 ms latency: s = 0.1 + 0.04096 ms,
// so 7094.2 reads/s and 29.06 MB/s; at Q = 4 each read takes 0.56384 ms.
//
// Threads: as IoEngine.h; a computed engine, run on the firmware's clock. Memory: one entry per
// I/O in flight.

#include <cstdint>
#include <deque>
#include <map>

#include "port/engines/IoEngine.h"

namespace storageio_port {

class ModelEngine : public IoEngine {
 public:
  struct Config {
    double speedMBps = 100.0;  // transfer speed of every device
    double latencyMs = 1.0;    // access latency of a random I/O
  };

  class Factory : public IoEngineFactory {
   public:
    // Throws what ModelEngine's constructor throws.
    explicit Factory(Config config);
    Pace GetPace() const override { return Pace::Computed; }
    std::string Name() const override { return "model"; }
    std::unique_ptr<IoEngine> Make() const override { return std::make_unique<ModelEngine>(m_config); }

   private:
    Config m_config;
  };

  // Share of the access latency a sequential I/O pays.
  static constexpr double kSequentialLatencyShare = 0.1;
  // The shortest latency a device may have: with none, time would not move on while a worker
  // keeps issuing.
  static constexpr double kShortestLatencyMs = 0.001;

  // The formula above, for one I/O of `length` bytes.
  static double ServiceTimeMs(const Config& config, std::uint32_t length, bool isRandom);

  // Throws std::invalid_argument when the speed is not positive or the latency is below
  // kShortestLatencyMs.
  explicit ModelEngine(Config config);

  // Throws EngineError for a target that ValidateTargetInfo refuses. Writes are not checked: a
  // model disk holds no data.
  TargetHandle Open(const TargetInfo& target, bool forWrites) override;
  void Submit(TargetHandle target, const IoRequest& request) override;
  // Device by device, in the order they were opened.
  void Reap(double untilMs, std::vector<IoCompletion>& completions) override;
  void Close(TargetHandle target) override;

 private:
  struct Device {
    std::uint64_t sizeBytes = 0;
    double busyUntilMs = 0;
    std::deque<IoCompletion> inFlight;  // completion order is submission order
  };

  Device& DeviceOf(TargetHandle target);

  Config m_config;
  std::map<TargetHandle, Device> m_devices;
  TargetHandle m_nextHandle = 1;
};

}  // namespace storageio_port
