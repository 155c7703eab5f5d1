#include "StorageWaitForTestCompletionCommand.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageWaitForTestCompletionCommand, 0x86007000)

}  // namespace storageio
}  // namespace kel
