#include "ProjectBuilder.h"

#include <stdexcept>

#include "kel/core/EmulatedDevice.h"
#include "kel/framework/Exceptions.h"
#include "kel/framework/MetaClass.h"
#include "kel/framework/Project.h"
#include "kel/framework/ScriptableCreator.h"
#include "kel/framework/ScriptableLocator.h"

namespace storageio_project {

namespace {

using kel::framework::CMetaClassManager;

CScriptable& Project() { return kel::framework::CProject::GetCurrentActiveInstance(); }

template <class T>
T& As(CScriptable& object, const std::string& className) {
  auto* typed = dynamic_cast<T*>(&object);
  if (typed == nullptr) throw std::runtime_error("the host's " + className + " is not of the expected kind");
  return *typed;
}

}  // namespace

kel::framework::ClassId ProjectBuilder::ClassIdOf(const std::string& className) {
  const kel::framework::CMetaClass* meta = CMetaClassManager::Instance().GetClass(className);
  if (meta == nullptr) throw std::runtime_error("the host knows no class " + className + " (is the plug-in loaded?)");
  return meta->GetClassId();
}

kel::framework::RelationType ProjectBuilder::Relation(const std::string& relationName) {
  const kel::framework::RelationDesc* relation = CMetaClassManager::Instance().GetRelation(relationName);
  if (relation == nullptr) throw std::runtime_error("the host knows no relation " + relationName);
  return kel::framework::RelationType(relation->id);
}

CScriptable& ProjectBuilder::Make(const std::string& className, CScriptable* parent) {
  CScriptable* object = kel::framework::CScriptableCreator().Create(ClassIdOf(className), parent, true, true, 0);
  if (object == nullptr) throw std::runtime_error("the host cannot make a " + className);
  return *object;
}

void ProjectBuilder::Set(CScriptable& object, const PropertyTexts& properties) {
  for (const auto& [name, text] : properties) {
    try {
      object.Set(name.c_str(), text);
    } catch (const kel::framework::CKelException& refused) {
      throw std::runtime_error(object.GetName() + ": " + name + ": " + refused.what());
    }
  }
}

kel::core::CPort& ProjectBuilder::AddPort(const std::string& name, const std::string& location,
                                          const std::string& portGroup) {
  auto& port = As<kel::core::CPort>(Make("Port", &Project()), "Port");
  port.Set("Name", name);
  port.Set("Location", location);
  port.Set("PortGroup", portGroup);
  port.Set("ReservedForTesting", "true");
  return port;
}

CScriptable& ProjectBuilder::AddProfile(const std::string& name, const PropertyTexts& properties) {
  CScriptable& profile = Make("StorageWorkerProfile", &Project());
  profile.Set("Name", name);
  Set(profile, properties);
  return profile;
}

CScriptable& ProjectBuilder::AddWorker(const std::string& name, kel::core::CPort& port, CScriptable* profile,
                                       const PropertyTexts& properties) {
  auto& device = As<kel::core::CEmulatedDevice>(Make("EmulatedDevice", &Project()), "EmulatedDevice");
  device.Set("Name", name + " device");
  device.SetPort(&port);
  CScriptable& worker = Make("StorageWorkerConfig", &device);
  worker.Set("Name", name);
  Set(worker, properties);
  if (profile != nullptr && !worker.SetObjects({profile}, Relation("UsesProfile"), true)) {
    throw std::runtime_error("the host refused profile " + profile->GetName() + " for worker " + name);
  }
  return worker;
}

CScriptable& ProjectBuilder::AddTarget(CScriptable& worker, const PropertyTexts& properties) {
  CScriptable& target = Make("StorageDiscoveredTargets", &worker);
  Set(target, properties);
  UseTargets(worker, {&target});
  return target;
}

void ProjectBuilder::UseTargets(CScriptable& worker, const ScriptableVec& targets) {
  std::string refusal;
  for (CScriptable* target : targets) {
    if (!worker.AddObject(*target, Relation("UsesTarget"), &refusal)) {
      throw std::runtime_error("the host refused target " + target->Get("VolumeName") + " for worker " +
                               worker.GetName() + ": " + refusal);
    }
  }
}

ProjectBuilder::Command ProjectBuilder::MakeCommand(const std::string& className) {
  CScriptable& object = Make(className, nullptr);
  auto* command = dynamic_cast<kel::framework::CCommand*>(&object);
  if (command == nullptr) {
    kel::framework::ReleaseScriptable(&object);
    throw std::runtime_error("the host's " + className + " is not a command");
  }
  return Command(command);
}

namespace {

std::string HandleText(const std::vector<kel::framework::Handle>& handles) {
  std::string text;
  for (kel::framework::Handle handle : handles) text += (text.empty() ? "" : " ") + std::to_string(handle);
  return text;
}

}  // namespace

ProjectBuilder::Command ProjectBuilder::MakeLearn(const std::vector<kel::core::CPort*>& ports) {
  std::vector<kel::framework::Handle> handles;
  for (const kel::core::CPort* port : ports) handles.push_back(port->GetHandle());
  Command learn = MakeCommand("StorageLearnTargetsCommand");
  learn->Set("PortList", HandleText(handles));
  return learn;
}

ProjectBuilder::Command ProjectBuilder::MakeStart(const std::vector<kel::framework::Handle>& workers,
                                                  unsigned durationSeconds, bool learnFirst) {
  Command start = MakeCommand("StorageStartWorkerCommand");
  start->Set("HostList", HandleText(workers));
  start->Set("Duration", std::to_string(durationSeconds));
  start->Set("LearnFirst", learnFirst ? "true" : "false");
  return start;
}

ProjectBuilder::Command ProjectBuilder::MakeStop() { return MakeCommand("StorageStopWorkerCommand"); }

ProjectBuilder::Command ProjectBuilder::MakeApply(bool validateOnly) {
  Command apply = MakeCommand("ApplyToILCommand");
  apply->Set("ValidateOnly", validateOnly ? "true" : "false");
  return apply;
}

kel::core::CPort& ProjectBuilder::PortOf(const CScriptable& worker) {
  const CScriptable* device = worker.GetParent();
  auto* port = device == nullptr ? nullptr
                                 : dynamic_cast<kel::core::CPort*>(device->GetObject(ClassIdOf("Port"), Relation("AffiliatedPort")));
  if (port == nullptr) throw std::runtime_error(worker.GetName() + " is on no port");
  return *port;
}

CScriptable* ProjectBuilder::ProfileOf(const CScriptable& worker) {
  return worker.GetObject(ClassIdOf("StorageWorkerProfile"), Relation("UsesProfile"));
}

ScriptableVec ProjectBuilder::LearnedTargetsOf(const CScriptable& worker) {
  ScriptableVec targets;
  worker.GetObjects(targets, ClassIdOf("StorageDiscoveredTargets"), kel::framework::ParentChild());
  return targets;
}

ScriptableVec ProjectBuilder::ObjectsOf(const std::string& className) {
  ScriptableVec objects;
  kel::framework::CScriptableLocator::Instance().GetObjectsEx(objects, ClassIdOf(className), &Project(),
                                                               kel::framework::FILTER_NONE);
  return objects;
}

}  // namespace storageio_project
