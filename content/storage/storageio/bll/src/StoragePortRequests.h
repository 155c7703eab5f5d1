#pragma once
// How the plug-in asks its ports: a port's handle as the reply context of a request, the check of
// a send's result, and the commands' bounded wait for the outstanding ports' answers.

#include <cstdint>
#include <set>
#include <string>

#include "StorageIOLog.h"
#include "kel/core/Port.h"
#include "kel/framework/TaskManager.h"

namespace kel {
namespace storageio {

inline void* PortCookie(const core::CPort& port) {
  return reinterpret_cast<void*>(static_cast<std::uintptr_t>(port.GetHandle()));
}

inline std::uint32_t HandleFromCookie(void* cookie) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(cookie));
}

// A send failed when its result, taken as a signed 16-bit value, is negative.
inline bool SendFailed(int result) { return static_cast<short>(result) < 0; }

// A request that could not be sent to a port: "<who>: Received error response trying to send
// message to port <name>" ending ".Skipping port." on the developer log and ".Skipping the
// port." on the given user log, both at error level. `sourcePath` and `line` name the caller.
inline void LogSendFailure(const std::string& who, const core::CPort& port, framework::BLLLogger* userLog,
                           const char* sourcePath, int line) {
  const std::string text = who + ": Received error response trying to send message to port " + port.GetName();
  for (const auto& target : {std::make_pair(devLogger(), ".Skipping port."), std::make_pair(userLog, ".Skipping the port.")}) {
    if (target.first != nullptr && target.first->IsEnabledFor(framework::LOG_LEVEL_ERROR)) {
      target.first->Error(text + target.second, sourcePath, line);
    }
  }
}

// Yields to the host, 5,000 ms at a time, while ports are outstanding: 50 yields per outstanding
// port, 1,500 at most (31 ports or more). Answers arrive during the yields and shrink the set.
inline void WaitForPorts(const std::set<std::uint32_t>& outstanding) {
  const std::size_t ports = outstanding.size();
  int budget = ports < 31 ? static_cast<int>(ports) * 50 : 1500;
  while (budget > 0 && !outstanding.empty()) {
    framework::CTaskManager::Instance().CtmYield(5000, nullptr, false);
    --budget;
  }
}

}  // namespace storageio
}  // namespace kel
