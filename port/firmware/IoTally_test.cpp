#include "port/firmware/IoTally.h"

#include <gtest/gtest.h>

namespace storageio_port {
namespace {

TEST(IoTally, NothingRecordedGivesZerosNotNaN) {
  EXPECT_EQ(ToBaseResults(IoTally(), 0.0, result_1_bll::Result_s{}), bst_1_bll::StorageBaseResults_s());
  IoTally tally;
  tally.reads = 4;
  tally.readLatencyMs = 2.0;
  tally.maxReadLatencyMs = 1.0;
  const auto early = ToBaseResults(tally, 0.0, result_1_bll::Result_s{});
  EXPECT_EQ(early.AvgIOPerSecond, 0.0);
  EXPECT_EQ(early.AvgLatency, 0.5);
}

TEST(IoTally, AverageNeverExceedsItsMaximum) {
  // Ten latencies of 0.1 ms whose total came out a rounding step high.
  IoTally tally;
  tally.reads = 10;
  tally.readLatencyMs = 1.0000000000000002;
  tally.maxReadLatencyMs = 0.1;
  const auto r = ToBaseResults(tally, 1.0, result_1_bll::Result_s{});
  EXPECT_EQ(r.AvgReadLatency, 0.1);
  EXPECT_EQ(r.AvgLatency, 0.1);
}

}  // namespace
}  // namespace storageio_port
