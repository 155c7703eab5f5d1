// Applies the validation refuses, with the texts the user sees, and nothing sent then.

#include <algorithm>

#include <gmock/gmock.h>

#include "test/StorageIOApplyTest.h"

namespace kel {
namespace storageio {
namespace {

using ::testing::HasSubstr;

const std::string kConflict =
    "StorageIO Port: Only one port per port group may be used for storage IO - the following ports are in conflict: ";

class StorageIOValidationTest : public StorageIOApplyTest {
 protected:
  // `count` ports of one group, "Port 1" to "Port <count>", each with an active worker.
  std::vector<core::CPort*> MakeGroup(const std::string& group, int count) {
    std::vector<core::CPort*> ports;
    for (int i = 1; i <= count; ++i) {
      ports.push_back(&MakePort(group + " port " + std::to_string(i), group));
      MakeWorker(*ports.back(), group + " worker " + std::to_string(i));
    }
    return ports;
  }
};

TEST_F(StorageIOValidationTest, AValidateOnlyApplyGivesTheVerdictAloneAndChangesNothing) {
  std::vector<core::CPort*> ports = MakeGroup("A", 2);
  EXPECT_EQ(kConflict + "A port 1, A port 2", RefusedApplyText(/*validateOnly=*/true));

  ProjectBuilder::Set(*ports[1], {{"PortGroup", "B"}});
  Apply(/*validateOnly=*/true);
  EXPECT_TRUE(NothingSent());
  // Nothing was committed: the real apply still sends every configuration as new.
  ApplyAfresh();
  EXPECT_EQ((Names{"BST_1.AddAccessSpecs", "BST_1.AddWorkers"}), Sent(*ports[0]));
  EXPECT_EQ((Names{"BST_1.AddAccessSpecs", "BST_1.AddWorkers"}), Sent(*ports[1]));
}

TEST_F(StorageIOValidationTest, TwoPortsOfOneGroupAreRefusedAndNothingIsSent) {
  std::vector<core::CPort*> ports = MakeGroup("A", 2);
  EXPECT_EQ(kConflict + "A port 1, A port 2", RefusedApplyText());
  EXPECT_TRUE(NothingSent());

  // Nothing was committed either: once the conflict is gone the workers go out as new.
  ProjectBuilder::Set(*ports[1], {{"PortGroup", "B"}});
  ApplyAfresh();
  EXPECT_EQ((Names{"BST_1.AddAccessSpecs", "BST_1.AddWorkers"}), Sent(*ports[0]));
  EXPECT_EQ((Names{"BST_1.AddAccessSpecs", "BST_1.AddWorkers"}), Sent(*ports[1]));
}

TEST_F(StorageIOValidationTest, AtMostTenPortsAreNamedAndEachConflictingGroupHasItsOwnError) {
  MakeGroup("Ten", 10);
  std::string ten;
  for (int i = 1; i <= 10; ++i) ten += (i > 1 ? ", " : "") + std::string("Ten port ") + std::to_string(i);
  EXPECT_EQ(kConflict + ten, RefusedApplyText());

  framework::CKelSystem::Instance().ResetProject();
  MakeGroup("Eleven", 11);
  std::string eleven;
  for (int i = 1; i <= 10; ++i) eleven += (i > 1 ? ", " : "") + std::string("Eleven port ") + std::to_string(i);
  EXPECT_EQ(kConflict + eleven + " and more", RefusedApplyText());

  MakeGroup("Pair", 2);
  const std::string text = RefusedApplyText();
  EXPECT_THAT(text, HasSubstr(kConflict + eleven + " and more"));
  EXPECT_THAT(text, HasSubstr(kConflict + "Pair port 1, Pair port 2"));
  EXPECT_EQ(1, std::count(text.begin(), text.end(), '\n')) << text;
  EXPECT_TRUE(NothingSent());
}

TEST_F(StorageIOValidationTest, PortsWithoutAnActiveWorkerOrOutOfStorageTestsCauseNoConflict) {
  core::CPort& busy = MakePort("Busy", "G");
  MakeWorker(busy, "Busy worker");
  core::CPort& idle = MakePort("Idle", "G");
  ProjectBuilder::Set(MakeWorker(idle, "Idle worker"), {{"Active", "false"}});
  core::CPort& own = MakePort("Own engine", "G");
  ProjectBuilder::Set(own, {{"OwnStorageEngine", "1"}});
  MakeWorker(own, "Own worker");
  core::CPort& spare = MakePort("Spare", "G", false);
  CStorageWorkerConfig& spareWorker = MakeWorker(spare, "Spare worker");
  Apply();

  // In simulation mode the spare port counts; already applied workers count too.
  framework::CKelSystem::Instance().Set(framework::prop::SimulationMode, true);
  EXPECT_EQ(kConflict + "Busy, Spare", RefusedApplyText());

  // A worker that is only being deleted does not.
  spareWorker.MarkDelete(true, true);
  ApplyAfresh();
  EXPECT_EQ((Names{"BST_1.DeleteWorkers"}), Sent(spare));
}

TEST_F(StorageIOValidationTest, AWorkerWithoutAnActiveProfileIsRefused) {
  core::CPort& port = MakePort("Port A");
  CStorageWorkerConfig& worker = MakeWorker(port, "Worker 1");
  CStorageWorkerProfile& standard = *protocol().GetDefaultProfile();
  const std::string missing =
      "content/storage/storageio/bll/src/StorageWorkerConfig174: "
      "StorageWorkerConfig Worker 1 does not have a profile associated with it.";

  standard.Set(framework::prop::Active, false);
  EXPECT_EQ(missing, RefusedApplyText());
  EXPECT_TRUE(NothingSent());
  standard.Set(framework::prop::Active, true);
  Apply();

  ASSERT_TRUE(worker.RemoveObject(standard, framework::RelationType(kWorkerToProfile)));
  Recorder(port).ClearReceived();
  EXPECT_EQ(missing, RefusedApplyText());
  EXPECT_TRUE(NothingSent());

  CStorageWorkerProfile& other = MakeProfile("Other");
  UseProfile(worker, other);
  ApplyAfresh();
  ASSERT_EQ((Names{"BST_1.DeleteAccessSpecs", "BST_1.AddAccessSpecs", "BST_1.UpdateWorkers"}), Sent(port));
  EXPECT_EQ(other.GetHandle(), WorkersOf(Request(port, 2)).at(0).profileHandle);
}

}  // namespace
}  // namespace storageio
}  // namespace kel
