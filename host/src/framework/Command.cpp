#include "kel/framework/Command.h"

#include <algorithm>

#include "kel/framework/Exceptions.h"
#include "kel/framework/HandleRegistry.h"
#include "kel/framework/HostClassIds.h"
#include "kel/framework/Logger.h"
#include "kel/framework/ScriptableLocator.h"
#include "kel/framework/TaskManager.h"

namespace kel {
namespace framework {

namespace {

CScriptable* MakeCommand() { return new CCommand(); }
void DestroyCommand(CScriptable* object) { delete object; }
const bool s_commandFuncs = CMetaClass::InitMakeDestroyFuncs(classid::Command, MakeCommand, DestroyCommand);

}  // namespace

// ---- CRunnable ----

void CRunnable::Execute(bool queued) {
  if (queued) {
    const Handle handle = GetHandle();
    CTaskManager::Instance().Post([handle] {
      auto* runnable = dynamic_cast<CRunnable*>(CHandleRegistry::Instance().Find(handle));
      if (runnable == nullptr) return;  // deleted before its turn came
      try {
        runnable->Execute(false);
      } catch (const std::exception& e) {
        BLLLogger* log = BLLLoggerFactory::GetInstance().GetLogger("kel.host");
        if (log->IsEnabledFor(LOG_LEVEL_ERROR)) {
          log->Error(runnable->GetName() + " failed: " + e.what(), __FILE__, __LINE__);
        }
      }
    });
    return;
  }
  if (GetRunnableState() == STATE_RUNNING || GetRunnableState() == STATE_VALIDATING) {
    throw CKelLogicError(GetName() + " is already running");
  }
  SetRunnableState(STATE_VALIDATING);
  bool valid = false;
  try {
    valid = Validate();
  } catch (...) {
    SetRunnableState(STATE_FAILED);
    throw;
  }
  if (!valid) {
    SetRunnableState(STATE_FAILED);
    throw CCommandErrorException("Validation failed: " + GetName());
  }
  SetRunnableState(STATE_RUNNING);
  bool ran = false;
  try {
    ran = DoRun();
  } catch (...) {
    SetRunnableState(STATE_FAILED);
    throw;
  }
  SetRunnableState(ran ? STATE_COMPLETED : STATE_FAILED);
}

bool CRunnable::Reset() {
  const bool reset = DoReset();
  SetRunnableState(STATE_INIT);
  return reset;
}

void CRunnable::Stop() {
  if (GetRunnableState() == STATE_RUNNING) OnStop();
}

bool CRunnable::Validate() { return DoRunnableValidate(); }

void CRunnable::OnRunnableStateChange(State, State) {}

void CRunnable::OnChildAdded(CRunnable*) {}

void CRunnable::SetRunnableState(State state) {
  const State from = GetRunnableState();
  if (from == state) return;
  StoreValue(prop::RunnableState, static_cast<std::uint32_t>(state));
  OnRunnableStateChange(from, state);
}

void CRunnable::OnRelationModified(RelationType type, CScriptable& other, bool added) {
  if (added && type == ParentChild()) {
    if (auto* child = dynamic_cast<CRunnable*>(&other)) OnChildAdded(child);
  }
}

// ---- CCommand ----

const ClassId& CCommand::CLASS_ID() {
  static const ClassId id = classid::Command;
  return id;
}

void CCommand::DoGetRequiredInputFilePaths(std::vector<std::string>&) const {}

void CCommand::ProcessInputHandleVec(ClassId classId, const std::vector<unsigned>& handles, ScriptableVec& out,
                                     unsigned filter) {
  ScriptableVec found;
  for (unsigned handle : handles) {
    CScriptable* object = CHandleRegistry::Instance().Find(handle);
    if (object == nullptr) continue;
    if (object->IsTypeOf(classId)) {
      found.push_back(object);
    } else {
      CScriptableLocator::Instance().GetObjectsEx(found, classId, object, filter);
    }
  }
  for (CScriptable* object : found) {
    if (std::find(out.begin(), out.end(), object) == out.end()) out.push_back(object);
  }
}

void CCommand::OnRunnableStateChange(State from, State to) {
  CRunnable::OnRunnableStateChange(from, to);
  OnCommandStateChange();
}

bool CCommand::OnMarkDelete() {
  DoDelete();
  return true;
}

}  // namespace framework
}  // namespace kel
