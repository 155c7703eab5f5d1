#pragma once
// CScriptableDestroyObserver: the hook through which services of the layers above the framework
// (the RPC manager's reply and notification delegates) learn that a scriptable is going, so they
// can forget the raw pointers they keep into it. The framework does not know those services:
// they register here for as long as they live.
//
// Everything runs on the thread that destroys scriptables (the business-layer thread); nothing
// here is locked.

namespace kel {
namespace framework {

class CScriptable;

class CScriptableDestroyObserver {
 public:
  // Called from the scriptable's destructor: the parts of the object derived from CScriptable
  // are already gone, so only CScriptable's non-virtual members (HasAddress) may be used. Must
  // not throw, and must not make or destroy scriptables.
  virtual void OnScriptableDestroyed(const CScriptable& object) noexcept = 0;

 protected:
  ~CScriptableDestroyObserver() = default;
};

// Adds an observer; adding one already there changes nothing. The observer is not owned: it
// must be removed before it is destroyed.
void AddScriptableDestroyObserver(CScriptableDestroyObserver& observer);
// Removing an observer that is not there changes nothing.
void RemoveScriptableDestroyObserver(CScriptableDestroyObserver& observer);

// Host side: CScriptable's destructor tells every observer, in the order they were added.
void NotifyScriptableDestroyed(const CScriptable& object) noexcept;

}  // namespace framework
}  // namespace kel
