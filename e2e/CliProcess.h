#pragma once
// CliProcess: a `storageio` command run by a test as a user runs it, with its standard output on a
// pipe (as when piped into another program) read as it comes, its standard error in a file, signals
// to it and its exit status.

#include <sys/types.h>

#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace storageio_e2e {

class CliProcess {
 public:
  // Starts `storageio` with `args`; its standard error goes to `errorFile`. Throws
  // std::runtime_error when no pipe can be made.
  CliProcess(const std::vector<std::string>& args, std::string errorFile);
  // Kills the process if it still runs.
  ~CliProcess();
  CliProcess(const CliProcess&) = delete;
  CliProcess& operator=(const CliProcess&) = delete;

  void Signal(int signal) const;
  // Waits up to `ms` for the process to end: its exit status, or -1 when it still runs.
  int WaitForExit(int ms);
  // Waits up to `ms` until the output holds `text`; whether it does.
  bool WaitForOutput(const std::string& text, int ms) const;
  // What it wrote so far.
  std::string Output() const;
  std::string Errors() const;

 private:
  std::string m_errorFile;
  pid_t m_pid = -1;
  int m_status = -1;
  int m_outFd = -1;
  mutable std::mutex m_mutex;
  std::string m_output;
  std::thread m_reader;
};

}  // namespace storageio_e2e
