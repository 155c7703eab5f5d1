#pragma once
// The statistics of the storage result classes as the host describes them, and the values the
// command line derives from them.
//
// Why derived values: the plug-in rolls results up by plain sums, averages and maxima included,
// so a port's AvgLatency is the sum of its workers' averages. Means are therefore recomputed from
// totals and counts, and peaks from the workers' own maxima, for every record at every level.

#include <cstddef>
#include <string>
#include <vector>

#include "ResultRecord.h"
#include "kel/framework/Types.h"

namespace storageio_cli {

struct ResultField {
  std::string name;
  kel::framework::PropId id = 0;
  bool counter = false;  // u64; otherwise a double
};

// The u64 and double properties of the class "StorageBaseResults", in id order, read from the
// host's class description on the first successful call and kept for the process. Throws
// std::runtime_error when the host does not know the class (the plug-in is not loaded) or when the
// class lacks a property the derived values are computed from; a later call tries again.
const std::vector<ResultField>& ResultFieldList();

// The position of the named field in ResultFieldList(). Throws std::runtime_error naming the field
// when there is none (and as ResultFieldList does).
std::size_t ResultFieldIndex(const std::string& name);

// MeanLatency, MeanReadLatency, MeanWriteLatency, MeanConnectionLatency, then PeakLatency,
// PeakReadLatency, PeakWriteLatency, PeakConnectionLatency. Latencies in ms.
const std::vector<std::string>& DerivedNames();

// The derived values of every record, one row per record in the order of `records`, each row in
// the order of DerivedNames():
// - a mean is its total over its count (MeanLatency: TotalTransactionLatency/AllTransactionCount),
//   0 when the count is 0;
// - a peak is the record's own Max* value for a worker or target; for a port, profile or the
//   project, the largest Max* of the active workers on that port, with that profile, or with any
//   profile (0 when there is none). Deleted workers count with their last values.
// Missing values count as 0. Throws as ResultFieldList does.
std::vector<std::vector<double>> DeriveValues(const std::vector<ResultRecord>& records);

}  // namespace storageio_cli
