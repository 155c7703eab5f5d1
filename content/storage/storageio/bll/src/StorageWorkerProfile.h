#pragma once
// CStorageWorkerProfile: an access specification that storage workers use (request size,
// read/write and random/sequential mix, pacing, alignment). A child of the project. The profile
// named "DefaultLoadProfile" is the project's default profile.

#include "StorageIOClass.h"

namespace kel {
namespace storageio {

class CStorageWorkerProfile : public framework::CScriptable {
  STORAGEIO_DECLARE_CLASS()

 public:
  // A loaded profile named "DefaultLoadProfile" becomes the protocol's default profile again.
  bool OnLoadCompleted() override;
  // Deleting the default profile leaves the protocol without one.
  bool OnMarkDelete() override;
};

class CStorageWorkerProfileCtorDtorHelper : public ScriptableCtorDtor<CStorageWorkerProfile> {};

}  // namespace storageio
}  // namespace kel
