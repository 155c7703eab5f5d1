#include "kel/framework/MetaClass.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <yaml-cpp/yaml.h>

#include "kel/framework/Exceptions.h"
#include "kel/framework/Logger.h"
#include "kel/framework/Scriptable.h"

namespace kel {
namespace framework {

namespace embedded {
extern const char kHostDataModel_kel[];
}

namespace {

constexpr unsigned kHostBlock = 0;
constexpr std::uint32_t kBlockMask = 0xff000000u;

std::string Hex(std::uint32_t id) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%x", id);
  return buf;
}

std::uint32_t ParseId(const YAML::Node& node, const std::string& where) {
  if (!node || !node.IsScalar()) throw CKelLogicError(where + ": missing id");
  const std::string text = node.Scalar();
  char* end = nullptr;
  const unsigned long long value = std::strtoull(text.c_str(), &end, 0);
  if (text.empty() || *end != '\0' || value > 0xffffffffull) {
    throw CKelLogicError(where + ": '" + text + "' is not a 32-bit id");
  }
  return static_cast<std::uint32_t>(value);
}

std::string RequiredText(const YAML::Node& node, const char* key, const std::string& where) {
  const YAML::Node value = node[key];
  if (!value || !value.IsScalar() || value.Scalar().empty()) {
    throw CKelLogicError(where + ": missing '" + key + "'");
  }
  return value.Scalar();
}

std::string OptionalText(const YAML::Node& node, const char* key) {
  const YAML::Node value = node[key];
  return value && value.IsScalar() ? value.Scalar() : std::string();
}

bool OptionalBool(const YAML::Node& node, const char* key, const std::string& where) {
  const YAML::Node value = node[key];
  if (!value) return false;
  try {
    return std::get<bool>(FromText(PropertyType::Bool, value.Scalar()));
  } catch (const CKelException& e) {
    throw CKelLogicError(where + ": '" + key + "': " + e.GetMessage());
  }
}

bool InBlock(std::uint32_t id, unsigned block) {
  return block == kHostBlock ? (id & 0x80000000u) == 0 : (id & kBlockMask) == block;
}

PropertyValue ParseDefault(const YAML::Node& node, PropertyType type, const std::string& where) {
  const YAML::Node value = node["default"];
  if (!value) return ZeroValue(type);
  try {
    if (type == PropertyType::Handles) {
      HandleList handles;
      if (!value.IsSequence()) throw CKelRunTimeError("a list of handles is expected");
      for (const YAML::Node& item : value) {
        handles.push_back(std::get<std::uint32_t>(FromText(PropertyType::U32, item.Scalar())));
      }
      return handles;
    }
    if (!value.IsScalar()) throw CKelRunTimeError("a single value is expected");
    return FromText(type, value.Scalar());
  } catch (const CKelException& e) {
    throw CKelLogicError(where + ": default: " + e.GetMessage());
  }
}

}  // namespace

bool CMetaClass::IsTypeOf(ClassId id) const {
  for (const CMetaClass* c = this; c != nullptr; c = c->m_base) {
    if (c->m_id == id) return true;
  }
  return false;
}

int CMetaClass::FindPropertyIndex(PropId id) const {
  const ClassId declaring = id & ~0xfffu;
  const std::size_t ordinal = id & 0xfffu;
  for (const auto& entry : m_slotsByClass) {
    if (entry.first == declaring) return ordinal < entry.second.size() ? entry.second[ordinal] : -1;
  }
  return -1;
}

int CMetaClass::FindPropertyIndex(const std::string& name) const {
  for (std::size_t i = 0; i < m_properties.size(); ++i) {
    if (m_properties[i].name == name) return static_cast<int>(i);
  }
  return -1;
}

bool CMetaClass::InitMakeDestroyFuncs(ClassId id, MakeFunc make, DestroyFunc destroy) {
  CMetaClassManager::Instance().SetFuncs(id, {make, destroy});
  return true;
}

CScriptable* CMetaClass::Make() const {
  const CMetaClassManager::Funcs funcs = CMetaClassManager::Instance().GetFuncs(m_id);
  return funcs.make ? funcs.make() : nullptr;
}

void CMetaClass::Destroy(CScriptable* object) const {
  if (object == nullptr) return;
  const CMetaClassManager::Funcs funcs = CMetaClassManager::Instance().GetFuncs(m_id);
  if (funcs.destroy) {
    funcs.destroy(object);
  } else {
    delete object;
  }
}

CMetaClassManager& CMetaClassManager::Instance() {
  static CMetaClassManager instance;
  return instance;
}

CMetaClassManager::CMetaClassManager() {
  AddDataModelDescription(embedded::kHostDataModel_kel, "host/datamodel/kel.yaml");
  ActivateDataModel(kHostBlock);
  if (!m_errors.empty()) throw CKelLogicError(m_errors.front());
}

void CMetaClassManager::ActivateDataModel(unsigned idBlock) {
  bool& active = m_active[idBlock];
  if (active) return;
  active = true;
  if (m_descriptions.count(idBlock) != 0) Load(idBlock);
}

bool CMetaClassManager::IsDataModelActive(unsigned idBlock) const {
  const auto it = m_active.find(idBlock);
  return it != m_active.end() && it->second;
}

void CMetaClassManager::AddDataModelDescription(const std::string& yamlText, const std::string& sourceName) {
  unsigned block = 0;
  try {
    const YAML::Node root = YAML::Load(yamlText);
    block = ParseId(root["idBlock"], "idBlock");
  } catch (const std::exception& e) {
    m_errors.push_back("Data model " + sourceName + ": " + e.what());
    BLLLoggerFactory::GetInstance().GetLogger("kel.host")->Error(m_errors.back(), __FILE__, __LINE__);
    return;
  }
  m_descriptions[block] = yamlText;
  m_sources[block] = sourceName;
  if (IsDataModelActive(block)) Load(block);
}

std::vector<std::string> CMetaClassManager::TakeDataModelErrors() {
  std::vector<std::string> errors;
  errors.swap(m_errors);
  return errors;
}

void CMetaClassManager::Load(unsigned idBlock) {
  const std::string& source = m_sources[idBlock];
  std::vector<std::unique_ptr<CMetaClass>> classes;
  std::map<std::string, CMetaClass*> byName;
  std::vector<RelationDesc> relations;
  auto findClass = [&](const std::string& name) -> CMetaClass* {
    const auto own = byName.find(name);
    if (own != byName.end()) return own->second;
    const auto known = m_classesByName.find(name);
    return known != m_classesByName.end() ? known->second : nullptr;
  };
  try {
    const YAML::Node root = YAML::Load(m_descriptions[idBlock]);
    for (const YAML::Node& node : root["classes"]) {
      auto meta = std::make_unique<CMetaClass>();
      meta->m_id = ParseId(node["id"], source + ": class");
      const std::string where = source + ": class " + Hex(meta->m_id);
      meta->m_name = RequiredText(node, "name", where);
      if (!InBlock(meta->m_id, idBlock) || (meta->m_id & 0xfffu) != 0) {
        throw CKelLogicError(where + ": the id is not a class id of block " + Hex(idBlock));
      }
      if (m_classes.count(meta->m_id) != 0 || findClass(meta->m_name) != nullptr) {
        throw CKelLogicError(where + " (" + meta->m_name + ") is described twice");
      }
      const std::string baseName = OptionalText(node, "base");
      if (!baseName.empty()) {
        meta->m_base = findClass(baseName);
        if (meta->m_base == nullptr) throw CKelLogicError(where + ": unknown base class '" + baseName + "'");
        meta->m_properties = meta->m_base->m_properties;
      }
      meta->m_abstract = OptionalBool(node, "abstract", where);
      meta->m_description = OptionalText(node, "description");
      for (const YAML::Node& p : node["properties"]) {
        PropertyDesc desc;
        desc.id = ParseId(p["id"], where + ": property");
        const std::string pwhere = where + ": property " + Hex(desc.id);
        if ((desc.id & ~0xfffu) != meta->m_id || (desc.id & 0xfffu) == 0) {
          throw CKelLogicError(pwhere + ": not a property id of its class");
        }
        desc.name = RequiredText(p, "name", pwhere);
        const std::string typeName = RequiredText(p, "type", pwhere);
        try {
          desc.type = ParsePropertyType(typeName);
        } catch (const CKelLogicError& e) {
          throw CKelLogicError(pwhere + ": " + e.GetMessage());
        }
        desc.defaultValue = ParseDefault(p, desc.type, pwhere);
        desc.readOnly = OptionalBool(p, "readOnly", pwhere);
        desc.description = OptionalText(p, "description");
        if (meta->FindPropertyIndex(desc.name) >= 0) {
          throw CKelLogicError(pwhere + ": property name '" + desc.name + "' is used twice");
        }
        meta->m_properties.push_back(desc);
      }
      for (std::size_t i = 0; i < meta->m_properties.size(); ++i) {
        const PropId id = meta->m_properties[i].id;
        const ClassId declaring = id & ~0xfffu;
        const std::size_t ordinal = id & 0xfffu;
        auto entry = std::find_if(meta->m_slotsByClass.begin(), meta->m_slotsByClass.end(),
                                  [declaring](const auto& known) { return known.first == declaring; });
        if (entry == meta->m_slotsByClass.end()) {
          entry = meta->m_slotsByClass.insert(meta->m_slotsByClass.end(), {declaring, {}});
        }
        if (entry->second.size() <= ordinal) entry->second.resize(ordinal + 1, -1);
        if (entry->second[ordinal] >= 0) throw CKelLogicError(where + ": property " + Hex(id) + " is described twice");
        entry->second[ordinal] = static_cast<int>(i);
      }
      byName[meta->m_name] = meta.get();
      classes.push_back(std::move(meta));
    }
    for (const YAML::Node& node : root["relations"]) {
      RelationDesc desc;
      desc.id = ParseId(node["id"], source + ": relation");
      const std::string where = source + ": relation " + Hex(desc.id);
      if (!InBlock(desc.id, idBlock) || m_relations.count(desc.id) != 0) {
        throw CKelLogicError(where + ": the id is outside block " + Hex(idBlock) + " or described twice");
      }
      desc.name = RequiredText(node, "name", where);
      const CMetaClass* sourceClass = findClass(RequiredText(node, "source", where));
      const CMetaClass* targetClass = findClass(RequiredText(node, "target", where));
      if (sourceClass == nullptr || targetClass == nullptr) throw CKelLogicError(where + ": unknown source or target class");
      desc.source = sourceClass->GetClassId();
      desc.target = targetClass->GetClassId();
      desc.single = OptionalBool(node, "single", where);
      desc.description = OptionalText(node, "description");
      relations.push_back(desc);
    }
  } catch (const std::exception& e) {
    const std::string text = std::string("Data model ") + (std::string(e.what()).rfind(source, 0) == 0 ? "" : source + ": ") + e.what();
    m_errors.push_back(text);
    BLLLoggerFactory::GetInstance().GetLogger("kel.host")->Error(text, __FILE__, __LINE__);
    return;
  }
  for (auto& meta : classes) {
    m_classesByName[meta->m_name] = meta.get();
    const ClassId id = meta->m_id;
    m_classes[id] = std::move(meta);
  }
  for (const RelationDesc& desc : relations) m_relations[desc.id] = desc;
}

CMetaClass* CMetaClassManager::GetClass(ClassId id) const {
  const auto it = m_classes.find(id);
  return it != m_classes.end() ? it->second.get() : nullptr;
}

CMetaClass* CMetaClassManager::GetClass(const std::string& name) const {
  const auto it = m_classesByName.find(name);
  return it != m_classesByName.end() ? it->second : nullptr;
}

const RelationDesc* CMetaClassManager::GetRelation(RelationId id) const {
  const auto it = m_relations.find(id);
  return it != m_relations.end() ? &it->second : nullptr;
}

const RelationDesc* CMetaClassManager::GetRelation(const std::string& name) const {
  for (const auto& entry : m_relations) {
    if (entry.second.name == name) return &entry.second;
  }
  return nullptr;
}

std::vector<const CMetaClass*> CMetaClassManager::GetClassesOfBlock(unsigned idBlock) const {
  std::vector<const CMetaClass*> classes;
  for (const auto& entry : m_classes) {
    if (InBlock(entry.first, idBlock)) classes.push_back(entry.second.get());
  }
  return classes;
}

CMetaClassManager::Funcs CMetaClassManager::GetFuncs(ClassId id) const {
  const auto it = m_funcs.find(id);
  return it != m_funcs.end() ? it->second : Funcs();
}

}  // namespace framework
}  // namespace kel
