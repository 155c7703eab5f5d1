#pragma once
// The short names the plug-in's code uses for its relations (the numbers come from the class
// descriptions, through StorageIODataModelIds.h).

#include "StorageIODataModelIds.h"
#include "kel/framework/Types.h"

namespace kel {
namespace storageio {

// Relations of a worker configuration (forward: from the worker).
constexpr framework::RelationId kWorkerToProfile = ids::relations::UsesProfile;
constexpr framework::RelationId kWorkerToTarget = ids::relations::UsesTarget;

}  // namespace storageio
}  // namespace kel
