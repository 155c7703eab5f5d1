#include "StorageProfileResults.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageProfileResults, 0x8600b000)

}  // namespace storageio
}  // namespace kel
