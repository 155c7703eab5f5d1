#include "StorageProjectResults.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageProjectResults, ids::classes::StorageProjectResults)

}  // namespace storageio
}  // namespace kel
