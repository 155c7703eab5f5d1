#include "port/firmware/IoTally.h"

#include <gtest/gtest.h>

namespace storageio_port {
namespace {

IoTally Sample() {
  IoTally tally;
  tally.bytesRead = 3'000'000;
  tally.bytesWritten = 1'000'000;
  tally.reads = 300;
  tally.writes = 100;
  tally.connections = 40;
  tally.readErrors = 2;
  tally.writeErrors = 1;
  tally.readLatencyMs = 600.0;
  tally.writeLatencyMs = 400.0;
  tally.connectionLatencyMs = 800.0;
  tally.maxReadLatencyMs = 5.0;
  tally.maxWriteLatencyMs = 7.0;
  tally.maxConnectionLatencyMs = 30.0;
  return tally;
}

TEST(IoTally, FiguresFollowFromTheTallyAndRecordedTime) {
  const auto r = ToBaseResults(Sample(), 2.0, result_1_bll::Result_s{1, 42});
  EXPECT_EQ(r.Result.ResultState, 1);
  EXPECT_EQ(r.Result.BllHandle, 42u);
  EXPECT_EQ(r.AllTransactionCount, 400u);
  EXPECT_EQ(r.ReadErrors, 2u);
  EXPECT_EQ(r.WriteErrors, 1u);
  EXPECT_DOUBLE_EQ(r.TotalTransactionLatency, 1000.0);
  EXPECT_DOUBLE_EQ(r.AvgIOPerSecond, 200.0);
  EXPECT_DOUBLE_EQ(r.AvgTransactionsPerSecond, 200.0);
  EXPECT_DOUBLE_EQ(r.AvgReadOperationsPerSecond, 150.0);
  EXPECT_DOUBLE_EQ(r.AvgWriteOperationsPerSecond, 50.0);
  EXPECT_DOUBLE_EQ(r.AvgConnectionsPerSecond, 20.0);
  EXPECT_DOUBLE_EQ(r.AvgMBps, 2.0);
  EXPECT_DOUBLE_EQ(r.AvgMBReadPerSecond, 1.5);
  EXPECT_DOUBLE_EQ(r.AvgMBWritePerSecond, 0.5);
  EXPECT_DOUBLE_EQ(r.AvgReadLatency, 2.0);
  EXPECT_DOUBLE_EQ(r.AvgWriteLatency, 4.0);
  EXPECT_DOUBLE_EQ(r.AvgLatency, 2.5);
  EXPECT_DOUBLE_EQ(r.AvgTransactionLatency, 2.5);
  EXPECT_DOUBLE_EQ(r.AvgConnectionLatency, 20.0);
  EXPECT_DOUBLE_EQ(r.MaxLatency, 7.0);
  EXPECT_DOUBLE_EQ(r.MaxTransactionLatency, 7.0);
  EXPECT_DOUBLE_EQ(r.MaxConnectionLatency, 30.0);
}

TEST(IoTally, NothingRecordedGivesZerosNotNaN) {
  const auto idle = ToBaseResults(IoTally(), 0.0, result_1_bll::Result_s{});
  EXPECT_EQ(idle, bst_1_bll::StorageBaseResults_s());
  const auto early = ToBaseResults(Sample(), 0.0, result_1_bll::Result_s{});
  EXPECT_EQ(early.AvgMBps, 0.0);
  EXPECT_EQ(early.AvgIOPerSecond, 0.0);
  EXPECT_DOUBLE_EQ(early.AvgLatency, 2.5);
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

TEST(IoTally, MergeSumsCountsAndKeepsTheLargerMaxima) {
  IoTally merged = Sample();
  IoTally other;
  other.reads = 1;
  other.bytesRead = 10;
  other.readLatencyMs = 9.0;
  other.maxReadLatencyMs = 9.0;
  other.maxWriteLatencyMs = 1.0;
  merged.Merge(other);
  EXPECT_EQ(merged.reads, 301u);
  EXPECT_EQ(merged.bytesRead, 3'000'010u);
  EXPECT_DOUBLE_EQ(merged.readLatencyMs, 609.0);
  EXPECT_DOUBLE_EQ(merged.maxReadLatencyMs, 9.0);
  EXPECT_DOUBLE_EQ(merged.maxWriteLatencyMs, 7.0);
}

}  // namespace
}  // namespace storageio_port
