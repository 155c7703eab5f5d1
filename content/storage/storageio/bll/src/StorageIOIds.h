#pragma once
// The plug-in's string resources, and the short names its code uses for its relations and id
// block (the numbers come from the class descriptions, through StorageIODataModelIds.h).

#include "StorageIODataModelIds.h"
#include "kel/framework/Types.h"

namespace kel {
namespace storageio {

// Relations of a worker configuration (forward: from the worker).
constexpr framework::RelationId kWorkerToProfile = ids::relations::UsesProfile;
constexpr framework::RelationId kWorkerToTarget = ids::relations::UsesTarget;

// String resources (a space of their own, apart from relation ids).
constexpr long kResTestStatus = 0x86000001;          // "Test on Status on {1}: {2}."
constexpr long kResClearDuringTest = 0x86000002;
constexpr long kResWorkerWithoutProfile = 0x86000003;

// The plug-in's id block.
constexpr unsigned kIdBlock = ids::kIdBlock;

}  // namespace storageio
}  // namespace kel
