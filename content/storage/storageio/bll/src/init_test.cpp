// Registration as the host sees it when it calls the entry points of the plug-in's objects.

#include "StorageIOClass.h"
#include "StorageIODataModelIds.h"
#include "StorageIOProtocol.h"
#include "StorageIOResultsHandler.h"
#include "StorageWaitForTestCompletionCommand.h"
#include "kel/core/ProtocolModule.h"
#include "kel/core/ResultModule.h"
#include "kel/framework/Command.h"
#include "kel/framework/HandleRegistry.h"
#include "kel/framework/ResourceManager.h"
#include "kel/framework/ScriptableAutoPtr.h"
#include "kel/framework/ScriptableCreator.h"
#include "test/StorageIOTest.h"

extern "C" int PluginRegister();
extern "C" int PluginUnregister();
extern "C" const char* PluginVersion();

namespace kel {
namespace storageio {
namespace {

using framework::CMetaClassManager;
using framework::CResourceManager;

class RegistrationTest : public StorageIOTest {};

TEST_F(RegistrationTest, RegisteringTwiceAddsTheSameResourcesSingletonsAndDataModel) {
  EXPECT_EQ(0, PluginRegister());
  CStorageIOProtocol* protocol = CStorageIOProtocol::Instance();
  EXPECT_EQ(0, PluginRegister());
  EXPECT_EQ(protocol, core::CProtocolModule::Instance().FindProtocol("StorageIO"));
  EXPECT_EQ(&CStorageIOResultsHandler::Instance(),
            core::CResultModule::Instance().FindResultHandler("CStorageIOResultsHandler"));
  EXPECT_EQ("Test on Status on {1}: {2}.", CResourceManager::Instance().GetStringResource(ids::resources::TestStatus));
  EXPECT_EQ("StorageIO results cannot be cleared while the StorageIO test is in progress.",
            CResourceManager::Instance().GetStringResource(ids::resources::ClearDuringTest));
  EXPECT_EQ("StorageWorkerConfig {1} does not have a profile associated with it.",
            CResourceManager::Instance().GetStringResource(ids::resources::WorkerWithoutProfile));
  EXPECT_EQ(2u, m_log->Messages("content.storage.storageio").size());
  EXPECT_TRUE(m_log->Contains("content.storage.storageio", "Registering StorageIO"));
  EXPECT_EQ(0, PluginUnregister());
  EXPECT_EQ(protocol, core::CProtocolModule::Instance().FindProtocol("StorageIO")) << "unregistering does nothing";
  EXPECT_STREQ("Norvale_Probeworks_Version_String_Place_Holder_4.81.2726.0000", PluginVersion());

  EXPECT_TRUE(InitAttributeBuilder());
  EXPECT_TRUE(CMetaClassManager::Instance().IsDataModelActive(ids::kIdBlock));
  EXPECT_EQ(13u, CMetaClassManager::Instance().GetClassesOfBlock(ids::kIdBlock).size());
  EXPECT_TRUE(CMetaClassManager::Instance().GetRelation(ids::relations::UsesProfile)->single);
  EXPECT_FALSE(CMetaClassManager::Instance().GetRelation(ids::relations::UsesTarget)->single);
  EXPECT_TRUE(CMetaClassManager::Instance().TakeDataModelErrors().empty());
}

TEST_F(RegistrationTest, TheWaitCommandRunsLikeTheBaseCommandAndTouchesNothing) {
  CStorageIOProtocol* protocol = CStorageIOProtocol::Instance();
  framework::CScriptableAutoPtr<framework::CCommand> command(static_cast<framework::CCommand*>(
      framework::CScriptableCreator().Create(CStorageWaitForTestCompletionCommand::CLASS_ID(), nullptr)));
  ASSERT_NE(nullptr, command.get());
  EXPECT_FALSE(command->IsSingleton());
  const std::size_t objectsBefore = framework::CHandleRegistry::Instance().Size();
  command->Execute(false);
  EXPECT_EQ(framework::CRunnable::STATE_COMPLETED, command->GetRunnableState());
  EXPECT_EQ(5u, command->GetU32(0xE00F));
  EXPECT_TRUE(command->Reset());
  EXPECT_EQ(objectsBefore, framework::CHandleRegistry::Instance().Size());
  EXPECT_EQ(protocol, CStorageIOProtocol::Instance());
}

}  // namespace
}  // namespace storageio
}  // namespace kel
