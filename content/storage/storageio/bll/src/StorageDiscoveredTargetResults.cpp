#include "StorageDiscoveredTargetResults.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageDiscoveredTargetResults, ids::classes::StorageDiscoveredTargetResults)

}  // namespace storageio
}  // namespace kel
