#include "ResultsExport.h"

#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <type_traits>

#include "ResultFields.h"

namespace storageio_cli {

namespace {

// Insertion order keeps the fields in id order, as the host describes them.
using Json = nlohmann::ordered_json;

// JSON has no NaN or infinity; null says "no number" and keeps the file valid for every reader.
// (nlohmann would write null for them too; this makes it a decision rather than an accident.)
Json JsonNumber(double value) { return std::isfinite(value) ? Json(value) : Json(nullptr); }

Json JsonValues(const std::vector<ResultValue>& values) {
  const std::vector<ResultField>& fields = ResultFieldList();
  Json object = Json::object();
  for (std::size_t n = 0; n < fields.size() && n < values.size(); ++n) {
    object[fields[n].name] = std::visit(
        [](auto value) {
          if constexpr (std::is_same_v<decltype(value), double>) return JsonNumber(value);
          else return Json(value);
        },
        values[n]);
  }
  return object;
}

Json JsonDerived(const std::vector<double>& derived) {
  const std::vector<std::string>& names = DerivedNames();
  Json object = Json::object();
  for (std::size_t n = 0; n < names.size() && n < derived.size(); ++n) object[names[n]] = JsonNumber(derived[n]);
  return object;
}

// Shortest text that reads back to the same double; empty for a non-finite one.
std::string CsvNumber(double value) {
  if (!std::isfinite(value)) return "";
  char text[32];
  const std::to_chars_result written = std::to_chars(text, text + sizeof text, value);
  return std::string(text, written.ptr);
}

std::string CsvValue(const ResultValue& value) {
  if (const auto* count = std::get_if<std::uint64_t>(&value)) return std::to_string(*count);
  return CsvNumber(std::get<double>(value));
}

std::string CsvField(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

void WriteCsvRow(std::ostream& out, const std::vector<std::string>& fields) {
  for (std::size_t n = 0; n < fields.size(); ++n) out << (n == 0 ? "" : ",") << CsvField(fields[n]);
  out << "\r\n";
}

}  // namespace

void WriteJson(std::ostream& out, const RunSummary& run, const std::vector<ResultRecord>& records,
               const std::vector<SeriesPoint>& series) {
  Json document;
  document["storageio"] = {{"version", run.version},
                           {"host", run.host},
                           {"description", run.description},
                           {"started_at", run.startedAt},
                           {"duration_s", JsonNumber(run.durationS)}};
  document["status"] = run.status;
  Json ports = Json::array();
  for (const RunSummary::Port& port : run.ports) {
    ports.push_back({{"name", port.name}, {"location", port.location}, {"lost", port.lost}});
  }
  document["ports"] = std::move(ports);

  const std::vector<std::vector<double>> derived = DeriveValues(records);
  Json results = Json::array();
  for (std::size_t n = 0; n < records.size(); ++n) {
    const ResultRecord& record = records[n];
    results.push_back({{"level", LevelName(record.level)},
                       {"class", record.resultClass},
                       {"owner", record.owner},
                       {"owner_handle", record.ownerHandle},
                       {"deleted", record.deleted},
                       {"values", JsonValues(record.values)},
                       {"derived", JsonDerived(derived[n])}});
  }
  document["results"] = std::move(results);

  Json points = Json::array();
  for (const SeriesPoint& point : series) {
    points.push_back({{"t_ms", point.tMs},
                      {"level", LevelName(point.level)},
                      {"owner", point.owner},
                      {"values", JsonValues(point.values)}});
  }
  document["series"] = std::move(points);
  // Owner names come from users; replacing invalid UTF-8 keeps dump() from throwing on them.
  out << document.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

void WriteCsv(std::ostream& out, const std::vector<ResultRecord>& records) {
  std::vector<std::string> header = {"level", "owner", "owner_handle"};
  for (const ResultField& field : ResultFieldList()) header.push_back(field.name);
  const std::vector<std::string>& derivedNames = DerivedNames();
  header.insert(header.end(), derivedNames.begin(), derivedNames.end());
  WriteCsvRow(out, header);

  const std::size_t fieldCount = ResultFieldList().size();
  const std::vector<std::vector<double>> derived = DeriveValues(records);
  for (std::size_t n = 0; n < records.size(); ++n) {
    const ResultRecord& record = records[n];
    std::vector<std::string> row = {LevelName(record.level), record.owner, std::to_string(record.ownerHandle)};
    // Every row has every column, so that a short record cannot shift the derived ones.
    for (std::size_t field = 0; field < fieldCount; ++field) {
      row.push_back(field < record.values.size() ? CsvValue(record.values[field]) : std::string());
    }
    for (double value : derived[n]) row.push_back(CsvNumber(value));
    WriteCsvRow(out, row);
  }
}

}  // namespace storageio_cli
