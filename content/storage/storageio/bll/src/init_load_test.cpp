// The plug-in as the host loads it: a library opened by path through the host's loader.

#include <gtest/gtest.h>

#include "kel/core/ProtocolModule.h"
#include "kel/framework/Exceptions.h"
#include "kel/framework/KelSystem.h"
#include "kel/framework/MetaClass.h"
#include "kel/framework/PluginLoader.h"
#include "kel/framework/Project.h"
#include "kel/framework/Scriptable.h"
#include "kel/framework/ScriptableCreator.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace framework {
namespace {

TEST(PluginLoadTest, RegistersItsProtocolAndEveryConcreteClassCanBeMade) {
  const PluginInfo info = CPluginLoader::Instance().Load(STORAGEIO_PLUGIN_PATH);
  EXPECT_EQ(0, info.registerResult);
  EXPECT_EQ("Norvale_Probeworks_Version_String_Place_Holder_4.81.2726.0000", info.version);
  core::CProtocol* protocol = core::CProtocolModule::Instance().FindProtocol("StorageIO");
  ASSERT_NE(nullptr, protocol);

  const auto classes = CMetaClassManager::Instance().GetClassesOfBlock(kel::storageio::ids::kIdBlock);
  ASSERT_EQ(13u, classes.size());
  for (const CMetaClass* meta : classes) {
    if (meta->IsAbstract()) continue;
    CScriptable* object = CScriptableCreator().Create(meta->GetClassId(), &CProject::Instance());
    ASSERT_NE(nullptr, object) << meta->GetName();
    EXPECT_EQ(meta, object->GetMetaClass());
    object->Delete();
  }
  EXPECT_THROW(CScriptableCreator().Create(kel::storageio::ids::classes::StorageBaseResults, &CProject::Instance()), CKelLogicError);
  CKelSystem::Instance().ResetProject();
}

TEST(PluginLoadTest, AMissingLibraryIsAClearErrorAndTheHostGoesOn) {
  try {
    CPluginLoader::Instance().Load("/nonexistent/libnothing.so");
    FAIL() << "no exception";
  } catch (const CKelRunTimeError& e) {
    EXPECT_NE(std::string::npos, std::string(e.GetMessage()).find("/nonexistent/libnothing.so"));
  }
}

}  // namespace
}  // namespace framework
}  // namespace kel
