#pragma once
// Results as text tables for a terminal: the final tables at the end of a test, and the live
// table that shows the ports and the project while it runs. Both work on ResultRecords only.
// Latencies are the derived means and peaks (ResultFields.h), never the rolled-up sums.

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <vector>

#include "ResultRecord.h"

namespace storageio_cli {

// Writes one table per level, titled Project, Ports, Profiles, Workers and Targets, in that
// order: owner, I/Os, reads, writes, IOPS, MB/s, mean and peak latency in ms, errors (read plus
// write). A deleted result's owner is marked "(deleted)". Throws as ResultFieldList does.
void WriteResultTables(std::ostream& out, const std::vector<ResultRecord>& records);

class LiveTable {
 public:
  // Writes to `out`, which must outlive the table. On a terminal each block replaces the one
  // drawn before (ANSI cursor movement); otherwise blocks are appended. `colour` adds ANSI colour
  // (bold header, red non-zero errors); ask for it on terminals only.
  LiveTable(std::ostream& out, bool terminal, bool colour);

  // Draws one block: a line "t=<elapsedMs in whole seconds>s", then IOPS, MB/s, mean and peak
  // latency in ms and errors, one row per port and one for the project. Draws each time it is
  // called; the caller decides how often. Throws as ResultFieldList does.
  void Show(const std::vector<ResultRecord>& records, std::int64_t elapsedMs);

 private:
  std::ostream& m_out;
  bool m_terminal;
  bool m_colour;
  std::size_t m_linesDrawn = 0;  // lines of the last block, for the redraw on a terminal
};

}  // namespace storageio_cli
