#include "AgentProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

#include "ChildProcess.h"

namespace storageio_e2e {

AgentProcess::AgentProcess(const std::vector<std::string>& args, std::string logFile, const std::string& listen)
    : m_logFile(std::move(logFile)) {
  int out[2];
  if (::pipe2(out, O_CLOEXEC) != 0) throw std::runtime_error("no pipe for the agent");
  std::vector<std::string> all = {"agent", "--listen", listen};
  all.insert(all.end(), args.begin(), args.end());
  m_pid = SpawnStorageio(all, out[1], m_logFile);
  ::close(out[1]);
  std::string line;
  pollfd ready{out[0], POLLIN, 0};
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  char c = 0;
  while (line.find('\n') == std::string::npos && std::chrono::steady_clock::now() < deadline) {
    if (::poll(&ready, 1, 100) > 0) {
      if (::read(out[0], &c, 1) != 1) break;
      line += c;
    }
  }
  ::close(out[0]);
  if (line.empty() || line.back() != '\n') {
    throw std::runtime_error("the agent did not start: " + Log());
  }
  m_endpoint = line.substr(0, line.size() - 1);
}

AgentProcess::~AgentProcess() {
  if (m_status >= 0 || m_pid <= 0) return;
  ::kill(m_pid, SIGKILL);
  WaitForChild(m_pid, 5000);
}

void AgentProcess::Signal(int signal) const { ::kill(m_pid, signal); }

int AgentProcess::WaitForExit(int ms) {
  if (m_status < 0) m_status = WaitForChild(m_pid, ms);
  return m_status;
}

std::string AgentProcess::Log() const { return ReadText(m_logFile); }

int AgentProcess::Run(const std::vector<std::string>& args) {
  const pid_t pid = SpawnStorageio(args, -1, "");
  const int status = WaitForChild(pid, 10000);
  if (status < 0) ::kill(pid, SIGKILL), WaitForChild(pid, 1000);
  return status;
}

}  // namespace storageio_e2e
