#include "port/engines/ModelEngine.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "port/firmware/Units.h"

namespace storageio_port {

double ModelEngine::ServiceTimeMs(const Config& config, std::uint32_t length, bool isRandom) {
  const double access = config.latencyMs * (isRandom ? 1.0 : kSequentialLatencyShare);
  const double bytesPerMs = config.speedMBps * units::kBytesPerMB / units::kMsPerSecond;
  return access + length / bytesPerMs;
}

ModelEngine::ModelEngine(Config config) : m_config(config) {
  if (!(config.speedMBps > 0)) {
    throw std::invalid_argument("Model device speed must be above 0 MB/s, not " + std::to_string(config.speedMBps));
  }
  if (!(config.latencyMs >= kShortestLatencyMs)) {
    throw std::invalid_argument("Model device latency must be at least " + std::to_string(kShortestLatencyMs) +
                                " ms, not " + std::to_string(config.latencyMs));
  }
}

ModelEngine::Factory::Factory(Config config) : m_config(config) { ModelEngine check(config); }

IoEngine::TargetHandle ModelEngine::Open(const TargetInfo& target, bool) {
  try {
    ValidateTargetInfo(target);
  } catch (const std::invalid_argument& e) {
    throw EngineError(e.what());
  }
  const TargetHandle handle = m_nextHandle++;
  m_devices[handle].sizeBytes = target.SizeBytes();
  return handle;
}

ModelEngine::Device& ModelEngine::DeviceOf(TargetHandle target) {
  const auto it = m_devices.find(target);
  if (it == m_devices.end()) throw EngineError("Model engine has no open target " + std::to_string(target));
  return it->second;
}

void ModelEngine::Submit(TargetHandle target, const IoRequest& request) {
  Device& device = DeviceOf(target);
  const double start = std::max(request.issueMs, device.busyUntilMs);
  const bool fits = request.length <= device.sizeBytes && request.offset <= device.sizeBytes - request.length;
  const double completed = fits ? start + ServiceTimeMs(m_config, request.length, request.isRandom) : start;
  device.busyUntilMs = completed;
  device.inFlight.push_back(
      IoCompletion{target, request.tag, request.isRead, request.length, completed, completed - request.issueMs, fits});
}

void ModelEngine::Reap(double untilMs, std::vector<IoCompletion>& completions) {
  for (auto& [handle, device] : m_devices) {
    while (!device.inFlight.empty() && device.inFlight.front().completedMs <= untilMs) {
      completions.push_back(device.inFlight.front());
      device.inFlight.pop_front();
    }
  }
}

void ModelEngine::Close(TargetHandle target) { m_devices.erase(target); }

}  // namespace storageio_port
