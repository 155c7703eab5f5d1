#include "StorageDiscoveredTargets.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageDiscoveredTargets, 0x86003000)

}  // namespace storageio
}  // namespace kel
