#pragma once
// The configuration records the protocol sends to its ports, built from the model: a profile's
// access spec and a worker's configuration with a target spec per target it uses.

#include "msg/BST_1.h"
#include "kel/framework/Scriptable.h"

namespace kel {
namespace storageio {

class CStorageWorkerProfile;

// The profile's access spec: its handle, the record size the ports expect, and its properties.
BST_1_bll::AccessSpec_s AccessSpecOf(CStorageWorkerProfile& profile);

// The worker's configuration: its handle, its profile's handle, and one target spec per target it
// uses (the target's type, name and sector size; the worker's queue depth, connection rate and
// disk range; the target's handle). Throws the protocol's assertion when the worker has no
// profile or a target slot is empty.
BST_1_bll::WorkerConfig_s WorkerConfigOf(const framework::CScriptable& worker);

}  // namespace storageio
}  // namespace kel
