#include "ResultsExport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>

#include "ResultsTestFixture.h"

namespace storageio_cli {
namespace {

constexpr std::uint64_t kLargestCount = std::numeric_limits<std::uint64_t>::max();

class ResultsExportTest : public ResultsTest {
 protected:
  // Values that a printf with too few digits, or a float on the way, would not bring back.
  static ResultRecord Awkward(ResultLevel level, const std::string& owner) {
    ResultRecord record = Record(level, owner,
                                 {{"TotalReadLatency", 0.1 + 0.2},
                                  {"TotalWriteLatency", 1e-300},
                                  {"AvgMBps", 123456789.123456789},
                                  {"ReadTransactionCount", 3}});
    record.values[ResultFieldIndex("BytesRead")] = kLargestCount;
    return record;
  }
};

TEST_F(ResultsExportTest, JsonReadsBackValueByValue) {
  RunSummary run{"1.2.3", "bench-7", "random reads", "2026-11-23T22:30:31Z", 12.5, "completed",
                 {{"Port A", "inproc", false}, {"Port B", "tcp://10.0.0.7:7100", true}}};
  std::vector<ResultRecord> records = {Awkward(ResultLevel::Worker, "Worker \"1\"")};
  records[0].resultClass = "StorageWorkerResults";
  records[0].ownerHandle = 77;
  records[0].deleted = true;
  records[0].values[ResultFieldIndex("MaxLatency")] = std::numeric_limits<double>::quiet_NaN();
  const std::vector<SeriesPoint> series = {{1500, ResultLevel::Worker, "Worker \"1\"", records[0].values}};
  std::ostringstream out;
  WriteJson(out, run, records, series);

  const nlohmann::json document = nlohmann::json::parse(out.str());
  EXPECT_EQ(nlohmann::json::parse(R"({"version": "1.2.3", "host": "bench-7", "description": "random reads",
                                      "started_at": "2026-11-23T22:30:31Z", "duration_s": 12.5})"),
            document["storageio"]);
  EXPECT_EQ("completed", document["status"]);
  EXPECT_EQ(nlohmann::json::parse(R"([{"name": "Port A", "location": "inproc", "lost": false},
                                      {"name": "Port B", "location": "tcp://10.0.0.7:7100", "lost": true}])"),
            document["ports"]);

  const nlohmann::json& result = document["results"].at(0);
  nlohmann::json identity = result;
  identity.erase("values");
  identity.erase("derived");
  EXPECT_EQ(nlohmann::json::parse(R"({"level": "worker", "class": "StorageWorkerResults", "owner": "Worker \"1\"",
                                      "owner_handle": 77, "deleted": true})"),
            identity);
  const std::vector<ResultField>& fields = ResultFieldList();
  ASSERT_EQ(fields.size(), result["values"].size());
  for (std::size_t n = 0; n < fields.size(); ++n) {
    SCOPED_TRACE(fields[n].name);
    const nlohmann::json& value = result["values"].at(fields[n].name);
    if (fields[n].name == "MaxLatency") {
      EXPECT_TRUE(value.is_null());
    } else if (fields[n].counter) {
      EXPECT_EQ(std::get<std::uint64_t>(records[0].values[n]), value.get<std::uint64_t>());
    } else {
      EXPECT_EQ(std::get<double>(records[0].values[n]), value.get<double>());
    }
  }
  EXPECT_EQ((0.1 + 0.2) / 3, result["derived"]["MeanReadLatency"].get<double>());
  EXPECT_TRUE(result["derived"]["PeakLatency"].is_null());
  ASSERT_EQ(DerivedNames().size(), result["derived"].size());

  const nlohmann::json& point = document["series"].at(0);
  EXPECT_EQ(1500, point["t_ms"].get<int>());
  EXPECT_EQ("worker", point["level"]);
  EXPECT_EQ(kLargestCount, point["values"]["BytesRead"].get<std::uint64_t>());
  EXPECT_EQ(123456789.123456789, point["values"]["AvgMBps"].get<double>());
}

// A minimal RFC 4180 reader: records end with CRLF; a bare CR or LF outside quotes stays in the
// field, so that a writer that forgets to quote one fails the comparisons.
std::vector<std::vector<std::string>> ReadCsv(const std::string& text) {
  std::vector<std::vector<std::string>> rows(1, std::vector<std::string>(1));
  bool quoted = false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    std::string& field = rows.back().back();
    if (quoted && c == '"' && at + 1 < text.size() && text[at + 1] == '"') {
      field += '"';
      ++at;
    } else if (c == '"' && (quoted || field.empty())) {
      quoted = !quoted;
    } else if (!quoted && c == ',') {
      rows.back().emplace_back();
    } else if (!quoted && c == '\r' && at + 1 < text.size() && text[at + 1] == '\n') {
      rows.emplace_back(1);
      ++at;
    } else {
      field += c;
    }
  }
  EXPECT_EQ(std::vector<std::string>(1), rows.back()) << "the last record must end with CRLF";
  rows.pop_back();
  return rows;
}

TEST_F(ResultsExportTest, CsvReadsBackWithAwkwardOwnersAndExactNumbers) {
  const std::vector<std::string> owners = {"plain", "a,b", "say \"hi\"", "two\nlines", "cr\rhere"};
  std::vector<ResultRecord> records;
  for (const std::string& owner : owners) records.push_back(Awkward(ResultLevel::Target, owner));
  records[0].ownerHandle = 4242;
  std::ostringstream out;
  WriteCsv(out, records);

  const auto rows = ReadCsv(out.str());
  ASSERT_EQ(1 + records.size(), rows.size());
  const std::vector<ResultField>& fields = ResultFieldList();
  std::vector<std::string> header = {"level", "owner", "owner_handle"};
  for (const ResultField& field : fields) header.push_back(field.name);
  header.insert(header.end(), DerivedNames().begin(), DerivedNames().end());
  EXPECT_EQ(header, rows[0]);
  for (std::size_t n = 0; n < records.size(); ++n) {
    SCOPED_TRACE(n);
    const std::vector<std::string>& row = rows[n + 1];
    ASSERT_EQ(header.size(), row.size());
    EXPECT_EQ("target", row[0]);
    EXPECT_EQ(owners[n], row[1]);
    for (std::size_t field = 0; field < fields.size(); ++field) {
      const std::string& text = row[3 + field];
      if (fields[field].counter) {
        EXPECT_EQ(std::get<std::uint64_t>(records[n].values[field]), std::strtoull(text.c_str(), nullptr, 10));
      } else {
        EXPECT_EQ(std::get<double>(records[n].values[field]), std::strtod(text.c_str(), nullptr)) << text;
      }
    }
    EXPECT_EQ((0.1 + 0.2) / 3, std::strtod(row[3 + fields.size() + 1].c_str(), nullptr));  // MeanReadLatency
  }
  EXPECT_EQ("4242", rows[1][2]);
}

}  // namespace
}  // namespace storageio_cli
