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

void CStorageIOResultsHandler::UpdateSubscription() { m_pendingRemovals.clear(); }

}  // namespace storageio
}  // namespace kel
