#pragma once
// SignalWatcher: Ctrl-C (SIGINT) and SIGTERM for a command that runs on the host's event loop.
//
// The signals are blocked in the constructing thread and in every thread it starts afterwards, and
// a thread of the watcher's own takes them with sigwait, so no signal handler ever runs: the first
// signal is handed to `onFirst` on that thread (which only posts to the loop); a second one ends
// the process at once with exit code 130, for a user who does not want to wait.
//
// Construct it before any other thread is started (transports, I/O threads), so that none of them
// can take the signal instead. Destroying it stops the thread and unblocks the signals again.

#include <functional>
#include <thread>

#include <signal.h>

namespace storageio_cli {

class SignalWatcher {
 public:
  // Throws std::system_error when the signals cannot be blocked or the thread cannot start.
  explicit SignalWatcher(std::function<void()> onFirst);
  ~SignalWatcher();
  SignalWatcher(const SignalWatcher&) = delete;
  SignalWatcher& operator=(const SignalWatcher&) = delete;

 private:
  void Run();

  std::function<void()> m_onFirst;
  sigset_t m_watched;
  sigset_t m_previousMask;
  std::thread m_thread;
};

}  // namespace storageio_cli
