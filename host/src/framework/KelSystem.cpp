#include "kel/framework/KelSystem.h"

#include "kel/framework/Exceptions.h"
#include "kel/framework/HostClassIds.h"
#include "kel/framework/Project.h"
#include "kel/framework/ScriptableCreator.h"

namespace kel {
namespace framework {

namespace {

CScriptable* MakeSystem() { return new CKelSystem(); }
CScriptable* MakeProject() { return new CProject(); }
void DestroyObject(CScriptable* object) { delete object; }

const bool s_systemFuncs = CMetaClass::InitMakeDestroyFuncs(classid::KelSystem, MakeSystem, DestroyObject);
const bool s_projectFuncs = CMetaClass::InitMakeDestroyFuncs(classid::Project, MakeProject, DestroyObject);

CProject* s_project = nullptr;

}  // namespace

const ClassId& CKelSystem::CLASS_ID() {
  static const ClassId id = classid::KelSystem;
  return id;
}

CKelSystem& CKelSystem::Instance() {
  static CKelSystem* system = [] {
    auto* made = static_cast<CKelSystem*>(CScriptableCreator().Create(classid::KelSystem, nullptr));
    if (made == nullptr) throw CKelLogicError("Cannot create the system object");
    made->SetObjectState(STATE_CLEAN);
    return made;
  }();
  return *system;
}

void CKelSystem::ResetProject() {
  if (s_project != nullptr) {
    s_project->MarkDelete(true, true);
    CScriptable::DestroyDeletedObjects();
    s_project = nullptr;
  }
  CProject::Instance();
}

const ClassId& CProject::CLASS_ID() {
  static const ClassId id = classid::Project;
  return id;
}

CProject& CProject::Instance() {
  if (s_project == nullptr) {
    s_project = static_cast<CProject*>(CScriptableCreator().Create(classid::Project, &CKelSystem::Instance()));
    if (s_project == nullptr) throw CKelLogicError("Cannot create the project");
    s_project->SetObjectState(STATE_CLEAN);
  }
  return *s_project;
}

}  // namespace framework
}  // namespace kel
