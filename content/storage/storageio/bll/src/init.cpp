// The plug-in's entry points, its string resources and the activation of its data model.

#include <string>

#include "StorageIOClass.h"
#include "StorageIOIds.h"
#include "StorageIOLog.h"
#include "StorageIOProtocol.h"
#include "StorageIOResultsHandler.h"
#include "kel/core/ProtocolModule.h"
#include "kel/core/ResultModule.h"
#include "kel/framework/MetaClass.h"
#include "kel/framework/ResourceManager.h"

namespace kel {
namespace storageio {

namespace embedded {
extern const char kStorageIODataModel[];
}

namespace {

const char* const kSourcePath = "content/storage/storageio/bll/src/init";

// Patched in place by a release build; stored at its full length so the patch fits.
const char kVersion[] = "Norvale_Probeworks_Version_String_Place_Holder_4.81.2726.0000";
static_assert(sizeof kVersion == 62, "the version text is 61 characters");

bool s_dataModelActivated = false;

}  // namespace

// Adds the plug-in's string resources, as its class descriptions list them.
class StorageIOResourceRegisterer {
 public:
  StorageIOResourceRegisterer() {
    framework::CResourceManager& resources = framework::CResourceManager::Instance();
    for (const ids::ResourceText& resource : ids::kResourceTexts) resources.AddStringResource(resource.id, resource.text);
  }
};

bool InitAttributeBuilder() {
  if (s_dataModelActivated) return true;
  s_dataModelActivated = true;
  framework::CMetaClassManager::Instance().ActivateDataModel(ids::kIdBlock);
  return true;
}

namespace {
// The class descriptions travel inside the library; the host loads them once the block is active.
const bool s_dataModelDescribed = (framework::CMetaClassManager::Instance().AddDataModelDescription(
                                       embedded::kStorageIODataModel, "content/storage/storageio/bll/datamodel/storageio.yaml"),
                                   true);
const bool s_attributesBuilt = InitAttributeBuilder();
}  // namespace

}  // namespace storageio
}  // namespace kel

#define STORAGEIO_EXPORT extern "C" __attribute__((visibility("default")))

STORAGEIO_EXPORT int PluginRegister() {
  using namespace kel::storageio;
  STORAGEIO_LOG_INFO(devLogger(), "Registering StorageIO");
  StorageIOResourceRegisterer();
  kel::core::CProtocolModule::Instance().RegisterProtocol(CStorageIOProtocol::Instance());
  kel::core::CResultModule::Instance().RegisterResultHandler(&CStorageIOResultsHandler::Instance(), false);
  return 0;
}

STORAGEIO_EXPORT int PluginUnregister() { return 0; }

STORAGEIO_EXPORT const char* PluginVersion() { return kel::storageio::kVersion; }
