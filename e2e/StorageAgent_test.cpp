// Storage test agents in processes of their own on loopback, reached over ZeroMQ: a test through
// the loaded plug-in, CURVE, and the agent's refusal to listen off loopback without keys.

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <optional>
#include <zmq.hpp>

#include "AgentProcess.h"
#include "RealClockE2ETest.h"
#include "kel/core/Port.h"
#include "msg/BST_1.h"
#include "port/transports/zmq/ZmqTransport.h"
#include "tm/RpcFrame.h"

namespace storageio_e2e {
namespace {

using BST_1_bll::StatusCode_t;

// A host reduced to a socket: requests built with the BST_1 builders, frames read as they come.
class RawHost {
 public:
  explicit RawHost(const std::string& endpoint) : m_socket(m_context, zmq::socket_type::dealer) {
    m_socket.set(zmq::sockopt::linger, 0);
    m_socket.connect(endpoint);
  }
  void Request(std::uint64_t id, const std::function<void(Message*)>& build) {
    Message request;
    build(&request);
    const std::vector<unsigned char> frame = EncodeFrame(RpcFrameKind::Request, id, request);
    m_socket.send(zmq::buffer(frame), zmq::send_flags::none);
  }
  void SendBytes(const std::string& bytes) { m_socket.send(zmq::buffer(bytes), zmq::send_flags::none); }
  // The next frame, waiting up to `ms`.
  std::optional<RpcFrame> Next(int ms) {
    zmq::pollitem_t item{m_socket.handle(), 0, ZMQ_POLLIN, 0};
    if (zmq::poll(&item, 1, std::chrono::milliseconds(ms)) == 0) return std::nullopt;
    zmq::message_t message;
    (void)m_socket.recv(message);
    return DecodeFrame(static_cast<const unsigned char*>(message.data()), message.size());
  }
  // Frames until the reply to `id` (included), waiting up to `ms` in all.
  std::vector<RpcFrame> UntilReply(std::uint64_t id, int ms) {
    std::vector<RpcFrame> frames;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (std::chrono::steady_clock::now() < deadline) {
      std::optional<RpcFrame> frame = Next(50);
      if (!frame) continue;
      frames.push_back(std::move(*frame));
      if (frames.back().kind == RpcFrameKind::Reply && frames.back().id == id) break;
    }
    return frames;
  }
  // The status of the reply to `id`; Max when none came within `ms`.
  StatusCode_t StatusOf(std::uint64_t id, int ms = 3000) {
    const std::vector<RpcFrame> frames = UntilReply(id, ms);
    StatusCode_t status = StatusCode_t::Max;
    if (!frames.empty() && frames.back().kind == RpcFrameKind::Reply && frames.back().id == id) {
      BST_1_bll::parse_resp_Echo(&frames.back().message, &status);  // every status reply reads alike
    }
    return status;
  }
  void Close() { m_socket.close(); }

 private:
  zmq::context_t m_context;
  zmq::socket_t m_socket;
};

// Access spec 10 (4 KiB random reads) and worker 20 on `target`, queue depth 4.
void Configure(RawHost& host, const std::string& target) {
  host.Request(1, [](Message* m) {
    BST_1_bll::create_req_AddAccessSpecs(m, {{10, 100, {4096, 100, false, 0, 100, 0, 1, false, 0, false}}}, true);
  });
  host.Request(2, [&](Message* m) {
    BST_1_bll::create_req_AddWorkers(m, {{20, 10, {{0, target, 4, false, 0, {}, 1}}}}, true);
  });
}

class StorageAgentTest : public RealClockE2ETest {
 protected:
  // An agent serving one target file of 4 MiB, on io_uring where the kernel allows it, else on
  // model disks, so that transport, heartbeats and CURVE are tested either way.
  std::unique_ptr<AgentProcess> StartAgent(const std::string& name, std::vector<std::string> more = {},
                                           const std::string& listen = "tcp://127.0.0.1:0") {
    std::vector<std::string> args = {"--target", (Folder() / (name + ".bin")).string() + ":4MiB", "--warmup-ms", "200"};
    if (!IoUringWorks()) args.insert(args.end(), {"--engine", "model"});
    args.insert(args.end(), more.begin(), more.end());
    return std::make_unique<AgentProcess>(args, (Folder() / (name + ".log")).string(), listen);
  }

