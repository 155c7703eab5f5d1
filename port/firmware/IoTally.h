#pragma once
// IoTally: what a worker's I/O on its targets came to since recording began, and the 30 figures
// of a statistics record made from it.
//
// The figures (units as Units.h fixes them; t = recorded seconds):
//   AllTransactionCount = ReadTransactionCount + WriteTransactionCount
//   TotalTransactionLatency = TotalReadLatency + TotalWriteLatency
//   AvgReadLatency = TotalReadLatency / reads, AvgWriteLatency likewise,
//   AvgLatency = AvgTransactionLatency = TotalTransactionLatency / all transactions,
//   AvgConnectionLatency = TotalConnectionLatency / ConnectionCount
//   MaxLatency = MaxTransactionLatency = the larger of MaxReadLatency and MaxWriteLatency
//   AvgIOPerSecond = AvgTransactionsPerSecond = all transactions / t,
//   AvgReadOperationsPerSecond = reads / t, AvgWriteOperationsPerSecond = writes / t,
//   AvgConnectionsPerSecond = ConnectionCount / t
//   AvgMBps = (BytesRead + BytesWritten) / 1e6 / t, AvgMBReadPerSecond = BytesRead / 1e6 / t,
//   AvgMBWritePerSecond = BytesWritten / 1e6 / t
// An average over no transactions and a rate over no recorded time are 0, and a latency average
// is never above its maximum. Failed I/Os count only as ReadErrors or WriteErrors.

#include <cstdint>

#include "msg/bst_1.h"

namespace storageio_port {

struct IoTally {
  std::uint64_t bytesRead = 0;
  std::uint64_t bytesWritten = 0;
  std::uint64_t reads = 0;
  std::uint64_t writes = 0;
  std::uint64_t connections = 0;
  std::uint64_t readErrors = 0;
  std::uint64_t writeErrors = 0;
  double readLatencyMs = 0;
  double writeLatencyMs = 0;
  double connectionLatencyMs = 0;
  double maxReadLatencyMs = 0;
  double maxWriteLatencyMs = 0;
  double maxConnectionLatencyMs = 0;

  // Adds another tally: sums of the counters and totals, the larger of the maxima.
  void Merge(const IoTally& other);
};

// The record of `tally` over `recordedSeconds` (>= 0), with `head` as its Result.
bst_1_bll::StorageBaseResults_s ToBaseResults(const IoTally& tally, double recordedSeconds,
                                              const result_1_bll::Result_s& head);

}  // namespace storageio_port
