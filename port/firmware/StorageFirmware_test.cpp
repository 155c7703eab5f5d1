#include "port/firmware/StorageFirmware.h"

#include <algorithm>
#include <tuple>
#include <random>

#include "port/firmware/test/FirmwareTest.h"

namespace storageio_port::test {
namespace {

using BST_1_bll::StatusCode_t;
using BST_1_bll::TestStatus_t;
using Timeline = std::vector<std::pair<std::string, std::int64_t>>;

template <class Record>
std::vector<unsigned> Keys(const std::map<unsigned, Record>& kept) {
  std::vector<unsigned> keys;
  for (const auto& entry : kept) keys.push_back(entry.first);
  return keys;
}

TestStatus_t ProgressOf(const Sent& sent) {
  TestStatus_t phase = TestStatus_t::Max;
  BST_1_bll::parse_req_TestNotification(&sent.frame.message, &phase);
  return phase;
}

std::pair<std::vector<bst_1_bll::StorageWorkerResults_s>, std::vector<bst_1_bll::StorageDiscoveredTargetResults_s>>
FiguresOf(const Sent& sent) {
  decltype(FiguresOf(sent)) figures;
  BST_1_bll::parse_req_TestResultsNotification(&sent.frame.message, &figures.first, &figures.second);
  return figures;
}

TEST_F(FirmwareTest, KeepsAccessSpecsAndWorkersByHandle) {
  const auto p = SequentialReads4k();
  const auto specs = [this] { return Keys(m_firmware->AccessSpecs()); };
  const auto workers = [this] { return Keys(m_firmware->Workers()); };
  const std::vector<std::tuple<Build, std::function<std::vector<unsigned>()>, std::vector<unsigned>>> steps = {
      {[&](Message* m) { BST_1_bll::create_req_AddAccessSpecs(m, {{10, 100, p}, {11, 100, p}}, true); }, specs, {10, 11}},
      {[&](Message* m) { BST_1_bll::create_req_UpdateAccessSpecs(m, {{12, 100, p}}, true); }, specs, {10, 11, 12}},
      {[](Message* m) { BST_1_bll::create_req_DeleteAccessSpecs(m, {11, 99}, true); }, specs, {10, 12}},
      {[](Message* m) { BST_1_bll::create_req_DeleteAccessSpecs(m, {}, true); }, specs, {}},
      {[](Message* m) { BST_1_bll::create_req_AddWorkers(m, {Worker(20, 10, {}), Worker(21, 10, {})}, true); }, workers, {20, 21}},
      {[](Message* m) { BST_1_bll::create_req_UpdateWorkers(m, {Worker(22, 10, {}), Worker(20, 11, {"disk1"})}, true); },
       workers, {20, 21, 22}},
      {[](Message* m) { BST_1_bll::create_req_DeleteWorkers(m, {5, 21}, true); }, workers, {20, 22}}};
  std::uint64_t id = 0;
  for (const auto& [request, kept, expected] : steps) {
    Request(++id, request);
    EXPECT_EQ(StatusOf(id), StatusCode_t::Success);
    EXPECT_EQ(kept(), expected) << "step " << id;
  }
  EXPECT_EQ(m_firmware->Workers().at(20), Worker(20, 11, {"disk1"}));  // the update replaced it
  Request(++id, [](Message* m) { BST_1_bll::create_req_DeleteWorkers(m, {}, true); });
  EXPECT_EQ(StatusOf(id), StatusCode_t::Success);
  EXPECT_TRUE(m_firmware->Workers().empty());
}

TEST_F(FirmwareTest, ProgressGoesThroughThePhasesThenLastFiguresStartReplyAndDone100Percent) {
  Configure({"disk0"}, 50, 1000);
  Start(7, 1);  // phases of 100 ms, recording from 300 ms, quarters of 250 ms, end at 1300 ms
  EXPECT_TRUE(Take().empty());  // answered only when the workers have finished
  RunFor(1300);
  const std::vector<Sent> sent = Take();
  std::vector<std::pair<std::int64_t, TestStatus_t>> progress;
  for (const Sent& s : sent) {
    if (s.Name() == "BST_1.TestNotification") progress.emplace_back(s.atMs, ProgressOf(s));
  }
  ASSERT_EQ(progress.size(), 26u);  // every 50 ms while running, then the final one
  for (const auto& sample : std::vector<std::pair<std::int64_t, TestStatus_t>>{
           {50, TestStatus_t::PreppingDisks}, {150, TestStatus_t::StartingTest}, {200, TestStatus_t::BeginningIO},
           {300, TestStatus_t::RecordingIO}, {550, TestStatus_t::Done25Percent}, {800, TestStatus_t::Done50Percent},
           {1050, TestStatus_t::Done75Percent}, {1250, TestStatus_t::Done75Percent}}) {
    EXPECT_NE(std::find(progress.begin(), progress.end(), sample), progress.end()) << sample.first;
  }
  // The last figures, then the answer to the start, then Done100Percent, all at the end.
  Timeline last;
  for (auto s = sent.end() - 3; s != sent.end(); ++s) last.emplace_back(s->Name(), s->atMs);
  EXPECT_EQ(last, (Timeline{{"BST_1.TestResultsNotification", 1300}, {"BST_1.StartTest", 1300},
                            {"BST_1.TestNotification", 1300}}));
  EXPECT_EQ(progress.back().second, TestStatus_t::Done100Percent);
  m_sent = {sent[sent.size() - 2]};
  EXPECT_EQ(StatusOf(7), StatusCode_t::Success);
  RunFor(5000);
  EXPECT_TRUE(Take().empty());
}

TEST_F(FirmwareTest, NotifiesOnlyWhileRegisteredAndATestRuns) {
  Configure({"disk0"}, -1, 200);
  RunFor(1000);
  EXPECT_TRUE(Take().empty());  // no test yet
  Start(7, 2);                  // at 1000, to end at 3300
  RunFor(1000);
  std::vector<std::int64_t> at;
  for (const Sent& s : Take()) at.push_back(s.atMs);
  EXPECT_EQ(at, (std::vector<std::int64_t>{1200, 1400, 1600, 1800, 2000}));  // the registration's grid
  Request(9, [](Message* m) { BST_1_bll::create_req_DeregisterTestResults(m); });
  Take();
  RunFor(2000);
  const std::vector<Sent> sent = Take();
  ASSERT_EQ(sent.size(), 1u);  // no figures, no progress: only the start's reply
  EXPECT_EQ(sent[0].Name(), "BST_1.StartTest");
}

TEST_F(FirmwareTest, StopRepliesToTheStartThenTheStopAndSendsNoFinalProgress) {
  Configure({"disk0"}, 100, 100);
  Start(7, 60);
  RunFor(1000);
  Take();
  Request(8, [](Message* m) { BST_1_bll::create_req_StopTest(m); });
  const std::vector<Sent> sent = Take();
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_EQ(std::make_pair(sent[0].frame.id, sent[0].Name()), std::make_pair(std::uint64_t{7}, std::string("BST_1.StartTest")));
  EXPECT_EQ(std::make_pair(sent[1].frame.id, sent[1].Name()), std::make_pair(std::uint64_t{8}, std::string("BST_1.StopTest")));
  RunFor(120000);
  EXPECT_TRUE(Take().empty());
  Request(9, [](Message* m) { BST_1_bll::create_req_StopTest(m); });  // nothing running
  EXPECT_EQ(StatusOf(9), StatusCode_t::Success);
}

TEST_F(FirmwareTest, FiguresFollowTheModelAndAreConsistent) {
  Configure({"disk0", "disk1"}, -1, 500);
  auto mixed = SequentialReads4k();
  mixed.PercentReadDistribution = 70;
  Request(5, [&](Message* m) { BST_1_bll::create_req_UpdateAccessSpecs(m, {{10, 100, mixed}}, true); });
  Start(7, 1);
  Request(8, [](Message* m) { BST_1_bll::create_req_DeleteWorkers(m, {}, true); });  // the test keeps its own
  RunFor(1300);
  const std::vector<Sent> sent = Take();
  ASSERT_EQ(sent.size(), 6u);  // two replies, figures at 500 and 1000, the last figures, the start's reply
  const auto early = FiguresOf(sent[2]);
  const auto [workers, targets] = FiguresOf(sent[4]);
  EXPECT_EQ(early.first.at(0).StorageBaseResults.Result.ResultState, 1);  // active
  EXPECT_LT(early.first[0].StorageBaseResults.AllTransactionCount, workers.at(0).StorageBaseResults.AllTransactionCount);
  ASSERT_EQ(targets.size(), 2u);
  const auto& w = workers[0].StorageBaseResults;
  const auto& t0 = targets[0].StorageBaseResults;
  const auto& t1 = targets[1].StorageBaseResults;
  EXPECT_EQ(w.Result, (result_1_bll::Result_s{2, 20}));  // inactive in the last figures
  EXPECT_EQ(t1.Result, (result_1_bll::Result_s{2, 1001}));
  EXPECT_EQ(targets[1].TargetName, "disk1");
  EXPECT_EQ(w.WriteTransactionCount, t0.WriteTransactionCount + t1.WriteTransactionCount);
  EXPECT_DOUBLE_EQ(w.MaxLatency, std::max(t0.MaxLatency, t1.MaxLatency));
  // One I/O in flight per disk: one every service time over 1 s of recording, 70% of them reads.
  const double s = ModelEngine::ServiceTimeMs(kDevice, 4096, false);
  EXPECT_NEAR(static_cast<double>(t0.AllTransactionCount), 1000 / s, 1.0);
  EXPECT_NEAR(static_cast<double>(t0.ReadTransactionCount), 0.7 * t0.AllTransactionCount, 1.0);
  for (const auto* r : {&w, &t0, &t1}) {  // over 1 s of recording
    EXPECT_NEAR(r->AvgLatency, s, 1e-9);
    EXPECT_EQ(r->AllTransactionCount, r->ReadTransactionCount + r->WriteTransactionCount);
    EXPECT_EQ(r->BytesWritten, r->WriteTransactionCount * 4096);
    EXPECT_DOUBLE_EQ(r->AvgIOPerSecond, static_cast<double>(r->AllTransactionCount));
    EXPECT_DOUBLE_EQ(r->AvgWriteOperationsPerSecond, static_cast<double>(r->WriteTransactionCount));
    EXPECT_DOUBLE_EQ(r->AvgMBps, (r->BytesRead + r->BytesWritten) / 1e6);
    EXPECT_DOUBLE_EQ(r->AvgMBReadPerSecond, r->BytesRead / 1e6);
    EXPECT_DOUBLE_EQ(r->TotalTransactionLatency, r->TotalReadLatency + r->TotalWriteLatency);
    EXPECT_DOUBLE_EQ(r->AvgWriteLatency, r->TotalWriteLatency / r->WriteTransactionCount);
    EXPECT_DOUBLE_EQ(r->AvgTransactionLatency, r->TotalTransactionLatency / r->AllTransactionCount);
    EXPECT_EQ(r->MaxLatency, std::max(r->MaxReadLatency, r->MaxWriteLatency));
    EXPECT_GE(r->MaxReadLatency, r->AvgReadLatency);
    EXPECT_EQ(r->ConnectionCount, 0u);
  }
}

TEST_F(FirmwareTest, AnswersWhatItCannotCarryOutWithFailure) {
  Configure({"disk0"}, -1, -1);
  auto empty = SequentialReads4k();
  empty.TransferRequestSize = 0;
  Request(1, [&](Message* m) { BST_1_bll::create_req_AddAccessSpecs(m, {{11, 100, empty}}, true); });
  Request(2, [](Message* m) {
    BST_1_bll::create_req_AddWorkers(m, {Worker(21, 77, {"disk0"}), Worker(22, 10, {"disk9"}), Worker(23, 11, {"disk0"})}, true);
  });
  Take();
  const auto start = [](std::vector<unsigned> workers, unsigned long seconds) {
    return [=](Message* m) { BST_1_bll::create_req_StartTest(m, workers, seconds, true); };
  };
  const std::vector<Build> refused = {
      start({20, 99}, 1),  // an unknown worker
      start({21}, 1),      // an unknown access spec
      start({20, 22}, 1),  // a target the port does not have
      start({23}, 1),      // I/O that cannot run
      start({20}, StorageFirmware::kLongestTestSeconds + 1),
      [](Message* m) { BST_1_bll::create_req_DoSQL(m, {"select 1"}, true); },  // a shared set's message
      [](Message* m) { m->set_request_name("Nonsense"); },
      [](Message* m) {  // a member of the wrong type
        m->set_request_name("BST_1.AddAccessSpecs");
        m->add_member(TMG_1, "accessSpecs", "none");
      },
      [](Message* m) {  // a response where a request belongs
        BST_1_bll::create_req_StopTest(m);
        m->set_msg_type(TMT_RESPONSE);
      }};
  std::uint64_t id = 100;
  for (const Build& build : refused) {
    Request(++id, build);
    EXPECT_EQ(StatusOf(id), StatusCode_t::Failure) << "case " << id - 100;
    EXPECT_FALSE(m_firmware->IsTestRunning());
  }
  Request(200, [](Message* m) { BST_1_bll::create_req_SetDebugSettings(m, 1, 1, 2, 3, 4, true); });
  EXPECT_EQ(StatusOf(200), StatusCode_t::Success);

  Start(7, 1);
  Start(8, 1);  // while the first runs
  EXPECT_EQ(StatusOf(8), StatusCode_t::Failure);
  RunFor(1300);
  const std::vector<Sent> sent = Take();
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].frame.id, 7u);
}

