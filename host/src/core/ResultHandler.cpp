#include "kel/core/ResultHandler.h"

#include "kel/core/Port.h"
#include "kel/framework/HostClassIds.h"

namespace kel {
namespace core {

void CResultHandler::HandleSubscribe(const ResultSubscription& subscription, const unsigned& id, unsigned) {
  HandleSubscribe(subscription, id);
}

void CResultHandler::UpdateSubscription(const ResultSubscription& subscription, const unsigned& id) {
  HandleSubscribe(subscription, id);
  UpdateSubscription();
}

void CResultHandler::CollectAndSave() {
  std::set<framework::ClassId> everything;
  CollectAndSave(false, everything);
}

void CResultHandler::GetPortsFromContainers(const framework::ScriptableVec& containers,
                                            framework::ScriptableVec& ports) const {
  for (framework::CScriptable* object : containers) {
    if (object != nullptr && object->IsTypeOf(framework::classid::Port)) ports.push_back(object);
  }
}

bool CResultHandler::BuildResultSubscriptionFromResult(const framework::CScriptable& result,
                                                       ResultSubscription& out) const {
  const framework::CScriptable* owner = result.GetParent();
  if (owner == nullptr) return false;
  out = ResultSubscription(result.GetClassId(), {owner->GetHandle()});
  return true;
}

std::string CResultHandler::BuildChartSeriesName(const framework::CScriptable& result, framework::PropId property) const {
  const framework::CScriptable* owner = result.GetParent();
  const framework::CMetaClass* meta = result.GetMetaClass();
  const int index = meta ? meta->FindPropertyIndex(property) : -1;
  const std::string name = index >= 0 ? meta->GetProperties()[static_cast<std::size_t>(index)].name : std::to_string(property);
  return (owner ? owner->GetName() : result.GetName()) + "." + name;
}

}  // namespace core
}  // namespace kel
