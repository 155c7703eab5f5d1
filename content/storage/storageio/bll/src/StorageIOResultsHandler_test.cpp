// Storage results as a result client sees them: subscribed through the host's result module,
// called back with what changed or went away.

#include "StorageIOResultsHandler.h"

#include <map>
#include <set>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "StoragePortResults.h"
#include "StorageProjectResults.h"
#include "StorageWorkerResults.h"
#include "kel/core/ResultModule.h"
#include "test/StorageIORunTest.h"

namespace kel {
namespace storageio {
namespace {

using framework::Handle;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A handle that names no object.
constexpr Handle kStale = 0x7ffffff0;

// One callback of a client, by handle.
struct Heard {
  std::vector<Handle> changed;
  std::vector<Handle> deleted;
};

class StorageIOResultsHandlerTest : public StorageIORunTest {
 protected:
  void TearDown() override {
    for (unsigned id : m_subscribed) core::CResultModule::Instance().Unsubscribe(id);
    StorageIORunTest::TearDown();
  }

  // Subscribes a client under `id` to the results of the class below the parents; what it hears
  // goes to Heard(id).
  void Subscribe(unsigned id, framework::ClassId resultClass, std::vector<unsigned> parents) {
    m_subscribed.insert(id);
    core::CResultModule::Instance().Subscribe(
        id, core::ResultSubscription(resultClass, std::move(parents)), [this, id](const core::ResultUpdate& update) {
          Heard heard{{}, update.deleted};
          for (const framework::CScriptable* object : update.changed) heard.changed.push_back(object->GetHandle());
          m_heard[id].push_back(heard);
        });
  }
  void Unsubscribe(unsigned id) {
    m_subscribed.erase(id);
    core::CResultModule::Instance().Unsubscribe(id);
  }
  // What the client heard since the last call, callback by callback.
  std::vector<Heard> HeardBy(unsigned id) { return std::exchange(m_heard[id], {}); }
  // The handles of what the client heard changed, over all callbacks since the last call.
  std::vector<Handle> ChangedFor(unsigned id) {
    std::vector<Handle> changed;
    for (const Heard& heard : HeardBy(id)) changed.insert(changed.end(), heard.changed.begin(), heard.changed.end());
    return changed;
  }

  // Two running ports, each with a worker whose statistics have arrived.
  void TwoPortsWithResults() {
    m_p1 = &MakePort("P1");
    m_p2 = &MakePort("P2");
    m_w1 = &MakeWorker(*m_p1, "W1");
    m_w2 = &MakeWorker(*m_p2, "W2");
    StartTest({m_w1, m_w2});
    SendStats(*m_p1, {RecordFor(m_w1->GetHandle(), 1)});
    SendStats(*m_p2, {RecordFor(m_w2->GetHandle(), 2)});
    m_r1 = ResultOf<CStoragePortResults>(*m_p1)->GetHandle();
    m_r2 = ResultOf<CStoragePortResults>(*m_p2)->GetHandle();
  }

  core::CPort* m_p1 = nullptr;
  core::CPort* m_p2 = nullptr;
  CStorageWorkerConfig* m_w1 = nullptr;
  CStorageWorkerConfig* m_w2 = nullptr;
  Handle m_r1 = 0;  // the ports' results
  Handle m_r2 = 0;

