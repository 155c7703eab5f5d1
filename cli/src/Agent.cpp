#include "Agent.h"

#include <csignal>
#include <ctime>
#include <iostream>
#include <mutex>

#include "port/transports/zmq/CurveKeys.h"

namespace storageio_cli {

namespace {

std::atomic<bool> g_stop{false};

void OnStopSignal(int) { g_stop.store(true); }

// The agent's log: standard error, one line per entry, with the UTC time and the level.
void LogToStderr(storageio_port::LogLevel level, const std::string& line) {
  static std::mutex mutex;
  const char* levels[] = {"info", "warning", "error"};
  const std::time_t now = std::time(nullptr);
  char stamp[32];
  std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&now));
  const std::lock_guard<std::mutex> lock(mutex);
  std::cerr << stamp << " agent " << levels[static_cast<int>(level)] << ": " << line << std::endl;
}

}  // namespace

int RunAgent(const storageio_port::AgentOptions& options, std::ostream& out) {
  std::unique_ptr<storageio_port::StorageAgent> agent;
  try {
    agent = std::make_unique<storageio_port::StorageAgent>(options, LogToStderr);
  } catch (const storageio_port::AgentConfigError& e) {
    std::cerr << "storageio agent: " << e.what() << "\n";
    return 2;
  } catch (const std::exception& e) {
    std::cerr << "storageio agent: cannot start: " << e.what() << "\n";
    return 1;
  }
  out << agent->Endpoint() << std::endl;
  std::signal(SIGTERM, OnStopSignal);
  std::signal(SIGINT, OnStopSignal);
  agent->Serve(g_stop);
  LogToStderr(storageio_port::LogLevel::Info, "stopped by a signal");
  return 0;
}

int WriteAgentKeys(const std::string& path, std::ostream& out) {
  try {
    storageio_port::WriteKeyPair(path, storageio_port::GenerateKeyPair());
  } catch (const storageio_port::KeyFileError& e) {
    std::cerr << "storageio agent keygen: " << e.what() << "\n";
    return 1;
  }
  out << "wrote " << path << " (keep it secret) and " << path << ".pub (give it to the other side)\n";
  return 0;
}

}  // namespace storageio_cli
