#include "StorageBaseResults.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageBaseResults, ids::classes::StorageBaseResults)

framework::CScriptable* CStorageBaseResultsCtorDtorHelper::Ctor() {
  throw framework::CKelLogicError("Trying to create an abstract class : CStorageBaseResults");
}

void CStorageBaseResults::ResetResults() {
  for (framework::PropId id = kFirstCounter; id <= kLastCounter; ++id) Set(id, 0UL);
  for (framework::PropId id = kFirstDouble; id <= kLastDouble; ++id) Set(id, 0.0);
}

}  // namespace storageio
}  // namespace kel
