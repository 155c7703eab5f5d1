#include "kel/core/ResultModule.h"

#include <algorithm>

#include "kel/framework/Exceptions.h"
#include "kel/framework/HandleRegistry.h"
#include "kel/framework/Logger.h"
#include "kel/framework/TaskManager.h"

namespace kel {
namespace core {

using framework::CTaskManager;
using framework::Handle;

CResultModule& CResultModule::Instance() {
  static CResultModule instance;
  return instance;
}

CResultModule::CResultModule() { framework::CScriptable::SetResultObserver(&CResultModule::OnResultChange); }

void CResultModule::RegisterResultHandler(CResultHandler* handler, bool) { m_handlers.Register(handler); }

void CResultModule::UnregisterResultHandler(CResultHandler* handler) { m_handlers.Unregister(handler); }

std::vector<CResultHandler*> CResultModule::GetResultHandlers() const { return m_handlers.Entries(); }

CResultHandler* CResultModule::FindResultHandler(const std::string& name) const { return m_handlers.Find(name); }

CResultHandler* CResultModule::HandlerFor(framework::ClassId resultClassId) const {
  for (CResultHandler* handler : m_handlers.Entries()) {
    for (const ResultType& type : handler->GetResultTypeVector()) {
      if (type.resultClassId == resultClassId) return handler;
    }
  }
  return nullptr;
}

void CResultModule::Subscribe(unsigned subscriptionId, const ResultSubscription& subscription,
                              ResultCallback callback) {
  CResultHandler* handler = HandlerFor(subscription.GetResultClassId());
  if (handler == nullptr) {
    throw framework::CKelRunTimeError("No result handler offers result class " +
                                      std::to_string(subscription.GetResultClassId()));
  }
  Client& client = m_clients[subscriptionId];
  client = Client();
  client.callback = std::move(callback);
  ResultSubscription stamped = subscription;
  stamped.SetId(subscriptionId);
  handler->HandleSubscribe(stamped, subscriptionId);
  Publish(*handler);
}

void CResultModule::Unsubscribe(unsigned subscriptionId) {
  const auto client = m_clients.find(subscriptionId);
  if (client != m_clients.end()) client->second.unsubscribed = true;
  for (CResultHandler* handler : m_handlers.Entries()) handler->HandleUnsubscribe(subscriptionId);
  for (CResultHandler* handler : m_handlers.Entries()) Publish(*handler);
}

void CResultModule::NotifyObjects(unsigned subscriptionId, const std::vector<Handle>& objects) {
  const auto it = m_clients.find(subscriptionId);
  if (it == m_clients.end()) return;
  Client& client = it->second;
  for (Handle handle : objects) {
    const bool isNew = client.told.insert(handle).second;
    if (!isNew && !std::binary_search(m_changedObjects.begin(), m_changedObjects.end(), handle)) continue;
    if (framework::CScriptable* object = framework::CHandleRegistry::Instance().Find(handle)) {
      if (std::find(client.pending.changed.begin(), client.pending.changed.end(), object) ==
          client.pending.changed.end()) {
        client.pending.changed.push_back(object);
      }
    }
  }
}

void CResultModule::NotifyDeleted(unsigned subscriptionId, const std::vector<Handle>& objects) {
  const auto it = m_clients.find(subscriptionId);
  if (it == m_clients.end()) return;
  for (Handle handle : objects) {
    if (it->second.told.erase(handle) != 0) it->second.pending.deleted.push_back(handle);
  }
}

void CResultModule::Watch(unsigned subscriptionId, const std::vector<Handle>& objects) {
  const auto it = m_clients.find(subscriptionId);
  if (it != m_clients.end()) it->second.watched.insert(objects.begin(), objects.end());
}

void CResultModule::Unwatch(unsigned subscriptionId, const std::vector<Handle>& objects) {
  const auto it = m_clients.find(subscriptionId);
  if (it == m_clients.end()) return;
  for (Handle handle : objects) it->second.watched.erase(handle);
}

void CResultModule::OnResultChange(const framework::CScriptable& result, framework::ResultChange change) {
  CResultModule& module = Instance();
  CTaskManager& loop = CTaskManager::Instance();
  const bool turnQueued = module.m_publishTurn != 0 && loop.IsPending(module.m_publishTurn);
  const Handle handle = result.GetHandle();
  // A result's values are set one property after the other: once the object is recorded for the
  // queued turn, its further changes add nothing.
  if (turnQueued && change == framework::ResultChange::Changed && handle == module.m_lastChanged) return;
  module.m_changedClasses.insert(result.GetClassId());
  if (change == framework::ResultChange::Deleted) {
    module.m_deletedObjects.push_back(handle);
  } else {
    module.m_changedObjects.push_back(handle);
    module.m_lastChanged = handle;
  }
  if (!turnQueued) module.m_publishTurn = loop.Post([] { Instance().PublishChanges(); });
}

void CResultModule::SettleChanges() {
  for (std::vector<Handle>* handles : {&m_changedObjects, &m_deletedObjects}) {
    std::sort(handles->begin(), handles->end());
    handles->erase(std::unique(handles->begin(), handles->end()), handles->end());
  }
}

void CResultModule::PublishChanges() {
  m_publishTurn = 0;
  SettleChanges();
  // Watched objects that went away reach their clients whatever the handlers publish.
  for (auto& entry : m_clients) {
    Client& client = entry.second;
    for (Handle handle : m_deletedObjects) {
      if (client.watched.erase(handle) != 0 && client.told.erase(handle) != 0) client.pending.deleted.push_back(handle);
    }
  }
  for (CResultHandler* handler : m_handlers.Entries()) {
    for (const ResultType& type : handler->GetResultTypeVector()) {
      if (m_changedClasses.count(type.resultClassId) != 0) {
        handler->UpdateSubscription();
        break;
      }
    }
  }
  m_changedClasses.clear();
  m_changedObjects.clear();
  m_deletedObjects.clear();
  m_lastChanged = 0;
  DeliverPending();
}

void CResultModule::Publish(CResultHandler& handler) {
  SettleChanges();
  handler.UpdateSubscription();
  DeliverPending();
}

void CResultModule::DeliverPending() {
  std::vector<std::pair<ResultCallback, ResultUpdate>> calls;
  for (auto it = m_clients.begin(); it != m_clients.end();) {
    Client& client = it->second;
    if (!client.pending.changed.empty() || !client.pending.deleted.empty()) {
      client.pending.subscriptionId = it->first;
      calls.emplace_back(client.callback, std::move(client.pending));
      client.pending = ResultUpdate();
    }
    it = client.unsubscribed ? m_clients.erase(it) : std::next(it);
  }
  for (auto& call : calls) {
    try {
      call.first(call.second);
    } catch (const std::exception& e) {
      framework::BLLLogger* log = framework::BLLLoggerFactory::GetInstance().GetLogger("kel.host");
      if (log->IsEnabledFor(framework::LOG_LEVEL_ERROR)) {
        log->Error(std::string("Result client failed: ") + e.what(), __FILE__, __LINE__);
      }
    }
  }
}

}  // namespace core
}  // namespace kel
