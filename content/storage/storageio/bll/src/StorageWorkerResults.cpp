#include "StorageWorkerResults.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageWorkerResults, 0x8600a000)

}  // namespace storageio
}  // namespace kel
