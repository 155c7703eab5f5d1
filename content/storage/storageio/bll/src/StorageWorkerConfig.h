#pragma once
// CStorageWorkerConfig: one storage I/O worker, a protocol configuration on an emulated device.
// Its port is its device's port; it uses one profile (worker-to-profile relation) and exercises
// the discovered targets it is related to (worker-to-target relation).
//
// Dirtiness: a Clean worker becomes Modified at once when its profile or target relation changes,
// and is looked at again at the next apply when a target of its is new or modified. While a test
// runs, related targets are never queued again.

#include "StorageIOClass.h"
#include "kel/core/ProtocolConfig.h"

namespace kel {
namespace core {
class ValidationContext;
}
namespace storageio {

class CStorageWorkerConfig : public core::CProtocolConfig {
  STORAGEIO_DECLARE_CLASS()

 public:
  // Takes the protocol's default profile (unless a saved configuration is loading, which brings
  // its own relations) and sets this worker's start, stop and learn command status from whether
  // a test runs.
  bool OnInit() override;
  void OnRelationModified(framework::RelationType type, framework::CScriptable& other, bool added) override;
  void OnInterfaceUpdate(framework::CScriptable*) override {}
  bool StartProtocol() override { return true; }
  bool StopProtocol() override { return true; }

  // Appends the objects that are not Clean to `dirty`, unless a test runs.
  void AddToDirtyVec(framework::ScriptableVec& objects, framework::ScriptableVec& dirty);
  // The state with which the apply caches this worker on its port (Created, Modified, or Clean
  // for "nothing to send"); appends the worker and its changed targets to `dirty` as needed.
  State ProcessConfigForCache(framework::ScriptableVec& dirty);
  // The Clean case of ProcessConfigForCache: Modified when targets were added or removed, a
  // target is new or modified, or a new profile was related since the last apply; else Clean.
  State ProcessCleanConfig(framework::ScriptableVec& dirty);
  // True when the worker has an active profile; otherwise adds the error "StorageWorkerConfig
  // <name> does not have a profile associated with it." to `ctx`.
  bool ValidateWorker(core::ValidationContext& ctx);
};

class CStorageWorkerConfigCtorDtorHelper : public ScriptableCtorDtor<CStorageWorkerConfig> {};

}  // namespace storageio
}  // namespace kel
