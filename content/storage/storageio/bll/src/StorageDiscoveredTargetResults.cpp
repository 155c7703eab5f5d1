#include "StorageDiscoveredTargetResults.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageDiscoveredTargetResults, 0x86009000)

}  // namespace storageio
}  // namespace kel
