#pragma once
// CSubscriptionInfoMap: for a set of subscriptions, the result objects each one covers (found by
// a handler's locator when the map is made), and the calls through which a handler publishes them
// to the subscribed clients of the result module.
//
// - NotifyResult: each client is told of its covered objects that are new to it or changed since
//   it was last told.
// - AddAsyncNotifyResultListeners: each client watches its covered objects from now on; a watched
//   object's later changes and its deletion reach the client at the end of the event-loop turn.
// - NotifyDeleteResult: each client is told that its covered objects are gone for it.
// - RemoveAsyncNotifyResultListeners: each client stops watching its covered objects.
// - operator-=: drops every object that the other map covers (for any subscription), so that
//   objects still covered by a live subscription are not reported as gone.
// Objects are held by handle; an object destroyed meanwhile is skipped.

#include <map>
#include <vector>

#include "kel/core/ResultLocator.h"
#include "kel/core/ResultTypes.h"

namespace kel {
namespace core {

class CSubscriptionInfoMap {
 public:
  // `locator` finds each subscription's objects; the subscriptions need not outlive the map.
  CSubscriptionInfoMap(const CResultLocator* locator, const ResultSubVec& subscriptions);

  void NotifyResult() const;
  void NotifyDeleteResult() const;
  void AddAsyncNotifyResultListeners() const;
  void RemoveAsyncNotifyResultListeners() const;
  CSubscriptionInfoMap& operator-=(const CSubscriptionInfoMap& other);

  // Subscription id -> handles of the objects it covers, in the locator's order.
  const std::map<unsigned, std::vector<framework::Handle>>& Objects() const { return m_objects; }

 private:
  std::map<unsigned, std::vector<framework::Handle>> m_objects;
};

}  // namespace core
}  // namespace kel
