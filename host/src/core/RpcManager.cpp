#include "kel/core/RpcManager.h"

#include <algorithm>
#include <memory>

#include "kel/core/Messenger.h"
#include "tm/RpcFrame.h"
#include "kel/framework/Logger.h"
#include "kel/framework/Scriptable.h"
#include "tm/Tm_exception.h"

namespace kel {
namespace core {

using framework::CTaskManager;
using framework::EventKind;

namespace {

constexpr int kRequestIdLimit = 32768;  // ids stay non-negative as signed 16-bit values

void LogHostError(const std::string& text) {
  framework::BLLLogger* log = framework::BLLLoggerFactory::GetInstance().GetLogger("kel.host");
  if (log->IsEnabledFor(framework::LOG_LEVEL_ERROR)) log->Error(text, __FILE__, __LINE__);
}

// `what` names a reply or notification whose delegate's objects were all destroyed.
void LogReceiverGone(const std::string& what) {
  framework::BLLLogger* log = framework::BLLLoggerFactory::GetInstance().GetLogger("kel.host");
  if (log->IsEnabledFor(framework::LOG_LEVEL_WARN)) {
    log->Warn(what + " dropped: its receiver is gone", __FILE__, __LINE__);
  }
}

}  // namespace

NotificationRatePolicy& NotificationRatePolicy::GetDefaultPolicy() {
  static NotificationRatePolicy policy(0);
  return policy;
}

CRpcManager& CRpcManager::Instance() {
  static CRpcManager instance;
  return instance;
}

CRpcManager::CRpcManager() { framework::AddScriptableDestroyObserver(*this); }

CRpcManager::~CRpcManager() { framework::RemoveScriptableDestroyObserver(*this); }

int CRpcManager::NextRequestId() {
  for (int tries = 0; tries < kRequestIdLimit; ++tries) {
    const int id = m_nextRequestId;
    m_nextRequestId = (m_nextRequestId + 1) % kRequestIdLimit;
    if (m_pending.count(id) == 0) return id;
  }
  return -1;
}

int CRpcManager::SendAsyncMessage(Messenger& messenger, Message& request, RpcDelegate* replyDelegate, void* context,
                                  unsigned timeoutMs, bool) {
  if (!messenger.IsConnected()) return -1;
  const int id = NextRequestId();
  if (id < 0) return -1;
  Pending pending{&messenger, replyDelegate ? *replyDelegate : RpcDelegate(), replyDelegate != nullptr, context, 0};
  if (timeoutMs > 0) {
    pending.timeout = CTaskManager::Instance().PostAfter(timeoutMs, [this, id] {
      if (m_pending.erase(id) != 0) LogHostError("No reply to request " + std::to_string(id) + " in time; dropped");
    });
  }
  m_pending.emplace(id, std::move(pending));
  messenger.Send(EncodeFrame(RpcFrameKind::Request, static_cast<std::uint64_t>(id), request));
  return id;
}

int CRpcManager::RegisterForNotification(Messenger& messenger, Message& registerRequest,
                                         const std::string& notificationName, RpcDelegate& delegate, void* context,
                                         int* registrationId, NotificationRatePolicy& policy, bool queued) {
  if (SendAsyncMessage(messenger, registerRequest, nullptr, nullptr, 0, queued) < 0) return -1;
  const int id = ++m_nextRegistrationId;
  m_registrations[id] = Registration{&messenger, notificationName, delegate, context, policy.GetMinIntervalMs(), -1};
  m_registrationsOf[&messenger].push_back(id);
  if (registrationId != nullptr) *registrationId = id;
  return 0;
}

int CRpcManager::DeregisterForNotification(Messenger& messenger, Message& deregisterRequest, int registrationId) {
  const auto it = m_registrations.find(registrationId);
  if (it == m_registrations.end() || it->second.messenger != &messenger) return 1;
  if (SendAsyncMessage(messenger, deregisterRequest, nullptr, nullptr, 0, true) < 0) return 1;
  ForgetRegistration(it);
  return 0;
}

void CRpcManager::ForgetRegistration(std::map<int, Registration>::iterator registration) {
  const auto of = m_registrationsOf.find(registration->second.messenger);
  if (of != m_registrationsOf.end()) {
    std::vector<int>& ids = of->second;
    ids.erase(std::remove(ids.begin(), ids.end(), registration->first), ids.end());
    if (ids.empty()) m_registrationsOf.erase(of);
  }
  m_registrations.erase(registration);
}

void CRpcManager::Attach(Messenger& messenger) {
  const Messenger* source = &messenger;
  messenger.SetReceiver([this, source](std::vector<unsigned char> bytes) { OnFrame(source, bytes); });
}

void CRpcManager::DropMessenger(const Messenger& messenger, bool forgetAll) {
  for (auto it = m_pending.begin(); it != m_pending.end();) {
    if (it->second.messenger != &messenger) {
      ++it;
      continue;
    }
    if (it->second.timeout != 0) CTaskManager::Instance().Cancel(it->second.timeout);
    it = m_pending.erase(it);
  }
  if (!forgetAll) return;
  const auto of = m_registrationsOf.find(&messenger);
  if (of == m_registrationsOf.end()) return;
  for (int id : of->second) m_registrations.erase(id);
  m_registrationsOf.erase(of);
}

// Runs on the transport's thread: decode here, deliver on the event loop.
void CRpcManager::OnFrame(const Messenger* messenger, const std::vector<unsigned char>& bytes) {
  std::shared_ptr<RpcFrame> frame;
  try {
    frame = std::make_shared<RpcFrame>(DecodeFrame(bytes));
  } catch (const Tm_exception& e) {
    LogHostError("Dropped a frame from " + messenger->GetEndpoint() + ": " + e.what());
    return;
  }
  switch (frame->kind) {
    case RpcFrameKind::Reply:
      CTaskManager::Instance().PostFromAnyThread(
          [this, messenger, frame] {
            const auto it = m_pending.find(static_cast<int>(frame->id));
            if (frame->id >= static_cast<std::uint64_t>(kRequestIdLimit) || it == m_pending.end() ||
                it->second.messenger != messenger) {
              return;  // timed out, dropped with its port, or never asked
            }
            Pending pending = std::move(it->second);
            m_pending.erase(it);
            if (pending.timeout != 0) CTaskManager::Instance().Cancel(pending.timeout);
            if (pending.receiverGone) {
              LogReceiverGone("Reply " + frame->message.get_request_name() + " to request " +
                              std::to_string(frame->id));
            } else if (pending.hasDelegate) {
              pending.delegate(static_cast<unsigned short>(0), &frame->message, pending.context);
            }
          },
          EventKind::Reply);
      break;
    case RpcFrameKind::Notification:
      CTaskManager::Instance().PostFromAnyThread([this, messenger, frame] { DeliverNotification(messenger, frame->message); },
                                                 EventKind::Notification);
      break;
    case RpcFrameKind::Request:
      LogHostError("Dropped a request frame from " + messenger->GetEndpoint() + ": ports do not send requests");
      break;
  }
}

void CRpcManager::DeliverNotification(const Messenger* messenger, Message notification) {
  const std::int64_t now = CTaskManager::Instance().NowMs();
  const auto of = m_registrationsOf.find(messenger);
  if (of == m_registrationsOf.end()) return;
  std::vector<int> targets;
  for (int id : of->second) {
    Registration& registration = m_registrations.at(id);
    if (registration.name != notification.get_request_name()) continue;
    if (registration.receiverGone) {
      targets.push_back(id);  // dropped below, with its log line
      continue;
    }
    if (registration.lastDeliveredMs >= 0 && now - registration.lastDeliveredMs < registration.minIntervalMs) continue;
    registration.lastDeliveredMs = now;
    targets.push_back(id);
  }
  // A delegate may deregister registrations, or destroy their receivers, while we go: each is
  // looked up again before its call, and called through a copy since it may deregister itself.
  for (int id : targets) {
    const auto it = m_registrations.find(id);
    if (it == m_registrations.end()) continue;
    if (it->second.receiverGone) {
      LogReceiverGone("Notification " + it->second.name);
      ForgetRegistration(it);
      continue;
    }
    const Registration registration = it->second;
    registration.delegate(static_cast<unsigned short>(0), &notification, registration.context);
  }
}

void CRpcManager::OnScriptableDestroyed(const framework::CScriptable& object) noexcept {
  // A delegate keeps the pointer it was bound with: the binding class's `this` (the plug-in's
  // commands bind MakeDelegate(this, ...)), which is not the scriptable part's address when
  // another base comes first. HasAddress matches it whichever class of the object bound it.
  // Members bound to living objects stay and are still called.
  const auto boundToObject = [&object](const void* address) { return object.HasAddress(address); };
  for (auto& entry : m_pending) {
    Pending& pending = entry.second;
    if (pending.delegate.RemoveBoundTo(boundToObject) > 0 && pending.delegate.Empty()) {
      pending.receiverGone = true;
    }
  }
  for (auto& entry : m_registrations) {
    Registration& registration = entry.second;
    if (registration.delegate.RemoveBoundTo(boundToObject) > 0 && registration.delegate.Empty()) {
      registration.receiverGone = true;
    }
  }
}

}  // namespace core
}  // namespace kel
