#include <gtest/gtest.h>

#include <algorithm>

#include "ResultFields.h"
#include "ResultsTestFixture.h"

namespace storageio_cli {
namespace {

using ResultsDerivedTest = ResultsTest;

double Derived(const std::vector<std::vector<double>>& rows, std::size_t record, const std::string& name) {
  const std::vector<std::string>& names = DerivedNames();
  return rows.at(record).at(static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin()));
}

TEST_F(ResultsDerivedTest, FieldsAreTheThirtyStatisticsInIdOrder) {
  const std::vector<ResultField>& fields = ResultFieldList();
  ASSERT_EQ(30u, fields.size());
  EXPECT_EQ("BytesRead", fields.front().name);
  EXPECT_EQ("MaxConnectionLatency", fields.back().name);
  for (std::size_t n = 0; n < fields.size(); ++n) EXPECT_EQ(n < 8, fields[n].counter) << fields[n].name;
}

TEST_F(ResultsDerivedTest, MeansAreTotalsOverCountsAndZeroWithoutCount) {
  // The rolled-up averages of a port are sums; the means must ignore them. A record without
  // values (bad input) derives zeros.
  const auto rows = DeriveValues({Record(ResultLevel::Port, "P",
                                         {{"TotalTransactionLatency", 10}, {"AllTransactionCount", 4},
                                          {"TotalReadLatency", 3}, {"ReadTransactionCount", 2},
                                          {"TotalWriteLatency", 5}, {"TotalConnectionLatency", 1},
                                          {"ConnectionCount", 4}, {"AvgLatency", 99}}),
                                  ResultRecord()});
  EXPECT_EQ((std::vector<double>{2.5, 1.5, 0, 0.25, 0, 0, 0, 0}), rows.at(0));
  EXPECT_EQ(std::vector<double>(DerivedNames().size(), 0.0), rows.at(1));
}

TEST_F(ResultsDerivedTest, PeaksAreTheLargestMaximaOfTheActiveWorkersBelow) {
  auto worker = [](kel::framework::Handle port, kel::framework::Handle profile, double max, bool active) {
    ResultRecord record = Record(ResultLevel::Worker, "w", {{"MaxLatency", max}, {"MaxReadLatency", max / 2}});
    record.portHandle = port;
    record.profileHandle = profile;
    record.active = active;
    return record;
  };
  const kel::framework::Handle portA = 10, portB = 20, profileX = 100, profileY = 200;
  std::vector<ResultRecord> records = {
      Record(ResultLevel::Project, "project", {{"MaxLatency", 1000}}),
      Record(ResultLevel::Port, "A", {{"MaxLatency", 1000}}),
      Record(ResultLevel::Port, "B"),
      Record(ResultLevel::Profile, "X"),
      Record(ResultLevel::Profile, "Y"),
      worker(portA, profileX, 5, true),
      worker(portA, profileY, 9, false),  // inactive: its own peak only
      worker(portB, profileY, 7, true),
      worker(portA, 0, 8, true),  // no profile: not part of the project's sums
      Record(ResultLevel::Target, "w/sda", {{"MaxLatency", 3}}),
  };
  records[1].ownerHandle = portA;
  records[2].ownerHandle = portB;
  records[3].ownerHandle = profileX;
  records[4].ownerHandle = profileY;
  const auto rows = DeriveValues(records);
  const double expected[] = {7, 8, 7, 5, 7, 5, 9, 7, 8, 3};
  for (std::size_t n = 0; n < records.size(); ++n) {
    EXPECT_EQ(expected[n], Derived(rows, n, "PeakLatency")) << n;
  }
  EXPECT_EQ(4.0, Derived(rows, 1, "PeakReadLatency"));
  EXPECT_EQ(0.0, Derived(rows, 1, "PeakWriteLatency"));
}

}  // namespace
}  // namespace storageio_cli
