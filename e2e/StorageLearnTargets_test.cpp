// Learning targets through the loaded plug-in, against the embedded in-process ports.

#include <gmock/gmock.h>

#include "StorageIOE2ETest.h"

namespace storageio_e2e {
namespace {

using ::testing::ElementsAre;
using kel::framework::LOG_LEVEL_WARN;

// The targets under a worker must be the port's configured ones, in order, as the port reports
// them: sizes in bytes, the type, the queue depth and sector size, starting at sector 0.
void ExpectConfiguredTargets(const ScriptableVec& targets) {
  const std::vector<storageio_port::TargetInfo> configured = storageio_port::InProcessSetup().firmware.targets;
  ASSERT_EQ(targets.size(), configured.size());
  for (std::size_t i = 0; i < configured.size(); ++i) {
    SCOPED_TRACE(configured[i].name);
    EXPECT_EQ(targets[i]->Get("VolumeName"), configured[i].name);
    EXPECT_EQ(targets[i]->Get("Size"), std::to_string(configured[i].SizeBytes()));
    EXPECT_EQ(targets[i]->Get("SectorSize"), std::to_string(configured[i].sectorSize));
    EXPECT_EQ(targets[i]->Get("QueueDepth"), std::to_string(configured[i].queueDepth));
    // PhysicalDiskType 0x8C000000, LogicalDiskType 0x8A000000
    const bool physical = configured[i].type == storageio_port::DiskType::PhysicalDisk;
    EXPECT_EQ(targets[i]->Get("TargetType"), physical ? "2348810240" : "2315255808");
    EXPECT_EQ(targets[i]->Get("StartingDiskSector"), "0");
  }
}

TEST_F(StorageIOE2ETest, LearnPutsEachPortsTargetsUnderItsWorkersAndALaterLearnOnlyRewritesSizes) {
  kel::core::CPort& first = AddPort("Port 1", "inproc");
  CScriptable& worker = AddWorker("Worker A", first);
  CScriptable& bare = MakeDevice(first, "Host B");  // no worker: warned about, the port is still asked
  kel::core::CPort& other = AddPort("Port 2", "inproc");
  CScriptable& second = AddWorker("Worker 2", other);
  kel::core::CPort& unreserved = AddPort("Port 3", "inproc");
  unreserved.Set("ReservedForTesting", "false");
  CScriptable& idle = AddWorker("Worker C", unreserved);

  kel::framework::CCommand& learn = MakeLearn({&first, &other, &unreserved});
  learn.Execute(false);

  EXPECT_EQ(learn.GetRunnableState(), kel::framework::CRunnable::STATE_COMPLETED);
  EXPECT_EQ(Loop().NowMs(), 0);  // both answers came at once and ended the wait
  const std::string noWorker = "Command StorageLearnTargets: Port 1 does not have StorageWorkerConfigs. Skipping the port.";
  EXPECT_THAT(Lines(kUserLog, LOG_LEVEL_WARN), ElementsAre(noWorker));
  EXPECT_THAT(Lines(kDeveloperLog, LOG_LEVEL_WARN), ElementsAre(noWorker));
  const ScriptableVec targets = LearnedTargetsOf(worker);
  ExpectConfiguredTargets(targets);
  ExpectConfiguredTargets(LearnedTargetsOf(second));
  EXPECT_EQ(bare.GetObject(ClassIdOf("StorageDiscoveredTargets")), nullptr);
  EXPECT_TRUE(LearnedTargetsOf(idle).empty());  // a port not reserved is not asked

  // The user edits the learned targets; the port answers the same again. A size stored in bytes
  // is compared with the reported sector count, so it is rewritten, while a size that happens to
  // equal the sector count stays; the type is never updated; nothing is made.
  CScriptable& disk0 = *targets[0];
  CScriptable& disk1 = *targets[1];
  disk0.Set("Size", std::to_string(storageio_port::InProcessSetup().firmware.targets[0].sectorCount));
  disk0.Set("TargetType", "0");
  disk1.Set("Size", "1");
  disk1.Set("SerialNumber", "SN-1");
  std::map<std::string, std::string> disk0Before = Values(disk0);
  std::map<std::string, std::string> disk1Before = Values(disk1);
  learn.Execute(false);

  EXPECT_EQ(LearnedTargetsOf(worker), targets);
  EXPECT_EQ(LearnedTargetsOf(second).size(), 2u);
  EXPECT_EQ(Values(disk0), disk0Before);
  disk1Before["Size"] = std::to_string(storageio_port::InProcessSetup().firmware.targets[1].SizeBytes());
  EXPECT_EQ(Values(disk1), disk1Before);
  EXPECT_EQ(Lines(kUserLog, LOG_LEVEL_WARN).size(), 2u);  // the same warning, once per learn
}

}  // namespace
}  // namespace storageio_e2e
