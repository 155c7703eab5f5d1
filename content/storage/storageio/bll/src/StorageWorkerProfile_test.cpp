// How a profile sorts the ports it touches at each apply, seen from what the ports receive over
// applies in a row, and its broken-model failures.

#include "StorageWorkerProfile.h"

#include <gmock/gmock.h>

#include "test/StorageIOApplyTest.h"

namespace kel {
namespace storageio {
namespace {

using PortHandles = std::set<std::uint32_t>;

// Thrown as a CKelLogicError whose text starts so (the line number is left out).
auto Refused(const std::string& start) {
  return ::testing::ThrowsMessage<framework::CKelLogicError>(::testing::StartsWith(start));
}

class StorageWorkerProfileTest : public StorageIOApplyTest {};

// (One access spec per profile and port, clean profiles sending nothing and modified ones an update
// are shown by the apply path's tests.)
TEST_F(StorageWorkerProfileTest, ACleanProfileReachingAnotherPortIsAnAddThereNeverAnUpdate) {
  core::CPort& portA = MakePort("Port A");
  CStorageWorkerProfile& profile = MakeProfile("Mixed");
  MakeWorker(portA, "A1", &profile);
  Apply();
  EXPECT_EQ(PortHandles{portA.GetHandle()}, profile.portHndSet);

  core::CPort& portB = MakePort("Port B");
  CStorageWorkerConfig& b1 = MakeWorker(portB, "B1", &profile);
  ApplyAfresh();
  EXPECT_TRUE(Sent(portA).empty());
  EXPECT_EQ((Requests{{"BST_1.AddAccessSpecs", {profile.GetHandle()}}, {"BST_1.AddWorkers", {b1.GetHandle()}}}),
            Received(portB));
  EXPECT_EQ((PortHandles{portA.GetHandle(), portB.GetHandle()}), profile.portHndSet);
  ApplyAfresh();
  EXPECT_TRUE(NothingSent());
}

TEST_F(StorageWorkerProfileTest, AProfileLeavesAPortThatNoActiveWorkerOfItUses) {
  core::CPort& portA = MakePort("Port A");
  core::CPort& portB = MakePort("Port B");
  CStorageWorkerProfile& profile = MakeProfile("Mixed");
  CStorageWorkerProfile& standard = *protocol().GetDefaultProfile();
  CStorageWorkerConfig& a1 = MakeWorker(portA, "A1", &profile);
  CStorageWorkerConfig& b1 = MakeWorker(portB, "B1", &profile);
  const Handles mixed = {profile.GetHandle()};
  Apply();

  // A deactivated profile leaves every port, and returns to them when activated again.
  ProjectBuilder::Set(profile, {{"Active", "false"}});
  ApplyAfresh();
  EXPECT_EQ((Requests{{"BST_1.DeleteAccessSpecs", mixed}}), Received(portA));
  EXPECT_EQ((Requests{{"BST_1.DeleteAccessSpecs", mixed}}), Received(portB));
  EXPECT_TRUE(profile.portHndSet.empty());
  ApplyAfresh();
  EXPECT_TRUE(NothingSent()) << "the deactivation was committed";
  ProjectBuilder::Set(profile, {{"Active", "true"}});
  ApplyAfresh();
  EXPECT_EQ((Requests{{"BST_1.AddAccessSpecs", mixed}}), Received(portA));
  EXPECT_EQ((Requests{{"BST_1.AddAccessSpecs", mixed}}), Received(portB));

  // B's worker takes the default profile: the port swaps access specs, deletes first.
  UseProfile(b1, standard);
  ApplyAfresh();
  EXPECT_TRUE(Sent(portA).empty());
  EXPECT_EQ((Requests{{"BST_1.DeleteAccessSpecs", mixed},
                      {"BST_1.AddAccessSpecs", {standard.GetHandle()}},
                      {"BST_1.UpdateWorkers", {b1.GetHandle()}}}),
            Received(portB));
  EXPECT_EQ(standard.GetHandle(), WorkersOf(Request(portB, 2)).at(0).profileHandle);
  EXPECT_EQ(PortHandles{portA.GetHandle()}, profile.portHndSet);

  // An inactive worker no longer holds its profile on the port; the worker itself stays there.
  ProjectBuilder::Set(a1, {{"Active", "false"}});
  ApplyAfresh();
  EXPECT_EQ((Requests{{"BST_1.DeleteAccessSpecs", mixed}}), Received(portA));
  EXPECT_TRUE(profile.portHndSet.empty());
  EXPECT_TRUE(Sent(portB).empty()) << "B's worker was committed with its new profile";
  ApplyAfresh();
  EXPECT_TRUE(NothingSent());
  ProjectBuilder::Set(a1, {{"Active", "true"}});
  ApplyAfresh();
  EXPECT_EQ((Requests{{"BST_1.AddAccessSpecs", mixed}, {"BST_1.UpdateWorkers", {a1.GetHandle()}}}), Received(portA));

  // A deleted profile is deleted from its ports.
  UseProfile(a1, standard);
  profile.MarkDelete(true, true);
  ApplyAfresh();
  EXPECT_EQ((Requests{{"BST_1.DeleteAccessSpecs", mixed},
                      {"BST_1.AddAccessSpecs", {standard.GetHandle()}},
                      {"BST_1.UpdateWorkers", {a1.GetHandle()}}}),
            Received(portA));
  ApplyAfresh();
  EXPECT_TRUE(NothingSent());
}

TEST_F(StorageWorkerProfileTest, AWorkerMovedToAnotherPortTakesItsProfileAlong) {
  core::CPort& portA = MakePort("Port A");
  core::CPort& portB = MakePort("Port B");
  CStorageWorkerProfile& profile = MakeProfile("Mixed");
  CStorageWorkerConfig& worker = MakeWorker(portA, "Mover", &profile);
  Apply();

  static_cast<core::CEmulatedDevice*>(worker.GetParent())->SetPort(&portB);
  ApplyAfresh();
  const Handles moved = {worker.GetHandle()};
  EXPECT_EQ((Requests{{"BST_1.DeleteAccessSpecs", {profile.GetHandle()}}, {"BST_1.DeleteWorkers", moved}}),
            Received(portA));
  // The worker is clean, but new to port B: the host hands it over as an update.
  EXPECT_EQ((Requests{{"BST_1.AddAccessSpecs", {profile.GetHandle()}}, {"BST_1.UpdateWorkers", moved}}),
            Received(portB));
  EXPECT_EQ(PortHandles{portB.GetHandle()}, profile.portHndSet);

  ApplyAfresh();
  EXPECT_TRUE(NothingSent());
}

TEST_F(StorageWorkerProfileTest, APortNotEligibleIsNeverReportedAndKeepsItsHandleUntilTheProfileGoes) {
  core::CPort& spare = MakePort("Spare", "", false);
  CStorageWorkerProfile& profile = MakeProfile("Mixed");
  CStorageWorkerConfig& worker = MakeWorker(spare, "Worker", &profile);
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
  ProjectBuilder::Set(worker, {{"Active", "false"}});
  ApplyAfresh();
  EXPECT_TRUE(Sent(spare).empty());
  EXPECT_EQ(PortHandles{spare.GetHandle()}, profile.portHndSet);

  framework::CKelSystem::Instance().Set(framework::prop::SimulationMode, true);
  ApplyAfresh();
  EXPECT_EQ((Names{"BST_1.DeleteAccessSpecs"}), Sent(spare));
  EXPECT_TRUE(profile.portHndSet.empty());

  // Deactivating the profile drops the handles of ports that are not eligible, without a message.
  ProjectBuilder::Set(worker, {{"Active", "true"}});
  ApplyAfresh();
  ASSERT_EQ(PortHandles{spare.GetHandle()}, profile.portHndSet);
  framework::CKelSystem::Instance().Set(framework::prop::SimulationMode, false);
  ProjectBuilder::Set(profile, {{"Active", "false"}});
  ApplyAfresh();
  EXPECT_TRUE(Sent(spare).empty());
  EXPECT_TRUE(profile.portHndSet.empty());
}

TEST_F(StorageWorkerProfileTest, ABrokenModelFailsWithTheAssertionTexts) {
  CStorageWorkerProfile& profile = MakeProfile("Mixed");
  CStorageWorkerProfile::PortSet created, modified, deleted, clean;

  profile.portHndSet.insert(project().GetHandle());  // a handle that names no port
  EXPECT_THAT([&] { profile.ProcessConfigForCache(created, modified, deleted, clean); },
              Refused("Assertion Failed: Cannot get port from the portHndSet "
                         "CStorageWorkerProfile::ProcessConfigForCache Expression: port File: "
                         "content/storage/storageio/bll/src/StorageWorkerProfile Line: "));
  profile.portHndSet.clear();

  framework::CScriptableAutoPtr<framework::CScriptable> orphan(&ProjectBuilder::Make("StorageWorkerConfig", nullptr));
  framework::ScriptableVec workers{orphan.get()};
  EXPECT_THAT([&] { profile.BuildNewPortSet(created, workers); },
              Refused("Assertion Failed: Cannot get parent from worker in CStorageWorkerProfile::BuildNewPortSet  "
                         "Expression: emd File: content/storage/storageio/bll/src/StorageWorkerProfile Line: "));

  framework::CScriptable& deviceWithoutPort = ProjectBuilder::Make("EmulatedDevice", &project());
  workers = {&ProjectBuilder::Make("StorageWorkerConfig", &deviceWithoutPort)};
  EXPECT_THAT([&] { profile.BuildNewPortSet(created, workers); },
              Refused("Assertion Failed: Cannot get port from emd in CStorageWorkerProfile::BuildNewPortSet  "
                         "Expression: port File: content/storage/storageio/bll/src/StorageWorkerProfile Line: "));
  EXPECT_TRUE(created.empty());
}

}  // namespace
}  // namespace storageio
}  // namespace kel
