#pragma once
// AgentProcess: a `storageio agent` child process of a test, on a free loopback port: its bound
// endpoint, its log, signals to it and its exit status.

#include <sys/types.h>

#include <string>
#include <vector>

namespace storageio_e2e {

class AgentProcess {
 public:
  // Starts `storageio agent --listen LISTEN` with `args` after it, its log (standard error) going
  // to `logFile`, and reads the endpoint it bound from its first line of output. Throws
  // std::runtime_error when it exits or prints nothing within 10 s (the log's text is in the
  // message).
  AgentProcess(const std::vector<std::string>& args, std::string logFile,
               const std::string& listen = "tcp://127.0.0.1:0");
  // Kills the agent if it still runs.
  ~AgentProcess();
  AgentProcess(const AgentProcess&) = delete;
  AgentProcess& operator=(const AgentProcess&) = delete;

  const std::string& Endpoint() const { return m_endpoint; }
  void Signal(int signal) const;
  // Waits up to `ms` for the agent to end: its exit status, or -1 when it still runs.
  int WaitForExit(int ms);
  // What the agent has logged so far.
  std::string Log() const;

  // Runs `storageio` with `args` to its end (at most 10 s) and returns its exit status.
  static int Run(const std::vector<std::string>& args);

 private:
  std::string m_logFile;
  pid_t m_pid = -1;
  int m_status = -1;
  std::string m_endpoint;
};

}  // namespace storageio_e2e