TEST_F(FirmwareTest, HostileBytesAreDroppedNeverFatal) {
  Configure({"disk0"}, -1, -1);
  const auto frame = [this](const std::vector<unsigned char>& bytes) { m_firmware->OnFrame(bytes); };
  std::mt19937 random(6);
  for (int i = 0; i < 2000; ++i) {
    std::vector<unsigned char> junk(random() % 64);
    for (unsigned char& byte : junk) byte = static_cast<unsigned char>(random());
    frame(junk);
  }
  Message start;
  BST_1_bll::create_req_StartTest(&start, {20}, 1, true);
  const std::vector<unsigned char> valid = EncodeFrame(RpcFrameKind::Request, 7, start);
  for (std::size_t size = 0; size < valid.size(); ++size) frame({valid.begin(), valid.begin() + size});
  for (std::size_t at = 0; at < valid.size(); ++at) {
    std::vector<unsigned char> flipped = valid;
    flipped[at] ^= 0xA5;
    frame(flipped);
  }
  frame(EncodeFrame(RpcFrameKind::Notification, 0, start));
  for (const Sent& s : Take()) EXPECT_EQ(s.frame.kind, RpcFrameKind::Reply);  // what decoded got an answer
  EXPECT_NE(std::find(m_log.begin(), m_log.end(), "Dropped a frame of BST_1.StartTest that is not a request"), m_log.end());
  EXPECT_TRUE(std::any_of(m_log.begin(), m_log.end(), [](const std::string& w) { return w.rfind("Dropped 3", 0) == 0; }));
  Request(9, [](Message* m) { BST_1_bll::create_req_Echo(m, "still here", true); });
  EXPECT_EQ(StatusOf(9), StatusCode_t::Success);
}

TEST_F(FirmwareTest, ALostHostEndsItsTestSilentlyAndLeavesNothingBehind) {
  Configure({"disk0"}, 100, 100);
  Start(7, 60);
  RunFor(1000);
  Take();
  m_firmware->ForgetHost();
  EXPECT_FALSE(m_firmware->IsTestRunning());
  EXPECT_TRUE(m_firmware->AccessSpecs().empty());
  EXPECT_TRUE(m_firmware->Workers().empty());
  RunFor(120000);
  EXPECT_TRUE(Take().empty());  // no reply, no figures, no progress
  m_firmware->EndTestNow();     // nothing to end
  EXPECT_TRUE(Take().empty());
}

}  // namespace
}  // namespace storageio_port::test
