#include "port/transports/InProcessTransport.h"

#include <gtest/gtest.h>

#include "kel/core/Port.h"
#include "kel/core/PortChannels.h"
#include "kel/framework/HostClassIds.h"
#include "kel/core/HostReset.h"
#include "kel/framework/KelSystem.h"
#include "kel/framework/Project.h"
#include "kel/framework/TaskManager.h"
#include "kel/framework/ScriptableCreator.h"
#include "port/firmware/test/FirmwareTest.h"

namespace storageio_port::test {
namespace {

using kel::framework::CTaskManager;

class InProcessTransportTest : public ::testing::Test {
 protected:
  void SetUp() override {
    kel::core::ResetHost(CTaskManager::ClockMode::Virtual);
    m_transport = std::make_unique<InProcessTransport>("inproc", TestConfig(), std::make_unique<ModelEngine::Factory>(ModelEngine::Config{}));
    m_transport->SetReceiver([this](std::vector<unsigned char> bytes) { m_received.push_back(DecodeFrame(bytes)); });
    m_transport->SetConnectionCallback([this](bool connected) { m_connection.push_back(connected); });
  }
  void TearDown() override {
    m_transport.reset();
    kel::core::ResetHost(CTaskManager::ClockMode::Real);
  }

  void Send(std::uint64_t id, const Build& build) {
    Message request;
    build(&request);
    m_transport->Send(EncodeFrame(RpcFrameKind::Request, id, request));
  }

  std::unique_ptr<InProcessTransport> m_transport;
  std::vector<RpcFrame> m_received;
  std::vector<bool> m_connection;
};

TEST_F(InProcessTransportTest, ServesRequestsInALaterTurnOfTheLoopAndDiesCleanlyWithWorkQueued) {
  Send(3, [](Message* m) { BST_1_bll::create_req_Echo(m, "ping", true); });
  EXPECT_TRUE(m_received.empty());  // not inside Send
  EXPECT_TRUE(CTaskManager::Instance().RunOne());
  ASSERT_EQ(m_received.size(), 1u);
  EXPECT_EQ(m_received[0].kind, RpcFrameKind::Reply);
  EXPECT_EQ(m_received[0].id, 3u);

  Send(4, [](Message* m) { BST_1_bll::create_req_Echo(m, "late", true); });
  m_transport.reset();  // destroying it with work queued is harmless
  CTaskManager::Instance().RunUntilIdle();
  EXPECT_EQ(m_received.size(), 1u);
}

TEST_F(InProcessTransportTest, ACutLinkDropsFramesWhileTheTestGoesOn) {
  Send(1, [](Message* m) { BST_1_bll::create_req_AddAccessSpecs(m, {{10, 100, SequentialReads4k()}}, true); });
  Send(2, [](Message* m) { BST_1_bll::create_req_AddWorkers(m, {Worker(20, 10, {"disk0"})}, true); });
  Send(3, [](Message* m) { BST_1_bll::create_req_RegisterTestResults(m, 1000, true); });
  Send(4, [](Message* m) { BST_1_bll::create_req_StartTest(m, {20}, 10, true); });
  CTaskManager::Instance().RunFor(1000);
  EXPECT_EQ(m_received.size(), 4u);  // three replies, the first figures

  m_transport->SetConnected(false);
  Send(5, [](Message* m) { BST_1_bll::create_req_Echo(m, "lost", true); });
  CTaskManager::Instance().RunFor(3000);
  EXPECT_EQ(m_received.size(), 4u);
  EXPECT_TRUE(m_transport->Firmware().IsTestRunning());

  m_transport->SetConnected(true);
  EXPECT_EQ(m_connection, (std::vector<bool>{false, true}));
  CTaskManager::Instance().RunFor(1000);
  ASSERT_EQ(m_received.size(), 5u);
  EXPECT_EQ(m_received[4].message.get_request_name(), "BST_1.TestResultsNotification");
}

TEST(InProcessTransport, ServesTheInprocScheme) {
  kel::framework::CKelSystem::Instance().ResetProject();
  InProcessSetup bad;
  bad.device.latencyMs = 0;
  EXPECT_THROW(RegisterInProcessTransport(bad), std::invalid_argument);
  RegisterInProcessTransport();
  auto* port = dynamic_cast<kel::core::CPort*>(
      kel::framework::CScriptableCreator().Create(kel::framework::classid::Port, &kel::framework::CProject::Instance()));
  ASSERT_NE(port, nullptr);
  port->Set("Location", "inproc");
  EXPECT_NE(dynamic_cast<InProcessTransport*>(&kel::core::CPortChannels::Instance().GetMessenger(*port)), nullptr);
  EXPECT_TRUE(port->IsOnline());
  kel::core::CPortChannels::Instance().Clear();
  kel::framework::CKelSystem::Instance().ResetProject();
}

}  // namespace
}  // namespace storageio_port::test
