#pragma once
// CStorageWorkerConfig: one storage I/O worker, a protocol configuration on an emulated device.
// Its port is its device's port; it uses one profile and the discovered targets it exercises.

#include "StorageIOClass.h"
#include "kel/core/ProtocolConfig.h"

namespace kel {
namespace storageio {

class CStorageWorkerConfig : public core::CProtocolConfig {
  STORAGEIO_DECLARE_CLASS()
};

class CStorageWorkerConfigCtorDtorHelper : public ScriptableCtorDtor<CStorageWorkerConfig> {};

}  // namespace storageio
}  // namespace kel
