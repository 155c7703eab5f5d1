#include "kel/core/RpcManager.h"

#include <memory>

#include "../testsupport/HostTestSupport.h"
#include "kel/core/Port.h"
#include "kel/core/PortChannels.h"
#include "kel/core/ProtocolModule.h"
#include "kel/core/RecorderMessenger.h"
#include "tm/RpcFrame.h"
#include "kel/framework/HostClassIds.h"
#include "kel/framework/LogSinks.h"
#include "kel/framework/Logger.h"
#include "kel/framework/TaskManager.h"

namespace kel::framework::test {
namespace {

using core::CRecorderMessenger;
using core::CRpcManager;

// Collects what the RPC manager hands to a delegate.
struct Inbox {
  std::vector<std::string> names;
  std::vector<void*> contexts;
  void OnMessage(unsigned short status, Message* message, void* context) {
    EXPECT_EQ(0, status);
    names.push_back(message->get_request_name());
    contexts.push_back(context);
  }
  core::RpcDelegate Delegate() { return core::RpcDelegate(MakeDelegate(this, &Inbox::OnMessage)); }
};

Message Named(const std::string& name) {
  Message message;
  message.set_request_name(name);
  return message;
}

class RpcManagerTest : public HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    m_port = &Make<core::CPort>(classid::Port);
    m_recorder = &static_cast<CRecorderMessenger&>(
        core::CPortChannels::Instance().Attach(*m_port, std::make_unique<CRecorderMessenger>()));
  }

  core::CPort* m_port = nullptr;
  CRecorderMessenger* m_recorder = nullptr;
  Inbox m_inbox;
  core::RpcDelegate m_delegate = m_inbox.Delegate();
};

TEST_F(RpcManagerTest, AReplyReachesItsDelegateOnTheLoopAndEndsAYield) {
  Message request = Named("BST_1.LearnTargets");
  int cookie = 7;
  const int id = CRpcManager::Instance().SendAsyncMessage(*m_recorder, request, &m_delegate, &cookie, 0, true);
  EXPECT_GE(id, 0);
  EXPECT_EQ(std::vector<std::string>{"BST_1.LearnTargets"}, m_recorder->ReceivedNames());
  EXPECT_TRUE(m_inbox.names.empty()) << "replies arrive on the event loop, not inside the send";

  CTaskManager::Instance().CtmYield(5000, nullptr, false);
  EXPECT_EQ(0, CTaskManager::Instance().NowMs()) << "the reply ended the yield at once";
  ASSERT_EQ(1u, m_inbox.names.size());
  EXPECT_EQ(&cookie, m_inbox.contexts[0]);
  EXPECT_EQ(0u, CRpcManager::Instance().PendingReplyCount());
}

TEST_F(RpcManagerTest, UnreachablePortsTimeOutsAndLostPortsCallNoDelegate) {
  Message request = Named("BST_1.StopTest");
  m_recorder->SetAnswer("");
  EXPECT_GE(CRpcManager::Instance().SendAsyncMessage(*m_recorder, request, &m_delegate, nullptr, 1000, true), 0);
  CTaskManager::Instance().RunFor(2000);
  EXPECT_EQ(0u, CRpcManager::Instance().PendingReplyCount()) << "timed out";

  EXPECT_GE(CRpcManager::Instance().SendAsyncMessage(*m_recorder, request, &m_delegate, nullptr, 0, true), 0);
  m_recorder->SetConnected(false);
  CTaskManager::Instance().RunUntilIdle();
  EXPECT_FALSE(m_port->IsOnline());
  EXPECT_EQ(0u, CRpcManager::Instance().PendingReplyCount()) << "a lost port's pending replies are dropped";
  EXPECT_LT(CRpcManager::Instance().SendAsyncMessage(*m_recorder, request, &m_delegate, nullptr, 0, true), 0);
  EXPECT_TRUE(m_inbox.names.empty());
}

