#include "CliProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

#include "ChildProcess.h"

namespace storageio_e2e {

CliProcess::CliProcess(const std::vector<std::string>& args, std::string errorFile)
    : m_errorFile(std::move(errorFile)) {
  int out[2];
  if (::pipe2(out, O_CLOEXEC) != 0) throw std::runtime_error("no pipe for storageio");
  m_pid = SpawnStorageio(args, out[1], m_errorFile);
  ::close(out[1]);
  m_outFd = out[0];
  m_reader = std::thread([this] {
    char chunk[4096];
    for (;;) {
      const ssize_t got = ::read(m_outFd, chunk, sizeof chunk);
      if (got <= 0) return;
      std::lock_guard<std::mutex> lock(m_mutex);
      m_output.append(chunk, static_cast<std::size_t>(got));
    }
  });
}

CliProcess::~CliProcess() {
  if (m_status < 0 && m_pid > 0) {
    ::kill(m_pid, SIGKILL);
    WaitForChild(m_pid, 5000);
  }
  m_reader.join();
  ::close(m_outFd);
}

void CliProcess::Signal(int signal) const { ::kill(m_pid, signal); }

int CliProcess::WaitForExit(int ms) {
  if (m_status < 0) m_status = WaitForChild(m_pid, ms);
  return m_status;
}

bool CliProcess::WaitForOutput(const std::string& text, int ms) const {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  while (Output().find(text) == std::string::npos) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

std::string CliProcess::Output() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_output;
}

std::string CliProcess::Errors() const { return ReadText(m_errorFile); }

}  // namespace storageio_e2e
