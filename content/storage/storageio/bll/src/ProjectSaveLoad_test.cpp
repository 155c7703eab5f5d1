// A storage project saved to a file and loaded back: its objects, relations and default profile,
// and what the next apply sends.

#include <cstdio>

#include "StorageIOHost.h"
#include "kel/framework/ProjectStore.h"
#include "kel/framework/ScriptableLocator.h"
#include "test/StorageIOApplyTest.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {
namespace {

using framework::CScriptable;
using framework::RelationType;
using framework::ScriptableVec;

class ProjectSaveLoadTest : public StorageIOApplyTest {
 protected:
  void TearDown() override {
    std::remove(m_path.c_str());
    StorageIOApplyTest::TearDown();
  }

  static ScriptableVec Objects(framework::ClassId classId) {
    ScriptableVec objects;
    framework::CScriptableLocator::Instance().GetObjectsEx(objects, classId, &project(), framework::FILTER_NONE);
    return objects;
  }
  static std::size_t Count(framework::ClassId classId) { return Objects(classId).size(); }
  // The project's object of that class and name; null when there is none.
  template <class T>
  static T* Find(framework::ClassId classId, const std::string& name) {
    for (CScriptable* object : Objects(classId)) {
      if (object->GetName() == name) return dynamic_cast<T*>(object);
    }
    return nullptr;
  }

  // ctest runs this fixture's tests in parallel processes, so each test needs a file of its own.
  std::string m_path =
      ::testing::TempDir() + ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".yaml";
};

TEST_F(ProjectSaveLoadTest, ALoadedProjectKeepsItsObjectsRelationsAndDefaultProfile) {
  core::CPort& portA = MakePort("Port A", "Module 1");
  MakePort("Port B");
  CStorageWorkerConfig& first = MakeWorker(portA, "First");
  ProjectBuilder::Set(first, {{"OutstandingIOsPerTargetCount", "32"}});
  MakeTarget(first, "Disk 1", 0x8c000000, 4096);
  MakeTarget(first, "Disk 2");
  CStorageWorkerProfile& fast = MakeProfile("Fast", {{"TransferRequestSize", "65536"}});
  MakeWorker(portA, "Second", &fast);
  Apply();

  framework::CProjectStore::Save(m_path);
  framework::CProjectStore::Load(m_path);

  for (framework::ClassId id : {core::CPort::CLASS_ID(), framework::classid::EmulatedDevice, CStorageWorkerConfig::CLASS_ID(),
                                CStorageWorkerProfile::CLASS_ID(), CStorageDiscoveredTargets::CLASS_ID()}) {
    EXPECT_EQ(2u, Count(id)) << std::hex << id;
  }
  auto* loadedPort = Find<core::CPort>(core::CPort::CLASS_ID(), "Port A");
  auto* loadedFirst = Find<CStorageWorkerConfig>(CStorageWorkerConfig::CLASS_ID(), "First");
  auto* loadedSecond = Find<CStorageWorkerConfig>(CStorageWorkerConfig::CLASS_ID(), "Second");
  auto* loadedFast = Find<CStorageWorkerProfile>(CStorageWorkerProfile::CLASS_ID(), "Fast");
  auto* loadedDefault = Find<CStorageWorkerProfile>(CStorageWorkerProfile::CLASS_ID(), "DefaultLoadProfile");
  ASSERT_TRUE(loadedPort && loadedFirst && loadedSecond && loadedFast && loadedDefault);

  EXPECT_EQ("Module 1", loadedPort->GetString(core::prop::PortGroup));
  EXPECT_EQ(loadedPort, AffiliatedPort(*loadedFirst->GetParent()));
  EXPECT_EQ(32u, loadedFirst->GetU32(ids::props::StorageWorkerConfig::OutstandingIOsPerTargetCount));
  EXPECT_EQ(65536u, loadedFast->GetU32(ids::props::StorageWorkerProfile::TransferRequestSize));
  const RelationType toProfile(kWorkerToProfile);
  EXPECT_EQ(loadedDefault, loadedFirst->GetObject(CStorageWorkerProfile::CLASS_ID(), toProfile));
  EXPECT_EQ(loadedFast, loadedSecond->GetObject(CStorageWorkerProfile::CLASS_ID(), toProfile))
      << "a loaded worker keeps its saved profile instead of taking the default";
  ScriptableVec targets;
  loadedFirst->GetObjects(targets, CStorageDiscoveredTargets::CLASS_ID(), RelationType(kWorkerToTarget));
  ASSERT_EQ(2u, targets.size());
  EXPECT_EQ("Disk 1", targets[0]->GetString(ids::props::StorageDiscoveredTargets::VolumeName));
  EXPECT_EQ(4096u, targets[0]->GetU32(ids::props::StorageDiscoveredTargets::SectorSize));
  EXPECT_EQ(loadedFirst, targets[0]->GetParent());
  EXPECT_EQ("Disk 2", targets[1]->GetString(ids::props::StorageDiscoveredTargets::VolumeName));

  EXPECT_EQ(loadedDefault, protocol().GetDefaultProfile());
  EXPECT_TRUE(loadedDefault->GetBool(ids::props::StorageWorkerProfile::IsDefaultProfile));
  EXPECT_EQ(2u, Count(CStorageWorkerProfile::CLASS_ID())) << "no second default profile";
  CStorageWorkerConfig& later = MakeWorker(*loadedPort, "Later");
  EXPECT_EQ(loadedDefault, later.GetObject(CStorageWorkerProfile::CLASS_ID(), toProfile));

  // Loaded objects are new to the ports: the next apply sends them all as adds.
  AttachRecorder(*loadedPort);
  Apply();
  ASSERT_EQ((Names{"BST_1.AddAccessSpecs", "BST_1.AddWorkers"}), Sent(*loadedPort));
  EXPECT_EQ(Sorted({loadedDefault->GetHandle(), loadedFast->GetHandle()}),
            Sorted(ProfileHandlesOf(AccessSpecsOf(Request(*loadedPort, 0)))));
  EXPECT_EQ(Sorted({loadedFirst->GetHandle(), loadedSecond->GetHandle(), later.GetHandle()}),
            Sorted(WorkerHandlesOf(WorkersOf(Request(*loadedPort, 1)))));
}

}  // namespace
}  // namespace storageio
}  // namespace kel
