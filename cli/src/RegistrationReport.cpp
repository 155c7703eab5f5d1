#include "RegistrationReport.h"

#include <iomanip>

#include "kel/core/ProtocolModule.h"
#include "kel/core/ResultModule.h"
#include "kel/framework/MetaClass.h"
#include "kel/framework/ResourceManager.h"

namespace storageio_cli {

namespace {

std::ostream& Hex(std::ostream& out, unsigned long id) {
  return out << "0x" << std::hex << std::setw(8) << std::setfill('0') << id << std::dec << std::setfill(' ');
}

}  // namespace

void WriteRegistrationReport(std::ostream& out, const kel::framework::PluginInfo& plugin, unsigned idBlock) {
  out << "Plug-in: " << plugin.path << "\n";
  out << "Version: " << plugin.version << "\n";
  for (const kel::core::CProtocol* protocol : kel::core::CProtocolModule::Instance().GetProtocols()) {
    out << "Protocol: " << protocol->GetName() << " (category " << protocol->GetCategory() << ")\n";
  }
  for (const kel::core::CResultHandler* handler : kel::core::CResultModule::Instance().GetResultHandlers()) {
    out << "Result handler: " << handler->GetName() << "\n";
  }
  const auto classes = kel::framework::CMetaClassManager::Instance().GetClassesOfBlock(idBlock);
  out << "Classes (" << classes.size() << "):\n";
  for (const kel::framework::CMetaClass* meta : classes) {
    Hex(out << "  ", meta->GetClassId()) << " " << meta->GetName();
    if (meta->GetBase() != nullptr) out << " : " << meta->GetBase()->GetName();
    if (meta->IsAbstract()) out << " (abstract)";
    out << "\n";
  }
  const kel::framework::CResourceManager& resources = kel::framework::CResourceManager::Instance();
  std::vector<long> ids;
  for (long id : resources.GetStringResourceIds()) {
    if ((static_cast<unsigned long>(id) & 0xff000000ul) == idBlock) ids.push_back(id);
  }
  out << "Resources (" << ids.size() << "):\n";
  for (long id : ids) Hex(out << "  ", static_cast<unsigned long>(id)) << " " << resources.GetStringResource(id) << "\n";
}

}  // namespace storageio_cli
