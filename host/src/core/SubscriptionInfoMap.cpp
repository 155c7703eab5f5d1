#include "kel/core/SubscriptionInfoMap.h"

#include <algorithm>

#include "kel/core/ResultModule.h"
#include "kel/framework/Scriptable.h"

namespace kel {
namespace core {

CSubscriptionInfoMap::CSubscriptionInfoMap(const CResultLocator* locator, const ResultSubVec& subscriptions) {
  for (const ResultSubscription* subscription : subscriptions) {
    if (subscription == nullptr) continue;
    framework::ScriptableVec objects;
    if (locator != nullptr) locator->GetResultParents(*subscription, objects);
    std::vector<framework::Handle>& handles = m_objects[subscription->GetId()];
    for (const framework::CScriptable* object : objects) handles.push_back(object->GetHandle());
  }
}

void CSubscriptionInfoMap::NotifyResult() const {
  for (const auto& entry : m_objects) CResultModule::Instance().NotifyObjects(entry.first, entry.second);
}

void CSubscriptionInfoMap::NotifyDeleteResult() const {
  for (const auto& entry : m_objects) CResultModule::Instance().NotifyDeleted(entry.first, entry.second);
}

void CSubscriptionInfoMap::AddAsyncNotifyResultListeners() const {
  for (const auto& entry : m_objects) CResultModule::Instance().Watch(entry.first, entry.second);
}

void CSubscriptionInfoMap::RemoveAsyncNotifyResultListeners() const {
  for (const auto& entry : m_objects) CResultModule::Instance().Unwatch(entry.first, entry.second);
}

CSubscriptionInfoMap& CSubscriptionInfoMap::operator-=(const CSubscriptionInfoMap& other) {
  for (auto& entry : m_objects) {
    std::vector<framework::Handle>& handles = entry.second;
    handles.erase(std::remove_if(handles.begin(), handles.end(),
                                 [&other](framework::Handle handle) {
                                   for (const auto& covered : other.m_objects) {
                                     const auto& list = covered.second;
                                     if (std::find(list.begin(), list.end(), handle) != list.end()) return true;
                                   }
                                   return false;
                                 }),
                  handles.end());
  }
  return *this;
}

}  // namespace core
}  // namespace kel
