#pragma once
// The units of everything the storage test firmware reads and reports. The plug-in takes the
// figures as they come, so this is where the port side fixes them, once:
//
// - a test's duration (the duration of "BST_1.StartTest"): seconds;
// - notification intervals (interval_msec) and the firmware's clock: milliseconds;
// - latencies (totals, averages and maxima): milliseconds. A transaction's latency runs from just
//   before the system call that hands it to the device to its completion (the model engine: from
//   its issue to its computed completion). A connection's latency runs from the completion of the
//   transaction that ends the connection, through the drain of the I/Os still in flight and the
//   close, until the target is open again (the model: until the drain ends, as opening costs no
//   model time);
// - MB: 1,000,000 bytes;
// - rates (I/Os, operations, transactions, connections and MB per second): per second of
//   recorded time, the time from the start of the RecordingIO phase to the moment of the figures
//   (at most the test's duration);
// - counters (bytes, transactions, connections, errors): since recording began; a connection is
//   one reopen of the target (TargetLoad.h).

#include <cstdint>

namespace storageio_port::units {

inline constexpr double kBytesPerMB = 1'000'000.0;
inline constexpr std::int64_t kMsPerSecond = 1000;

}  // namespace storageio_port::units
