#include "kel/core/ClearResultsCommand.h"

#include "kel/core/ProtocolModule.h"
#include "kel/framework/HostClassIds.h"
#include "kel/framework/MetaClass.h"

namespace kel {
namespace core {

namespace {

framework::CScriptable* MakeClearResults() { return new CClearResultsCommand(); }
void DestroyClearResults(framework::CScriptable* object) { delete object; }
const bool s_clearResultsFuncs = framework::CMetaClass::InitMakeDestroyFuncs(
    framework::classid::ClearResultsCommand, MakeClearResults, DestroyClearResults);

}  // namespace

const framework::ClassId& CClearResultsCommand::CLASS_ID() {
  static const framework::ClassId id = framework::classid::ClearResultsCommand;
  return id;
}

framework::CMetaClass* CClearResultsCommand::GetMetaClassStatic() {
  return framework::CMetaClassManager::Instance().GetClass(framework::classid::ClearResultsCommand);
}

bool CClearResultsCommand::DoRun() {
  for (CProtocol* protocol : CProtocolModule::Instance().GetProtocols()) protocol->ClearResult();
  return true;
}

}  // namespace core
}  // namespace kel
