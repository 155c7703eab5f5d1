#pragma once
// CStorageWorkerProfile: the access spec that storage workers use (request size,
// read/write and random/sequential mix, pacing, alignment). A child of the project. It reaches a
// port through the active workers that use it; at each apply it sorts the ports it touches into
// created, modified, deleted and unchanged, and the protocol sends it accordingly. The profile
// named "DefaultLoadProfile" is the project's default profile.

#include <set>

#include "StorageIOClass.h"
#include "msg/bst_1.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace core {
class CPort;
}
namespace storageio {

class CStorageWorkerProfile : public framework::CScriptable {
  STORAGEIO_DECLARE_CLASS()

 public:
  using PortSet = std::set<core::CPort*>;

  // Handles of the ports the profile has been applied to and not yet deleted from. Handles, not
  // pointers: a port is found again through the handle registry.
  std::set<std::uint32_t> portHndSet;

  // A loaded profile named "DefaultLoadProfile" becomes the protocol's default profile again.
  bool OnLoadCompleted() override;
  // Deleting the default profile leaves the protocol without one.
  bool OnMarkDelete() override;

  // Fills the access-spec record from properties ids::props::StorageWorkerProfile::TransferRequestSize..ids::props::StorageWorkerProfile::IsDefaultProfile, in record order.
  void ToIdl(bst_1_bll::StorageWorkerProfile_s& out) const;

  // Inserts the port of every active worker in `workers` into `ports`. A worker without a parent
  // device, or a device without a port, is a broken model: CKelLogicError in the assertion form.
  void BuildNewPortSet(PortSet& ports, framework::ScriptableVec& workers);
  // Sorts the eligible ports this profile touches for one apply and returns the profile's state
  // as read on entry:
  // - deleted, or deactivated since the last apply: every port it was applied to goes to
  //   `deleted` (if eligible) and portHndSet empties;
  // - inactive otherwise: nothing;
  // - active: a port new to the profile goes to `created`; a known one by the profile's state to
  //   `created`, `modified` or `clean`; a known port no active worker uses any more goes to
  //   `deleted` and leaves portHndSet (a port that is not eligible keeps its handle).
  // A handle in portHndSet that names no port throws CKelLogicError in the assertion form.
  State ProcessConfigForCache(PortSet& created, PortSet& modified, PortSet& deleted, PortSet& clean);
};

class CStorageWorkerProfileCtorDtorHelper : public ScriptableCtorDtor<CStorageWorkerProfile> {};

}  // namespace storageio
}  // namespace kel
