#include "StorageResultRecords.h"

#include <array>

#include "StorageWorkerResults.h"

namespace kel {
namespace storageio {

namespace {

// The 30 values of a statistics record, in property order: 8 counters, then 22 doubles.
const std::array<unsigned long ResultRecord::*, 8> kCounters = {
    &ResultRecord::BytesRead,           &ResultRecord::BytesWritten,    &ResultRecord::ReadTransactionCount,
    &ResultRecord::WriteTransactionCount, &ResultRecord::AllTransactionCount, &ResultRecord::ConnectionCount,
    &ResultRecord::ReadErrors,          &ResultRecord::WriteErrors};
const std::array<double ResultRecord::*, 22> kDoubles = {
    &ResultRecord::TotalReadLatency,       &ResultRecord::TotalWriteLatency,
    &ResultRecord::TotalTransactionLatency, &ResultRecord::TotalConnectionLatency,
    &ResultRecord::AvgIOPerSecond,         &ResultRecord::AvgReadOperationsPerSecond,
    &ResultRecord::AvgWriteOperationsPerSecond, &ResultRecord::AvgTransactionsPerSecond,
    &ResultRecord::AvgConnectionsPerSecond, &ResultRecord::AvgMBps,
    &ResultRecord::AvgMBReadPerSecond,     &ResultRecord::AvgMBWritePerSecond,
    &ResultRecord::AvgLatency,             &ResultRecord::AvgReadLatency,
    &ResultRecord::AvgWriteLatency,        &ResultRecord::AvgTransactionLatency,
    &ResultRecord::AvgConnectionLatency,   &ResultRecord::MaxLatency,
    &ResultRecord::MaxReadLatency,         &ResultRecord::MaxWriteLatency,
    &ResultRecord::MaxTransactionLatency,  &ResultRecord::MaxConnectionLatency};

}  // namespace

void ZeroValues(ResultRecord& record) {
  for (unsigned long ResultRecord::*field : kCounters) record.*field = 0;
  for (double ResultRecord::*field : kDoubles) record.*field = 0.0;
}

void CopyValues(const ResultRecord& record, CStorageBaseResults& result) {
  framework::PropId id = CStorageBaseResults::kFirstCounter;
  for (unsigned long ResultRecord::*field : kCounters) result.Set(id++, record.*field);
  for (double ResultRecord::*field : kDoubles) result.Set(id++, record.*field);
}

void AddValues(const framework::CScriptable& result, ResultRecord& sum) {
  framework::PropId id = CStorageBaseResults::kFirstCounter;
  for (unsigned long ResultRecord::*field : kCounters) sum.*field += result.GetU64(id++);
  for (double ResultRecord::*field : kDoubles) sum.*field += result.GetDouble(id++);
}

void AddActiveWorker(const framework::CScriptable& worker, ResultRecord& sum) {
  if (!worker.GetActive()) return;
  if (const framework::CScriptable* result = worker.GetObject(CStorageWorkerResults::CLASS_ID(), framework::ParentChild())) {
    AddValues(*result, sum);
  }
}

}  // namespace storageio
}  // namespace kel
