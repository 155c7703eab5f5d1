#include "port/firmware/TargetLoad.h"

#include <gtest/gtest.h>

#include <cmath>

#include "port/engines/ModelEngine.h"

namespace storageio_port {
namespace {

const ModelEngine::Config kDevice{100.0, 1.0};
const TargetInfo kDisk{"disk0", 512, 2'000'000};
const double kSequential4k = ModelEngine::ServiceTimeMs(kDevice, 4096, false);  // 0.14096 ms
const double kRandom4k = ModelEngine::ServiceTimeMs(kDevice, 4096, true);       // 1.04096 ms

struct Load {
  bst_1_bll::StorageWorkerProfile_s profile;
  BST_1_bll::TargetSpec_s spec;
  LoadWindow window{0, 0, 1000};

  Load() {
    profile.TransferRequestSize = 4096;
    profile.PercentReadDistribution = 100;
    profile.BurstLength = 1;
    spec.TargetName = kDisk.name;
    spec.QueueDepth = 1;
  }

  // Runs the load on a model device up to `untilMs` in steps of `stepMs` and returns its tally.
  IoTally Run(double untilMs = 1000, double stepMs = 1000) const {
    ModelEngine engine(kDevice);
    TargetLoad load(engine, kDisk, spec, profile, window);
    for (double now = stepMs; now < untilMs; now += stepMs) load.AdvanceTo(now);
    load.AdvanceTo(untilMs);
    return load.Tally();
  }
};

TEST(TargetLoad, OneInFlightKeepsTheDeviceBusyAtOneServiceTimeEach) {
  const IoTally tally = Load().Run();
  EXPECT_EQ(tally.reads, static_cast<std::uint64_t>(1000 / kSequential4k));  // 7094
  EXPECT_EQ(tally.writes, 0u);
  EXPECT_EQ(tally.bytesRead, tally.reads * 4096);
  EXPECT_NEAR(tally.readLatencyMs / tally.reads, kSequential4k, 1e-9);
  EXPECT_NEAR(tally.maxReadLatencyMs, kSequential4k, 1e-9);
}

TEST(TargetLoad, AFullQueueWaitsBehindTheIosAheadOfIt) {
  Load load;
  load.spec.QueueDepth = 4;
  const IoTally tally = load.Run();
  // Same throughput; the first four wait 1, 2, 3 and 4 service times, every later one 4.
  const auto n = static_cast<std::uint64_t>(1000 / kSequential4k);
  EXPECT_EQ(tally.reads, n);
  EXPECT_NEAR(tally.readLatencyMs, (1 + 2 + 3 + 4 + 4.0 * (n - 4)) * kSequential4k, 1e-6);
  EXPECT_NEAR(tally.maxReadLatencyMs, 4 * kSequential4k, 1e-9);
}

TEST(TargetLoad, RandomIoPaysTheFullLatency) {
  Load load;
  load.profile.PercentRandomDistribution = 100;
  EXPECT_EQ(load.Run().reads, static_cast<std::uint64_t>(1000 / kRandom4k));  // 960
}

TEST(TargetLoad, BurstsAreSpacedByTheTransferDelay) {
  Load load;
  load.spec.QueueDepth = 4;
  load.profile.BurstLength = 2;
  load.profile.TransferDelay = 10;
  const IoTally tally = load.Run();
  // Bursts at 0, 10, ..., 990 ms: 200 reads, the second of each waiting behind the first.
  EXPECT_EQ(tally.reads, 200u);
  EXPECT_NEAR(tally.readLatencyMs, 100 * 3 * kSequential4k, 1e-6);
}

TEST(TargetLoad, OnlyTheRecordedWindowCounts) {
  Load load;
  load.window = LoadWindow{0, 500, 1000};
  const IoTally tally = load.Run();
  EXPECT_NEAR(static_cast<double>(tally.reads), 500 / kSequential4k, 1.0);
  load.window = LoadWindow{200, 200, 200};
  EXPECT_EQ(load.Run().reads, 0u);
}

TEST(TargetLoad, MixedIoSplitsByTheReadShare) {
  Load load;
  load.profile.PercentReadDistribution = 30;
  const IoTally tally = load.Run();
  const std::uint64_t all = tally.reads + tally.writes;
  EXPECT_EQ(all, static_cast<std::uint64_t>(1000 / kSequential4k));
  EXPECT_EQ(tally.reads, all * 30 / 100);
  EXPECT_EQ(tally.bytesWritten, tally.writes * 4096);
}

TEST(TargetLoad, ConnectionsGroupTransactions) {
  Load load;
  load.spec.EnableTestConnectionRate = true;
  load.spec.TransactionsPerConnection = 3;
  const IoTally tally = load.Run();
  EXPECT_EQ(tally.connections, tally.reads / 3);
  EXPECT_NEAR(tally.connectionLatencyMs, tally.connections * 3 * kSequential4k, 1e-6);
  EXPECT_NEAR(tally.maxConnectionLatencyMs, 3 * kSequential4k, 1e-9);
  load.spec.EnableTestConnectionRate = false;
  EXPECT_EQ(load.Run().connections, 0u);
}

TEST(TargetLoad, FiguresDoNotDependOnHowOftenTheLoadIsAdvanced) {
  Load load;
  load.spec.QueueDepth = 8;
  load.profile.PercentReadDistribution = 70;
  load.profile.PercentRandomDistribution = 20;
  load.profile.BurstLength = 5;
  load.profile.TransferDelay = 1;
  load.window = LoadWindow{100, 250, 1000};
  const IoTally once = load.Run(1000, 1000);
  const IoTally often = load.Run(1000, 0.37);
  EXPECT_GT(once.reads, 0u);
  EXPECT_EQ(once.reads, often.reads);
  EXPECT_EQ(once.writes, often.writes);
  EXPECT_EQ(once.readLatencyMs, often.readLatencyMs);
  EXPECT_EQ(once.maxWriteLatencyMs, often.maxWriteLatencyMs);
}

TEST(TargetLoad, NoBurstOrNoQueueIssuesNothing) {
  Load load;
  load.profile.BurstLength = 0;
  EXPECT_EQ(load.Run().reads, 0u);
  load.profile.BurstLength = 1;
  load.spec.QueueDepth = 0;
  EXPECT_EQ(load.Run().reads, 0u);
}

TEST(TargetLoad, RefusesWhatCannotRunAndLeavesNothingOpen) {
  Load load;
  ModelEngine engine(kDevice);
  load.spec.QueueDepth = TargetLoad::kMostInFlight + 1;
  EXPECT_THROW(TargetLoad(engine, kDisk, load.spec, load.profile, load.window), std::invalid_argument);
  load.spec.QueueDepth = 1;
  TargetInfo unnamed = kDisk;
  unnamed.name.clear();
  EXPECT_THROW(TargetLoad(engine, unnamed, load.spec, load.profile, load.window), EngineError);
  // Nothing was opened: the engine's first handle is still to come.
  EXPECT_EQ(engine.Open(kDisk), 1u);
}

}  // namespace
}  // namespace storageio_port
