#include "StorageLearnTargetsCommand.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageLearnTargetsCommand, 0x86005000)

}  // namespace storageio
}  // namespace kel
