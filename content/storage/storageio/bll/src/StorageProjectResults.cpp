#include "StorageProjectResults.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageProjectResults, 0x8600d000)

}  // namespace storageio
}  // namespace kel
