#include "port/firmware/StorageFirmware.h"

#include <algorithm>
#include <random>

#include "kel/framework/Logger.h"
#include "port/firmware/test/FirmwareTest.h"

namespace storageio_port::test {
namespace {

using BST_1_bll::StatusCode_t;
using BST_1_bll::TestStatus_t;
using kel::core::RpcFrameKind;

template <class Record>
std::vector<unsigned> Keys(const std::map<unsigned, Record>& kept) {
  std::vector<unsigned> keys;
  for (const auto& entry : kept) keys.push_back(entry.first);
  return keys;
}

// ---- Bookkeeping and learn ----

TEST_F(FirmwareTest, KeepsAccessSpecsByHandle) {
  auto profile = SequentialReads4k();
  Request(1, [&](Message* m) { BST_1_bll::create_req_AddAccessSpecs(m, {{10, 100, profile}, {11, 100, profile}}, true); });
  EXPECT_EQ(StatusOf(1), StatusCode_t::Success);
  profile.TransferRequestSize = 512;
  Request(2, [&](Message* m) { BST_1_bll::create_req_UpdateAccessSpecs(m, {{10, 100, profile}, {12, 100, profile}}, true); });
  EXPECT_EQ(StatusOf(2), StatusCode_t::Success);
  EXPECT_EQ(Keys(m_firmware->AccessSpecs()), (std::vector<unsigned>{10, 11, 12}));  // an unknown update adds
  EXPECT_EQ(m_firmware->AccessSpecs().at(10).workerProfile.TransferRequestSize, 512u);

  Request(3, [](Message* m) { BST_1_bll::create_req_DeleteAccessSpecs(m, {11, 99}, true); });
  EXPECT_EQ(StatusOf(3), StatusCode_t::Success);  // 99 is unknown: no error
  EXPECT_EQ(Keys(m_firmware->AccessSpecs()), (std::vector<unsigned>{10, 12}));
  Request(4, [](Message* m) { BST_1_bll::create_req_DeleteAccessSpecs(m, {}, true); });
  EXPECT_EQ(StatusOf(4), StatusCode_t::Success);
  EXPECT_TRUE(m_firmware->AccessSpecs().empty());
}

TEST_F(FirmwareTest, KeepsWorkersByHandle) {
  Request(1, [](Message* m) { BST_1_bll::create_req_AddWorkers(m, {Worker(20, 10, {"disk0"}), Worker(21, 10, {})}, true); });
  EXPECT_EQ(StatusOf(1), StatusCode_t::Success);
  Request(2, [](Message* m) { BST_1_bll::create_req_UpdateWorkers(m, {Worker(22, 10, {}), Worker(20, 11, {"disk1"})}, true); });
  EXPECT_EQ(StatusOf(2), StatusCode_t::Success);
  EXPECT_EQ(Keys(m_firmware->Workers()), (std::vector<unsigned>{20, 21, 22}));
  EXPECT_EQ(m_firmware->Workers().at(20), Worker(20, 11, {"disk1"}));

  Request(3, [](Message* m) { BST_1_bll::create_req_DeleteWorkers(m, {5, 21}, true); });
  EXPECT_EQ(StatusOf(3), StatusCode_t::Success);
  EXPECT_EQ(Keys(m_firmware->Workers()), (std::vector<unsigned>{20, 22}));
  Request(4, [](Message* m) { BST_1_bll::create_req_DeleteWorkers(m, {}, true); });
  EXPECT_EQ(StatusOf(4), StatusCode_t::Success);
  EXPECT_TRUE(m_firmware->Workers().empty());
}

TEST_F(FirmwareTest, LearnAnswersWithTheConfiguredTargets) {
  Request(5, [](Message* m) { BST_1_bll::create_req_LearnTargets(m); });
  const std::vector<Sent> sent = Take();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].frame.id, 5u);
  StatusCode_t status = StatusCode_t::Max;
  std::vector<BST_1_bll::TargetSpec_s> learnt;
  BST_1_bll::parse_resp_LearnTargets(&sent[0].frame.message, &status, &learnt);
  EXPECT_EQ(status, StatusCode_t::Success);
  ASSERT_EQ(learnt.size(), 2u);
  EXPECT_EQ(learnt[0], (BST_1_bll::TargetSpec_s{0x8C000000u, "disk0", 32, false, 0, {512, 2'000'000, 0}, 0}));
  EXPECT_EQ(learnt[1], (BST_1_bll::TargetSpec_s{0x8A000000u, "disk1", 64, false, 0, {4096, 100'000, 0}, 0}));
}

TEST_F(FirmwareTest, EchoAndDebugSettingsSucceed) {
  Request(1, [](Message* m) { BST_1_bll::create_req_Echo(m, "ping", true); });
  EXPECT_EQ(StatusOf(1), StatusCode_t::Success);
  Request(2, [](Message* m) { BST_1_bll::create_req_SetDebugSettings(m, 1, 1, 2, 3, 4, true); });
  EXPECT_EQ(StatusOf(2), StatusCode_t::Success);
}

// ---- A test from start to end ----

TEST_F(FirmwareTest, EndsWithLastFiguresThenStartReplyThenDone100Percent) {
  Configure();
  Register(1000, 1000);
  Start(7, 3);
  EXPECT_TRUE(Take().empty());  // answered only when the workers have finished
  RunFor(3300);                 // setup 300 ms, then 3 s of recording

  const std::vector<Sent> sent = Take();
  std::vector<std::pair<std::string, std::int64_t>> seen;
  for (const Sent& s : sent) seen.emplace_back(s.Name(), s.atMs);
  const std::vector<std::pair<std::string, std::int64_t>> expected = {
      {"BST_1.TestNotification", 1000},        {"BST_1.TestResultsNotification", 1000},
      {"BST_1.TestNotification", 2000},        {"BST_1.TestResultsNotification", 2000},
      {"BST_1.TestNotification", 3000},        {"BST_1.TestResultsNotification", 3000},
      {"BST_1.TestResultsNotification", 3300}, {"BST_1.StartTest", 3300},
      {"BST_1.TestNotification", 3300}};
  EXPECT_EQ(seen, expected);
  ASSERT_EQ(sent.size(), expected.size());
  EXPECT_EQ(sent[7].frame.kind, RpcFrameKind::Reply);
  EXPECT_EQ(sent[7].frame.id, 7u);
  StatusCode_t status = StatusCode_t::Max;
  BST_1_bll::parse_resp_StartTest(&sent[7].frame.message, &status);
  EXPECT_EQ(status, StatusCode_t::Success);
  EXPECT_EQ(sent[6].frame.kind, RpcFrameKind::Notification);
  EXPECT_EQ(ProgressOf(sent[8]), TestStatus_t::Done100Percent);
  EXPECT_FALSE(m_firmware->IsTestRunning());

  RunFor(5000);
  EXPECT_TRUE(Take().empty());
}

TEST_F(FirmwareTest, ProgressGoesThroughThePhasesAndDone100PercentOnlyAtTheEnd) {
  Configure();
  Register(50, 0);
  Start(7, 1);  // phases of 100 ms, recording from 300 ms, quarters of 250 ms, end at 1300 ms
  RunFor(1300);
  std::vector<std::pair<std::int64_t, TestStatus_t>> progress;
  for (const Sent& s : Take()) {
    if (s.Name() == "BST_1.TestNotification") progress.emplace_back(s.atMs, ProgressOf(s));
  }
  ASSERT_EQ(progress.size(), 26u);  // every 50 ms while running, then the final one
  const std::vector<std::pair<std::int64_t, TestStatus_t>> samples = {
      {50, TestStatus_t::PreppingDisks},  {100, TestStatus_t::StartingTest},  {150, TestStatus_t::StartingTest},
      {200, TestStatus_t::BeginningIO},   {300, TestStatus_t::RecordingIO},   {500, TestStatus_t::RecordingIO},
      {550, TestStatus_t::Done25Percent}, {800, TestStatus_t::Done50Percent}, {1050, TestStatus_t::Done75Percent},
      {1250, TestStatus_t::Done75Percent}};
  for (const auto& sample : samples) {
    EXPECT_NE(std::find(progress.begin(), progress.end(), sample), progress.end()) << sample.first;
  }
  EXPECT_EQ(progress.back(), std::make_pair(std::int64_t{1300}, TestStatus_t::Done100Percent));
  EXPECT_EQ(std::count_if(progress.begin(), progress.end(),
                          [](const auto& p) { return p.second == TestStatus_t::Done100Percent; }),
            1);
}

TEST_F(FirmwareTest, NotifiesOnlyWhileRegisteredAndATestRuns) {
  Configure();
  Request(4, [](Message* m) { BST_1_bll::create_req_RegisterTestResults(m, 200, true); });
  EXPECT_EQ(Take().size(), 1u);  // the registration's reply
  RunFor(1000);
  EXPECT_TRUE(Take().empty());  // no test yet

  Start(7, 2);  // at 1000; ends at 3300
  RunFor(1000);
  std::vector<std::int64_t> at;
  for (const Sent& s : Take()) at.push_back(s.atMs);
  EXPECT_EQ(at, (std::vector<std::int64_t>{1200, 1400, 1600, 1800, 2000}));  // on the registration's grid

  Request(8, [](Message* m) { BST_1_bll::create_req_RegisterTestResults(m, 300, true); });  // starts over
  Take();
  RunFor(600);
  at.clear();
  for (const Sent& s : Take()) at.push_back(s.atMs);
  EXPECT_EQ(at, (std::vector<std::int64_t>{2300, 2600}));

  Request(9, [](Message* m) { BST_1_bll::create_req_DeregisterTestResults(m); });
  Take();
  RunFor(2000);
  const std::vector<Sent> sent = Take();
  ASSERT_EQ(sent.size(), 1u);  // no figures, no progress: only the start's reply
  EXPECT_EQ(sent[0].Name(), "BST_1.StartTest");
  EXPECT_EQ(sent[0].atMs, 3300);
}

TEST_F(FirmwareTest, StopRepliesToTheStartThenTheStopAndSendsNoFinalProgress) {
  Configure();
  Register(100, 100);
  Start(7, 60);
  RunFor(1000);
  Take();
  Request(8, [](Message* m) { BST_1_bll::create_req_StopTest(m); });
  const std::vector<Sent> sent = Take();
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_EQ(sent[0].frame.id, 7u);
  EXPECT_EQ(sent[0].Name(), "BST_1.StartTest");
  EXPECT_EQ(sent[1].frame.id, 8u);
  StatusCode_t status = StatusCode_t::Max;
  BST_1_bll::parse_resp_StopTest(&sent[1].frame.message, &status);
  EXPECT_EQ(status, StatusCode_t::Success);
  EXPECT_FALSE(m_firmware->IsTestRunning());
  RunFor(120000);
  EXPECT_TRUE(Take().empty());

  Request(9, [](Message* m) { BST_1_bll::create_req_StopTest(m); });  // nothing running
  EXPECT_EQ(StatusOf(9), StatusCode_t::Success);
}

TEST_F(FirmwareTest, FiguresFollowTheModelAndAreConsistent) {
  Configure({"disk0", "disk1"});
  Register(0, 500);
  Start(7, 1);
  RunFor(1300);
  std::vector<Sent> sent = Take();
  ASSERT_EQ(sent.size(), 5u);  // figures at 500 and 1000, the last ones, the reply, Done100Percent
  const Figures early = FiguresOf(sent[0]);
  const Figures last = FiguresOf(sent[2]);
  EXPECT_EQ(early.workers[0].StorageBaseResults.Result.ResultState, 1);  // active
  EXPECT_EQ(last.workers[0].StorageBaseResults.Result.ResultState, 2);   // inactive
  EXPECT_LT(early.workers[0].StorageBaseResults.AllTransactionCount, last.workers[0].StorageBaseResults.AllTransactionCount);

  ASSERT_EQ(last.workers.size(), 1u);
  ASSERT_EQ(last.targets.size(), 2u);
  EXPECT_EQ(last.workers[0].StorageBaseResults.Result.BllHandle, 20u);
  EXPECT_EQ(last.targets[0].StorageBaseResults.Result.BllHandle, 1000u);
  EXPECT_EQ(last.targets[1].StorageBaseResults.Result.BllHandle, 1001u);
  EXPECT_EQ(last.targets[1].TargetName, "disk1");

  // One read in flight per disk: a read every service time over 1 s of recording.
  const double s = ModelEngine::ServiceTimeMs(kDevice, 4096, false);
  for (const auto& target : last.targets) {
    const auto& r = target.StorageBaseResults;
    EXPECT_NEAR(static_cast<double>(r.ReadTransactionCount), 1000 / s, 1.0);
    EXPECT_NEAR(r.AvgLatency, s, 1e-9);
    EXPECT_NEAR(r.AvgMBps, r.ReadTransactionCount * 4096 / 1e6, 1e-9);
  }
  const auto& w = last.workers[0].StorageBaseResults;
  const auto& t0 = last.targets[0].StorageBaseResults;
  const auto& t1 = last.targets[1].StorageBaseResults;
  EXPECT_EQ(w.ReadTransactionCount, t0.ReadTransactionCount + t1.ReadTransactionCount);
  EXPECT_EQ(w.BytesRead, t0.BytesRead + t1.BytesRead);
  EXPECT_DOUBLE_EQ(w.MaxLatency, std::max(t0.MaxLatency, t1.MaxLatency));
  for (const auto* r : {&w, &t0, &t1}) {
    EXPECT_EQ(r->AllTransactionCount, r->ReadTransactionCount + r->WriteTransactionCount);
    EXPECT_DOUBLE_EQ(r->AvgIOPerSecond, static_cast<double>(r->AllTransactionCount));  // over 1 s
    EXPECT_DOUBLE_EQ(r->AvgMBps, (r->BytesRead + r->BytesWritten) / 1e6);
    EXPECT_DOUBLE_EQ(r->AvgTransactionLatency, r->TotalTransactionLatency / r->AllTransactionCount);
    EXPECT_GE(r->MaxLatency, r->AvgLatency);
    EXPECT_EQ(r->ConnectionCount, 0u);
  }
}

TEST_F(FirmwareTest, ARunningTestKeepsWhatItStartedWith) {
  Configure();
  Register(0, 0);
  Start(7, 1);
  Request(8, [](Message* m) { BST_1_bll::create_req_DeleteWorkers(m, {}, true); });
  Request(9, [](Message* m) { BST_1_bll::create_req_DeleteAccessSpecs(m, {}, true); });
  Take();
  RunFor(1300);
  const std::vector<Sent> sent = Take();
  ASSERT_EQ(sent.size(), 3u);
  EXPECT_GT(FiguresOf(sent[0]).workers.at(0).StorageBaseResults.AllTransactionCount, 0u);
}

// ---- What cannot be done ----

TEST_F(FirmwareTest, RefusesWhatItCannotCarryOut) {
  Configure();
  auto empty = SequentialReads4k();
  empty.TransferRequestSize = 0;
  Request(1, [&](Message* m) { BST_1_bll::create_req_AddAccessSpecs(m, {{11, 100, empty}}, true); });
  Request(2, [](Message* m) {
    BST_1_bll::create_req_AddWorkers(m, {Worker(21, 77, {"disk0"}), Worker(22, 10, {"disk9"}), Worker(23, 11, {"disk0"})}, true);
  });
  Take();

  const std::vector<std::function<void(Message*)>> refused = {
      [](Message* m) { BST_1_bll::create_req_StartTest(m, {20, 99}, 1, true); },  // unknown worker
      [](Message* m) { BST_1_bll::create_req_StartTest(m, {21}, 1, true); },      // unknown access spec
      [](Message* m) { BST_1_bll::create_req_StartTest(m, {20, 22}, 1, true); },  // a target it does not have
      [](Message* m) { BST_1_bll::create_req_StartTest(m, {23}, 1, true); },      // I/O that cannot run
      [](Message* m) { BST_1_bll::create_req_StartTest(m, {20}, StorageFirmware::kLongestTestSeconds + 1, true); },
      [](Message* m) { BST_1_bll::create_req_DoSQL(m, {"select 1"}, true); },  // a shared set's message
      [](Message* m) { m->set_request_name("Nonsense"); },
      [](Message* m) {  // a member of the wrong type
        m->set_request_name("BST_1.AddAccessSpecs");
        m->add_member(TMG_1, "accessSpecs", "none");
      },
      [](Message* m) {  // a response where a request belongs
        BST_1_bll::create_req_StopTest(m);
        m->set_msg_type(TMT_RESPONSE);
      },
  };
  std::uint64_t id = 100;
  for (const auto& build : refused) {
    Request(++id, build);
    EXPECT_EQ(StatusOf(id), StatusCode_t::Failure) << "case " << id - 100;
    EXPECT_FALSE(m_firmware->IsTestRunning());
  }
  Request(200, [](Message* m) { m->set_request_name("BST_1.LearnTargets"); m->set_msg_type(TMT_RESPONSE); });
  const std::vector<Sent> sent = Take();
  ASSERT_EQ(sent.size(), 1u);
  StatusCode_t status = StatusCode_t::Max;
  std::vector<BST_1_bll::TargetSpec_s> learnt;
  BST_1_bll::parse_resp_LearnTargets(&sent[0].frame.message, &status, &learnt);
  EXPECT_EQ(status, StatusCode_t::Failure);
  EXPECT_TRUE(learnt.empty());
}

TEST_F(FirmwareTest, RefusesASecondStartAndFinishesTheFirst) {
  Configure();
  Start(7, 1);
  Start(8, 1);
  EXPECT_EQ(StatusOf(8), StatusCode_t::Failure);
  RunFor(1300);
  const std::vector<Sent> sent = Take();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].frame.id, 7u);
}

TEST_F(FirmwareTest, HostileBytesAreDroppedNeverFatal) {
  auto log = std::make_shared<kel::framework::MemorySink>();
  kel::framework::BLLLoggerFactory::GetInstance().AddSink(log);
  Configure();

  std::mt19937 random(6);
  for (int i = 0; i < 2000; ++i) {
    std::vector<unsigned char> junk(random() % 64);
    for (unsigned char& byte : junk) byte = static_cast<unsigned char>(random());
    Frame(junk);
  }
  Message start;
  BST_1_bll::create_req_StartTest(&start, {20}, 1, true);
  const std::vector<unsigned char> frame = kel::core::EncodeFrame(RpcFrameKind::Request, 7, start);
  for (std::size_t size = 0; size < frame.size(); ++size) Frame({frame.begin(), frame.begin() + size});
  for (std::size_t at = 0; at < frame.size(); ++at) {
    std::vector<unsigned char> flipped = frame;
    flipped[at] ^= 0xA5;
    Frame(flipped);
  }
  Frame(kel::core::EncodeFrame(RpcFrameKind::Reply, 7, start));
  Frame(kel::core::EncodeFrame(RpcFrameKind::Notification, 0, start));
  // Whatever decoded as a request was refused or answered, never anything else.
  for (const Sent& s : Take()) EXPECT_EQ(s.frame.kind, RpcFrameKind::Reply);
  if (m_firmware->IsTestRunning()) {
    Request(8, [](Message* m) { BST_1_bll::create_req_StopTest(m); });
    Take();
  }

  kel::framework::BLLLoggerFactory::GetInstance().RemoveSink(log);
  const std::vector<std::string> warnings = log->Messages("storageio.port");
  EXPECT_TRUE(std::any_of(warnings.begin(), warnings.end(),
                          [](const std::string& w) { return w.rfind("Dropped ", 0) == 0; }));
  EXPECT_TRUE(log->Contains("storageio.port", "Dropped a frame of BST_1.StartTest that is not a request"));
  Request(9, [](Message* m) { BST_1_bll::create_req_Echo(m, "still here", true); });
  EXPECT_EQ(StatusOf(9), StatusCode_t::Success);
}

TEST(StorageFirmware, RefusesABadSetup) {
  TaskManagerScheduler scheduler;
  const auto sink = [](std::vector<unsigned char>) {};
  FirmwareConfig twice = TestConfig();
  twice.targets.push_back(twice.targets.front());
  EXPECT_THROW(StorageFirmware(twice, std::make_unique<ModelEngine>(ModelEngine::Config{}), scheduler, sink),
               std::invalid_argument);
  EXPECT_THROW(StorageFirmware(TestConfig(), nullptr, scheduler, sink), std::invalid_argument);
  EXPECT_THROW(StorageFirmware(TestConfig(), std::make_unique<ModelEngine>(ModelEngine::Config{}), scheduler, nullptr),
               std::invalid_argument);
}

}  // namespace
}  // namespace storageio_port::test
