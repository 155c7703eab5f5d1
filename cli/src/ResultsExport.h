#pragma once
// Results written for other programs: JSON (the run, its ports, every record and the time series)
// and CSV (one row per record). Both keep each result object's own values unchanged and add the
// derived means and peaks (ResultFields.h) beside them. Doubles are written so that they read back
// exactly.

#include <ostream>
#include <string>
#include <vector>

#include "ResultRecord.h"

namespace storageio_cli {

// What the JSON export says of the run itself.
struct RunSummary {
  std::string version;
  std::string host;
  std::string description;
  std::string startedAt;  // ISO 8601 UTC, e.g. 2026-11-23T22:30:31Z
  double durationS = 0;
  std::string status;  // completed, stopped or failed
  struct Port {
    std::string name, location;
    bool lost = false;
  };
  std::vector<Port> ports;
};

// Writes one JSON document:
//   {"storageio": {"version", "host", "description", "started_at", "duration_s"}, "status",
//    "ports": [{"name", "location", "lost"}],
//    "results": [{"level", "class", "owner", "owner_handle", "deleted", "values": {...},
//                 "derived": {...}}],
//    "series": [{"t_ms", "level", "owner", "values": {...}}]}
// "values" are keyed by the field names in id order, counters as integers. A non-finite double
// is written as null. Throws as ResultFieldList does; the stream's own errors are left to the caller.
void WriteJson(std::ostream& out, const RunSummary& run, const std::vector<ResultRecord>& records,
               const std::vector<SeriesPoint>& series);

// Writes RFC 4180 CSV with CRLF line ends: the header "level,owner,owner_handle," then the field
// names, then the derived names; then one row per record. Fields holding a comma, quote, CR or LF
// are quoted, quotes doubled. Doubles in their shortest exact form; a non-finite double is an
// empty field, as JSON's null. Throws as ResultFieldList does.
void WriteCsv(std::ostream& out, const std::vector<ResultRecord>& records);

}  // namespace storageio_cli
