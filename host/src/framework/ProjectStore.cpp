#include "kel/framework/ProjectStore.h"

#include <cstdio>
#include <fstream>
#include <map>
#include <vector>

#include <yaml-cpp/yaml.h>

#include "kel/framework/Exceptions.h"
#include "kel/framework/HostClassIds.h"
#include "kel/framework/KelSystem.h"
#include "kel/framework/Project.h"
#include "kel/framework/ScriptableCreator.h"

namespace kel {
namespace framework {

namespace {

constexpr const char* kFormat = "storageio-project 1";

std::string Hex(std::uint32_t id) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%x", id);
  return buf;
}

std::uint32_t ParseNumber(const std::string& text, const std::string& where) {
  try {
    return std::get<std::uint32_t>(FromText(PropertyType::U32, text));
  } catch (const CKelRunTimeError& e) {
    throw CKelRunTimeError(where + ": " + e.GetMessage());
  }
}

// Properties the file carries: everything but the handle and what the host maintains itself.
bool IsSaved(const PropertyDesc& desc) { return desc.id != prop::Handle && !desc.readOnly; }

void CollectTree(CScriptable& object, ScriptableVec& out) {
  ScriptableVec children;
  object.GetObjects(children);
  for (CScriptable* child : children) {
    out.push_back(child);
    CollectTree(*child, out);
  }
}

struct PlannedObject {
  CMetaClass* meta = nullptr;
  Handle savedHandle = 0;
  Handle savedParent = 0;
  std::vector<std::pair<const PropertyDesc*, PropertyValue>> properties;
};

struct PlannedRelation {
  RelationId id;
  Handle source;
  Handle target;
};

}  // namespace

void CProjectStore::Save(const std::string& path) {
  CProject& project = CProject::GetCurrentActiveInstance();
  ScriptableVec objects;
  CollectTree(project, objects);

  YAML::Emitter out;
  out << YAML::BeginMap << YAML::Key << "format" << YAML::Value << kFormat;
  out << YAML::Key << "project" << YAML::Value << project.GetHandle();
  out << YAML::Key << "objects" << YAML::Value << YAML::BeginSeq;
  for (CScriptable* object : objects) {
    out << YAML::BeginMap;
    out << YAML::Key << "class" << YAML::Value << Hex(object->GetClassId());
    out << YAML::Key << "handle" << YAML::Value << object->GetHandle();
    out << YAML::Key << "parent" << YAML::Value << object->GetParent()->GetHandle();
    out << YAML::Key << "properties" << YAML::Value << YAML::BeginMap;
    for (const PropertyDesc& desc : object->GetMetaClass()->GetProperties()) {
      if (!IsSaved(desc)) continue;
      out << YAML::Key << Hex(desc.id) << YAML::Value << YAML::DoubleQuoted
          << ToText(object->GetDataStore().GetValue(desc.id));
    }
    out << YAML::EndMap << YAML::EndMap;
  }
  out << YAML::EndSeq;
  // Forward relations other than parent-child, seen from their sources.
  out << YAML::Key << "relations" << YAML::Value << YAML::BeginSeq;
  for (CScriptable* object : objects) {
    for (const RelationType& type : object->GetRelationTypes()) {
      if (!type.IsForward() || type.GetId() == relation::ParentChild) continue;
      ScriptableVec targets;
      object->GetObjects(targets, 0, type);
      for (CScriptable* target : targets) {
        out << YAML::Flow << YAML::BeginSeq << Hex(type.GetId()) << object->GetHandle() << target->GetHandle()
            << YAML::EndSeq;
      }
    }
  }
  out << YAML::EndSeq << YAML::EndMap;

  std::ofstream file(path, std::ios::trunc);
  if (!file) throw CKelRunTimeError("Cannot write project file " + path);
  file << out.c_str() << "\n";
  if (!file.flush()) throw CKelRunTimeError("Cannot write project file " + path);
}

std::size_t CProjectStore::Load(const std::string& path) {
  const std::string where = "Project file " + path;
  YAML::Node root;
  try {
    root = YAML::LoadFile(path);
  } catch (const YAML::Exception& e) {
    throw CKelRunTimeError(where + ": " + e.what());
  }
  if (!root.IsMap() || !root["format"] || root["format"].as<std::string>("") != kFormat) {
    throw CKelRunTimeError(where + ": not a project file of format '" + std::string(kFormat) + "'");
  }

  // 1. Read and check everything.
  const CMetaClassManager& classes = CMetaClassManager::Instance();
  std::vector<PlannedObject> plan;
  std::map<Handle, std::size_t> indexBySavedHandle;
  const Handle savedProject = ParseNumber(root["project"].as<std::string>(""), where + ": project");
  try {
    for (const YAML::Node& node : root["objects"]) {
      PlannedObject entry;
      const std::string at = where + ": object " + std::to_string(plan.size() + 1);
      const std::uint32_t classId = ParseNumber(node["class"].as<std::string>(""), at + ": class");
      entry.meta = classes.GetClass(classId);
      if (entry.meta == nullptr || entry.meta->IsAbstract()) {
        throw CKelRunTimeError(at + ": class " + Hex(classId) + " is unknown or abstract");
      }
      entry.savedHandle = ParseNumber(node["handle"].as<std::string>(""), at + ": handle");
      entry.savedParent = ParseNumber(node["parent"].as<std::string>(""), at + ": parent");
      if (entry.savedParent != savedProject && indexBySavedHandle.count(entry.savedParent) == 0) {
        throw CKelRunTimeError(at + ": parent " + std::to_string(entry.savedParent) + " comes later or not at all");
      }
      if (!indexBySavedHandle.emplace(entry.savedHandle, plan.size()).second) {
        throw CKelRunTimeError(at + ": handle " + std::to_string(entry.savedHandle) + " is used twice");
      }
      for (const auto& property : node["properties"]) {
        const PropId id = ParseNumber(property.first.as<std::string>(""), at + ": property");
        const int index = entry.meta->FindPropertyIndex(id);
        const PropertyDesc* desc = index >= 0 ? &entry.meta->GetProperties()[static_cast<std::size_t>(index)] : nullptr;
        if (desc == nullptr || !IsSaved(*desc)) {
          throw CKelRunTimeError(at + ": " + entry.meta->GetName() + " has no property " + Hex(id) + " to load");
        }
        try {
          entry.properties.emplace_back(desc, FromText(desc->type, property.second.as<std::string>("")));
        } catch (const CKelRunTimeError& e) {
          throw CKelRunTimeError(at + ": " + desc->name + ": " + e.GetMessage());
        }
      }
      plan.push_back(std::move(entry));
    }
  } catch (const YAML::Exception& e) {
    throw CKelRunTimeError(where + ": " + e.what());
  }
  std::vector<PlannedRelation> relations;
  for (const YAML::Node& node : root["relations"]) {
    const std::string at = where + ": relation " + std::to_string(relations.size() + 1);
    if (!node.IsSequence() || node.size() != 3) throw CKelRunTimeError(at + ": expected [relation, source, target]");
    PlannedRelation relation{ParseNumber(node[0].as<std::string>(""), at), ParseNumber(node[1].as<std::string>(""), at),
                             ParseNumber(node[2].as<std::string>(""), at)};
    if (classes.GetRelation(relation.id) == nullptr) throw CKelRunTimeError(at + ": unknown relation " + Hex(relation.id));
    if (indexBySavedHandle.count(relation.source) == 0 || indexBySavedHandle.count(relation.target) == 0) {
      throw CKelRunTimeError(at + ": names an object that is not in the file");
    }
    relations.push_back(relation);
  }

  // 2. Replace the project.
  CKelSystem& system = CKelSystem::Instance();
  system.ResetProject();
  CProject& project = CProject::GetCurrentActiveInstance();
  std::map<Handle, CScriptable*> loaded;
  ScriptableVec order;
  system.SetLoadingConfiguration(true);
  try {
    for (const PlannedObject& entry : plan) {
      CScriptable* parent = entry.savedParent == savedProject ? &project : loaded.at(entry.savedParent);
      CScriptable* object = CScriptableCreator().Create(entry.meta, parent, true, false, 0);
      if (object == nullptr) throw CKelRunTimeError(where + ": cannot create a " + entry.meta->GetName());
      loaded[entry.savedHandle] = object;
      order.push_back(object);
    }
    for (std::size_t i = 0; i < plan.size(); ++i) {
      for (const auto& property : plan[i].properties) {
        PropertyValue value = property.second;
        if (HandleList* handles = std::get_if<HandleList>(&value)) {
          HandleList translated;
          for (Handle saved : *handles) {
            const auto it = loaded.find(saved);
            if (it != loaded.end()) translated.push_back(it->second->GetHandle());
          }
          *handles = translated;
        }
        order[i]->SetValue(property.first->id, value);
      }
    }
    for (const PlannedRelation& relation : relations) {
      std::string error;
      if (!loaded.at(relation.source)->AddObject(*loaded.at(relation.target), RelationType(relation.id), &error) &&
          !loaded.at(relation.source)->ContainsObject(*loaded.at(relation.target), RelationType(relation.id))) {
        throw CKelRunTimeError(where + ": " + error);
      }
    }
  } catch (...) {
    system.SetLoadingConfiguration(false);
    throw;
  }
  system.SetLoadingConfiguration(false);
  for (CScriptable* object : order) object->OnLoadCompleted();
  return order.size();
}

}  // namespace framework
}  // namespace kel
