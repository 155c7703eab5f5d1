#include "kel/framework/ScriptableDestroyObserver.h"

#include <algorithm>
#include <vector>

namespace kel {
namespace framework {

namespace {

// Never destroyed: a scriptable may still go while the process tears its statics down.
std::vector<CScriptableDestroyObserver*>& Observers() {
  static auto* const observers = new std::vector<CScriptableDestroyObserver*>();
  return *observers;
}

}  // namespace

void AddScriptableDestroyObserver(CScriptableDestroyObserver& observer) {
  std::vector<CScriptableDestroyObserver*>& observers = Observers();
  if (std::find(observers.begin(), observers.end(), &observer) == observers.end()) observers.push_back(&observer);
}

void RemoveScriptableDestroyObserver(CScriptableDestroyObserver& observer) {
  std::vector<CScriptableDestroyObserver*>& observers = Observers();
  observers.erase(std::remove(observers.begin(), observers.end(), &observer), observers.end());
}

void NotifyScriptableDestroyed(const CScriptable& object) noexcept {
  for (CScriptableDestroyObserver* observer : Observers()) observer->OnScriptableDestroyed(object);
}

}  // namespace framework
}  // namespace kel
