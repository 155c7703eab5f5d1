#pragma once
// A StorageFirmware on a virtual clock of its own, driven and read as the plug-in does it: requests
// built with the BST_1_bll builders, what the firmware sends decoded and read with the BST_1_bll
// parsers. Every test starts at virtual time 0 with an empty event loop and an empty log.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <mutex>

#include "msg/BST_1.h"
#include "port/engines/ModelEngine.h"
#include "port/firmware/LoopScheduler.h"
#include "port/firmware/StorageFirmware.h"
#include "tm/RpcFrame.h"

namespace storageio_port::test {

using Build = std::function<void(Message*)>;

// What the firmware sent, and when.
struct Sent {
  RpcFrame frame;
  std::int64_t atMs;
  const std::string& Name() const { return frame.message.get_request_name(); }
};

// Two disks and setup phases of 100 ms.
inline FirmwareConfig TestConfig() {
  FirmwareConfig config;
  config.targets = {ModelDisk("disk0", 512, 2'000'000, DiskType::PhysicalDisk, 32),
                    ModelDisk("disk1", 4096, 100'000, DiskType::LogicalDisk, 64)};
  return config;
}

inline bst_1_bll::StorageWorkerProfile_s SequentialReads4k() { return {4096, 0, false, 0, 100, 0, 1, false, 0, false}; }

// A worker with one in flight on each target; the targets' BllHandles count up from 1000.
inline BST_1_bll::WorkerConfig_s Worker(unsigned handle, unsigned profile, const std::vector<std::string>& targets) {
  BST_1_bll::WorkerConfig_s worker{handle, profile, {}};
  for (const std::string& name : targets) {
    worker.targetSpec.push_back({0, name, 1, false, 0, {}, 1000 + static_cast<unsigned>(worker.targetSpec.size())});
  }
  return worker;
}

class FirmwareTest : public ::testing::Test {
 protected:
  static constexpr ModelEngine::Config kDevice{100.0, 1.0};

  void SetUp() override {
    Boot(TestConfig(), std::make_unique<ModelEngine::Factory>(kDevice), LoopScheduler::Clock::Virtual);
  }
  // A firmware of its own for the test, on a clock of its own.
  void Boot(FirmwareConfig config, std::unique_ptr<IoEngineFactory> engines, LoopScheduler::Clock clock) {
    m_firmware.reset();
    m_scheduler = std::make_unique<LoopScheduler>(clock);
    m_firmware = std::make_unique<StorageFirmware>(
        std::move(config), std::move(engines), *m_scheduler,
        [this](LogLevel, const std::string& line) {
          const std::lock_guard<std::mutex> lock(m_logMutex);
          m_log.push_back(line);
        },
        [this](std::vector<unsigned char> bytes) { m_sent.push_back(Sent{DecodeFrame(bytes), m_scheduler->NowMs()}); });
  }

  void RunFor(std::int64_t ms) { m_scheduler->RunFor(ms); }
  // Whether a logged line contains `text`.
  bool Logged(const std::string& text) {
    const std::lock_guard<std::mutex> lock(m_logMutex);
    return std::any_of(m_log.begin(), m_log.end(), [&](const std::string& line) { return line.find(text) != std::string::npos; });
  }
  // Hands the firmware one request, built by `build`, as frame `id`.
  void Request(std::uint64_t id, const Build& build) {
    Message request;
    build(&request);
    m_firmware->OnFrame(EncodeFrame(RpcFrameKind::Request, id, request));
  }
  // What was sent since the last call.
  std::vector<Sent> Take() { return std::exchange(m_sent, {}); }
  // The status of the one reply sent since the last call, which must answer `id`.
  BST_1_bll::StatusCode_t StatusOf(std::uint64_t id) {
    const std::vector<Sent> sent = Take();
    if (sent.size() != 1 || sent[0].frame.kind != RpcFrameKind::Reply || sent[0].frame.id != id) {
      ADD_FAILURE() << "expected one reply to " << id << ", got " << sent.size() << " frames";
      return BST_1_bll::StatusCode_t::Max;
    }
    BST_1_bll::StatusCode_t status = BST_1_bll::StatusCode_t::Max;
    BST_1_bll::parse_resp_Echo(&sent[0].frame.message, &status);  // every status reply reads alike
    return status;
  }

  // Access spec 10 (4 KiB sequential reads) and worker 20 on `targets`; registrations for
  // progress and figures every `progressMs` and `figuresMs` (none for -1).
  void Configure(const std::vector<std::string>& targets, int progressMs, int figuresMs) {
    Request(1, [](Message* m) { BST_1_bll::create_req_AddAccessSpecs(m, {{10, 100, SequentialReads4k()}}, true); });
    Request(2, [&](Message* m) { BST_1_bll::create_req_AddWorkers(m, {Worker(20, 10, targets)}, true); });
    if (progressMs >= 0) Request(3, [&](Message* m) { BST_1_bll::create_req_RegisterTestStatusNotify(m, progressMs, true); });
    if (figuresMs >= 0) Request(4, [&](Message* m) { BST_1_bll::create_req_RegisterTestResults(m, figuresMs, true); });
    Take();
  }
  void Start(std::uint64_t id, unsigned long seconds) {
    Request(id, [&](Message* m) { BST_1_bll::create_req_StartTest(m, {20}, seconds, true); });
  }

  std::unique_ptr<LoopScheduler> m_scheduler;
  std::mutex m_logMutex;  // I/O and layout threads log too
  std::vector<std::string> m_log;
  std::unique_ptr<StorageFirmware> m_firmware;
  std::vector<Sent> m_sent;
};

}  // namespace storageio_port::test
