#include "StorageStopWorkerCommand.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageStopWorkerCommand, 0x86006000)

}  // namespace storageio
}  // namespace kel
