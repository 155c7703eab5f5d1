#include "StorageIOE2ETest.h"

#include <algorithm>
#include <stdexcept>

#include "kel/core/EmulatedDevice.h"
#include "kel/core/HostReset.h"
#include "kel/core/PortChannels.h"
#include "kel/core/ResultModule.h"
#include "kel/framework/CommandStatusManager.h"
#include "kel/framework/KelSystem.h"
#include "kel/framework/Logger.h"
#include "kel/framework/MetaClass.h"
#include "kel/framework/PluginLoader.h"
#include "kel/framework/Project.h"

namespace storageio_e2e {

using kel::framework::CTaskManager;

void StorageIOE2ETest::SetUpTestSuite() {
  static const kel::framework::PluginInfo plugin = kel::framework::CPluginLoader::Instance().Load(STORAGEIO_PLUGIN_PATH);
  ASSERT_EQ(0, plugin.registerResult);
}

void StorageIOE2ETest::SetUp() {
  kel::core::ResetHost(CTaskManager::ClockMode::Virtual);
  storageio_port::RegisterInProcessTransport();
  kel::core::CPortChannels::Instance().RegisterTransport(
      "silent", [](kel::core::CPort&, const std::string& location) -> std::unique_ptr<kel::core::Messenger> {
        auto channel = std::make_unique<kel::core::CRecorderMessenger>(location);
        channel->SetAnswer("");
        return channel;
      });
  m_log = std::make_shared<kel::framework::MemorySink>();
  kel::framework::BLLLoggerFactory::GetInstance().AddSink(m_log);
}

void StorageIOE2ETest::TearDown() {
  for (unsigned id : m_subscriptions) kel::core::CResultModule::Instance().Unsubscribe(id);
  m_subscriptions.clear();
  m_commands.clear();
  kel::framework::BLLLoggerFactory::GetInstance().RemoveSink(m_log);
  kel::core::ResetHost(CTaskManager::ClockMode::Real);
}

CScriptable& StorageIOE2ETest::MakeWorkerOnNewPort(const std::string& portName, const std::string& location) {
  return AddWorker("Worker on " + portName, AddPort(portName, location));
}

CScriptable& StorageIOE2ETest::MakeDevice(kel::core::CPort& port, const std::string& name) {
  auto& device = dynamic_cast<kel::core::CEmulatedDevice&>(
      Make("EmulatedDevice", &kel::framework::CProject::GetCurrentActiveInstance()));
  device.Set("Name", name);
  device.SetPort(&port);
  return device;
}

kel::framework::CCommand& StorageIOE2ETest::Keep(Command command) {
  m_commands.push_back(std::move(command));
  return *m_commands.back();
}

kel::framework::CCommand& StorageIOE2ETest::MakeCommand(const std::string& className) {
  return Keep(ProjectBuilder::MakeCommand(className));
}

kel::framework::CCommand& StorageIOE2ETest::MakeLearn(const std::vector<kel::core::CPort*>& ports) {
  return Keep(ProjectBuilder::MakeLearn(ports));
}

kel::framework::CCommand& StorageIOE2ETest::MakeStart(const ScriptableVec& workers, unsigned durationSeconds,
                                                      bool learnFirst) {
  std::vector<kel::framework::Handle> handles;
  for (const CScriptable* worker : workers) handles.push_back(worker->GetHandle());
  return Keep(ProjectBuilder::MakeStart(handles, durationSeconds, learnFirst));
}

CScriptable& StorageIOE2ETest::Child(const CScriptable& parent, const std::string& className) {
  CScriptable* child = parent.GetObject(ClassIdOf(className), kel::framework::ParentChild());
  if (child == nullptr) throw std::runtime_error(parent.GetName() + " has no " + className);
  return *child;
}

bool StorageIOE2ETest::Enabled(const CScriptable& object, const std::string& commandClass) {
  return kel::framework::CCommandStatusManager::Instance().GetCommandStatus(object.GetHandle(), ClassIdOf(commandClass));
}

std::map<std::string, std::string> StorageIOE2ETest::Values(const CScriptable& object) {
  std::map<std::string, std::string> values;
  for (const kel::framework::PropertyDesc& property : object.GetMetaClass()->GetProperties()) {
    object.Get(property.id, values[property.name]);
  }
  return values;
}

void StorageIOE2ETest::Subscribe(const std::string& resultClass, const ScriptableVec& parents) {
  std::vector<unsigned> handles;
  for (const CScriptable* parent : parents) handles.push_back(parent->GetHandle());
  const unsigned id = 1000 + static_cast<unsigned>(m_subscriptions.size());
  kel::core::CResultModule::Instance().Subscribe(
      id, kel::core::ResultSubscription(ClassIdOf(resultClass), handles), [this](const kel::core::ResultUpdate& update) {
        for (const CScriptable* result : update.changed) {
          m_seen.push_back(SeenResult{Loop().NowMs(), result->GetHandle(), Values(*result)});
        }
      });
  m_subscriptions.push_back(id);
}

storageio_port::InProcessTransport& StorageIOE2ETest::InProcess(kel::core::CPort& port) {
  return dynamic_cast<storageio_port::InProcessTransport&>(kel::core::CPortChannels::Instance().GetMessenger(port));
}

kel::core::CRecorderMessenger& StorageIOE2ETest::Silent(kel::core::CPort& port) {
  return dynamic_cast<kel::core::CRecorderMessenger&>(kel::core::CPortChannels::Instance().GetMessenger(port));
}

void StorageIOE2ETest::At(std::int64_t delayMs, std::function<void()> action) {
  Loop().PostAfter(delayMs, std::move(action));
}

std::vector<std::string> StorageIOE2ETest::Lines(const std::string& logger, kel::framework::LogLevelType level) const {
  return m_log->Messages(logger, level);
}

long StorageIOE2ETest::Count(const std::string& logger, const std::string& line) const {
  const std::vector<std::string> lines = m_log->Messages(logger);
  return std::count(lines.begin(), lines.end(), line);
}

}  // namespace storageio_e2e
