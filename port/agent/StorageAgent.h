#pragma once
// StorageAgent: a port that runs alone, on a machine of its own: the storage test firmware on a
// loop of its own (LoopScheduler, real clock), its targets and engine, and the ZeroMQ server that
// a host reaches it through (AgentServer). `storageio agent` is a thin front to it.
//
// What the firmware logs goes to the agent's log with the server's lines: which targets it
// serves and how (O_DIRECT or buffered, and why), layouts, refusals, hosts served and lost.

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "port/firmware/LoopScheduler.h"
#include "port/firmware/PortLog.h"
#include "port/firmware/StorageFirmware.h"
#include "port/targets/TargetEntry.h"
#include "port/transports/zmq/AgentServer.h"

namespace storageio_port {

struct AgentOptions {
  enum class Engine { IoUring, Model };

  std::string listen = "tcp://127.0.0.1:7100";
  std::vector<TargetEntry> targets;
  bool allowBlockDeviceWrites = false;
  Engine engine = Engine::IoUring;
  std::string serverKeyFile;       // empty: no CURVE (loopback only)
  std::string authorizedKeysFile;  // the clients' public keys
  std::int64_t warmUpMs = 1000;    // StartingTest and BeginningIO each last this long
};

// Options an agent must not run with; its front exits 2.
class AgentConfigError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class StorageAgent {
 public:
  // Resolves the targets and binds the endpoint. Throws AgentConfigError: no targets, a model
  // target without a size, an endpoint off loopback without both key files, or a key file that
  // does not read; and what resolving a target (TargetError) or binding (zmq::error_t) throws.
  StorageAgent(const AgentOptions& options, PortLog log);
  ~StorageAgent();

  const std::string& Endpoint() const { return m_server->BoundEndpoint(); }

  // Serves hosts until `stop` is set (from a signal handler, say), then ends a running test as
  // StorageFirmware::EndTestNow says and returns once its last frames are handed to the socket.
  void Serve(const std::atomic<bool>& stop);

 private:
  const PortLog m_log;
  LoopScheduler m_loop{LoopScheduler::Clock::Real};
  std::unique_ptr<StorageFirmware> m_firmware;
  std::unique_ptr<AgentServer> m_server;
};

}  // namespace storageio_port
