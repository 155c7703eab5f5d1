#pragma once
// A StorageFirmware on the host's virtual clock, driven and read as the plug-in does it: requests
// built with the BST_1_bll builders, what the firmware sends decoded and read with the BST_1_bll
// parsers. Every test starts at virtual time 0 with an empty event loop.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

#include "kel/core/RpcFrame.h"
#include "kel/framework/TaskManager.h"
#include "msg/BST_1.h"
#include "port/engines/ModelEngine.h"
#include "port/firmware/StorageFirmware.h"
#include "port/firmware/TaskManagerScheduler.h"

namespace storageio_port::test {

// What the firmware sent, and when.
struct Sent {
  kel::core::RpcFrame frame;
  std::int64_t atMs;
  const std::string& Name() const { return frame.message.get_request_name(); }
};

// Two disks; setup phases of 100 ms; devices of 100 MB/s and 1 ms.
inline FirmwareConfig TestConfig() {
  FirmwareConfig config;
  config.targets = {TargetInfo{"disk0", 512, 2'000'000, 0x8C000000u, 32},
                    TargetInfo{"disk1", 4096, 100'000, 0x8A000000u, 64}};
  config.setupStepMs = 100;
  config.pollPeriodMs = 100;
  return config;
}

inline bst_1_bll::StorageWorkerProfile_s SequentialReads4k() {
  bst_1_bll::StorageWorkerProfile_s profile;
  profile.TransferRequestSize = 4096;
  profile.PercentReadDistribution = 100;
  profile.BurstLength = 1;
  return profile;
}

inline BST_1_bll::WorkerConfig_s Worker(unsigned handle, unsigned profile, const std::vector<std::string>& targets,
                                        unsigned firstTargetHandle = 1000) {
  BST_1_bll::WorkerConfig_s worker;
  worker.handle = handle;
  worker.profileHandle = profile;
  for (const std::string& name : targets) {
    BST_1_bll::TargetSpec_s target;
    target.TargetName = name;
    target.QueueDepth = 1;
    target.BllHandle = firstTargetHandle++;
    worker.targetSpec.push_back(target);
  }
  return worker;
}

class FirmwareTest : public ::testing::Test {
 protected:
  static constexpr ModelEngine::Config kDevice{100.0, 1.0};

  void SetUp() override {
    kel::framework::CTaskManager::Instance().Reset();
    kel::framework::CTaskManager::Instance().SetClockMode(kel::framework::CTaskManager::ClockMode::Virtual);
    m_firmware = std::make_unique<StorageFirmware>(TestConfig(), std::make_unique<ModelEngine>(kDevice), m_scheduler,
                                                   [this](std::vector<unsigned char> bytes) {
                                                     m_sent.push_back(Sent{kel::core::DecodeFrame(bytes), Now()});
                                                   });
  }
  void TearDown() override {
    m_firmware.reset();
    kel::framework::CTaskManager::Instance().Reset();
  }

  static std::int64_t Now() { return kel::framework::CTaskManager::Instance().NowMs(); }
  static void RunFor(std::int64_t ms) { kel::framework::CTaskManager::Instance().RunFor(ms); }

  // Hands the firmware one request, built by `build`, as frame `id`.
  void Request(std::uint64_t id, const std::function<void(Message*)>& build) {
    Message request;
    build(&request);
    Frame(kel::core::EncodeFrame(kel::core::RpcFrameKind::Request, id, request));
  }
  void Frame(const std::vector<unsigned char>& bytes) { m_firmware->OnFrame(bytes); }

  // What was sent since the last call.
  std::vector<Sent> Take() { return std::exchange(m_sent, {}); }

  // The status of the one reply sent since the last call, which must answer `id`.
  BST_1_bll::StatusCode_t StatusOf(std::uint64_t id) {
    const std::vector<Sent> sent = Take();
    EXPECT_EQ(sent.size(), 1u);
    if (sent.size() != 1) return BST_1_bll::StatusCode_t::Max;
    EXPECT_EQ(sent[0].frame.kind, kel::core::RpcFrameKind::Reply);
    EXPECT_EQ(sent[0].frame.id, id);
    BST_1_bll::StatusCode_t status = BST_1_bll::StatusCode_t::Max;
    BST_1_bll::parse_resp_Echo(&sent[0].frame.message, &status);  // every status reply reads alike
    return status;
  }

  // Downloads access spec 10 (4 KiB sequential reads) and worker 20 on the given targets.
  void Configure(const std::vector<std::string>& targets = {"disk0"}) {
    Request(1, [](Message* m) { BST_1_bll::create_req_AddAccessSpecs(m, {{10, 100, SequentialReads4k()}}, true); });
    Request(2, [&](Message* m) { BST_1_bll::create_req_AddWorkers(m, {Worker(20, 10, targets)}, true); });
    Take();
  }
  void Register(unsigned progressMs, unsigned figuresMs) {
    Request(3, [&](Message* m) { BST_1_bll::create_req_RegisterTestStatusNotify(m, progressMs, true); });
    Request(4, [&](Message* m) { BST_1_bll::create_req_RegisterTestResults(m, figuresMs, true); });
    Take();
  }
  void Start(std::uint64_t id, unsigned long seconds, const std::vector<unsigned>& workers = {20}) {
    Request(id, [&](Message* m) { BST_1_bll::create_req_StartTest(m, workers, seconds, true); });
  }

  TaskManagerScheduler m_scheduler;
  std::unique_ptr<StorageFirmware> m_firmware;
  std::vector<Sent> m_sent;
};

inline BST_1_bll::TestStatus_t ProgressOf(const Sent& sent) {
  BST_1_bll::TestStatus_t phase = BST_1_bll::TestStatus_t::Max;
  BST_1_bll::parse_req_TestNotification(&sent.frame.message, &phase);
  return phase;
}

struct Figures {
  std::vector<bst_1_bll::StorageWorkerResults_s> workers;
  std::vector<bst_1_bll::StorageDiscoveredTargetResults_s> targets;
};

inline Figures FiguresOf(const Sent& sent) {
  Figures figures;
  BST_1_bll::parse_req_TestResultsNotification(&sent.frame.message, &figures.workers, &figures.targets);
  return figures;
}

}  // namespace storageio_port::test
