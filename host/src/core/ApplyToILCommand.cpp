#include "kel/core/ApplyToILCommand.h"

#include "kel/core/ProtocolModule.h"
#include "kel/core/ValidationContext.h"
#include "kel/framework/Exceptions.h"
#include "kel/framework/HostClassIds.h"
#include "kel/rtgcore/BaseProtocol.h"

namespace kel {
namespace core {

namespace {

framework::CScriptable* MakeApply() { return new CApplyToILCommand(); }
void DestroyApply(framework::CScriptable* object) { delete object; }
const bool s_applyFuncs =
    framework::CMetaClass::InitMakeDestroyFuncs(framework::classid::ApplyToILCommand, MakeApply, DestroyApply);

}  // namespace

const framework::ClassId& CApplyToILCommand::CLASS_ID() {
  static const framework::ClassId id = framework::classid::ApplyToILCommand;
  return id;
}

framework::CMetaClass* CApplyToILCommand::GetMetaClassStatic() {
  return framework::CMetaClassManager::Instance().GetClass(framework::classid::ApplyToILCommand);
}

bool CApplyToILCommand::DoRun() {
  std::vector<rtgcore::CBaseProtocol*> protocols;
  for (CProtocol* protocol : CProtocolModule::Instance().GetProtocols()) {
    if (auto* base = dynamic_cast<rtgcore::CBaseProtocol*>(protocol)) protocols.push_back(base);
  }
  ValidationContext ctx;
  for (rtgcore::CBaseProtocol* protocol : protocols) protocol->PrepareApply(ctx);
  m_warnings.clear();
  for (const ValidationContext::Issue& warning : ctx.GetWarnings()) {
    m_warnings += (m_warnings.empty() ? "" : "\n") + warning.location + ": " + warning.message;
  }
  if (ctx.HasErrors()) throw framework::CCommandErrorException(ctx.ErrorText());
  if (GetBool(prop::ValidateOnly)) return true;
  for (rtgcore::CBaseProtocol* protocol : protocols) protocol->SendApply();
  const framework::ScriptableVec destroyed = framework::CScriptable::PendingDeletedObjects();
  for (rtgcore::CBaseProtocol* protocol : protocols) protocol->CommitApply(destroyed);
  framework::CScriptable::DestroyDeletedObjects();
  return true;
}

}  // namespace core
}  // namespace kel
