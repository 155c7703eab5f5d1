#pragma once
// The 30 statistics of a bst_1 statistics record, in the order of the result class's properties:
// 8 counters, then 22 doubles. Everything that walks a record's values (the plug-in's result
// objects and roll-up, its tests, the codec tests and benchmarks) walks these two lists.

#include <array>

#include "msg/bst_1.h"

namespace bst_1_bll {

inline constexpr std::array<unsigned long StorageBaseResults_s::*, 8> kCounterFields = {
    &StorageBaseResults_s::BytesRead,           &StorageBaseResults_s::BytesWritten,
    &StorageBaseResults_s::ReadTransactionCount, &StorageBaseResults_s::WriteTransactionCount,
    &StorageBaseResults_s::AllTransactionCount, &StorageBaseResults_s::ConnectionCount,
    &StorageBaseResults_s::ReadErrors,          &StorageBaseResults_s::WriteErrors};

inline constexpr std::array<double StorageBaseResults_s::*, 22> kDoubleFields = {
    &StorageBaseResults_s::TotalReadLatency,        &StorageBaseResults_s::TotalWriteLatency,
    &StorageBaseResults_s::TotalTransactionLatency, &StorageBaseResults_s::TotalConnectionLatency,
    &StorageBaseResults_s::AvgIOPerSecond,          &StorageBaseResults_s::AvgReadOperationsPerSecond,
    &StorageBaseResults_s::AvgWriteOperationsPerSecond, &StorageBaseResults_s::AvgTransactionsPerSecond,
    &StorageBaseResults_s::AvgConnectionsPerSecond, &StorageBaseResults_s::AvgMBps,
    &StorageBaseResults_s::AvgMBReadPerSecond,      &StorageBaseResults_s::AvgMBWritePerSecond,
    &StorageBaseResults_s::AvgLatency,              &StorageBaseResults_s::AvgReadLatency,
    &StorageBaseResults_s::AvgWriteLatency,         &StorageBaseResults_s::AvgTransactionLatency,
    &StorageBaseResults_s::AvgConnectionLatency,    &StorageBaseResults_s::MaxLatency,
    &StorageBaseResults_s::MaxReadLatency,          &StorageBaseResults_s::MaxWriteLatency,
    &StorageBaseResults_s::MaxTransactionLatency,   &StorageBaseResults_s::MaxConnectionLatency};

}  // namespace bst_1_bll
