#pragma once
// Results as text tables for a terminal: the final tables at the end of a test, and the live
// table that shows the ports and the project while it runs. Both work on ResultRecords only.
// Latencies are the derived means and peaks (ResultFields.h), never the rolled-up sums.

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "ResultRecord.h"

namespace storageio_cli {

// Writes one table per level, titled Project, Ports, Profiles, Workers and Targets, in that
// order: owner, I/Os, reads, writes, IOPS, MB/s, mean and peak latency in ms, errors (read plus
// write). A deleted result's owner is marked "(deleted)". Throws as ResultFieldList does.
void WriteResultTables(std::ostream& out, const std::vector<ResultRecord>& records);

// The live table's block: a line "t=<elapsedMs in whole seconds>s", then IOPS, MB/s, mean and
// peak latency in ms and errors, one row per port and one for the project; each line without its
// line break. `colour` adds ANSI colour (bold header, red non-zero errors); ask for it on
// terminals only. Throws as ResultFieldList does.
std::vector<std::string> LiveTableLines(const std::vector<ResultRecord>& records, std::int64_t elapsedMs, bool colour);

}  // namespace storageio_cli
