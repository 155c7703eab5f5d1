#include "kel/framework/Result.h"

#include "kel/framework/HostClassIds.h"

namespace kel {
namespace framework {

namespace {
// A property belongs to the class whose id it extends; result properties are those of result classes.
bool IsResultProperty(PropId id) {
  const CMetaClass* declaring = CMetaClassManager::Instance().GetClass(id & ~0xfffu);
  return declaring != nullptr && declaring->IsTypeOf(classid::Result);
}
}  // namespace

const ClassId& CResult::CLASS_ID() {
  static const ClassId id = classid::Result;
  return id;
}

void CResult::Clear() {
  for (const PropertyDesc& desc : GetMetaClass()->GetProperties()) {
    if (IsResultProperty(desc.id)) Clear(desc.id);
  }
}

void CResult::Clear(PropId id) {
  const PropertyDesc& desc = GetDataStore().Describe(id, PropertyType::U8, false);
  StoreValue(id, desc.defaultValue);
}

void CResult::Clear(const std::vector<PropId>& ids) {
  for (PropId id : ids) Clear(id);
}

}  // namespace framework
}  // namespace kel
