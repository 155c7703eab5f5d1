#pragma once
// MonotonicMs: the clock of real I/O. Engines of real pace stamp submissions and completions with
// it and the worker's I/O thread times its window by it, so latencies and windows share one clock.

#include <chrono>

namespace storageio_port {

inline double MonotonicMs() {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace storageio_port