  // Yields to the loop until every port is online, or `ms` has passed; whether they all are. May
  // run inside an event, as yields nest.
  static bool WaitOnline(const std::vector<kel::core::CPort*>& ports, int ms) {
    const std::int64_t endMs = Loop().NowMs() + ms;
    const auto online = [&] {
      return std::all_of(ports.begin(), ports.end(), [](kel::core::CPort* port) { return port->IsOnline(); });
    };
    while (!online() && Loop().NowMs() < endMs) Loop().CtmYield(20, nullptr, false);
    return online();
  }

  std::string KeyFile(const std::string& name) const { return (Folder() / name).string(); }
};

TEST_F(StorageAgentTest, TwoAgentsRunARandomReadThroughThePlugin) {
  storageio_port::RegisterZmqTransport();
  const auto first = StartAgent("A1");
  const auto second = StartAgent("A2");
  const ScriptableVec workers = {&MakeWorkerOnNewPort("A1", first->Endpoint()),
                                 &MakeWorkerOnNewPort("A2", second->Endpoint())};
  for (CScriptable* worker : workers) worker->Set("OutstandingIOsPerTargetCount", "8");
  ASSERT_TRUE(WaitOnline({&PortOf(*workers[0]), &PortOf(*workers[1])}, 5000)) << first->Log() << second->Log();

  CScriptable& reads = RandomProfile(100);
  RunForASecond(workers, reads);
  ExpectConsistentFigures(workers, reads, 100);
  EXPECT_NE(first->Log().find("serving "), std::string::npos);
}

TEST_F(StorageAgentTest, CurveLetsOnlyAuthorizedClientsInAndNoAgentListensOffLoopbackWithoutKeys) {
  ASSERT_EQ(AgentProcess::Run({"agent", "keygen", KeyFile("agent.key")}), 0);
  ASSERT_EQ(AgentProcess::Run({"agent", "keygen", KeyFile("host.key")}), 0);
  ASSERT_EQ(AgentProcess::Run({"agent", "keygen", KeyFile("stranger.key")}), 0);
  const auto agent = StartAgent("A1", {"--server-key", KeyFile("agent.key"), "--authorized-keys", KeyFile("host.key.pub")});
  const std::string agentKey = storageio_port::ReadPublicKey(KeyFile("agent.key.pub"));

  // A stranger's key: the handshake fails, the port never comes online, the agent logs it.
  storageio_port::RegisterZmqTransport({{agent->Endpoint(), {agentKey, storageio_port::ReadKeyPair(KeyFile("stranger.key"))}}});
  kel::core::CPort& refused = AddPort("Stranger", agent->Endpoint());
  EXPECT_FALSE(WaitOnline({&refused}, 2000));
  EXPECT_NE(agent->Log().find("refused client"), std::string::npos) << agent->Log();
  refused.MarkDelete(true, true);

  // The authorized key: online, and a test runs.
  storageio_port::RegisterZmqTransport({{agent->Endpoint(), {agentKey, storageio_port::ReadKeyPair(KeyFile("host.key"))}}});
  CScriptable& worker = MakeWorkerOnNewPort("A1", agent->Endpoint());
  ASSERT_TRUE(WaitOnline({&PortOf(worker)}, 5000)) << agent->Log();
  CScriptable& reads = RandomProfile(100);
  RunForASecond({&worker}, reads);
  ExpectConsistentFigures({&worker}, reads, 100);

  EXPECT_EQ(AgentProcess::Run({"agent", "--listen", "tcp://0.0.0.0:0", "--target", KeyFile("x.bin:1MiB")}), 2);
}

TEST_F(StorageAgentTest, ServesOneHostAtATimeAndIsFreeAgainOnceItsHostIsGone) {
  const auto agent = StartAgent("A1", {"--engine", "model"});
  RawHost owner(agent->Endpoint());
  Configure(owner, (Folder() / "A1.bin").string());
  EXPECT_EQ(owner.StatusOf(2), StatusCode_t::Success);
  owner.SendBytes("not a frame");  // dropped with a log line; the agent goes on
  owner.Request(3, [](Message* m) { BST_1_bll::create_req_Echo(m, "still there?", true); });
  EXPECT_EQ(owner.StatusOf(3), StatusCode_t::Success);

  RawHost other(agent->Endpoint());
  other.Request(4, [](Message* m) { BST_1_bll::create_req_LearnTargets(m); });
  EXPECT_EQ(other.StatusOf(4), StatusCode_t::Failure);
  EXPECT_NE(agent->Log().find("busy: serving "), std::string::npos) << agent->Log();

  owner.Request(5, [](Message* m) { BST_1_bll::create_req_StartTest(m, {20}, 60, true); });
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  owner.Close();  // the host is gone: the test ends silently, the agent forgets its workers
  StatusCode_t learned = StatusCode_t::Max;
  for (std::uint64_t id = 6; id < 60 && learned != StatusCode_t::Success; ++id) {
    other.Request(id, [](Message* m) { BST_1_bll::create_req_LearnTargets(m); });
    learned = other.StatusOf(id, 200);
  }
  EXPECT_EQ(learned, StatusCode_t::Success) << agent->Log();
  EXPECT_NE(agent->Log().find("lost the host"), std::string::npos);
  other.Request(100, [](Message* m) { BST_1_bll::create_req_StartTest(m, {20}, 1, true); });
  EXPECT_EQ(other.StatusOf(100), StatusCode_t::Failure);  // worker 20 was forgotten with its host
}

TEST_F(StorageAgentTest, SigtermEndsARunningTestAsIfItsDurationHadElapsedAndExitsZero) {
  const auto agent = StartAgent("A1");
  RawHost host(agent->Endpoint());
  Configure(host, (Folder() / "A1.bin").string());
  host.Request(3, [](Message* m) { BST_1_bll::create_req_RegisterTestStatusNotify(m, 60000, true); });
  host.Request(4, [](Message* m) { BST_1_bll::create_req_RegisterTestResults(m, 60000, true); });
  EXPECT_FALSE(host.UntilReply(4, 3000).empty());
  host.Request(7, [](Message* m) { BST_1_bll::create_req_StartTest(m, {20}, 60, true); });
  std::this_thread::sleep_for(std::chrono::milliseconds(1000));
  agent->Signal(SIGTERM);
  const std::vector<RpcFrame> frames = host.UntilReply(7, 5000);
  std::vector<std::string> names;
  for (const RpcFrame& frame : frames) names.push_back(frame.message.get_request_name());
  ASSERT_GE(names.size(), 2u);
  EXPECT_EQ(names[names.size() - 2], "BST_1.TestResultsNotification");
  EXPECT_EQ(names.back(), "BST_1.StartTest");
  StatusCode_t status = StatusCode_t::Max;
  BST_1_bll::parse_resp_StartTest(&frames.back().message, &status);
  EXPECT_EQ(status, StatusCode_t::Success);
  const std::optional<RpcFrame> done = host.Next(2000);
  ASSERT_TRUE(done.has_value());
  BST_1_bll::TestStatus_t progress = BST_1_bll::TestStatus_t::Max;
  BST_1_bll::parse_req_TestNotification(&done->message, &progress);
  EXPECT_EQ(progress, BST_1_bll::TestStatus_t::Done100Percent);
  EXPECT_EQ(agent->WaitForExit(5000), 0) << agent->Log();
}

// The start command waits out its budget for a port that never answers, as it must; so this
// scenario's host runs in a child process, which ends once its checks are done.
TEST_F(StorageAgentTest, ALostAgentGoesOfflineAndTheTestEndsOnlyOnceItIsBackAndStopped) {
  const pid_t child = ::fork();
  if (child == 0) {
    storageio_port::RegisterZmqTransport();
    auto lost = StartAgent("A1");
    auto kept = StartAgent("A2");
    CScriptable& lostWorker = MakeWorkerOnNewPort("A1", lost->Endpoint());
    CScriptable& keptWorker = MakeWorkerOnNewPort("A2", kept->Endpoint());
    kel::core::CPort& lostPort = PortOf(lostWorker);
    kel::core::CPort& keptPort = PortOf(keptWorker);
    EXPECT_TRUE(WaitOnline({&lostPort, &keptPort}, 5000));
    CScriptable& reads = RandomProfile(100);
    for (CScriptable* worker : {&lostWorker, &keptWorker}) worker->AddObject(reads, Relation("UsesProfile"));

    At(2500, [&] { lost->Signal(SIGSTOP); });  // silent, not gone: only heartbeats can tell
    At(8000, [&] {
      EXPECT_FALSE(lostPort.IsOnline());
      EXPECT_TRUE(LearnedTargetsOf(lostWorker).empty());
      MakeCommand("StorageStopWorkerCommand").Execute(false);
      EXPECT_EQ(Count(kStopUserLog, "StorageStartWorkerCommand: Received error response trying to send message to port "
                                "A1.Skipping the port."), 1);
      EXPECT_EQ(Count(kUserLog, kTestCompleted), 0);
      // Figures still in flight during the stop may land; after it the kept port's stay as they are.
      const std::string keptCount = Child(keptWorker, "StorageWorkerResults").Get("AllTransactionCount");
      EXPECT_NE(keptCount, "0");

      const std::string endpoint = lost->Endpoint();
      lost.reset();  // killed
      lost = StartAgent("A1", {}, endpoint);
      EXPECT_TRUE(WaitOnline({&lostPort}, 5000));
      MakeCommand("StorageStopWorkerCommand").Execute(false);
      EXPECT_EQ(Count(kUserLog, kTestCompleted), 1);
      EXPECT_EQ(Child(keptWorker, "StorageWorkerResults").Get("AllTransactionCount"), keptCount);
      std::fflush(stdout);
      // _Exit runs no destructors: both agents go here, or they outlive the test.
      lost.reset();
      kept.reset();
      std::_Exit(::testing::Test::HasFailure() ? 1 : 0);
    });
    MakeStart({&lostWorker, &keptWorker}, 60, true).Execute(false);
    ADD_FAILURE() << "the start command returned before the checks ran";
    std::fflush(stdout);
    lost.reset();
    kept.reset();
    std::_Exit(1);
  }
  int status = -1;
  for (int waited = 0; waited < 600 && ::waitpid(child, &status, WNOHANG) == 0; ++waited) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  if (!WIFEXITED(status)) ::kill(child, SIGKILL), ::waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the scenario's host failed or hung; see above";
}

TEST_F(StorageAgentTest, AHostSilentPastTheHeartbeatTimeOutIsLostAndItsTestEnds) {
  const auto agent = StartAgent("A1", {"--engine", "model"});
  const pid_t host = ::fork();
  if (host == 0) {  // a host that starts a test, then freezes with its connection open
    RawHost frozen(agent->Endpoint());
    Configure(frozen, (Folder() / "A1.bin").string());
    frozen.Request(5, [](Message* m) { BST_1_bll::create_req_StartTest(m, {20}, 60, true); });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    ::raise(SIGSTOP);
    std::_Exit(0);
  }
  const auto lost = [&] { return agent->Log().find("lost the host") != std::string::npos; };
  for (int waited = 0; waited < 100 && !lost(); ++waited) std::this_thread::sleep_for(std::chrono::milliseconds(100));
  ::kill(host, SIGKILL);
  ::waitpid(host, nullptr, 0);
  EXPECT_TRUE(lost()) << agent->Log();
  RawHost next(agent->Endpoint());
  next.Request(6, [](Message* m) { BST_1_bll::create_req_LearnTargets(m); });
  EXPECT_EQ(next.StatusOf(6), StatusCode_t::Success);
}

TEST_F(StorageAgentTest, AHostKeepsALocationOffLoopbackWithoutKeysOffline) {
  storageio_port::RegisterZmqTransport();
  kel::core::CPort& far = AddPort("Far", "tcp://192.0.2.1:7100");
  EXPECT_FALSE(WaitOnline({&far}, 200));
  EXPECT_EQ(Lines("storageio.transport", kel::framework::LOG_LEVEL_ERROR),
            std::vector<std::string>{"tcp://192.0.2.1:7100 is off loopback and no CURVE keys are given for it; its "
                                     "port stays offline"});
}

}  // namespace
}  // namespace storageio_e2e
