#pragma once
// Class descriptions of the object model and the registry that holds them.
//
// Classes are described declaratively (class id, name, base, properties with id, name, type and
// default, relation types) in YAML files that the host and each plug-in embed. A plug-in hands
// its description text to the registry when its library loads and activates its id block; the
// classes of a block become known once both have happened, in either order. Make and destroy
// functions are registered per class id, independently of the descriptions.

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kel/framework/PropertyValue.h"
#include "kel/framework/Types.h"

namespace kel {
namespace framework {

struct PropertyDesc {
  PropId id = 0;
  std::string name;
  PropertyType type = PropertyType::U32;
  PropertyValue defaultValue;
  bool readOnly = false;  // maintained by the host; scripts and plug-ins cannot set it
  std::string description;
};

struct RelationDesc {
  RelationId id = 0;
  std::string name;
  ClassId source = 0;  // forward direction: from objects of source to objects of target
  ClassId target = 0;
  bool single = false;  // a source has at most one target over this relation
  std::string description;
};

class CMetaClass {
 public:
  using MakeFunc = CScriptable* (*)();
  using DestroyFunc = void (*)(CScriptable*);

  ClassId GetClassId() const { return m_id; }
  const std::string& GetName() const { return m_name; }
  const CMetaClass* GetBase() const { return m_base; }
  bool IsAbstract() const { return m_abstract; }
  const std::string& GetDescription() const { return m_description; }
  // True for this class and every class derived from it.
  bool IsTypeOf(ClassId id) const;

  // Every property of an object of this class: the base's first, then the class's own. The
  // position of a property here is its slot in the object's data store.
  const std::vector<PropertyDesc>& GetProperties() const { return m_properties; }
  // Slot of a property, or -1 when the class has no such property.
  int FindPropertyIndex(PropId id) const;
  int FindPropertyIndex(const std::string& name) const;

  // Registers how objects of a class are made and destroyed. Returns true. A second call for the
  // same class replaces the functions (a plug-in reloaded in one process).
  static bool InitMakeDestroyFuncs(ClassId id, MakeFunc make, DestroyFunc destroy);

  // Makes an uninitialised object with the registered make function; null when none is
  // registered. Exceptions of the make function (an abstract class) propagate.
  CScriptable* Make() const;
  // Destroys an object with the registered destroy function (or delete when none). Null is ignored.
  void Destroy(CScriptable* object) const;

  // Next number for automatic object names ("Port 3").
  unsigned TakeAutoNameIndex() { return ++m_autoNameCount; }

 private:
  friend class CMetaClassManager;
  ClassId m_id = 0;
  std::string m_name;
  const CMetaClass* m_base = nullptr;
  bool m_abstract = false;
  std::string m_description;
  std::vector<PropertyDesc> m_properties;
  // Per class of the chain (its id), the slot of each of its ordinals (-1: none): a property id is
  // its declaring class's id plus the ordinal, so a lookup is a short walk and an index.
  std::vector<std::pair<ClassId, std::vector<int>>> m_slotsByClass;
  unsigned m_autoNameCount = 0;
};

class CMetaClassManager {
 public:
  static CMetaClassManager& Instance();

  // Marks an id block active and loads its classes if its description is known. Activating an
  // active block does nothing.
  void ActivateDataModel(unsigned idBlock);
  bool IsDataModelActive(unsigned idBlock) const;

  // Hands over the description of one id block (YAML text; sourceName names it in errors). A
  // description that cannot be loaded is not thrown from here, because this runs while a library
  // loads; the error is kept and logged, and TakeDataModelErrors returns it.
  void AddDataModelDescription(const std::string& yamlText, const std::string& sourceName);
  std::vector<std::string> TakeDataModelErrors();

  // Null when the class is unknown (or its block is not active).
  CMetaClass* GetClass(ClassId id) const;
  CMetaClass* GetClass(const std::string& name) const;
  const RelationDesc* GetRelation(RelationId id) const;
  // The relation of that name (forward direction's name), or null.
  const RelationDesc* GetRelation(const std::string& name) const;
  // Classes whose id lies in the given block, ascending.
  std::vector<const CMetaClass*> GetClassesOfBlock(unsigned idBlock) const;

  struct Funcs {
    CMetaClass::MakeFunc make = nullptr;
    CMetaClass::DestroyFunc destroy = nullptr;
  };
  void SetFuncs(ClassId id, Funcs funcs) { m_funcs[id] = funcs; }
  Funcs GetFuncs(ClassId id) const;

 private:
  CMetaClassManager();
  void Load(unsigned idBlock);

  std::map<unsigned, std::string> m_descriptions;  // id block -> YAML text
  std::map<unsigned, std::string> m_sources;
  std::map<unsigned, bool> m_active;
  std::map<ClassId, std::unique_ptr<CMetaClass>> m_classes;
  std::map<std::string, CMetaClass*> m_classesByName;
  std::map<RelationId, RelationDesc> m_relations;
  std::map<ClassId, Funcs> m_funcs;
  std::vector<std::string> m_errors;
};

}  // namespace framework
}  // namespace kel
