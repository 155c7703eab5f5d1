#include "port/engines/IoUringEngine.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "port/firmware/MonotonicClock.h"

namespace storageio_port {

namespace {

constexpr std::uint32_t kStampEvery = 4096;

std::string ErrorText(int error) { return std::strerror(error); }

// A ring of one issuer whose completions wait for the issuer's next system call instead of
// interrupting it (the setup fio uses too). Kernels before 6.1 refuse deferring, and those before
// 5.19 cooperative task running; each is dropped in turn until the kernel takes the flags.
void SetUpRing(io_uring& ring) {
  const unsigned choices[] = {IORING_SETUP_COOP_TASKRUN | IORING_SETUP_SINGLE_ISSUER | IORING_SETUP_DEFER_TASKRUN,
                              IORING_SETUP_COOP_TASKRUN, 0};
  int result = -EINVAL;
  for (const unsigned flags : choices) {
    result = io_uring_queue_init(IoUringEngine::kRingEntries, &ring, flags);
    if (result != -EINVAL) break;
  }
  if (result < 0) throw EngineError("io_uring cannot be set up here: " + ErrorText(-result));
}

__kernel_timespec TimespecOf(double ms) {
  const auto ns = static_cast<long long>(std::max(0.0, ms) * 1e6);
  return __kernel_timespec{ns / 1'000'000'000, ns % 1'000'000'000};
}

}  // namespace

IoUringEngine::IoUringEngine() : m_buffers(static_cast<std::uint64_t>(MonotonicMs() * 1e6)) { SetUpRing(m_ring); }

IoUringEngine::~IoUringEngine() {
  // The kernel may still write into the buffers of what is in flight: wait for it first.
  try {
    while (m_inFlight > 0) {
      SubmitQueued(1, MonotonicMs() + 1000);
      TakeCompletions(0);
    }
  } catch (const EngineError&) {
    // A ring that fails now cannot be drained; tearing it down below cancels what it holds.
  }
  io_uring_queue_exit(&m_ring);
}

IoEngine::TargetHandle IoUringEngine::Open(const TargetInfo& target, bool forWrites) {
  if (!target.device) throw EngineError("Target '" + target.name + "' is a model disk, not a file or device");
  std::unique_ptr<TargetFile> file;
  try {
    file = std::make_unique<TargetFile>(OpenTarget(*target.device, OpenIntent{forWrites, target.writesAllowed}));
  } catch (const std::exception& e) {
    throw EngineError(e.what());
  }
  auto free = std::find_if(m_targets.begin(), m_targets.end(), [](const Target& t) { return !t.file; });
  if (free == m_targets.end()) free = m_targets.insert(m_targets.end(), Target{});
  free->file = std::move(file);
  free->sizeBytes = target.SizeBytes();
  free->bufferAlignment = std::max<std::size_t>(4096, target.device->directIoAlignment);
  free->inFlight = 0;
  return static_cast<TargetHandle>(free - m_targets.begin() + 1);
}

IoUringEngine::Target& IoUringEngine::TargetOf(TargetHandle handle) {
  if (handle == 0 || handle > m_targets.size() || !m_targets[handle - 1].file) {
    throw EngineError("io_uring engine has no open target " + std::to_string(handle));
  }
  return m_targets[handle - 1];
}

io_uring_sqe* IoUringEngine::NextEntry() {
  io_uring_sqe* entry = io_uring_get_sqe(&m_ring);
  if (entry != nullptr) return entry;
  SubmitQueued(0, 0);  // the queue is full: hand it over and take a fresh entry
  entry = io_uring_get_sqe(&m_ring);
  if (entry == nullptr) throw EngineError("io_uring gives no submission entry");
  return entry;
}

void IoUringEngine::Submit(TargetHandle handle, const IoRequest& request) {
  Target& target = TargetOf(handle);
  if (request.length > target.sizeBytes || request.offset > target.sizeBytes - request.length) {
    m_ready.push_back(IoCompletion{handle, request.tag, request.isRead, request.length, MonotonicMs(), 0, false});
    return;
  }
  io_uring_sqe* entry = NextEntry();
  if (m_freeSlots.empty()) {
    m_freeSlots.push_back(static_cast<std::uint32_t>(m_slots.size()));
    m_slots.emplace_back();
  }
  const std::uint32_t index = m_freeSlots.back();
  m_freeSlots.pop_back();
  Slot& slot = m_slots[index];
  slot = Slot{handle, request.tag, request.length, request.isRead, 0,
              m_buffers.Take(request.length, target.bufferAlignment, !request.isRead)};
  if (request.isRead) {
    io_uring_prep_read(entry, target.file->fd(), slot.buffer, request.length, request.offset);
  } else {
    for (std::uint32_t at = 0; at + 16 <= request.length; at += kStampEvery) {
      const std::uint64_t stamp[2] = {request.tag, request.offset + at};
      std::memcpy(slot.buffer + at, stamp, sizeof stamp);
    }
    io_uring_prep_write(entry, target.file->fd(), slot.buffer, request.length, request.offset);
  }
  io_uring_sqe_set_data64(entry, index);
  m_queued.push_back(index);
  ++target.inFlight;
  ++m_inFlight;
  if (m_queued.size() >= m_batchLimit) {
    SubmitQueued(0, 0);
    m_batchLimit = std::min(2 * m_batchLimit, kSubmitBatch);
  }
}

void IoUringEngine::SubmitQueued(unsigned waitFor, double untilMs) {
  const double nowMs = MonotonicMs();
  for (const std::uint32_t index : m_queued) m_slots[index].submittedMs = nowMs;
  m_queued.clear();
  int result;
  if (waitFor == 0) {
    result = io_uring_submit_and_get_events(&m_ring);
  } else {
    __kernel_timespec timeout = TimespecOf(untilMs - nowMs);
    io_uring_cqe* first = nullptr;
    result = io_uring_submit_and_wait_timeout(&m_ring, &first, waitFor, &timeout, nullptr);
  }
  if (result < 0 && result != -ETIME && result != -EINTR && result != -EAGAIN && result != -EBUSY) {
    throw EngineError("io_uring submission failed: " + ErrorText(-result));
  }
}

void IoUringEngine::TakeCompletions(TargetHandle dropHandle) {
  const double nowMs = MonotonicMs();
  unsigned head;
  unsigned taken = 0;
  io_uring_cqe* cqe;
  io_uring_for_each_cqe(&m_ring, head, cqe) {
    ++taken;
    const auto index = static_cast<std::uint32_t>(io_uring_cqe_get_data64(cqe));
    const Slot& slot = m_slots[index];
    Target& target = m_targets[slot.handle - 1];
    --target.inFlight;
    --m_inFlight;
    if (dropHandle == 0 || slot.handle != dropHandle) {
      const bool ok = cqe->res >= 0 && static_cast<std::uint32_t>(cqe->res) == slot.length;
      m_ready.push_back(IoCompletion{slot.handle, slot.tag, slot.isRead, slot.length, nowMs,
                                     nowMs - slot.submittedMs, ok});
    }
    m_buffers.GiveBack(slot.buffer, slot.length, target.bufferAlignment);
    m_freeSlots.push_back(index);
  }
  io_uring_cq_advance(&m_ring, taken);
}

void IoUringEngine::Reap(double untilMs, std::vector<IoCompletion>& completions) {
  m_batchLimit = 1;
  if (m_inFlight > 0) {
    SubmitQueued(m_ready.empty() ? 1 : 0, untilMs);
    TakeCompletions(0);
  } else if (m_ready.empty()) {
    const double waitMs = untilMs - MonotonicMs();
    if (waitMs > 0) std::this_thread::sleep_for(std::chrono::duration<double, std::milli>(waitMs));
  }
  completions.insert(completions.end(), m_ready.begin(), m_ready.end());
  m_ready.clear();
}

void IoUringEngine::Close(TargetHandle handle) {
  if (handle == 0 || handle > m_targets.size() || !m_targets[handle - 1].file) return;
  Target& target = m_targets[handle - 1];
  while (target.inFlight > 0) {
    SubmitQueued(1, MonotonicMs() + 1000);
    TakeCompletions(handle);
  }
  m_ready.erase(std::remove_if(m_ready.begin(), m_ready.end(),
                               [handle](const IoCompletion& c) { return c.handle == handle; }),
                m_ready.end());
  target.file.reset();
}

}  // namespace storageio_port
