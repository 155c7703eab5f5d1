#include "port/transports/TaskManagerScheduler.h"

#include "kel/framework/TaskManager.h"

namespace storageio_port {

using kel::framework::CTaskManager;

std::int64_t TaskManagerScheduler::NowMs() const { return CTaskManager::Instance().NowMs(); }

Scheduler::TimerId TaskManagerScheduler::RunAfter(std::int64_t delayMs, std::function<void()> work) {
  return CTaskManager::Instance().PostAfter(delayMs, std::move(work));
}

void TaskManagerScheduler::Cancel(TimerId timer) { CTaskManager::Instance().Cancel(timer); }

void TaskManagerScheduler::PostFromAnyThread(std::function<void()> work) {
  CTaskManager::Instance().PostFromAnyThread(std::move(work), kel::framework::EventKind::Work);
}

}  // namespace storageio_port
