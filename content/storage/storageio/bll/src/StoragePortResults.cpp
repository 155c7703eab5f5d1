#include "StoragePortResults.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStoragePortResults, 0x8600c000)

}  // namespace storageio
}  // namespace kel
