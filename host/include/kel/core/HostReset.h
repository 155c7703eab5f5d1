#pragma once
// ResetHost: every process-wide service of the host back to a fresh start, in one place: for tests,
// so that each starts where the one before it left nothing behind, and for a client that starts
// over.

#include "kel/framework/TaskManager.h"

namespace kel {
namespace core {

// In this order: clears the system's simulation and loading flags; destroys the project with everything below it (the objects' OnMarkDelete runs)
// and makes an empty one; destroys every port's messenger (the transports stay registered); clears
// the commands' statuses; drops the task manager's events and turn observers and lets waits deliver
// again; then sets `clock`. Result subscriptions and log sinks are their owners' to remove.
// Business-layer thread only.
void ResetHost(framework::CTaskManager::ClockMode clock);

}  // namespace core
}  // namespace kel
