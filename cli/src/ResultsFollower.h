#pragma once
// Follows the storage results of the active project through the host's result module, as any
// result view does, and keeps what it was told as plain records: one per result object, plus a
// time series of every change. Tables and exports work on these records only, never on the
// objects, so a result object the plug-in deletes (a lost port's targets) keeps its last values.

#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "ResultRecord.h"
#include "kel/core/ResultModule.h"

namespace storageio_cli {

class ResultsFollower {
 public:
  // Subscribes below the active project to the five storage result classes (by class name); the
  // result module calls back at once with the objects there are already. `onUpdate`, when given,
  // is called after each callback of the result module (not during destruction); it must not
  // destroy this follower. Throws std::runtime_error when the plug-in is not loaded, and the
  // host's CKelRunTimeError when the plug-in offers none of a result class.
  //
  // Subscription ids: each follower takes the next five ids of a process-wide counter starting
  // at 9000, a range no other client of the result module in this program uses.
  explicit ResultsFollower(std::function<void()> onUpdate = {});
  // Unsubscribes; nothing is called back after that.
  ~ResultsFollower();
  ResultsFollower(const ResultsFollower&) = delete;
  ResultsFollower& operator=(const ResultsFollower&) = delete;

  // Series times are relative to this loop time (CTaskManager::NowMs(), the start of the test);
  // by default the time the follower was made. Applies to later points only.
  void SetOrigin(std::int64_t loopMs);

  // Ordered by level (project, port, profile, worker, target), then by first sight.
  const std::vector<ResultRecord>& Records() const { return m_records; }
  // One point per changed object and callback, in the order they were told.
  const std::vector<SeriesPoint>& Series() const { return m_series; }

 private:
  void UnsubscribeAll();
  void OnUpdate(ResultLevel level, const kel::core::ResultUpdate& update);
  // The record of a result object, made at the end of its level when it is new.
  ResultRecord& RecordFor(ResultLevel level, const kel::framework::CScriptable& result);

  std::function<void()> m_onUpdate;
  std::int64_t m_originMs;
  unsigned m_firstSubscriptionId;
  unsigned m_subscriptionCount = 0;
  bool m_closing = false;
  std::vector<ResultRecord> m_records;
  std::map<kel::framework::Handle, std::size_t> m_recordIndex;  // result handle -> place in m_records
  std::vector<SeriesPoint> m_series;
};

}  // namespace storageio_cli
