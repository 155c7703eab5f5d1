#pragma once
// InProcessTransport: a port channel (kel::core::Messenger) whose other end is a StorageFirmware
// on the host's own event loop: the embedded default of every port whose Location is "inproc".
//
// A frame sent is handed to the firmware in a later turn of the event loop, never inside Send,
// so the host sees the same asynchrony as with a remote port. The firmware's frames go straight
// to the host's receiver, which queues them on the loop.
//
// The channel is connected from the start. SetConnected(false) cuts it as a lost link would: the
// host hears of it, frames in either direction are dropped (requests already handed over are
// still served), and the firmware keeps running its test; SetConnected(true) restores it.
//
// The firmware's log lines go to the host's developer log "storageio.port", led by the endpoint
// ("inproc://P1: Refused BST_1.StartTest: ...").
//
// Threads: everything on the business-layer thread. The transport owns its firmware and engine;
// destroying it ends a running test silently, and frames it queued for the firmware are dropped.

#include <map>
#include <memory>
#include <string>

#include "kel/core/Messenger.h"
#include "port/engines/ModelEngine.h"
#include "port/firmware/FirmwareConfig.h"
#include "port/firmware/StorageFirmware.h"
#include "port/transports/TaskManagerScheduler.h"

namespace storageio_port {

class InProcessTransport : public kel::core::Messenger {
 public:
  // Throws what StorageFirmware's constructor throws.
  InProcessTransport(std::string endpoint, FirmwareConfig config, std::unique_ptr<IoEngineFactory> engines);
  ~InProcessTransport() override;

  const std::string& GetEndpoint() const override { return m_endpoint; }
  bool IsConnected() const override { return m_connected; }
  void Send(Bytes frame) override;

  void SetConnected(bool connected);
  StorageFirmware& Firmware() { return *m_firmware; }

 private:
  const std::string m_endpoint;
  bool m_connected = true;
  TaskManagerScheduler m_scheduler;
  std::shared_ptr<StorageFirmware> m_firmware;
};

// One embedded port: its targets and settings, and its engine. By default two model disks, "disk0"
// (4 GiB of 512-byte sectors, physical) and "disk1" (1 GiB of 4096-byte sectors, logical), on
// devices of 100 MB/s and 1 ms latency. With the io_uring engine the targets are files or block
// devices (RealTarget) and the host's clock must be real.
struct InProcessSetup {
  enum class Engine { Model, IoUring };

  FirmwareConfig firmware = DefaultFirmwareConfig();
  Engine engine = Engine::Model;
  ModelEngine::Config device;  // the model engine's devices

  static FirmwareConfig DefaultFirmwareConfig();
  // Throws std::invalid_argument for a device the model engine refuses.
  std::unique_ptr<IoEngineFactory> MakeEngines() const;
};

// Serves the location scheme "inproc" with an InProcessTransport per port: a port whose location
// is a key of `ports` ("inproc://<port name>", say) gets that setup, any other `defaults`.
// Replaces an earlier registration of the scheme. Throws std::invalid_argument, before
// registering anything, for a setup the firmware or engine refuses.
void RegisterInProcessTransport(const InProcessSetup& defaults = InProcessSetup(),
                                const std::map<std::string, InProcessSetup>& ports = {});

}  // namespace storageio_port
