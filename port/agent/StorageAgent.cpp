#include "port/agent/StorageAgent.h"

#include "port/engines/IoUringEngine.h"
#include "port/engines/ModelEngine.h"
#include "port/transports/zmq/CurveKeys.h"

namespace storageio_port {

namespace {

// A model agent serves a model disk per target: the target's text as its name, its size (which it
// must give) and sector size.
TargetInfo ModelTarget(const TargetEntry& entry) {
  if (entry.sizeBytes == 0) throw AgentConfigError("Model target " + entry.path + " needs a size, such as :1GiB");
  const std::uint32_t sectorSize = entry.sectorSize != 0 ? entry.sectorSize : 512;
  return ModelDisk(entry.path, sectorSize, entry.sizeBytes / sectorSize, DiskType::LogicalDisk);
}

AgentServer::Security SecurityOf(const AgentOptions& options) {
  const bool keys = !options.serverKeyFile.empty() && !options.authorizedKeysFile.empty();
  if (!keys && !IsLoopbackEndpoint(options.listen)) {
    throw AgentConfigError("Listening on " + options.listen +
                           ", off loopback, needs CURVE: give --server-key and --authorized-keys");
  }
  if (!keys) return {};
  try {
    return AgentServer::Security{ReadKeyPair(options.serverKeyFile), ReadAuthorizedKeys(options.authorizedKeysFile)};
  } catch (const KeyFileError& e) {
    throw AgentConfigError(e.what());
  }
}

}  // namespace

StorageAgent::StorageAgent(const AgentOptions& options, PortLog log) : m_log(std::move(log)) {
  if (options.targets.empty()) throw AgentConfigError("An agent needs at least one --target");
  AgentServer::Security security = SecurityOf(options);
  FirmwareConfig config;
  config.setupStepMs = options.warmUpMs;
  std::unique_ptr<IoEngineFactory> engines;
  if (options.engine == AgentOptions::Engine::Model) {
    for (const TargetEntry& entry : options.targets) config.targets.push_back(ModelTarget(entry));
    engines = std::make_unique<ModelEngine::Factory>(ModelEngine::Config{});
  } else {
    for (const TargetEntry& entry : options.targets) {
      config.targets.push_back(RealTarget(entry, options.allowBlockDeviceWrites));
      m_log(LogLevel::Info, "serving " + config.targets.back().device->Describe());
    }
    engines = std::make_unique<IoUringEngine::Factory>();
  }
  m_firmware = std::make_unique<StorageFirmware>(std::move(config), std::move(engines), m_loop, m_log,
                                                 [this](std::vector<unsigned char> frame) {
                                                   m_server->SendToHost(std::move(frame));
                                                 });
  AgentServer::Handlers handlers;
  handlers.onRequestFrame = [this](std::vector<unsigned char> frame) {
    m_loop.PostFromAnyThread([this, frame = std::move(frame)] { m_firmware->OnFrame(frame); });
  };
  handlers.onHostLost = [this] { m_loop.PostFromAnyThread([this] { m_firmware->ForgetHost(); }); };
  m_server = std::make_unique<AgentServer>(options.listen, std::move(security), m_log, std::move(handlers));
}

// The firmware goes first: it may still send, and its I/O threads must stop before the loop goes.
StorageAgent::~StorageAgent() { m_firmware.reset(); }

void StorageAgent::Serve(const std::atomic<bool>& stop) {
  constexpr std::int64_t kStopCheckMs = 50;
  while (!stop.load()) m_loop.RunFor(kStopCheckMs);
  m_firmware->EndTestNow();
}

}  // namespace storageio_port
