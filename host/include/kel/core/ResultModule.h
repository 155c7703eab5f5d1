#pragma once
// CResultModule: the registry of result handlers, and the subscriptions of result clients.
//
// How a client follows results:
//   ResultSubscription wanted(CStoragePortResults::CLASS_ID(), {portHandle});
//   CResultModule::Instance().Subscribe(42, wanted, [](const ResultUpdate& update) { ... });
// The module hands the subscription to the handler that offers its result class (an error
// otherwise) and asks the handler to publish at once: the client is called back with every
// result object the subscription covers now. From then on, when result objects of a type the
// handler offers are made, changed or deleted, the module queues one publishing turn on the event
// loop (however many changes come before it runs); in it the handler publishes again and each
// client is called back at most once, with the covered objects that are new or changed
// (`changed`, live objects) and the handles of those that went away (`deleted`). Unsubscribe publishes once more: the client hears which objects are gone for it
// (those no other live subscription covers), then nothing more. Subscribing again under an id
// replaces the earlier subscription. Callbacks run on the business-layer thread; an exception
// from one is written to the developer log "kel.host".
//
// Handlers are registered once; the module does not own them.

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "kel/core/NamedRegistry.h"
#include "kel/core/ResultHandler.h"
#include "kel/framework/Scriptable.h"
#include "kel/framework/TaskManager.h"

namespace kel {
namespace core {

struct ResultUpdate {
  unsigned subscriptionId = 0;
  framework::ScriptableVec changed;          // new or changed result objects, alive
  std::vector<framework::Handle> deleted;    // result objects gone for this client
};
using ResultCallback = std::function<void(const ResultUpdate&)>;

class CResultModule {
 public:
  static CResultModule& Instance();

  // Registering a handler already registered changes nothing; another handler with the same name
  // throws CKelLogicError; so does null. This host keeps no result database, so the request to
  // collect and save results at the end of a test (the flag) is accepted and has no effect.
  void RegisterResultHandler(CResultHandler* handler, bool saveResults);
  void UnregisterResultHandler(CResultHandler* handler);
  std::vector<CResultHandler*> GetResultHandlers() const;
  CResultHandler* FindResultHandler(const std::string& name) const;

  // See above. Subscribe throws CKelRunTimeError when no handler offers the result class.
  void Subscribe(unsigned subscriptionId, const ResultSubscription& subscription, ResultCallback callback);
  // An unknown id is passed to the handler all the same, which may announce nothing.
  void Unsubscribe(unsigned subscriptionId);

  // ---- For CSubscriptionInfoMap ----
  void NotifyObjects(unsigned subscriptionId, const std::vector<framework::Handle>& objects);
  void NotifyDeleted(unsigned subscriptionId, const std::vector<framework::Handle>& objects);
  void Watch(unsigned subscriptionId, const std::vector<framework::Handle>& objects);
  void Unwatch(unsigned subscriptionId, const std::vector<framework::Handle>& objects);

 private:
  CResultModule();
  struct Client {
    ResultCallback callback;
    std::set<framework::Handle> watched;
    std::set<framework::Handle> told;  // objects the client has been told of at least once
    ResultUpdate pending;
    bool unsubscribed = false;
  };

  static void OnResultChange(const framework::CScriptable& result, framework::ResultChange change);
  CResultHandler* HandlerFor(framework::ClassId resultClassId) const;
  // Sorts the changes of this turn so that lookups in them can bisect.
  void SettleChanges();
  void Publish(CResultHandler& handler);
  void DeliverPending();
  void PublishChanges();

  NamedRegistry<CResultHandler> m_handlers{"result handler"};
  std::map<unsigned, Client> m_clients;
  std::set<framework::ClassId> m_changedClasses;      // result classes touched this turn
  // Result objects changed and deleted this turn; appended as changes come (cheap on the hot path
  // of statistics intake), sorted and made unique when the turn publishes.
  std::vector<framework::Handle> m_changedObjects;
  std::vector<framework::Handle> m_deletedObjects;
  framework::Handle m_lastChanged = 0;                // the object m_changedObjects got last
  framework::EventId m_publishTurn = 0;  // the queued publishing turn, if any
};

}  // namespace core
}  // namespace kel
