#pragma once
// CResultHandler: a plug-in's part in the result module. It says which result types it offers,
// keeps its clients' subscriptions and publishes changes of the result objects they cover when
// the module calls UpdateSubscription. All calls come from the business-layer thread.

#include <set>
#include <string>
#include <vector>

#include "kel/core/ResultTypes.h"

namespace kel {
namespace core {

class CResultHandler {
 public:
  virtual ~CResultHandler() = default;

  virtual std::string GetName() const = 0;
  virtual std::vector<ResultType> GetResultTypeVector() const = 0;
  // A one-shot request.
  virtual void HandleRequest(const ResultSpec& spec) = 0;
  // Keeps `subscription` under `id` (replacing an earlier one with that id).
  virtual void HandleSubscribe(const ResultSubscription& subscription, const unsigned& id) = 0;
  // The same with module flags, which the base ignores.
  virtual void HandleSubscribe(const ResultSubscription& subscription, const unsigned& id, unsigned flags);
  virtual void HandleUnsubscribe(const unsigned& id) = 0;
  // Publishes what changed to the subscribed clients.
  virtual void UpdateSubscription() = 0;
  virtual void PreUpdateSubscription() {}
  virtual void PostUpdateSubscription() {}
  // Replaces one subscription and publishes at once.
  virtual void UpdateSubscription(const ResultSubscription& subscription, const unsigned& id);
  // Saves results to the result database: everything, or the given result classes.
  virtual void CollectAndSave();
  virtual void CollectAndSave(bool endOfTest, std::set<framework::ClassId>& resultClasses) = 0;
  virtual void PauseSubscription(const unsigned& /*id*/, bool /*pause*/) {}
  // Clears results below the given objects; handlers whose protocol clears its own results keep
  // the base, which does nothing.
  virtual void ClearResults(const std::vector<unsigned>& /*handles*/, const unsigned long& /*resultClassId*/,
                            const unsigned& /*flags*/) {}
  // Appends the ports among the containers.
  virtual void GetPortsFromContainers(const framework::ScriptableVec& containers, framework::ScriptableVec& ports) const;
  // A subscription to the class of `result` below its owner; false for an object without owner.
  virtual bool BuildResultSubscriptionFromResult(const framework::CScriptable& result, ResultSubscription& out) const;
  // "<owner name>.<property name>".
  virtual std::string BuildChartSeriesName(const framework::CScriptable& result, framework::PropId property) const;
  virtual void PreProcessResultDataSetForEot(framework::ScriptableVec& /*results*/) {}
  virtual void PostProcessResultDataSetForEot(framework::ScriptableVec& /*results*/) {}
  virtual bool IsOkToChart(framework::ClassId /*resultClassId*/, framework::PropId /*property*/) const { return true; }
  virtual void UpdateRefreshViews(const std::vector<unsigned>& /*viewIds*/) {}
  virtual void RefreshView(const unsigned& /*viewId*/) {}
};

}  // namespace core
}  // namespace kel
