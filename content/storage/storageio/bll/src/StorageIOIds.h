#pragma once
// Ids of the plug-in's relations and string resources, and of the host properties it reads.

#include "kel/framework/Types.h"

namespace kel {
namespace storageio {

// Relations of a worker configuration (forward: from the worker).
constexpr framework::RelationId kWorkerToProfile = 0x86000001;
constexpr framework::RelationId kWorkerToTarget = 0x86000002;

// String resources (a space of their own, apart from relation ids).
constexpr long kResTestStatus = 0x86000001;          // "Test on Status on {1}: {2}."
constexpr long kResClearDuringTest = 0x86000002;
constexpr long kResWorkerWithoutProfile = 0x86000003;

// The plug-in's id block.
constexpr unsigned kIdBlock = 0x86000000;

}  // namespace storageio
}  // namespace kel
