#include "SignalWatcher.h"

#include <pthread.h>
#include <unistd.h>

#include <system_error>

#include "ExitCodes.h"

namespace storageio_cli {

namespace {

// Sent by the destructor to the watcher's own thread: not a user's signal, the end of watching.
constexpr int kStopWatching = SIGUSR2;

}  // namespace

SignalWatcher::SignalWatcher(std::function<void()> onFirst) : m_onFirst(std::move(onFirst)) {
  sigemptyset(&m_watched);
  sigaddset(&m_watched, SIGINT);
  sigaddset(&m_watched, SIGTERM);
  sigaddset(&m_watched, kStopWatching);
  if (const int failure = pthread_sigmask(SIG_BLOCK, &m_watched, &m_previousMask); failure != 0) {
    throw std::system_error(failure, std::generic_category(), "cannot block SIGINT and SIGTERM");
  }
  m_thread = std::thread([this] { Run(); });
}

SignalWatcher::~SignalWatcher() {
  pthread_kill(m_thread.native_handle(), kStopWatching);
  m_thread.join();
  pthread_sigmask(SIG_SETMASK, &m_previousMask, nullptr);
}

void SignalWatcher::Run() {
  bool signalled = false;
  for (;;) {
    int signal = 0;
    if (sigwait(&m_watched, &signal) != 0 || signal == kStopWatching) return;
    if (signalled) _exit(kExitStopped);
    signalled = true;
    m_onFirst();
  }
}

}  // namespace storageio_cli
