// What the ports receive when the configuration is applied through the host's apply command.

#include <gmock/gmock.h>

#include "test/StorageIOApplyTest.h"

namespace kel {
namespace storageio {
namespace {

using framework::CScriptable;

class StorageIOApplyPathTest : public StorageIOApplyTest {};

TEST_F(StorageIOApplyPathTest, EachPortGetsOneRequestPerKindAndClassAccessSpecsFirst) {
  core::CPort& portA = MakePort("Port A");
  core::CPort& portB = MakePort("Port B");
  CStorageWorkerProfile& fast = MakeProfile("Fast", {{"TransferRequestSize", "65536"}});
  CStorageWorkerConfig& a1 = MakeWorker(portA, "A1");
  CStorageWorkerConfig& a2 = MakeWorker(portA, "A2");
  CStorageWorkerConfig& a3 = MakeWorker(portA, "A3", &fast);
  CStorageWorkerConfig& b1 = MakeWorker(portB, "B1", &fast);
  CStorageWorkerProfile& standard = *protocol().GetDefaultProfile();

  const Handles both = Sorted({standard.GetHandle(), fast.GetHandle()});
  const Handles fastOnly = {fast.GetHandle()};

  Apply();
  ASSERT_EQ((Requests{{"BST_1.AddAccessSpecs", both},
                      {"BST_1.AddWorkers", Sorted({a1.GetHandle(), a2.GetHandle(), a3.GetHandle()})}}),
            Received(portA));
  for (const auto& spec : AccessSpecsOf(Request(portA, 0))) {
    EXPECT_EQ(100u, spec.OfSize);
    const bool isFast = spec.profileHandle == fast.GetHandle();
    EXPECT_EQ(isFast ? 65536u : 4096u, spec.workerProfile.TransferRequestSize);
    EXPECT_EQ(!isFast, spec.workerProfile.IsDefaultProfile);
  }
  for (const auto& worker : WorkersOf(Request(portA, 1))) {
    EXPECT_EQ(worker.handle == a3.GetHandle() ? fast.GetHandle() : standard.GetHandle(), worker.profileHandle);
  }
  EXPECT_EQ((Requests{{"BST_1.AddAccessSpecs", fastOnly}, {"BST_1.AddWorkers", {b1.GetHandle()}}}), Received(portB));

  ApplyAfresh();
  EXPECT_TRUE(NothingSent()) << "the commit left everything clean";

  // Adds go before updates; the modified profile goes to both ports that use it.
  ProjectBuilder::Set(fast, {{"BurstLength", "4"}});
  ProjectBuilder::Set(a1, {{"OutstandingIOsPerTargetCount", "8"}});
  CStorageWorkerConfig& a4 = MakeWorker(portA, "A4");
  ApplyAfresh();
  ASSERT_EQ((Requests{{"BST_1.AddWorkers", {a4.GetHandle()}},
                      {"BST_1.UpdateAccessSpecs", fastOnly},
                      {"BST_1.UpdateWorkers", {a1.GetHandle()}}}),
            Received(portA));
  const BST_1_bll::AccessSpec_s updated = AccessSpecsOf(Request(portA, 1)).at(0);
  EXPECT_EQ(100u, updated.OfSize);
  EXPECT_EQ(4u, updated.workerProfile.BurstLength);
  EXPECT_EQ((Requests{{"BST_1.UpdateAccessSpecs", fastOnly}}), Received(portB));

  ApplyAfresh();
  EXPECT_TRUE(NothingSent());
}

TEST_F(StorageIOApplyPathTest, AWorkerWithThreeTargetsGivesOneConfigWithThreeTargetSpecs) {
  core::CPort& port = MakePort("Port A");
  CStorageWorkerConfig& worker = MakeWorker(port, "Worker");
  ProjectBuilder::Set(worker, {{"MaximumDiskSize", "1000000"},
                               {"StartingDiskSector", "64"},
                               {"OutstandingIOsPerTargetCount", "16"},
                               {"EnableTestConnectionRate", "true"},
                               {"TransactionsPerConnection", "5"}});
  const CStorageDiscoveredTargets* targets[] = {&MakeTarget(worker, "PhysicalDrive1", 0x8c000000, 512),
                                                &MakeTarget(worker, "C:", 0x8a000000, 4096),
                                                &MakeTarget(worker, "sdc", 0x88000000, 512)};

  Apply();
  ASSERT_EQ((Names{"BST_1.AddAccessSpecs", "BST_1.AddWorkers"}), Sent(port));
  const WorkerConfigs configs = WorkersOf(Request(port, 1));
  ASSERT_EQ(1u, configs.size());
  EXPECT_EQ(protocol().GetDefaultProfile()->GetHandle(), configs[0].profileHandle);
  ASSERT_EQ(3u, configs[0].targetSpec.size());
  const Names names = {"PhysicalDrive1", "C:", "sdc"};
  const unsigned int types[] = {0x8c000000, 0x8a000000, 0x88000000};
  const unsigned int sectorSizes[] = {512, 4096, 512};
  for (std::size_t i = 0; i < 3; ++i) {
    const BST_1_bll::TargetSpec_s& spec = configs[0].targetSpec[i];
    SCOPED_TRACE(names[i]);
    EXPECT_EQ(names[i], spec.TargetName) << "relation order";
    EXPECT_EQ(types[i], spec.Type);
    EXPECT_EQ(sectorSizes[i], spec.DiskSpecification.SectorSize);
    EXPECT_EQ(targets[i]->GetHandle(), spec.BllHandle);
    EXPECT_EQ(16u, spec.QueueDepth);
    EXPECT_TRUE(spec.EnableTestConnectionRate);
    EXPECT_EQ(5u, spec.TransactionsPerConnection);
    EXPECT_EQ(1000000ul, spec.DiskSpecification.MaximumDiskSize);
    EXPECT_EQ(64ul, spec.DiskSpecification.StartingDiskSector);
  }
}

TEST_F(StorageIOApplyPathTest, WhileATestRunsOnlyDeletionsAreSentAndTheRestWaitsForItsEnd) {
  core::CPort& portA = MakePort("Port A");
  core::CPort& portB = MakePort("Port B");
  CStorageWorkerConfig& growing = MakeWorker(portA, "Growing");
  MakeTarget(growing, "Disk 1");
  CStorageWorkerConfig& leaving = MakeWorker(portA, "Leaving");
  CStorageWorkerProfile& fast = MakeProfile("Fast");
  MakeWorker(portB, "B1", &fast);
  Apply();

  protocol().SetTestInProgress(true);
  CStorageDiscoveredTargets& added = MakeTarget(growing, "Disk 2");
  ProjectBuilder::Set(fast, {{"TransferRequestSize", "65536"}});
  const framework::Handle leavingHandle = leaving.GetHandle();
  leaving.MarkDelete(true, true);
  ApplyAfresh();
  EXPECT_EQ((Requests{{"BST_1.DeleteWorkers", {leavingHandle}}}), Received(portA));
  EXPECT_TRUE(Sent(portB).empty());
  EXPECT_EQ(CScriptable::STATE_MODIFIED, fast.GetObjectState()) << "a profile is not committed during a test";
  EXPECT_EQ(CScriptable::STATE_CREATED, added.GetObjectState()) << "nor is a target";

  protocol().SetTestInProgress(false);
  ApplyAfresh();
  ASSERT_EQ((Requests{{"BST_1.UpdateWorkers", {growing.GetHandle()}}}), Received(portA));
  EXPECT_EQ(2u, WorkersOf(Request(portA, 0)).at(0).targetSpec.size());
  ASSERT_EQ((Names{"BST_1.UpdateAccessSpecs"}), Sent(portB));
  EXPECT_EQ(65536u, AccessSpecsOf(Request(portB, 0)).at(0).workerProfile.TransferRequestSize);

  ApplyAfresh();
  EXPECT_TRUE(NothingSent());
}

TEST_F(StorageIOApplyPathTest, DeleteAllSendsTwoEmptyDeletesToAnOnlinePortOnly) {
  core::CPort& port = MakePort("Port A");
  CStorageWorkerConfig& worker = MakeWorker(port, "Worker");
  Apply();

  // A port that comes back is emptied before anything else reaches it.
  Recorder(port).SetConnected(false);
  framework::CTaskManager::Instance().RunUntilIdle();
  ASSERT_FALSE(port.IsOnline());
  Recorder(port).ClearReceived();
  protocol().DeleteAllProtocolObjects(port);
  EXPECT_TRUE(Sent(port).empty());
  Recorder(port).SetConnected(true);
  framework::CTaskManager::Instance().RunUntilIdle();
  ASSERT_TRUE(port.IsOnline());
  EXPECT_EQ((Requests{{"BST_1.DeleteAccessSpecs", {}}, {"BST_1.DeleteWorkers", {}}}), Received(port));
  ApplyAfresh();
  EXPECT_EQ((Names{"BST_1.AddAccessSpecs", "BST_1.UpdateWorkers"}), Sent(port)) << "and then gets it all again";

  // Offline as the port monitor sees it, though its channel still takes requests: nothing goes,
  // neither the deletes of DeleteAll nor those of an apply.
  Recorder(port).ClearReceived();
  core::CPortChannels::Instance().SetPortOnline(port, false);
  protocol().DeleteAllProtocolObjects(port);
  worker.MarkDelete(true, true);
  ApplyAfresh();
  EXPECT_TRUE(Sent(port).empty());
}

TEST_F(StorageIOApplyPathTest, BrokenInvariantsThrowTheAssertionTextsAndSendNothing) {
  core::CPort& port = MakePort("Port A");
  CStorageWorkerConfig& worker = MakeWorker(port, "Worker");
  CStorageWorkerProfile& profile = *protocol().GetDefaultProfile();
  using ::testing::ThrowsMessage;
  EXPECT_THAT([&] { protocol().BuildAddModifyObjectMap(port, nullptr); },
              ThrowsMessage<framework::CKelLogicError>(
                  "Assertion Failed: Null obj passed into CStorageIOProtocol::BuildAddModifyObjectMap  Expression: obj "
                  "File: content/storage/storageio/bll/src/StorageIOProtocol Line: 490"));
  EXPECT_THAT([&] { protocol().BuildAddModifyObjectMap(port, &profile); },
              ThrowsMessage<framework::CKelLogicError>(
                  "Assertion Failed: CStorageIOProtocol::BuildAddModifyObjectMap must get object of type "
                  "STORAGEIO_StorageWorkerConfig Expression: obj->IsTypeOf(STORAGEIO_StorageWorkerConfig) "
                  "File: content/storage/storageio/bll/src/StorageIOProtocol Line: 492"));

  worker.RemoveObject(profile, framework::RelationType(kWorkerToProfile));
  const CStorageIOProtocol::ConfigSet workers{&worker};
  EXPECT_THAT([&] { protocol().BuildAndSendWorkerMessage(workers, CStorageIOProtocol::OBJ_CREATED, port); },
              ThrowsMessage<framework::CKelLogicError>(
                  "Assertion Failed: CStorageIOProtocol::BuildAndSendWorkerMessage worker does not have a profile "
                  "Expression: profile File: content/storage/storageio/bll/src/StorageIOProtocol Line: 604"));
  EXPECT_TRUE(Sent(port).empty());

  // Among the profiles, an object of another class is only logged.
  framework::ScriptableVec profiles{&worker};
  protocol().InsertGlobalConfigIntoCache(profiles, protocol().GetDirtyVec());
  EXPECT_TRUE(protocol().GetDirtyVec().empty());
  EXPECT_TRUE(m_log->Contains("content.storage.storageio",
                              "CStorageIOProtocol::ProcessGlobalConfigs scrip is not of type Profile"));
}

}  // namespace
}  // namespace storageio
}  // namespace kel
