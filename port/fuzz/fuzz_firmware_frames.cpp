// Hostile bytes into the firmware's frame entry, as a port takes them from the network: the input
// is a run of frames, each behind a 2-byte big-endian length, handed one by one to a firmware on
// the model engine, with a second of its virtual clock after each. Whatever arrives, the firmware
// answers, drops with a log line or runs a test; a crash, a hang or a sanitizer report is a finding.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "port/engines/ModelEngine.h"
#include "port/firmware/LoopScheduler.h"
#include "port/firmware/StorageFirmware.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace storageio_port;
  LoopScheduler loop(LoopScheduler::Clock::Virtual);
  FirmwareConfig config;
  config.targets = {ModelDisk("disk0", 512, 1 << 20), ModelDisk("disk1", 4096, 1 << 16, DiskType::LogicalDisk)};
  StorageFirmware firmware(config, std::make_unique<ModelEngine::Factory>(ModelEngine::Config{}), loop,
                           [](LogLevel, const std::string&) {}, [](std::vector<unsigned char>) {});
  std::size_t at = 0;
  while (at + 2 <= size) {
    const std::size_t length = (std::size_t{data[at]} << 8) | data[at + 1];
    at += 2;
    const std::size_t taken = length < size - at ? length : size - at;
    firmware.OnFrame(std::vector<unsigned char>(data + at, data + at + taken));
    at += taken;
    loop.RunFor(1000);
  }
  return 0;
}
