// Storage test agents in processes of their own on loopback, reached over ZeroMQ: a test through
// the loaded plug-in, CURVE, and the agent's refusal to listen off loopback without keys.

#include <gtest/gtest.h>

#include "AgentProcess.h"
#include "RealClockE2ETest.h"
#include "kel/core/Port.h"
#include "port/transports/zmq/ZmqTransport.h"

namespace storageio_e2e {
namespace {

class StorageAgentTest : public RealClockE2ETest {
 protected:
  // An agent serving one target file of 4 MiB, on io_uring where the kernel allows it, else on
  // model disks, so that transport, heartbeats and CURVE are tested either way.
  std::unique_ptr<AgentProcess> StartAgent(const std::string& name, std::vector<std::string> more = {}) {
    std::vector<std::string> args = {"--target", (Folder() / (name + ".bin")).string() + ":4MiB", "--warmup-ms", "200"};
    if (!IoUringWorks()) args.insert(args.end(), {"--engine", "model"});
    args.insert(args.end(), more.begin(), more.end());
    return std::make_unique<AgentProcess>(args, (Folder() / (name + ".log")).string());
  }

  // Runs the loop until every port is online, or `ms` has passed; whether they all are.
  bool WaitOnline(const std::vector<kel::core::CPort*>& ports, int ms) {
    const std::int64_t endMs = Loop().NowMs() + ms;
    const auto online = [&] {
      return std::all_of(ports.begin(), ports.end(), [](kel::core::CPort* port) { return port->IsOnline(); });
    };
    while (!online() && Loop().NowMs() < endMs) Loop().RunFor(20);
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
  kel::core::CPort& refused = MakePort("Stranger", agent->Endpoint());
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

}  // namespace
}  // namespace storageio_e2e
