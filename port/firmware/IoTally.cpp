#include "port/firmware/IoTally.h"

#include <algorithm>

#include "port/firmware/Units.h"

namespace storageio_port {

namespace {

double Ratio(double total, double count) { return count > 0 ? total / count : 0.0; }

// A latency average, never above its maximum: when every latency is the maximum, rounding in the
// total could otherwise tip the average a hair over it.
double Average(double total, std::uint64_t count, double maximum) {
  return std::min(Ratio(total, static_cast<double>(count)), maximum);
}

}  // namespace

void IoTally::Merge(const IoTally& other) {
  bytesRead += other.bytesRead;
  bytesWritten += other.bytesWritten;
  reads += other.reads;
  writes += other.writes;
  connections += other.connections;
  readErrors += other.readErrors;
  writeErrors += other.writeErrors;
  readLatencyMs += other.readLatencyMs;
  writeLatencyMs += other.writeLatencyMs;
  connectionLatencyMs += other.connectionLatencyMs;
  maxReadLatencyMs = std::max(maxReadLatencyMs, other.maxReadLatencyMs);
  maxWriteLatencyMs = std::max(maxWriteLatencyMs, other.maxWriteLatencyMs);
  maxConnectionLatencyMs = std::max(maxConnectionLatencyMs, other.maxConnectionLatencyMs);
}

bst_1_bll::StorageBaseResults_s ToBaseResults(const IoTally& tally, double recordedSeconds,
                                              const result_1_bll::Result_s& head) {
  bst_1_bll::StorageBaseResults_s r;
  r.Result = head;
  r.BytesRead = tally.bytesRead;
  r.BytesWritten = tally.bytesWritten;
  r.ReadTransactionCount = tally.reads;
  r.WriteTransactionCount = tally.writes;
  r.AllTransactionCount = tally.reads + tally.writes;
  r.ConnectionCount = tally.connections;
  r.ReadErrors = tally.readErrors;
  r.WriteErrors = tally.writeErrors;

  r.TotalReadLatency = tally.readLatencyMs;
  r.TotalWriteLatency = tally.writeLatencyMs;
  r.TotalTransactionLatency = tally.readLatencyMs + tally.writeLatencyMs;
  r.TotalConnectionLatency = tally.connectionLatencyMs;

  const double all = static_cast<double>(r.AllTransactionCount);
  r.AvgIOPerSecond = Ratio(all, recordedSeconds);
  r.AvgReadOperationsPerSecond = Ratio(static_cast<double>(tally.reads), recordedSeconds);
  r.AvgWriteOperationsPerSecond = Ratio(static_cast<double>(tally.writes), recordedSeconds);
  r.AvgTransactionsPerSecond = r.AvgIOPerSecond;
  r.AvgConnectionsPerSecond = Ratio(static_cast<double>(tally.connections), recordedSeconds);
  r.AvgMBReadPerSecond = Ratio(tally.bytesRead / units::kBytesPerMB, recordedSeconds);
  r.AvgMBWritePerSecond = Ratio(tally.bytesWritten / units::kBytesPerMB, recordedSeconds);
  r.AvgMBps = Ratio((tally.bytesRead + tally.bytesWritten) / units::kBytesPerMB, recordedSeconds);

  r.MaxReadLatency = tally.maxReadLatencyMs;
  r.MaxWriteLatency = tally.maxWriteLatencyMs;
  r.MaxTransactionLatency = std::max(tally.maxReadLatencyMs, tally.maxWriteLatencyMs);
  r.MaxLatency = r.MaxTransactionLatency;
  r.MaxConnectionLatency = tally.maxConnectionLatencyMs;

  r.AvgReadLatency = Average(tally.readLatencyMs, tally.reads, r.MaxReadLatency);
  r.AvgWriteLatency = Average(tally.writeLatencyMs, tally.writes, r.MaxWriteLatency);
  r.AvgTransactionLatency = Average(r.TotalTransactionLatency, r.AllTransactionCount, r.MaxTransactionLatency);
  r.AvgLatency = r.AvgTransactionLatency;
  r.AvgConnectionLatency = Average(tally.connectionLatencyMs, tally.connections, r.MaxConnectionLatency);
  return r;
}

}  // namespace storageio_port
