// How a profile sorts the ports it touches at each apply, seen from what the ports receive over
// applies in a row, and its broken-model failures.

#include "StorageWorkerProfile.h"

#include <gmock/gmock.h>

#include "test/StorageIOApplyTest.h"

namespace kel {
namespace storageio {
namespace {

using ::testing::StartsWith;
using PortHandles = std::set<std::uint32_t>;

class StorageWorkerProfileTest : public StorageIOApplyTest {};

TEST_F(StorageWorkerProfileTest, APortNewToTheProfileGetsAnAddThenUpdatesThenNothing) {
  core::CPort& portA = MakePort("Port A");
  CStorageWorkerProfile& profile = MakeProfile("Mixed");
  UseProfile(MakeWorker(portA, "A1"), profile);
  UseProfile(MakeWorker(portA, "A2"), profile);

  Apply();
  ASSERT_EQ((Names{"BST_1.AddAccessSpecs", "BST_1.AddWorkers"}), Sent(portA));
  EXPECT_EQ(Handles{profile.GetHandle()}, ProfileHandlesOf(AccessSpecsOf(Request(portA, 0))))
      << "two workers of one profile on one port give one access spec; the unused default gives none";
  EXPECT_EQ(PortHandles{portA.GetHandle()}, profile.portHndSet);

  ApplyAfresh();
  EXPECT_TRUE(NothingSent()) << "clean";

  profile.Set(0x86001006, static_cast<unsigned char>(30));
  ApplyAfresh();
  ASSERT_EQ((Names{"BST_1.UpdateAccessSpecs"}), Sent(portA));
  EXPECT_EQ(30u, AccessSpecsOf(Request(portA, 0)).at(0).workerProfile.PercentReadDistribution);

  // A clean profile reaching another port is an add there, never an update.
  core::CPort& portB = MakePort("Port B");
  CStorageWorkerConfig& b1 = MakeWorker(portB, "B1");
  UseProfile(b1, profile);
  ApplyAfresh();
  EXPECT_TRUE(Sent(portA).empty());
  ASSERT_EQ((Names{"BST_1.AddAccessSpecs", "BST_1.AddWorkers"}), Sent(portB));
  EXPECT_EQ(Handles{profile.GetHandle()}, ProfileHandlesOf(AccessSpecsOf(Request(portB, 0))));
  EXPECT_EQ((PortHandles{portA.GetHandle(), portB.GetHandle()}), profile.portHndSet);

  ApplyAfresh();
  EXPECT_TRUE(NothingSent());
}

TEST_F(StorageWorkerProfileTest, AProfileLeavesAPortThatNoActiveWorkerOfItUses) {
  core::CPort& portA = MakePort("Port A");
  core::CPort& portB = MakePort("Port B");
  CStorageWorkerProfile& profile = MakeProfile("Mixed");
  CStorageWorkerConfig& a1 = MakeWorker(portA, "A1");
  CStorageWorkerConfig& b1 = MakeWorker(portB, "B1");
  UseProfile(a1, profile);
  UseProfile(b1, profile);
  Apply();

  // A deactivated profile leaves every port, and returns to them when activated again.
  profile.Set(framework::prop::Active, false);
  ApplyAfresh();
  for (core::CPort* port : {&portA, &portB}) {
    ASSERT_EQ((Names{"BST_1.DeleteAccessSpecs"}), Sent(*port)) << port->GetName();
    EXPECT_EQ(Handles{profile.GetHandle()}, DeletedHandlesOf(Request(*port, 0)));
  }
  EXPECT_TRUE(profile.portHndSet.empty());
  ApplyAfresh();
  EXPECT_TRUE(NothingSent()) << "the deactivation was committed";
  profile.Set(framework::prop::Active, true);
  ApplyAfresh();
  EXPECT_EQ((Names{"BST_1.AddAccessSpecs"}), Sent(portA));
  EXPECT_EQ((Names{"BST_1.AddAccessSpecs"}), Sent(portB));

  // B's worker takes the default profile: the port swaps access specs, deletes first.
  CStorageWorkerProfile& standard = *protocol().GetDefaultProfile();
  UseProfile(b1, standard);
  ApplyAfresh();
  EXPECT_TRUE(Sent(portA).empty());
  ASSERT_EQ((Names{"BST_1.DeleteAccessSpecs", "BST_1.AddAccessSpecs", "BST_1.UpdateWorkers"}), Sent(portB));
  EXPECT_EQ(Handles{profile.GetHandle()}, DeletedHandlesOf(Request(portB, 0)));
  EXPECT_EQ(Handles{standard.GetHandle()}, ProfileHandlesOf(AccessSpecsOf(Request(portB, 1))));
  EXPECT_EQ(standard.GetHandle(), WorkersOf(Request(portB, 2)).at(0).profileHandle);
  EXPECT_EQ(PortHandles{portA.GetHandle()}, profile.portHndSet);

  // An inactive worker no longer holds its profile on the port; the worker itself stays there.
  a1.Set(framework::prop::Active, false);
  ApplyAfresh();
  ASSERT_EQ((Names{"BST_1.DeleteAccessSpecs"}), Sent(portA));
  EXPECT_EQ(Handles{profile.GetHandle()}, DeletedHandlesOf(Request(portA, 0)));
  EXPECT_TRUE(profile.portHndSet.empty());
  EXPECT_TRUE(Sent(portB).empty()) << "B's worker was committed with its new profile";
  ApplyAfresh();
  EXPECT_TRUE(NothingSent());
  a1.Set(framework::prop::Active, true);
  ApplyAfresh();
  EXPECT_EQ((Names{"BST_1.AddAccessSpecs", "BST_1.UpdateWorkers"}), Sent(portA));

  // A deleted profile is deleted from its ports.
  const framework::Handle deleted = profile.GetHandle();
  UseProfile(a1, standard);
  profile.MarkDelete(true, true);
  ApplyAfresh();
  ASSERT_EQ((Names{"BST_1.DeleteAccessSpecs", "BST_1.AddAccessSpecs", "BST_1.UpdateWorkers"}), Sent(portA));
  EXPECT_EQ(Handles{deleted}, DeletedHandlesOf(Request(portA, 0)));
  ApplyAfresh();
  EXPECT_TRUE(NothingSent());
}

TEST_F(StorageWorkerProfileTest, AWorkerMovedToAnotherPortTakesItsProfileAlong) {
  core::CPort& portA = MakePort("Port A");
  core::CPort& portB = MakePort("Port B");
  CStorageWorkerProfile& profile = MakeProfile("Mixed");
  CStorageWorkerConfig& worker = MakeWorker(portA, "Mover");
  UseProfile(worker, profile);
  Apply();

  static_cast<core::CEmulatedDevice*>(worker.GetParent())->SetPort(&portB);
  ApplyAfresh();
  ASSERT_EQ((Names{"BST_1.DeleteAccessSpecs", "BST_1.DeleteWorkers"}), Sent(portA));
  EXPECT_EQ(Handles{profile.GetHandle()}, DeletedHandlesOf(Request(portA, 0)));
  EXPECT_EQ(Handles{worker.GetHandle()}, DeletedHandlesOf(Request(portA, 1)));
  // The worker is clean, but new to port B: the host hands it over as an update.
  ASSERT_EQ((Names{"BST_1.AddAccessSpecs", "BST_1.UpdateWorkers"}), Sent(portB));
  EXPECT_EQ(Handles{profile.GetHandle()}, ProfileHandlesOf(AccessSpecsOf(Request(portB, 0))));
  EXPECT_EQ(Handles{worker.GetHandle()}, WorkerHandlesOf(WorkersOf(Request(portB, 1))));
  EXPECT_EQ(PortHandles{portB.GetHandle()}, profile.portHndSet);

  ApplyAfresh();
  EXPECT_TRUE(NothingSent());
}

TEST_F(StorageWorkerProfileTest, APortNotEligibleIsNeverReportedAndKeepsItsHandleUntilTheProfileGoes) {
  core::CPort& spare = MakePort("Spare", "", false);
  CStorageWorkerProfile& profile = MakeProfile("Mixed");
  CStorageWorkerConfig& worker = MakeWorker(spare, "Worker");
  UseProfile(worker, profile);
  Apply();
  for (const std::string& name : Sent(spare)) EXPECT_EQ(std::string::npos, name.find("AccessSpecs")) << name;
  EXPECT_TRUE(profile.portHndSet.empty());

  // In simulation mode every port may run storage tests.
  framework::CKelSystem::Instance().Set(framework::prop::SimulationMode, true);
  ApplyAfresh();
  EXPECT_EQ((Names{"BST_1.AddAccessSpecs"}), Sent(spare));
  EXPECT_EQ(PortHandles{spare.GetHandle()}, profile.portHndSet);

  // Not eligible again: the port is left alone and its handle kept.
  framework::CKelSystem::Instance().Set(framework::prop::SimulationMode, false);
  worker.Set(framework::prop::Active, false);
  ApplyAfresh();
  EXPECT_TRUE(Sent(spare).empty());
  EXPECT_EQ(PortHandles{spare.GetHandle()}, profile.portHndSet);

  framework::CKelSystem::Instance().Set(framework::prop::SimulationMode, true);
  ApplyAfresh();
  EXPECT_EQ((Names{"BST_1.DeleteAccessSpecs"}), Sent(spare));
  EXPECT_TRUE(profile.portHndSet.empty());

  // Deactivating the profile drops the handles of ports that are not eligible, without a message.
  worker.Set(framework::prop::Active, true);
  ApplyAfresh();
  ASSERT_EQ(PortHandles{spare.GetHandle()}, profile.portHndSet);
  framework::CKelSystem::Instance().Set(framework::prop::SimulationMode, false);
  profile.Set(framework::prop::Active, false);
  ApplyAfresh();
  EXPECT_TRUE(Sent(spare).empty());
  EXPECT_TRUE(profile.portHndSet.empty());
}

TEST_F(StorageWorkerProfileTest, ABrokenModelFailsWithTheAssertionTexts) {
  CStorageWorkerProfile& profile = MakeProfile("Mixed");
  CStorageWorkerProfile::PortSet created, modified, deleted, clean;

  profile.portHndSet.insert(project().GetHandle());  // a handle that names no port
  EXPECT_THAT(LogicErrorText([&] { profile.ProcessConfigForCache(created, modified, deleted, clean); }),
              StartsWith("Assertion Failed: Cannot get port from the portHndSet "
                         "CStorageWorkerProfile::ProcessConfigForCache Expression: port File: "
                         "content/storage/storageio/bll/src/StorageWorkerProfile Line: "));
  profile.portHndSet.clear();

  framework::CScriptableAutoPtr<CStorageWorkerConfig> orphan(static_cast<CStorageWorkerConfig*>(
      framework::CScriptableCreator().Create(CStorageWorkerConfig::CLASS_ID(), nullptr)));
  framework::ScriptableVec workers{orphan.get()};
  EXPECT_THAT(LogicErrorText([&] { profile.BuildNewPortSet(created, workers); }),
              StartsWith("Assertion Failed: Cannot get parent from worker in CStorageWorkerProfile::BuildNewPortSet  "
                         "Expression: emd File: content/storage/storageio/bll/src/StorageWorkerProfile Line: "));

  auto& deviceWithoutPort = Make<core::CEmulatedDevice>(framework::classid::EmulatedDevice, &project());
  workers = {&Make<CStorageWorkerConfig>(CStorageWorkerConfig::CLASS_ID(), &deviceWithoutPort)};
  EXPECT_THAT(LogicErrorText([&] { profile.BuildNewPortSet(created, workers); }),
              StartsWith("Assertion Failed: Cannot get port from emd in CStorageWorkerProfile::BuildNewPortSet  "
                         "Expression: port File: content/storage/storageio/bll/src/StorageWorkerProfile Line: "));
  EXPECT_TRUE(created.empty());
}

}  // namespace
}  // namespace storageio
}  // namespace kel
