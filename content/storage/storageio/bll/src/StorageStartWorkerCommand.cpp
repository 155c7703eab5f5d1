#include "StorageStartWorkerCommand.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageStartWorkerCommand, 0x86004000)

}  // namespace storageio
}  // namespace kel
