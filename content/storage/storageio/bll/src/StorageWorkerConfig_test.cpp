// When a worker is sent again: its dirtiness as the relation hook and the apply see it, over
// applies in a row so that what the commit leaves dirty shows too.

#include "StorageWorkerConfig.h"

#include "test/StorageIOApplyTest.h"

namespace kel {
namespace storageio {
namespace {

using framework::CScriptable;
using framework::RelationType;
using framework::ScriptableVec;

class StorageWorkerConfigTest : public StorageIOApplyTest {
 protected:
  // The volume names of the only worker record of a worker request.
  static Names TargetNamesOf(const Message& request) {
    const WorkerConfigs workers = WorkersOf(request);
    Names names;
    for (const auto& spec : workers.at(0).targetSpec) names.push_back(spec.TargetName);
    return names;
  }
};

TEST_F(StorageWorkerConfigTest, ATargetAddedRemovedOrChangedSendsTheWorkerOnceMoreUnlessItIsDeletedLocal) {
  core::CPort& port = MakePort("Port A");
  CStorageWorkerConfig& worker = MakeWorker(port, "Worker");
  CStorageDiscoveredTargets& first = MakeTarget(worker, "Disk 1");
  MakeTarget(worker, "Disk 2");
  Apply();
  // Each change goes out as one update with the worker's targets now, and is committed by it.
  const auto expectUpdateWith = [&](const Names& targets) {
    ApplyAfresh();
    ASSERT_EQ((Names{"BST_1.UpdateWorkers"}), Sent(port));
    EXPECT_EQ(targets, TargetNamesOf(Request(port, 0)));
    ApplyAfresh();
    EXPECT_TRUE(NothingSent());
  };

  // Being the target's parent is not using it: only the worker-to-target relation counts.
  auto& third = As<CStorageDiscoveredTargets>(ProjectBuilder::Make("StorageDiscoveredTargets", &worker));
  ProjectBuilder::Set(third, {{"VolumeName", "Disk 3"}});
  EXPECT_EQ(CScriptable::STATE_CLEAN, worker.GetObjectState());
  ASSERT_TRUE(worker.AddObject(third, RelationType(kWorkerToTarget)));
  EXPECT_EQ(CScriptable::STATE_MODIFIED, worker.GetObjectState());
  expectUpdateWith({"Disk 1", "Disk 2", "Disk 3"});

  ASSERT_TRUE(worker.RemoveObject(first, RelationType(kWorkerToTarget)));
  EXPECT_EQ(CScriptable::STATE_MODIFIED, worker.GetObjectState());
  expectUpdateWith({"Disk 2", "Disk 3"});

  // A changed target sends its clean worker once more and is committed with it.
  ProjectBuilder::Set(third, {{"VolumeName", "Disk 3 renamed"}});
  ASSERT_EQ(CScriptable::STATE_CLEAN, worker.GetObjectState());
  expectUpdateWith({"Disk 2", "Disk 3 renamed"});
  EXPECT_EQ(CScriptable::STATE_CLEAN, third.GetObjectState());

  // A Deleted_Local worker is skipped with a warning at every apply, neither updated nor deleted.
  ProjectBuilder::Set(worker, {{"OutstandingIOsPerTargetCount", "4"}});
  worker.SetObjectState(CScriptable::STATE_DELETED_LOCAL);
  const std::string warning =
      "Trying to access wokerConfig whose state is Deleted or Deleted_Local. Skipping the config";
  for (std::size_t apply = 1; apply <= 2; ++apply) {
    ApplyAfresh();
    EXPECT_TRUE(Sent(port).empty()) << "apply " << apply;
    EXPECT_EQ(std::vector<std::string>(apply, warning),
              m_log->Messages("content.storage.storageio", framework::LOG_LEVEL_WARN));
    EXPECT_EQ(CScriptable::STATE_DELETED_LOCAL, worker.GetObjectState());
  }
}

TEST_F(StorageWorkerConfigTest, AnInactiveWorkerIsQueuedForTheNextApplyOutsideATestOnly) {
  core::CPort& port = MakePort("Port A");
  CStorageWorkerConfig& worker = MakeWorker(port, "Worker");
  ProjectBuilder::Set(worker, {{"Active", "false"}});
  const CStorageIOProtocol::ConfigSet* none = nullptr;

  protocol().BuildAddModifyObjectMap(port, &worker);
  EXPECT_EQ(ScriptableVec{&worker}, protocol().GetDirtyVec());
  EXPECT_EQ(none, protocol().GetConfigsFromCache(port, CStorageWorkerConfig::CLASS_ID(), CStorageIOProtocol::OBJ_CREATED));

  protocol().GetDirtyVec().clear();
  protocol().SetTestInProgress(true);
  protocol().BuildAddModifyObjectMap(port, &worker);
  EXPECT_TRUE(protocol().GetDirtyVec().empty()) << "dropped from this apply altogether";
  EXPECT_EQ(none, protocol().GetConfigsFromCache(port, CStorageWorkerConfig::CLASS_ID(), CStorageIOProtocol::OBJ_CREATED));
}

// ProcessCleanConfig on its own: what a Clean worker reports for each change since its last
// commit, whether or not the relation hook has seen it.
TEST_F(StorageWorkerConfigTest, ACleanWorkerReportsTargetAndProfileChangesSinceItsLastCommit) {
  core::CPort& port = MakePort("Port A");
  CStorageWorkerConfig& worker = MakeWorker(port, "Worker");
  CStorageDiscoveredTargets& first = MakeTarget(worker, "Disk 1");
  Apply();
  ScriptableVec dirty;
  CStorageDiscoveredTargets& second = MakeTarget(worker, "Disk 2");
  worker.SetObjectState(CScriptable::STATE_CLEAN);
  EXPECT_EQ(CScriptable::STATE_MODIFIED, worker.ProcessConfigForCache(dirty));
  EXPECT_EQ((ScriptableVec{&second, &worker}), dirty) << "the new target, then the worker";

  worker.Commit();
  second.Commit();
  dirty.clear();
  worker.RemoveObject(first, RelationType(kWorkerToTarget));
  worker.SetObjectState(CScriptable::STATE_CLEAN);
  EXPECT_EQ(CScriptable::STATE_MODIFIED, worker.ProcessCleanConfig(dirty));
  EXPECT_TRUE(dirty.empty()) << "clean targets are not queued";

  worker.Commit();
  UseProfile(worker, MakeProfile("Other"));
  worker.SetObjectState(CScriptable::STATE_CLEAN);
  EXPECT_EQ(CScriptable::STATE_MODIFIED, worker.ProcessCleanConfig(dirty));

  // While a test runs the worker still reports the change, but its targets stay as they are.
  worker.Commit();
  protocol().SetTestInProgress(true);
  CStorageDiscoveredTargets& third = MakeTarget(worker, "Disk 3");
  worker.SetObjectState(CScriptable::STATE_CLEAN);
  EXPECT_EQ(CScriptable::STATE_MODIFIED, worker.ProcessConfigForCache(dirty));
  EXPECT_EQ(ScriptableVec{&worker}, dirty);
  EXPECT_EQ(CScriptable::STATE_CREATED, third.GetObjectState());
}

}  // namespace
}  // namespace storageio
}  // namespace kel
