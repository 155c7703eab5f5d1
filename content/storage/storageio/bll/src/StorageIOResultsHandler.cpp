#include "StorageIOResultsHandler.h"

#include "StorageDiscoveredTargetResults.h"
#include "StorageDiscoveredTargets.h"
#include "StoragePortResults.h"
#include "StorageProfileResults.h"
#include "StorageProjectResults.h"
#include "StorageWorkerConfig.h"
#include "StorageWorkerProfile.h"
#include "StorageWorkerResults.h"
#include "kel/core/Port.h"
#include "kel/core/SubscriptionInfoMap.h"
#include "kel/framework/HandleRegistry.h"
#include "kel/framework/Project.h"
#include "kel/framework/ScriptableLocator.h"

namespace kel {
namespace storageio {

CStorageIOResultLocator& CStorageIOResultLocator::Instance() {
  static CStorageIOResultLocator instance;
  return instance;
}

void CStorageIOResultLocator::GetResultParents(const core::ResultSubscription& subscription,
                                               framework::ScriptableVec& out) const {
  framework::ScriptableVec parents;
  for (unsigned handle : subscription.GetParentHandles()) {
    framework::CScriptable* parent = framework::CHandleRegistry::Instance().Find(handle);
    if (parent == nullptr) break;
    parents.push_back(parent);
  }
  for (const framework::CScriptable* parent : parents) {
    framework::CScriptableLocator::Instance().GetObjectsEx(out, subscription.GetResultClassId(), parent,
                                                            framework::FILTER_INACTIVE_ROOTS);
  }
}

CStorageIOResultsHandler& CStorageIOResultsHandler::Instance() {
  static CStorageIOResultsHandler instance;
  return instance;
}

CStorageIOResultsHandler::CStorageIOResultsHandler() : m_locator(&CStorageIOResultLocator::Instance()) {}

std::vector<core::ResultType> CStorageIOResultsHandler::GetResultTypeVector() const {
  return {
      {CStorageWorkerConfig::CLASS_ID(), CStorageWorkerResults::CLASS_ID()},
      {CStorageDiscoveredTargets::CLASS_ID(), CStorageDiscoveredTargetResults::CLASS_ID()},
      {core::CPort::CLASS_ID(), CStoragePortResults::CLASS_ID()},
      {framework::CProject::CLASS_ID(), CStorageProjectResults::CLASS_ID()},
      {CStorageWorkerProfile::CLASS_ID(), CStorageProfileResults::CLASS_ID()},
  };
}

void CStorageIOResultsHandler::HandleSubscribe(const core::ResultSubscription& subscription, const unsigned& id) {
  m_subscriptions[id] = subscription;
}

void CStorageIOResultsHandler::HandleUnsubscribe(const unsigned& id) {
  m_pendingRemovals.push_back(m_subscriptions[id]);
  m_subscriptions.erase(id);
}

void CStorageIOResultsHandler::UpdateSubscription() {
  core::ResultSubVec live;
  for (const auto& entry : m_subscriptions) live.push_back(&entry.second);
  core::ResultSubVec removed;
  for (const core::ResultSubscription& subscription : m_pendingRemovals) removed.push_back(&subscription);
  const core::CSubscriptionInfoMap liveMap(m_locator, live);
  core::CSubscriptionInfoMap removedMap(m_locator, removed);
  // Objects a live subscription still covers are not gone for anyone.
  removedMap -= liveMap;
  liveMap.NotifyResult();
  liveMap.AddAsyncNotifyResultListeners();
  removedMap.NotifyDeleteResult();
  removedMap.RemoveAsyncNotifyResultListeners();
  m_pendingRemovals.clear();
}

}  // namespace storageio
}  // namespace kel
