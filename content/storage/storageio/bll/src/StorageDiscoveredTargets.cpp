#include "StorageDiscoveredTargets.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageDiscoveredTargets, ids::classes::StorageDiscoveredTargets)

}  // namespace storageio
}  // namespace kel
