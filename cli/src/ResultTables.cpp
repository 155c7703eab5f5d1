#include "ResultTables.h"

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <string>

#include "ResultFields.h"

namespace storageio_cli {

namespace {

const char* const kBold = "\x1b[1m";
const char* const kRed = "\x1b[31m";
const char* const kPlain = "\x1b[0m";

struct Cell {
  std::string text;
  bool alert = false;  // shown in red when colour is on
};
using Row = std::vector<Cell>;

// Control characters in a name would break the layout, and a line break would break the
// redraw's line count.
std::string Printable(const std::string& text) {
  std::string printable = text;
  for (char& c : printable) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = ' ';
  }
  return printable;
}

std::string Fixed(double value, int decimals) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

// A counter as exact digits (a double would round counts beyond 2^53); 0 where the record has no
// counter.
std::string CountAt(const std::vector<ResultValue>& values, std::size_t index) {
  if (index >= values.size()) return "0";
  const auto* count = std::get_if<std::uint64_t>(&values[index]);
  return std::to_string(count != nullptr ? *count : 0);
}

// The figures of one record that every table shows, by position in the record and its derived row.
struct Figures {
  std::size_t ios, reads, writes, iops, mbps, readErrors, writeErrors, mean, peak;

  Figures()
      : ios(ResultFieldIndex("AllTransactionCount")),
        reads(ResultFieldIndex("ReadTransactionCount")),
        writes(ResultFieldIndex("WriteTransactionCount")),
        iops(ResultFieldIndex("AvgIOPerSecond")),
        mbps(ResultFieldIndex("AvgMBps")),
        readErrors(ResultFieldIndex("ReadErrors")),
        writeErrors(ResultFieldIndex("WriteErrors")),
        mean(DerivedIndex("MeanLatency")),
        peak(DerivedIndex("PeakLatency")) {}

  Cell Errors(const ResultRecord& record) const {
    const double errors = NumberAt(record.values, readErrors) + NumberAt(record.values, writeErrors);
    return Cell{Fixed(errors, 0), errors > 0};
  }

 private:
  static std::size_t DerivedIndex(const char* name) {
    const std::vector<std::string>& names = DerivedNames();
    return static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
  }
};

std::string OwnerLabel(const ResultRecord& record) {
  return Printable(record.owner) + (record.deleted ? " (deleted)" : "");
}

// Writes headings and rows with the first column left-aligned and the others right-aligned;
// returns the number of lines written.
std::size_t WriteTable(std::ostream& out, const std::vector<std::string>& headings, const std::vector<Row>& rows,
                       bool colour) {
  std::vector<std::size_t> widths;
  for (const std::string& heading : headings) widths.push_back(heading.size());
  for (const Row& row : rows) {
    for (std::size_t column = 0; column < row.size() && column < widths.size(); ++column) {
      widths[column] = std::max(widths[column], row[column].text.size());
    }
  }
  auto pad = [&](const std::string& text, std::size_t column) {
    const std::string fill(widths[column] - std::min(widths[column], text.size()), ' ');
    return column == 0 ? text + fill : "  " + fill + text;
  };
  out << "  " << (colour ? kBold : "");
  for (std::size_t column = 0; column < headings.size(); ++column) out << pad(headings[column], column);
  out << (colour ? kPlain : "") << "\n";
  for (const Row& row : rows) {
    out << "  ";
    for (std::size_t column = 0; column < row.size() && column < widths.size(); ++column) {
      const bool red = colour && row[column].alert;
      out << (red ? kRed : "") << pad(row[column].text, column) << (red ? kPlain : "");
    }
    out << "\n";
  }
  return 1 + rows.size();
}

}  // namespace

void WriteResultTables(std::ostream& out, const std::vector<ResultRecord>& records) {
  const Figures figures;
  const std::vector<std::vector<double>> derived = DeriveValues(records);
  const std::pair<ResultLevel, const char*> levels[] = {
      {ResultLevel::Project, "Project"}, {ResultLevel::Port, "Ports"},       {ResultLevel::Profile, "Profiles"},
      {ResultLevel::Worker, "Workers"},  {ResultLevel::Target, "Targets"},
  };
  const std::vector<std::string> headings = {"owner", "I/Os", "reads", "writes", "IOPS",
                                             "MB/s",  "mean ms", "peak ms", "errors"};
  for (const auto& [level, title] : levels) {
    std::vector<Row> rows;
    for (std::size_t n = 0; n < records.size(); ++n) {
      const ResultRecord& record = records[n];
      if (record.level != level) continue;
      rows.push_back(Row{{OwnerLabel(record)},
                         {CountAt(record.values, figures.ios)},
                         {CountAt(record.values, figures.reads)},
                         {CountAt(record.values, figures.writes)},
                         {Fixed(NumberAt(record.values, figures.iops), 1)},
                         {Fixed(NumberAt(record.values, figures.mbps), 3)},
                         {Fixed(derived[n][figures.mean], 3)},
                         {Fixed(derived[n][figures.peak], 3)},
                         figures.Errors(record)});
    }
    out << "\n" << title << "\n";
    WriteTable(out, headings, rows, false);
  }
}

std::vector<std::string> LiveTableLines(const std::vector<ResultRecord>& records, std::int64_t elapsedMs,
                                        bool colour) {
  const Figures figures;
  const std::vector<std::vector<double>> derived = DeriveValues(records);
  std::vector<Row> rows;
  std::vector<std::size_t> order;  // ports first, then the project, as the records hold them
  for (std::size_t n = 0; n < records.size(); ++n) {
    if (records[n].level == ResultLevel::Port) order.push_back(n);
  }
  for (std::size_t n = 0; n < records.size(); ++n) {
    if (records[n].level == ResultLevel::Project) order.push_back(n);
  }
  for (std::size_t n : order) {
    const ResultRecord& record = records[n];
    const std::string label = record.level == ResultLevel::Project ? "project" : OwnerLabel(record);
    rows.push_back(Row{{label},
                       {Fixed(NumberAt(record.values, figures.iops), 1)},
                       {Fixed(NumberAt(record.values, figures.mbps), 3)},
                       {Fixed(derived[n][figures.mean], 3)},
                       {Fixed(derived[n][figures.peak], 3)},
                       figures.Errors(record)});
  }
  std::ostringstream block;
  block << "t=" << elapsedMs / 1000 << "s\n";
  WriteTable(block, {"port", "IOPS", "MB/s", "mean ms", "peak ms", "errors"}, rows, colour);
  std::vector<std::string> lines;
  std::istringstream text(block.str());
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

}  // namespace storageio_cli
