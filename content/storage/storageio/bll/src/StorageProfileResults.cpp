#include "StorageProfileResults.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageProfileResults, ids::classes::StorageProfileResults)

}  // namespace storageio
}  // namespace kel
