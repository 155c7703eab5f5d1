// Following a running storage test: the ports' progress, the end of the test port by port, the
// command statuses, and ports going offline meanwhile.

#include <cstdint>
#include <set>

#include <gmock/gmock.h>

#include "kel/core/RpcManager.h"
#include "test/StorageIORunTest.h"

namespace kel {
namespace storageio {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using TestStatus = BST_1_bll::TestStatus_t;

const char* const kCompleted = "The Storage test has been completed.";
const char* const kBadRpc = "BAD RPC MESSAGE ERROR: Error in BLL-IL communication. ";

class StorageIOTestRunTest : public StorageIORunTest {};

// The context with which the RPC manager hands a port's notification over: the port's handle.
void* Cookie(const framework::CScriptable& object) {
  return reinterpret_cast<void*>(static_cast<std::uintptr_t>(object.GetHandle()));
}

// Deleted from the model: destroyed, or marked for deletion.
bool Gone(framework::Handle handle) {
  const framework::CScriptable* object = framework::CHandleRegistry::Instance().Find(handle);
  return object == nullptr || object->IsDeleted();
}

// Progress is shown to the user; the ports end one by one, by values beyond the last known one
// too, and only the last port's end completes the test and gives the commands back.
TEST_F(StorageIOTestRunTest, TheTestCompletesOnlyWhenTheLastPortHasFinished) {
  core::CPort& p1 = MakePort("P1");
  core::CPort& p2 = MakePort("P2");
  CStorageWorkerConfig& w1 = MakeWorker(p1, "W1");
  CStorageWorkerConfig& w2 = MakeWorker(p2, "W2");
  CStorageWorkerConfig& inactive = MakeWorker(p1, "Inactive");
  ProjectBuilder::Set(inactive, {{"Active", "false"}});
  const std::vector<bool> inactiveBefore = CommandStatus(inactive);
  const std::size_t registrationsBefore = core::CRpcManager::Instance().RegistrationCount();
  StartTest({&w1, &w2});
  EXPECT_EQ(registrationsBefore + 4, core::CRpcManager::Instance().RegistrationCount());
  EXPECT_EQ(Running(), CommandStatus(w1));
  EXPECT_EQ(inactiveBefore, CommandStatus(inactive)) << "only active workers follow the test";
  m_log->Clear();

  for (TestStatus status : {TestStatus::PreppingDisks, TestStatus::StartingTest, TestStatus::BeginningIO,
                            TestStatus::RecordingIO, TestStatus::Done25Percent, TestStatus::Done50Percent,
                            TestStatus::Done75Percent}) {
    SendProgress(p1, status);
  }
  EXPECT_THAT(UserLog(), ElementsAre("Test on Status on P1: Preparing Disks.", "Test on Status on P1: Starting Test.",
                                     "Test on Status on P1: Beginning IO Operations.",
                                     "Test on Status on P1: Recording statistics.", "Test on Status on P1: 25% Done.",
                                     "Test on Status on P1: 50% Done.", "Test on Status on P1: 75% Done."));
  EXPECT_TRUE(IsRunning(p1));
  m_log->Clear();

  Recorder(p1).ClearReceived();
  SendProgress(p1, TestStatus::Max);
  EXPECT_EQ((Names{"BST_1.DeregisterTestStatusNotify", "BST_1.DeregisterTestResults"}), Sent(p1));
  EXPECT_THAT(UserLog(), ElementsAre("Storage test on portP1 has finished."));
  EXPECT_FALSE(IsRunning(p1));
  EXPECT_TRUE(protocol().IsTestInProgress());
  EXPECT_EQ(Running(), CommandStatus(w1)) << "the commands wait for the whole test";
  EXPECT_EQ(Running(), CommandStatus(w2));

  SendUnknownProgress(p2, "Done110Percent");
  EXPECT_THAT(UserLog(), ElementsAre("Storage test on portP1 has finished.", "Storage test on portP2 has finished.",
                                     kCompleted));
  EXPECT_TRUE(protocol().GetTestRunningPortSet().empty());
  EXPECT_FALSE(protocol().IsTestInProgress());
  EXPECT_EQ(Idle(), CommandStatus(w1));
  EXPECT_EQ(Idle(), CommandStatus(w2));
  EXPECT_EQ(inactiveBefore, CommandStatus(inactive));
  EXPECT_EQ(registrationsBefore, core::CRpcManager::Instance().RegistrationCount());
}

TEST_F(StorageIOTestRunTest, AFailedDeregistrationRaisesAndTheTestGoesOnUntilOneSucceeds) {
  core::CPort& p1 = MakePort("P1");
  CStorageWorkerConfig& w1 = MakeWorker(p1, "W1");
  StartTest({&w1});
  const CStorageIOProtocol::RunningPortMap started = protocol().GetTestRunningPortSet();

  // A port whose channel is gone cannot be told to stop sending; the loop logs what the end raised.
  Recorder(p1).SetConnected(false);
  framework::CTaskManager::Instance().RunUntilIdle();
  m_log->Clear();
  EndTest({&p1});
  EXPECT_TRUE(m_log->Contains("kel.host", std::string("Exception in event loop: ") + kBadRpc));
  EXPECT_EQ(started, protocol().GetTestRunningPortSet()) << "the port keeps running, with its registrations";
  EXPECT_TRUE(UserLog().empty());
  EXPECT_EQ(Running(), CommandStatus(w1));

  Recorder(p1).SetConnected(true);
  framework::CTaskManager::Instance().RunUntilIdle();
  EndTest({&p1});
  EXPECT_THAT(UserLog(), ElementsAre("Storage test on portP1 has finished.", kCompleted));
  EXPECT_EQ(Idle(), CommandStatus(w1));

  // A second start of a running port keeps one entry with the new ids; an id the RPC manager does
  // not know fails the second deregistration after the first was sent.
  StartTest({&w1});
  const int statusId = protocol().GetTestRunningPortSet().at(p1.GetHandle()).first;
  protocol().AddToTestRunningPortSet(p1.GetHandle(), statusId, -7);
  ASSERT_EQ(1u, protocol().GetTestRunningPortSet().size());
  ASSERT_EQ(-7, protocol().GetTestRunningPortSet().at(p1.GetHandle()).second);
  Recorder(p1).ClearReceived();
  EXPECT_THROW(protocol().EndTestProcessor(p1.GetHandle(), &p1), framework::CKelRunTimeError);
  EXPECT_EQ(Names{"BST_1.DeregisterTestStatusNotify"}, Sent(p1));
  EXPECT_TRUE(IsRunning(p1));
  EXPECT_TRUE(protocol().IsTestInProgress());
}

TEST_F(StorageIOTestRunTest, UnknownPortsAndEndsOfPortsNotRunningAreDeveloperLogLines) {
  core::CPort& p1 = MakePort("P1");
  core::CPort& p2 = MakePort("P2");
  CStorageWorkerConfig& w1 = MakeWorker(p1, "W1");
  StartTest({&w1});
  const auto errors = [this] { return m_log->Messages("content.storage.storageio", framework::LOG_LEVEL_ERROR); };

  // Progress for a handle that names no port (a worker's, here) is ignored.
  Message done;
  BST_1_port::create_notify_TestNotification(&done, TestStatus::Done100Percent, true);
  protocol().TestStatusHandler(0, &done, Cookie(w1));
  EXPECT_THAT(m_log->Messages("content.storage.storageio", framework::LOG_LEVEL_WARN),
              ElementsAre("Cannot find port for processing the response ParseResponseLearnTargets "));
  EXPECT_TRUE(IsRunning(p1));

  // An end of test from a port that never ran, while another still runs: only the error line.
  protocol().TestStatusHandler(0, &done, Cookie(p2));
  EXPECT_THAT(errors(), ElementsAre("Got EOT notification from port P2 that is not in the m_testRunningPortSet."));
  EXPECT_THAT(UserLog(), Not(Contains(kCompleted)));
  EXPECT_EQ(Running(), CommandStatus(w1));

  // A late second end from a port that has finished: the completion is announced again.
  EndTest({&p1});
  protocol().TestStatusHandler(0, &done, Cookie(p1));
  EXPECT_EQ("Got EOT notification from port P1 that is not in the m_testRunningPortSet.", errors().back());
  EXPECT_THAT(UserLog(), ElementsAre("Storage test on portP1 has finished.", kCompleted, kCompleted));
  EXPECT_EQ(Idle(), CommandStatus(w1));
}

TEST_F(StorageIOTestRunTest, APortGoingOfflineLosesItsTargetsAndProfilesButKeepsRunning) {
  core::CPort& p1 = MakePort("P1");
  core::CPort& p2 = MakePort("P2");
  CStorageWorkerConfig& w1 = MakeWorker(p1, "W1");
  CStorageWorkerConfig& w2 = MakeWorker(p2, "W2");
  CStorageWorkerConfig& w3 = MakeWorker(p1, "W3");
  CStorageWorkerProfile& fast = MakeProfile("Fast");
  UseProfile(w2, fast);
  UseProfile(w3, fast);
  const framework::Handle t1 = MakeTarget(w1, "PhysicalDrive1").GetHandle();
  const framework::Handle t2 = MakeTarget(w1, "PhysicalDrive2").GetHandle();
  const framework::Handle t3 = MakeTarget(w2, "PhysicalDrive3").GetHandle();
  Apply();
  CStorageWorkerProfile& standard = *protocol().GetDefaultProfile();
  ASSERT_EQ((std::set<std::uint32_t>{p1.GetHandle(), p2.GetHandle()}), fast.portHndSet);
  StartTest({&w1, &w2, &w3});

  Recorder(p1).SetConnected(false);
  framework::CTaskManager::Instance().RunUntilIdle();
  ASSERT_FALSE(p1.IsOnline());
  EXPECT_TRUE(Gone(t1) && Gone(t2));
  EXPECT_FALSE(Gone(t3));
  EXPECT_TRUE(standard.portHndSet.empty());
  EXPECT_EQ((std::set<std::uint32_t>{p2.GetHandle()}), fast.portHndSet);
  EXPECT_TRUE(IsRunning(p1) && IsRunning(p2));
  EXPECT_EQ(Running(), CommandStatus(w1));

  // Back online, the port is emptied; once the test is over the next apply sends it its profiles
  // as new again.
  Recorder(p1).SetConnected(true);
  framework::CTaskManager::Instance().RunUntilIdle();
  EndTest({&p1, &p2});
  ASSERT_FALSE(protocol().IsTestInProgress());
  ApplyAfresh();
  EXPECT_EQ((Requests{{"BST_1.AddAccessSpecs", Sorted({standard.GetHandle(), fast.GetHandle()})},
                      {"BST_1.UpdateWorkers", Sorted({w1.GetHandle(), w3.GetHandle()})}}),
            Received(p1));
  EXPECT_THAT(Sent(p2), Not(Contains("BST_1.AddAccessSpecs")));
}

}  // namespace
}  // namespace storageio
}  // namespace kel
