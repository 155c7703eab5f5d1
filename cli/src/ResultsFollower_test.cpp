#include "ResultsFollower.h"

#include <gtest/gtest.h>

#include "ResultsTestFixture.h"

namespace storageio_cli {
namespace {

// A port with a device and a worker on it; the worker uses a profile and has one target.
class ResultsFollowerTest : public ResultsTest {
 protected:
  void SetUp() override {
    ResultsTest::SetUp();
    port = &Make("Port", &Project(), "Port A");
    device = &Make("EmulatedDevice", &Project(), "Host A");
    Relate(*device, *port, "AffiliatedPort");
    worker = &Make("StorageWorkerConfig", device, "Worker 1");
    profile = &Make("StorageWorkerProfile", &Project(), "Reads");
    Relate(*worker, *profile, "UsesProfile");
    target = &Make("StorageDiscoveredTargets", worker);
    target->Set("VolumeName", "sda");
  }

  CScriptable* port = nullptr;
  CScriptable* device = nullptr;
  CScriptable* worker = nullptr;
  CScriptable* profile = nullptr;
  CScriptable* target = nullptr;
};

TEST_F(ResultsFollowerTest, KeepsOneRecordPerResultInLevelOrderWithItsOwner) {
  ResultsFollower follower;
  // Made from the lowest level up, so that the order of the records is the follower's doing.
  SetField(Make("StorageDiscoveredTargetResults", target), "AllTransactionCount", 3);
  SetField(Make("StorageWorkerResults", worker), "AllTransactionCount", 42);
  Make("StorageProfileResults", profile);
  Make("StoragePortResults", port);
  Make("StorageProjectResults", &Project());
  Loop().RunUntilIdle();
  CScriptable& second = Make("StorageWorkerConfig", &Make("EmulatedDevice", &Project()), "Worker 2");
  Make("StorageWorkerResults", &second);
  Loop().RunUntilIdle();

  const std::vector<ResultRecord>& records = follower.Records();
  ASSERT_EQ(6u, records.size());
  const ResultLevel levels[] = {ResultLevel::Project, ResultLevel::Port,   ResultLevel::Profile,
                                ResultLevel::Worker,  ResultLevel::Worker, ResultLevel::Target};
  const char* owners[] = {Project().GetName().c_str(), "Port A", "Reads", "Worker 1", "Worker 2", "Worker 1/sda"};
  const char* ports[] = {"", "Port A", "", "Port A", "", "Port A"};
  const char* profiles[] = {"", "", "", "Reads", "DefaultLoadProfile", ""};
  for (std::size_t n = 0; n < records.size(); ++n) {
    SCOPED_TRACE(n);
    EXPECT_EQ(levels[n], records[n].level);
    EXPECT_EQ(owners[n], records[n].owner);
    EXPECT_EQ(ports[n], records[n].port);
    EXPECT_EQ(profiles[n], records[n].profile);
  }
  EXPECT_EQ("StorageWorkerResults", records[3].resultClass);
  EXPECT_EQ(worker->GetHandle(), records[3].ownerHandle);
  EXPECT_EQ(port->GetHandle(), records[3].portHandle);
  EXPECT_EQ(profile->GetHandle(), records[3].profileHandle);
  EXPECT_EQ(port->GetHandle(), records[5].portHandle);
  EXPECT_EQ(42.0, Field(records[3], "AllTransactionCount"));
  EXPECT_EQ(3.0, Field(records[5], "AllTransactionCount"));
}

TEST_F(ResultsFollowerTest, RefreshesOwnersOnChangesAndKeepsTheLastValuesOfDeletedResults) {
  CScriptable& workerResult = Make("StorageWorkerResults", worker);
  CScriptable& portResult = Make("StoragePortResults", port);
  CScriptable& targetResult = Make("StorageDiscoveredTargetResults", target);
  SetField(targetResult, "MaxLatency", 2.5);
  ResultsFollower follower;
  worker->Set("Name", "Worker 9");
  SetField(workerResult, "ReadErrors", 7);
  Loop().RunUntilIdle();

  ASSERT_EQ(3u, follower.Records().size());
  EXPECT_EQ("Worker 9", follower.Records()[1].owner);
  EXPECT_TRUE(follower.Records()[1].active);
  EXPECT_EQ(7.0, Field(follower.Records()[1], "ReadErrors"));

  // Results below an inactive worker are no longer reported; the port's next roll-up tells.
  worker->Set("Active", "false");
  SetField(portResult, "AvgIOPerSecond", 1);
  Loop().RunUntilIdle();
  EXPECT_FALSE(follower.Records()[1].active);

  // A lost port's targets are deleted with their results.
  target->MarkDelete(true, true);
  Loop().RunUntilIdle();
  ASSERT_EQ(3u, follower.Records().size());
  const ResultRecord& targetRecord = follower.Records()[2];
  EXPECT_TRUE(targetRecord.deleted);
  EXPECT_EQ("Worker 9/sda", targetRecord.owner);
  EXPECT_EQ(2.5, Field(targetRecord, "MaxLatency"));
  EXPECT_FALSE(follower.Records()[1].deleted);
}

TEST_F(ResultsFollowerTest, SeriesHasAPointPerChangedObjectAtLoopTimeFromTheOrigin) {
  Loop().RunFor(500);
  int updates = 0;
  int updatesBeforeDestruction = 0;
  {
    ResultsFollower follower([&] { ++updates; });
    follower.SetOrigin(Loop().NowMs());
    CScriptable& workerResult = Make("StorageWorkerResults", worker);
    CScriptable& portResult = Make("StoragePortResults", port);
    SetField(workerResult, "AllTransactionCount", 1);
    Loop().RunUntilIdle();
    Loop().RunFor(1000);
    SetField(workerResult, "AllTransactionCount", 2);
    SetField(portResult, "AvgIOPerSecond", 2.0);
    Loop().RunUntilIdle();
    Loop().RunFor(250);
    SetField(workerResult, "AllTransactionCount", 5);
    Loop().RunUntilIdle();

    const std::vector<SeriesPoint>& series = follower.Series();
    ASSERT_EQ(5u, series.size());
    const std::int64_t times[] = {0, 0, 1000, 1000, 1250};
    for (std::size_t n = 0; n < series.size(); ++n) EXPECT_EQ(times[n], series[n].tMs) << n;
    std::vector<double> workerCounts;
    for (const SeriesPoint& point : series) {
      if (point.level == ResultLevel::Worker) {
        EXPECT_EQ("Worker 1", point.owner);
        workerCounts.push_back(NumberAt(point.values, ResultFieldIndex("AllTransactionCount")));
      }
    }
    EXPECT_EQ((std::vector<double>{1, 2, 5}), workerCounts);
    EXPECT_GE(updates, 3);
    updatesBeforeDestruction = updates;
  }
  Loop().RunUntilIdle();
  // Unsubscribing announces every object as gone; the follower must not pass that on.
  EXPECT_EQ(updatesBeforeDestruction, updates);
}

}  // namespace
}  // namespace storageio_cli
