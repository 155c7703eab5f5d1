#include "StorageWaitForTestCompletionCommand.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageWaitForTestCompletionCommand, ids::classes::StorageWaitForTestCompletionCommand)

}  // namespace storageio
}  // namespace kel
