#include "StoragePortResults.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStoragePortResults, ids::classes::StoragePortResults)

}  // namespace storageio
}  // namespace kel
