#pragma once
// TaskManagerScheduler: the Scheduler of a firmware that runs in-process, over the host's event
// loop (kel::framework::CTaskManager): its clock, real or virtual, and its timed events. It keeps
// no state; every call but PostFromAnyThread must come from the business-layer thread.

#include "port/firmware/Scheduler.h"

namespace storageio_port {

class TaskManagerScheduler : public Scheduler {
 public:
  std::int64_t NowMs() const override;
  // Throws kel::framework::CKelLogicError for a negative delay or empty work (the task manager's).
  TimerId RunAfter(std::int64_t delayMs, std::function<void()> work) override;
  void Cancel(TimerId timer) override;
  void PostFromAnyThread(std::function<void()> work) override;
};

}  // namespace storageio_port
