#include "port/firmware/TargetLoad.h"

#include <gtest/gtest.h>

#include "port/engines/ModelEngine.h"
#include "port/firmware/WorkerLoad.h"

namespace storageio_port {
namespace {

const ModelEngine::Config kDevice{100.0, 1.0};
const TargetInfo kDisk = ModelDisk("disk0", 512, 2'000'000);
const double kSequential4k = ModelEngine::ServiceTimeMs(kDevice, 4096, false);  // 0.14096 ms

// 4 KiB sequential reads, one in flight, recorded over the first second.
struct Load {
  bst_1_bll::StorageWorkerProfile_s profile{4096, 0, false, 0, 100, 0, 1, false, 0, false};
  BST_1_bll::TargetSpec_s spec{0, kDisk.name, 1, false, 0, {}, 0};
  LoadWindow window{0, 0, 1000};

  // Runs on a model device up to 1000 ms, advancing every `stepMs`.
  IoTally Run(double stepMs = 1000) const {
    TallyBoard board(1);
    WorkerLoad load(WorkerPlan{20, profile, {{&kDisk, spec}}}, std::make_unique<ModelEngine>(kDevice),
                    IoEngine::Pace::Computed, window, board);
    for (double now = stepMs; now < 1000; now += stepMs) load.AdvanceTo(now);
    load.AdvanceTo(1000);
    const TallySnapshot snapshot = board.Read();
    EXPECT_EQ(snapshot.recordedMs, window.endMs - window.recordFromMs);
    return snapshot.targets.at(0);
  }
};

TEST(TargetLoad, OneInFlightKeepsTheDeviceBusyAtOneServiceTimeEach) {
  Load load;
  const IoTally tally = load.Run();
  EXPECT_EQ(tally.reads, static_cast<std::uint64_t>(1000 / kSequential4k));  // 7094
  EXPECT_EQ(tally.bytesRead, tally.reads * 4096);
  EXPECT_NEAR(tally.readLatencyMs / tally.reads, kSequential4k, 1e-9);
  EXPECT_NEAR(tally.maxReadLatencyMs, kSequential4k, 1e-9);
  load.profile.PercentRandomDistribution = 100;
  EXPECT_EQ(load.Run().reads, static_cast<std::uint64_t>(1000 / ModelEngine::ServiceTimeMs(kDevice, 4096, true)));
}

TEST(TargetLoad, AConnectionEndsByDrainingWhatIsInFlightThenReopens) {
  Load load;
  load.spec.EnableTestConnectionRate = true;
  load.spec.TransactionsPerConnection = 3;
  const IoTally single = load.Run();  // nothing else in flight: the reopen costs no model time
  EXPECT_EQ(single.connections, single.reads / 3);
  EXPECT_EQ(single.maxConnectionLatencyMs, 0.0);

  // Four in flight, eight per connection: the three still in flight after the eighth drain one
  // service time after the other, then the queue starts empty again.
  load.spec.QueueDepth = 4;
  load.spec.TransactionsPerConnection = 8;
  const IoTally drained = load.Run();
  EXPECT_EQ(drained.connections, drained.reads / 11);  // each connection: 8, then 3 drained
  EXPECT_NEAR(drained.maxConnectionLatencyMs, 3 * kSequential4k, 1e-9);
  EXPECT_NEAR(drained.connectionLatencyMs, drained.connections * 3 * kSequential4k, 1e-6);
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

TEST(TargetLoad, BurstsAreSpacedByTheTransferDelay) {
  Load load;
  load.spec.QueueDepth = 4;
  load.profile.BurstLength = 2;
  load.profile.TransferDelay = 10;
  const IoTally tally = load.Run();
  // Bursts at 0, 10, ..., 990 ms: 200 reads, the second of each waiting behind the first.
  EXPECT_EQ(tally.reads, 200u);
  EXPECT_NEAR(tally.readLatencyMs, 100 * 3 * kSequential4k, 1e-6);
  load.profile.BurstLength = 0;
  EXPECT_EQ(load.Run().reads, 0u);
}

TEST(TargetLoad, FiguresDoNotDependOnHowOftenTheLoadIsAdvanced) {
  Load load;
  load.spec.QueueDepth = 8;
  load.profile.PercentReadDistribution = 70;
  load.profile.PercentRandomDistribution = 20;
  load.profile.BurstLength = 5;
  load.profile.TransferDelay = 1;
  load.window = LoadWindow{100, 250, 1000};  // warm-up I/O does not count
  const IoTally once = load.Run(1000);
  const IoTally often = load.Run(0.37);
  EXPECT_GT(once.writes, 0u);
  EXPECT_EQ(once.reads, often.reads);
  EXPECT_EQ(once.writes, often.writes);
  EXPECT_EQ(once.readLatencyMs, often.readLatencyMs);
  EXPECT_EQ(once.maxWriteLatencyMs, often.maxWriteLatencyMs);
}

TEST(TargetLoad, RefusesWhatCannotRunAndLeavesNothingOpen) {
  Load load;
  ModelEngine engine(kDevice);
  const auto pace = IoEngine::Pace::Computed;
  load.spec.QueueDepth = TargetLoad::kMostInFlight + 1;
  EXPECT_THROW(TargetLoad::Check(kDisk, load.spec, load.profile), std::invalid_argument);
  EXPECT_THROW(TargetLoad(engine, pace, kDisk, load.spec, load.profile, 20, load.window), std::invalid_argument);
  load.spec.QueueDepth = 1;
  load.spec.DiskSpecification.StartingDiskSector = kDisk.sectorCount;
  EXPECT_THROW(TargetLoad::Check(kDisk, load.spec, load.profile), std::invalid_argument);
  load.spec.DiskSpecification.StartingDiskSector = 0;
  TargetInfo unnamed = kDisk;
  unnamed.name.clear();
  EXPECT_THROW(TargetLoad(engine, pace, unnamed, load.spec, load.profile, 20, load.window), EngineError);
  EXPECT_EQ(engine.Open(kDisk, false), 1u);  // the engine's first handle: nothing stayed open
}

}  // namespace
}  // namespace storageio_port
