#pragma once
// CRpcManager: requests to the ports, their replies, and the notifications ports send.
//
// A port is reached through its messenger (CPortChannels::GetMessenger). A port that is offline,
// or whose location no transport serves (its messenger never connects), cannot be reached: a send
// to it fails at once, nothing is kept for it and no delegate is called.
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
// Every member is called on the business-layer thread, and every delegate is called there.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "kel/framework/Delegate.h"
#include "kel/framework/ScriptableDestroyObserver.h"
#include "kel/framework/TaskManager.h"
#include "tm/Message.h"

namespace kel {
namespace core {

class Messenger;

using RpcDelegate = framework::Delegate<framework::FastDelegate3<unsigned short, Message*, void*, void>>;

// How often a registration's notifications reach its delegate. A registration copies the interval
// when it is made, so a policy need not outlive RegisterForNotification.
class NotificationRatePolicy {
 public:
  explicit NotificationRatePolicy(std::int64_t minIntervalMs = 0) : m_minIntervalMs(minIntervalMs) {}
  // The process-wide policy that delivers every notification (interval 0).
  static NotificationRatePolicy& GetDefaultPolicy();
  // A notification that arrives sooner than this after the last delivered one is dropped; the
  // first one is always delivered.
  std::int64_t GetMinIntervalMs() const { return m_minIntervalMs; }

 private:
  std::int64_t m_minIntervalMs;
};

class CRpcManager : private framework::CScriptableDestroyObserver {
 public:
  // The process's one manager, made on first use; the port channels attach every messenger to it.
  static CRpcManager& Instance();

  // Watches scriptables being destroyed for as long as the manager lives.
  CRpcManager();
  ~CRpcManager();
  CRpcManager(const CRpcManager&) = delete;
  CRpcManager& operator=(const CRpcManager&) = delete;

  // Sends `request` to the messenger's port and waits for its reply without blocking.
  // - request: the caller's; it is encoded before the call returns and may be reused or destroyed
  //   at once.
  // - replyDelegate: copied, so the caller's object may go at once; null when the reply is not
  //   wanted. context: not owned, handed back to the delegate as it is.
  // - timeoutMs: 0 waits for as long as the port stays; otherwise a reply not there in time is
  //   dropped, with an error in "kel.host", and its delegate is never called. Losing the port
  //   drops the pending reply the same way, silently.
  // - queued: accepted and without effect; every request goes to the messenger at once, in call
  //   order.
  // Returns the request's id, 0..32767 (non-negative as a signed 16-bit value), or -1 when the
  // port cannot be reached or 32768 replies are pending already; then nothing is sent or kept.
  // The reply delegate is called later on the event loop, with status 0, the reply and the
  // context. The reply is never null; it belongs to the manager and lives for that call only, so
  // the delegate neither keeps nor deletes it.
  // Throws Tm_exception when the request cannot be encoded (tm_encode); the id stays pending then.
  int SendAsyncMessage(Messenger& messenger, Message& request, RpcDelegate* replyDelegate, void* context,
                       unsigned timeoutMs, bool queued);
  // Sends `registerRequest` as SendAsyncMessage does (its reply is not wanted, no time-out; the
  // request stays the caller's, `queued` has no effect) and routes every notification named
  // `notificationName` from that port to `delegate`, on the event loop, as `policy` allows.
  // - delegate: copied; context: not owned, handed back to the delegate as it is.
  // Returns 0 and writes the registration's id through `registrationId` (when not null): the
  // host's own numbering, 1 upwards, never reused. Returns -1 when the request cannot be sent (see
  // SendAsyncMessage); then nothing is kept and `*registrationId` is left as it was.
  // The registration outlives the port going offline (notifications resume when it is back) but
  // not the port's messenger being replaced or forgotten.
  // The notification handed to the delegate is never null; it belongs to the manager and lives for
  // that call only. Every registration of that name and port gets the same message in turn, in
  // registration order, so a delegate neither keeps, deletes nor changes it. A registration that
  // an earlier delegate of the same notification deregisters, or whose receiver it destroys, gets
  // no call from that notification.
  int RegisterForNotification(Messenger& messenger, Message& registerRequest, const std::string& notificationName,
                              RpcDelegate& delegate, void* context, int* registrationId,
                              NotificationRatePolicy& policy, bool queued);
  // Sends `deregisterRequest` (the caller's, as in SendAsyncMessage; its reply is not wanted) and
  // forgets the registration: returns 0. Returns non-zero, and sends nothing, for an id never
  // issued, already forgotten, or registered with another messenger. Returns non-zero too when
  // the port cannot be reached; the registration is then kept and still delivers.
  int DeregisterForNotification(Messenger& messenger, Message& deregisterRequest, int registrationId);

  // Host side: connects a messenger's inbound frames to this manager (the port channels call it
  // for every messenger they make). Replaces the messenger's receiver; frames are decoded on the
  // transport's thread and delivered on the event loop. The manager keeps only the messenger's
  // address: call DropMessenger(messenger, true) before destroying it.
  void Attach(Messenger& messenger);
  // Host side: forgets the pending replies of a lost or removed messenger, without calling their
  // delegates; with `forgetAll` its registrations too.
  void DropMessenger(const Messenger& messenger, bool forgetAll);

  // Replies still awaited, those whose receiver is gone included.
  std::size_t PendingReplyCount() const { return m_pending.size(); }
  // Registrations kept, those whose receiver is gone included.
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
  void ForgetRegistration(std::map<int, Registration>::iterator registration);
  void OnScriptableDestroyed(const framework::CScriptable& object) noexcept override;

  std::map<int, Pending> m_pending;
  std::map<int, Registration> m_registrations;
  // The ids of each messenger's registrations, oldest first: a notification only looks at those of
  // the port it came from, so delivering it costs the same with ten ports or ten thousand.
  std::map<const Messenger*, std::vector<int>> m_registrationsOf;
  int m_nextRequestId = 0;
  int m_nextRegistrationId = 0;
};

}  // namespace core
}  // namespace kel