 private:
  std::set<unsigned> m_subscribed;
  std::map<unsigned, std::vector<Heard>> m_heard;
};

TEST_F(StorageIOResultsHandlerTest, SubscribingTwiceUnderOneIdKeepsTheSecondAndAStaleParentEndsTheParents) {
  ASSERT_EQ(&CStorageIOResultsHandler::Instance(),
            core::CResultModule::Instance().FindResultHandler("CStorageIOResultsHandler"));
  TwoPortsWithResults();
  Subscribe(7, CStoragePortResults::CLASS_ID(), {m_p1->GetHandle()});
  EXPECT_THAT(ChangedFor(7), ElementsAre(m_r1));
  Subscribe(7, CStoragePortResults::CLASS_ID(), {m_p2->GetHandle()});
  EXPECT_THAT(ChangedFor(7), ElementsAre(m_r2));

  SendStats(*m_p1, {RecordFor(m_w1->GetHandle(), 5)});
  EXPECT_THAT(ChangedFor(7), IsEmpty()) << "P1 is no longer covered";
  SendStats(*m_p2, {RecordFor(m_w2->GetHandle(), 5)});
  EXPECT_THAT(ChangedFor(7), ElementsAre(m_r2));

  // A stale handle in the parents list cuts the list there; the locator appends to what the caller
  // already has.
  Subscribe(3, CStoragePortResults::CLASS_ID(), {m_p1->GetHandle(), kStale, m_p2->GetHandle()});
  EXPECT_THAT(ChangedFor(3), ElementsAre(m_r1));
  framework::ScriptableVec found = {m_p2};
  CStorageIOResultLocator::Instance().GetResultParents(
      core::ResultSubscription(CStoragePortResults::CLASS_ID(), {m_p2->GetHandle(), kStale, m_p1->GetHandle()}), found);
  EXPECT_THAT(found, ElementsAre(m_p2, ResultOf<CStoragePortResults>(*m_p2)));
}

TEST_F(StorageIOResultsHandlerTest, UnsubscribingReportsGoneOnlyWhatNoLiveSubscriptionCovers) {
  TwoPortsWithResults();
  Subscribe(1, CStoragePortResults::CLASS_ID(), {m_p1->GetHandle(), m_p2->GetHandle()});
  Subscribe(2, CStoragePortResults::CLASS_ID(), {m_p2->GetHandle()});
  EXPECT_THAT(ChangedFor(1), ElementsAre(m_r1, m_r2));
  EXPECT_THAT(ChangedFor(2), ElementsAre(m_r2));

  Unsubscribe(1);
  core::CResultModule::Instance().Unsubscribe(99);  // an id nobody subscribed under announces nothing
  const std::vector<Heard> last = HeardBy(1);
  ASSERT_EQ(1u, last.size());
  EXPECT_THAT(last[0].deleted, ElementsAre(m_r1)) << "P2's result is still covered by subscription 2";
  EXPECT_THAT(last[0].changed, IsEmpty());
  EXPECT_THAT(HeardBy(2), IsEmpty());

  SendStats(*m_p1, {RecordFor(m_w1->GetHandle(), 5)});
  SendStats(*m_p2, {RecordFor(m_w2->GetHandle(), 5)});
  EXPECT_THAT(HeardBy(1), IsEmpty());
  EXPECT_THAT(ChangedFor(2), ElementsAre(m_r2));
}

TEST_F(StorageIOResultsHandlerTest, AClientSubscribedBeforeTheTestIsCalledBackAsStatisticsArrive) {
  core::CPort& port = MakePort("P1");
  CStorageWorkerConfig& worker = MakeWorker(port, "W1");
  Subscribe(4, CStorageProjectResults::CLASS_ID(), {project().GetHandle()});
  Subscribe(5, CStorageWorkerResults::CLASS_ID(), {worker.GetHandle()});
  EXPECT_THAT(HeardBy(4), IsEmpty());

  StartTest({&worker});
  SendStats(port, {RecordFor(worker.GetHandle(), 1)});
  const CStorageProjectResults* total = ResultOf<CStorageProjectResults>(project());
  ASSERT_NE(nullptr, total);
  EXPECT_THAT(ChangedFor(4), ElementsAre(total->GetHandle()));
  EXPECT_THAT(ChangedFor(5), ElementsAre(ResultOf<CStorageWorkerResults>(worker)->GetHandle()));

  SendStats(port, {RecordFor(worker.GetHandle(), 3)});
  EXPECT_THAT(ChangedFor(4), ElementsAre(total->GetHandle()));

  // The next test starts without the old results: the client hears they are gone.
  const Handle old = total->GetHandle();
  EndTest({&port});
  StartTest({&worker});
  std::vector<Handle> gone;
  for (const Heard& heard : HeardBy(4)) gone.insert(gone.end(), heard.deleted.begin(), heard.deleted.end());
  EXPECT_THAT(gone, ElementsAre(old));
}

}  // namespace
}  // namespace storageio
}  // namespace kel
