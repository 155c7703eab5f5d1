#pragma once
// CStorageIOResultsHandler and CStorageIOResultLocator: how storage results reach result views.
// The handler tells the host's result module which result types the plug-in offers and keeps the
// subscriptions; the locator finds the result objects that a subscription covers. Both are
// process-wide singletons made on first use.

#include <map>
#include <set>
#include <vector>

#include "kel/core/ResultHandler.h"
#include "kel/core/ResultLocator.h"

namespace kel {
namespace storageio {

class CStorageIOResultLocator : public core::CResultLocator {
 public:
  static CStorageIOResultLocator& Instance();
  ~CStorageIOResultLocator() override = default;

  // Walks the subscription's parent handles in order and stops at the first stale one; below each
  // parent found, appends the result objects of the subscription's class (inactive roots skipped).
  void GetResultParents(const core::ResultSubscription& subscription, framework::ScriptableVec& out) const override;
};

class CStorageIOResultsHandler : public core::CResultHandler {
 public:
  static CStorageIOResultsHandler& Instance();
  ~CStorageIOResultsHandler() override = default;

  std::string GetName() const override { return "CStorageIOResultsHandler"; }
  // Worker, discovered target, port, project and profile results, in that order.
  std::vector<core::ResultType> GetResultTypeVector() const override;
  // One-shot requests are not served by this plug-in.
  void HandleRequest(const core::ResultSpec&) override {}
  void HandleSubscribe(const core::ResultSubscription& subscription, const unsigned& id) override;
  // Keeps the removed subscription until the next update has told its listeners.
  void HandleUnsubscribe(const unsigned& id) override;
  void UpdateSubscription() override;
  // Results are not saved to a result database by this handler.
  void CollectAndSave(bool, std::set<framework::ClassId>&) override {}
  using core::CResultHandler::CollectAndSave;
  using core::CResultHandler::HandleSubscribe;
  using core::CResultHandler::UpdateSubscription;

 private:
  CStorageIOResultsHandler();

  std::map<unsigned, core::ResultSubscription> m_subscriptions;
  std::vector<core::ResultSubscription> m_pendingRemovals;
  CStorageIOResultLocator* m_locator;
};

}  // namespace storageio
}  // namespace kel
