#include "kel/framework/ScriptableCreator.h"

#include "kel/framework/Exceptions.h"
#include "kel/framework/HandleRegistry.h"
#include "kel/framework/Logger.h"
#include "kel/framework/Scriptable.h"

namespace kel {
namespace framework {

CScriptable* CScriptableCreator::Create(ClassId classId, CScriptable* parent, bool runInit, bool autoName,
                                        unsigned handle) {
  return Create(CMetaClassManager::Instance().GetClass(classId), parent, runInit, autoName, handle);
}

CScriptable* CScriptableCreator::Create(CMetaClass* meta, CScriptable* parent, bool runInit, bool autoName,
                                        unsigned handle) {
  if (meta == nullptr) return nullptr;
  CScriptable* object = meta->Make();
  if (object == nullptr) {
    BLLLogger* log = BLLLoggerFactory::GetInstance().GetLogger("kel.host");
    if (log->IsEnabledFor(LOG_LEVEL_WARN)) {
      log->Warn("Cannot create an object of class " + meta->GetName() + ": no make function is registered", __FILE__,
                __LINE__);
    }
    return nullptr;
  }
  Handle given = 0;
  try {
    given = CHandleRegistry::Instance().Register(*object, handle);
  } catch (...) {
    meta->Destroy(object);
    throw;
  }
  object->InitObject(*meta, given);
  try {
    if (autoName) object->UpdateObjectName();
    std::string error;
    if (parent != nullptr && !parent->AddObject(*object, ParentChild(), &error)) {
      throw CKelLogicError("Cannot create " + meta->GetName() + " under " + parent->GetName() + ": " + error);
    }
    if (runInit && !object->OnInit()) {
      CScriptable::DestroyTree(object);
      return nullptr;
    }
  } catch (...) {
    CScriptable::DestroyTree(object);
    throw;
  }
  object->NotifyResultCreated();
  return object;
}

}  // namespace framework
}  // namespace kel
