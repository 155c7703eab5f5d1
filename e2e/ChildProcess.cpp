#include "ChildProcess.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

namespace storageio_e2e {

// Everything is prepared before the fork: the child of a process with threads may only make
// system calls until it runs the program.
pid_t SpawnStorageio(const std::vector<std::string>& args, int outFd, const std::string& logFile) {
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

int WaitForChild(pid_t pid, int ms) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  for (;;) {
    int status = 0;
    if (::waitpid(pid, &status, WNOHANG) == pid) return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    if (std::chrono::steady_clock::now() >= deadline) return -1;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

std::string ReadText(const std::string& path) {
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

}  // namespace storageio_e2e
