#include "port/transports/InProcessTransport.h"

#include "kel/core/PortChannels.h"
#include "kel/framework/Logger.h"
#include "port/engines/IoUringEngine.h"

namespace storageio_port {

namespace {

// An embedded port writes to the host's developer log "storageio.port", each line led by its
// endpoint and ": ", so that a host client can tell its ports' lines apart.
PortLog LogToHost(const std::string& endpoint) {
  return [prefix = endpoint + ": "](LogLevel level, const std::string& line) {
    const auto logger = kel::framework::BLLLoggerFactory::GetInstance().GetLogger("storageio.port");
    switch (level) {
      case LogLevel::Info:
        logger->Info(prefix + line, __FILE__, __LINE__);
        break;
      case LogLevel::Warning:
        logger->Warn(prefix + line, __FILE__, __LINE__);
        break;
      case LogLevel::Error:
        logger->Error(prefix + line, __FILE__, __LINE__);
        break;
    }
  };
}

}  // namespace

InProcessTransport::InProcessTransport(std::string endpoint, FirmwareConfig config,
                                       std::unique_ptr<IoEngineFactory> engines)
    : m_endpoint(std::move(endpoint)),
      m_firmware(std::make_shared<StorageFirmware>(std::move(config), std::move(engines), m_scheduler,
                                                   LogToHost(m_endpoint),
                                                   [this](Bytes frame) {
                                                     if (m_connected) Deliver(std::move(frame));
                                                   })) {}

// Frames still queued for the firmware find it gone and are dropped.
InProcessTransport::~InProcessTransport() = default;

void InProcessTransport::Send(Bytes frame) {
  if (!m_connected) return;
  std::weak_ptr<StorageFirmware> firmware = m_firmware;
  m_scheduler.RunAfter(0, [firmware, frame = std::move(frame)] {
    if (const auto alive = firmware.lock()) alive->OnFrame(frame);
  });
}

void InProcessTransport::SetConnected(bool connected) {
  if (connected == m_connected) return;
  m_connected = connected;
  ReportConnection(connected);
}

FirmwareConfig InProcessSetup::DefaultFirmwareConfig() {
  FirmwareConfig config;
  config.targets = {
      ModelDisk("disk0", 512, 8388608, DiskType::PhysicalDisk, 32),
      ModelDisk("disk1", 4096, 262144, DiskType::LogicalDisk, 64),
  };
  return config;
}

std::unique_ptr<IoEngineFactory> InProcessSetup::MakeEngines() const {
  if (engine == Engine::IoUring) return std::make_unique<IoUringEngine::Factory>();
  return std::make_unique<ModelEngine::Factory>(device);
}

void RegisterInProcessTransport(const InProcessSetup& defaults, const std::map<std::string, InProcessSetup>& ports) {
  // A bad setup is refused now rather than when a port first needs it.
  const auto check = [](const InProcessSetup& setup) {
    ValidateFirmwareConfig(setup.firmware);
    setup.MakeEngines();
  };
  check(defaults);
  for (const auto& [location, setup] : ports) check(setup);
  kel::core::CPortChannels::Instance().RegisterTransport(
      "inproc", [defaults, ports](kel::core::CPort&, const std::string& location) -> std::unique_ptr<kel::core::Messenger> {
        const auto own = ports.find(location);
        const InProcessSetup& setup = own == ports.end() ? defaults : own->second;
        return std::make_unique<InProcessTransport>(location, setup.firmware, setup.MakeEngines());
      });
}

}  // namespace storageio_port
