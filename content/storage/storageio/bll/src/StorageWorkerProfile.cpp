#include "StorageWorkerProfile.h"

#include "StorageIOProtocol.h"

namespace kel {
namespace storageio {

STORAGEIO_DEFINE_CLASS(CStorageWorkerProfile, 0x86001000)

bool CStorageWorkerProfile::OnLoadCompleted() {
  if (GetName() == kDefaultProfileName) CStorageIOProtocol::Instance()->SetDefaultProfile(this);
  return true;
}

bool CStorageWorkerProfile::OnMarkDelete() {
  if (GetName() == kDefaultProfileName && CStorageIOProtocol::s_instance != nullptr) {
    CStorageIOProtocol::s_instance->m_defaultProfile = nullptr;
  }
  return true;
}

}  // namespace storageio
}  // namespace kel
