#pragma once
// CRpcManager: requests to the ports, their replies, and the notifications ports send.
//
// - SendAsyncMessage sends a request over a port's messenger and returns its id (0..32767, so it
//   stays non-negative as a signed 16-bit value), or a negative value when the port cannot be
//   reached. The reply delegate is called later on the event loop with status 0, the reply and
//   the context; never with a null message. A time-out (ms, 0: none) or the loss of the port
//   drops a pending reply, and its delegate is not called.
// - RegisterForNotification sends a registration request and routes every notification of the
//   given name from that port to the delegate, on the event loop, as the rate policy allows;
//   the registration id is the host's. A registration that an earlier delegate of the same
//   notification deregisters, or whose receiver it destroys, gets no call from that notification.
//   DeregisterForNotification sends the deregistration request and forgets the registration; it
//   returns non-zero for an unknown id or a port that cannot be reached.
// - Frames from a port are untrusted: one that cannot be decoded is written to the developer log
//   "kel.host" and dropped. Exceptions of delegates are caught by the event loop, logged, and the
//   loop goes on.
// - Delegates do not own their objects. When a scriptable is destroyed, the members of reply and
//   notification delegates bound to it (CScriptable::HasAddress) are removed; a pending reply or
//   registration left with none is kept, receiver gone, until its reply or its next notification
//   arrives, which is then dropped with a warning in "kel.host" that names it and says its
//   receiver is gone; that also forgets the registration. Time-outs and lost ports end such
//   entries as any other, and ids are not reused while they are kept.
// Replies end a CtmYield; notifications do not (the task manager's event kinds).

#include <cstdint>
#include <map>
#include <string>

#include "kel/framework/Delegate.h"
#include "kel/framework/ScriptableDestroyObserver.h"
#include "kel/framework/TaskManager.h"
#include "tm/Message.h"

namespace kel {
namespace core {

class Messenger;

using RpcDelegate = framework::Delegate<framework::FastDelegate3<unsigned short, Message*, void*, void>>;

// How often a registration's notifications reach its delegate.
class NotificationRatePolicy {
 public:
  explicit NotificationRatePolicy(std::int64_t minIntervalMs = 0) : m_minIntervalMs(minIntervalMs) {}
  // Delivers every notification.
  static NotificationRatePolicy& GetDefaultPolicy();
  // A notification that arrives sooner than this after the last delivered one is dropped.
  std::int64_t GetMinIntervalMs() const { return m_minIntervalMs; }

 private:
  std::int64_t m_minIntervalMs;
};

class CRpcManager : private framework::CScriptableDestroyObserver {
 public:
  static CRpcManager& Instance();

  // Watches scriptables being destroyed for as long as the manager lives.
  CRpcManager();
  ~CRpcManager();
  CRpcManager(const CRpcManager&) = delete;
  CRpcManager& operator=(const CRpcManager&) = delete;

  int SendAsyncMessage(Messenger& messenger, Message& request, RpcDelegate* replyDelegate, void* context,
                       unsigned timeoutMs, bool queued);
  int RegisterForNotification(Messenger& messenger, Message& registerRequest, const std::string& notificationName,
                              RpcDelegate& delegate, void* context, int* registrationId,
                              NotificationRatePolicy& policy, bool queued);
  int DeregisterForNotification(Messenger& messenger, Message& deregisterRequest, int registrationId);

  // Host side: connects a messenger's inbound frames to this manager (the port channels call it).
  void Attach(Messenger& messenger);
  // Host side: forgets the pending replies of a lost or removed messenger; with `forgetAll` its
  // registrations too.
  void DropMessenger(const Messenger& messenger, bool forgetAll);

  std::size_t PendingReplyCount() const { return m_pending.size(); }
  std::size_t RegistrationCount() const { return m_registrations.size(); }

 private:
  struct Pending {
    const Messenger* messenger;
    RpcDelegate delegate;
    bool hasDelegate;
    void* context;
    framework::EventId timeout;
    bool receiverGone = false;
  };
  struct Registration {
    const Messenger* messenger;
    std::string name;
    RpcDelegate delegate;
    void* context;
    std::int64_t minIntervalMs;
    std::int64_t lastDeliveredMs;
    bool receiverGone = false;
  };

  int NextRequestId();
  void OnFrame(const Messenger* messenger, const std::vector<unsigned char>& bytes);
  void DeliverNotification(const Messenger* messenger, Message notification);
  void OnScriptableDestroyed(const framework::CScriptable& object) noexcept override;

  std::map<int, Pending> m_pending;
  std::map<int, Registration> m_registrations;
  int m_nextRequestId = 0;
  int m_nextRegistrationId = 0;
};

}  // namespace core
}  // namespace kel
