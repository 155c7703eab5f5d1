#include "StorageWorkerConfig.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageWorkerConfig, 0x86002000)

}  // namespace storageio
}  // namespace kel
