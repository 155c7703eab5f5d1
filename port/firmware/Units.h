#pragma once
// The units of everything the storage test firmware reads and reports. The plug-in takes the
// figures as they come, so this is where the port side fixes them, once:
//
// - a test's duration (the duration of "BST_1.StartTest"): seconds;
// - notification intervals (interval_msec) and the firmware's clock: milliseconds;
// - latencies (totals, averages and maxima): milliseconds;
// - MB: 1,000,000 bytes;
// - rates (I/Os, operations, transactions, connections and MB per second): per second of
//   recorded time, the time from the start of the RecordingIO phase to the moment of the figures
//   (at most the test's duration);
// - counters (bytes, transactions, connections, errors): since recording began.

#include <cstdint>

namespace storageio_port::units {

inline constexpr double kBytesPerMB = 1'000'000.0;
inline constexpr std::int64_t kMsPerSecond = 1000;

}  // namespace storageio_port::units
