#include "StorageWorkerResults.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageWorkerResults, ids::classes::StorageWorkerResults)

}  // namespace storageio
}  // namespace kel
