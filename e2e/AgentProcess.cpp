#include "AgentProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace storageio_e2e {

namespace {

// Starts storageio with `args`; its standard output goes to `outFd` (or nowhere, -1), its
// standard error to `logFile` (or nowhere, empty).
// Everything is prepared before the fork: the child of a process with threads may only make
// system calls until it runs the program.
pid_t Spawn(const std::vector<std::string>& args, int outFd, const std::string& logFile) {
  std::vector<std::string> argv = {STORAGEIO_CLI_PATH};
  argv.insert(argv.end(), args.begin(), args.end());
  std::vector<char*> raw;
  for (std::string& arg : argv) raw.push_back(arg.data());
  raw.push_back(nullptr);
  const char* logPath = logFile.empty() ? "/dev/null" : logFile.c_str();
  const pid_t pid = ::fork();
  if (pid != 0) return pid;
  const int devNull = ::open("/dev/null", O_RDWR);
  ::dup2(outFd >= 0 ? outFd : devNull, STDOUT_FILENO);
  ::dup2(::open(logPath, O_WRONLY | O_CREAT | O_APPEND, 0644), STDERR_FILENO);
  ::execv(raw[0], raw.data());
  ::_exit(127);
}

int WaitFor(pid_t pid, int ms) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  for (;;) {
    int status = 0;
    if (::waitpid(pid, &status, WNOHANG) == pid) return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    if (std::chrono::steady_clock::now() >= deadline) return -1;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

}  // namespace

AgentProcess::AgentProcess(const std::vector<std::string>& args, std::string logFile, const std::string& listen)
    : m_logFile(std::move(logFile)) {
  int out[2];
  if (::pipe2(out, O_CLOEXEC) != 0) throw std::runtime_error("no pipe for the agent");
  std::vector<std::string> all = {"agent", "--listen", listen};
  all.insert(all.end(), args.begin(), args.end());
  m_pid = Spawn(all, out[1], m_logFile);
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
  WaitFor(m_pid, 5000);
}

void AgentProcess::Signal(int signal) const { ::kill(m_pid, signal); }

int AgentProcess::WaitForExit(int ms) {
  if (m_status < 0) m_status = WaitFor(m_pid, ms);
  return m_status;
}

std::string AgentProcess::Log() const {
  std::ifstream file(m_logFile);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

int AgentProcess::Run(const std::vector<std::string>& args) {
  const pid_t pid = Spawn(args, -1, "");
  const int status = WaitFor(pid, 10000);
  if (status < 0) ::kill(pid, SIGKILL), WaitFor(pid, 1000);
  return status;
}

}  // namespace storageio_e2e
