#pragma once
// What every class of the plug-in that the host makes has in common: its class id accessor, its
// meta-class, its registration with the host's meta-class registry, and the companion
// <Class>CtorDtorHelper whose Ctor and Dtor the registry calls.

#include "kel/framework/Exceptions.h"
#include "kel/framework/MetaClass.h"
#include "kel/framework/Scriptable.h"

namespace kel {
namespace storageio {

// Activates the plug-in's data model with the host, once per process.
// Always returns true.
bool InitAttributeBuilder();

// Ctor makes one object of T; Dtor destroys one through its virtual destructor and ignores null.
template <class T>
struct ScriptableCtorDtor {
  static framework::CScriptable* Ctor() { return new T(); }
  static void Dtor(framework::CScriptable* object) { delete object; }
};

}  // namespace storageio
}  // namespace kel

// In a class body: the class id accessor, the meta-class and the scriptable overrides.
#define STORAGEIO_DECLARE_CLASS()                                  \
 public:                                                           \
  static const kel::framework::ClassId& CLASS_ID();                \
  static kel::framework::CMetaClass* GetMetaClassStatic();         \
  kel::framework::CMetaClass* GetMetaClass() const override;       \
  bool IsSingleton() const override { return false; }

// In the class's unit: defines what STORAGEIO_DECLARE_CLASS declares, and registers the class's
// make and destroy functions when the library loads.
#define STORAGEIO_DEFINE_CLASS(Class, id)                                                                 \
  const kel::framework::ClassId& Class::CLASS_ID() {                                                    \
    static const kel::framework::ClassId classId = id;                                                  \
    return classId;                                                                                     \
  }                                                                                                     \
  kel::framework::CMetaClass* Class::GetMetaClassStatic() {                                             \
    static kel::framework::CMetaClass* meta = kel::framework::CMetaClassManager::Instance().GetClass(id); \
    return meta;                                                                                        \
  }                                                                                                     \
  kel::framework::CMetaClass* Class::GetMetaClass() const { return GetMetaClassStatic(); }             \
  namespace {                                                                                           \
  const bool s_attributesBuilt = kel::storageio::InitAttributeBuilder();                                \
  const bool s_makeDestroyRegistered =                                                                  \
      kel::framework::CMetaClass::InitMakeDestroyFuncs(id, Class##CtorDtorHelper::Ctor, Class##CtorDtorHelper::Dtor); \
  }
