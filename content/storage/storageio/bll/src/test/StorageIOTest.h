#pragma once
// Fixture of the plug-in's unit tests: a fresh project and a fresh protocol singleton for each
// test, and an in-memory log sink to read what was logged.

#include <memory>

#include <gtest/gtest.h>

#include "StorageIOProtocol.h"
#include "kel/core/HostReset.h"
#include "kel/framework/KelSystem.h"
#include "kel/framework/LogSinks.h"
#include "kel/framework/Logger.h"

namespace kel {
namespace storageio {

class StorageIOTest : public ::testing::Test {
 protected:
  // Every test starts on the virtual clock, with a fresh host and a fresh protocol.
  void SetUp() override {
    core::ResetHost(framework::CTaskManager::ClockMode::Virtual);
    CStorageIOProtocol::DeleteInstance();
    framework::BLLLoggerFactory::GetInstance().AddSink(m_log);
  }
  void TearDown() override {
    framework::BLLLoggerFactory::GetInstance().RemoveSink(m_log);
    core::ResetHost(framework::CTaskManager::ClockMode::Real);
    CStorageIOProtocol::DeleteInstance();
  }

  std::shared_ptr<framework::MemorySink> m_log = std::make_shared<framework::MemorySink>();
};

}  // namespace storageio
}  // namespace kel