TEST_F(RpcManagerTest, NotificationsGoToTheRegistrationsOfTheirNameAndPort) {
  auto& otherPort = Make<core::CPort>(classid::Port);
  auto& other = static_cast<CRecorderMessenger&>(
      core::CPortChannels::Instance().Attach(otherPort, std::make_unique<CRecorderMessenger>()));
  Message registration = Named("BST_1.RegisterTestStatusNotify");
  int id = 0;
  ASSERT_EQ(0, CRpcManager::Instance().RegisterForNotification(*m_recorder, registration, "BST_1.TestNotification",
                                                               m_delegate, nullptr, &id,
                                                               core::NotificationRatePolicy::GetDefaultPolicy(), true));
  EXPECT_GT(id, 0);
  m_recorder->Notify(Named("BST_1.TestNotification"));
  m_recorder->Notify(Named("BST_1.TestResultsNotification"));
  other.Notify(Named("BST_1.TestNotification"));
  CTaskManager::Instance().RunUntilIdle();
  EXPECT_EQ(1u, m_inbox.names.size()) << "one notification of the registered name from the registered port";

  Message deregistration = Named("BST_1.DeregisterTestStatusNotify");
  EXPECT_NE(0, CRpcManager::Instance().DeregisterForNotification(other, deregistration, id)) << "another port's id";
  EXPECT_NE(0, CRpcManager::Instance().DeregisterForNotification(*m_recorder, deregistration, id + 100));
  EXPECT_EQ(0, CRpcManager::Instance().DeregisterForNotification(*m_recorder, deregistration, id));
  EXPECT_NE(0, CRpcManager::Instance().DeregisterForNotification(*m_recorder, deregistration, id)) << "gone";
  m_recorder->Notify(Named("BST_1.TestNotification"));
  CTaskManager::Instance().RunUntilIdle();
  EXPECT_EQ(1u, m_inbox.names.size());

  // Forgetting a port forgets its registrations, and no other port's.
  const std::size_t before = CRpcManager::Instance().RegistrationCount();
  for (core::Messenger* port : std::initializer_list<core::Messenger*>{m_recorder, &other}) {
    ASSERT_EQ(0, CRpcManager::Instance().RegisterForNotification(*port, registration, "BST_1.TestNotification",
                                                                 m_delegate, nullptr, &id,
                                                                 core::NotificationRatePolicy::GetDefaultPolicy(), true));
  }
  CRpcManager::Instance().DropMessenger(*m_recorder, true);
  EXPECT_EQ(before + 1, CRpcManager::Instance().RegistrationCount());
  m_recorder->Notify(Named("BST_1.TestNotification"));
  other.Notify(Named("BST_1.TestNotification"));
  CTaskManager::Instance().RunUntilIdle();
  EXPECT_EQ(2u, m_inbox.names.size()) << "the other port's notification only";
}

// A recorder that lets the test push raw bytes as if they came from the port.
class RawPortMessenger : public CRecorderMessenger {
 public:
  void Push(std::vector<unsigned char> bytes) { Deliver(std::move(bytes)); }
};

TEST_F(RpcManagerTest, FramesThatCannotBeDecodedAreLoggedAndDropped) {
  auto log = std::make_shared<MemorySink>();
  BLLLoggerFactory::GetInstance().AddSink(log);
  auto& raw = static_cast<RawPortMessenger&>(
      core::CPortChannels::Instance().Attach(*m_port, std::make_unique<RawPortMessenger>()));
  raw.Push({0x93, 0x01});  // an array of three with one item
  raw.Push({0xc1});
  std::vector<unsigned char> valid = EncodeFrame(RpcFrameKind::Reply, 999, Named("stray"));
  raw.Push(valid);  // decodes, but answers nothing that was asked
  CTaskManager::Instance().RunUntilIdle();
  BLLLoggerFactory::GetInstance().RemoveSink(log);
  EXPECT_EQ(2u, log->Messages("kel.host", LOG_LEVEL_ERROR).size());
  EXPECT_TRUE(m_inbox.names.empty());
}

// ---- Receivers destroyed while answers are still due ----

constexpr unsigned kReceiverBlock = 0x7c000000;
constexpr ClassId kLateReceiver = 0x7c001000;

// Names of the replies and notifications that reached a CLateReceiver. Kept outside the
// receivers, so a call on a destroyed one would show here without touching its memory.
std::vector<std::string>& LateReceiverCalls() {
  static std::vector<std::string> calls;
  return calls;
}

// Listed first, so the command part of CLateReceiver does not start the object.
struct FirstBase {
  virtual ~FirstBase() = default;
};

// A command that keeps its reply delegate bound to itself, as the plug-in's commands do.
class CLateReceiver : public FirstBase, public CCommand {
 public:
  void OnMessage(unsigned short, Message* message, void*) {
    LateReceiverCalls().push_back(message->get_request_name());
  }
  core::RpcDelegate delegate{MakeDelegate(this, &CLateReceiver::OnMessage)};
};

// Destroys its victim when a notification reaches it.
struct Destroyer {
  CScriptable* victim;
  void OnMessage(unsigned short, Message*, void*) { victim->Delete(); }
};

class RpcManagerReceiverGoneTest : public RpcManagerTest {
 protected:
  void SetUp() override {
    RpcManagerTest::SetUp();
    [[maybe_unused]] static const bool loaded = [] {
      CMetaClass::InitMakeDestroyFuncs(
          kLateReceiver, []() -> CScriptable* { return new CLateReceiver(); },
          [](CScriptable* object) { delete object; });
      CMetaClassManager::Instance().AddDataModelDescription(
          "idBlock: 0x7c000000\nclasses:\n  - {id: 0x7c001000, name: LateReceiver, base: Command}\n",
          "RpcManager_test");
      CMetaClassManager::Instance().ActivateDataModel(kReceiverBlock);
      return true;
    }();
    LateReceiverCalls().clear();
    m_silent = &static_cast<RawPortMessenger&>(
        core::CPortChannels::Instance().Attach(*m_port, std::make_unique<RawPortMessenger>()));
    m_silent->SetAnswer("");
    BLLLoggerFactory::GetInstance().AddSink(m_log);
  }
  void TearDown() override {
    BLLLoggerFactory::GetInstance().RemoveSink(m_log);
    RpcManagerTest::TearDown();
  }

  int Send(CLateReceiver& receiver, const std::string& name) {
    Message request = Named(name);
    return CRpcManager::Instance().SendAsyncMessage(*m_silent, request, &receiver.delegate, nullptr, 0, true);
  }
  void Register(core::RpcDelegate& delegate) {
    Message registration = Named("BST_1.RegisterTestStatusNotify");
    ASSERT_EQ(0, CRpcManager::Instance().RegisterForNotification(*m_silent, registration, "BST_1.TestNotification",
                                                                 delegate, nullptr, nullptr,
                                                                 core::NotificationRatePolicy::GetDefaultPolicy(),
                                                                 true));
  }
  void AnswerLate(int id, const std::string& name) {
    m_silent->Push(EncodeFrame(RpcFrameKind::Reply, static_cast<std::uint64_t>(id), Named(name)));
  }
  std::vector<std::string> Warnings() const { return m_log->Messages("kel.host", LOG_LEVEL_WARN); }

  RawPortMessenger* m_silent = nullptr;
  std::shared_ptr<MemorySink> m_log = std::make_shared<MemorySink>();
};

TEST_F(RpcManagerReceiverGoneTest, ALateReplyToADestroyedCommandIsDroppedAndALivingOneStillGetsItsOwn) {
  auto& gone = Make<CLateReceiver>(kLateReceiver);
  auto& living = Make<CLateReceiver>(kLateReceiver);
  ASSERT_NE(static_cast<void*>(&gone), static_cast<void*>(static_cast<CScriptable*>(&gone)))
      << "FirstBase comes first, so the scriptable part does not start the object";
  const int goneId = Send(gone, "BST_1.LearnTargets");
  const int livingId = Send(living, "BST_1.StopTest");
  ASSERT_GE(goneId, 0);
  CTaskManager::Instance().CtmYield(5000, nullptr, false);  // the command's bounded wait runs out
  gone.Delete();
  EXPECT_EQ(2u, CRpcManager::Instance().PendingReplyCount()) << "the id stays taken until its answer";

  AnswerLate(goneId, "BST_1.LearnTargets");
  AnswerLate(livingId, "BST_1.StopTest");
  CTaskManager::Instance().RunUntilIdle();
  EXPECT_EQ(std::vector<std::string>{"BST_1.StopTest"}, LateReceiverCalls());
  EXPECT_EQ(std::vector<std::string>{"Reply BST_1.LearnTargets to request " + std::to_string(goneId) +
                                     " dropped: its receiver is gone"},
            Warnings());
  EXPECT_EQ(0u, CRpcManager::Instance().PendingReplyCount());
}

TEST_F(RpcManagerReceiverGoneTest, NotificationsForADestroyedReceiverAreDroppedOnceWithALogLineThenForgotten) {
  auto& gone = Make<CLateReceiver>(kLateReceiver);
  Register(gone.delegate);
  gone.Delete();
  EXPECT_EQ(1u, CRpcManager::Instance().RegistrationCount());

  m_silent->Notify(Named("BST_1.TestNotification"));
  m_silent->Notify(Named("BST_1.TestNotification"));
  CTaskManager::Instance().RunUntilIdle();
  EXPECT_TRUE(LateReceiverCalls().empty());
  EXPECT_EQ(std::vector<std::string>{"Notification BST_1.TestNotification dropped: its receiver is gone"},
            Warnings());
  EXPECT_EQ(0u, CRpcManager::Instance().RegistrationCount());
}

TEST_F(RpcManagerReceiverGoneTest, AReceiverDestroyedByAnEarlierDelegateOfTheSameNotificationIsNotCalled) {
  auto& victim = Make<CLateReceiver>(kLateReceiver);
  Destroyer destroyer{&victim};
  core::RpcDelegate destroying(MakeDelegate(&destroyer, &Destroyer::OnMessage));
  Register(destroying);
  Register(victim.delegate);

  m_silent->Notify(Named("BST_1.TestNotification"));
  CTaskManager::Instance().RunUntilIdle();
  EXPECT_TRUE(LateReceiverCalls().empty());
  EXPECT_EQ(1u, Warnings().size());
}

}  // namespace
}  // namespace kel::framework::test
