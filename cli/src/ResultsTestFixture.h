#pragma once
// The fixture of the results tests: the storage I/O plug-in loaded by path once per process, an
// empty project on the virtual clock for every test, objects made by class name, and records
// built by field name.

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>
#include <string>

#include "ResultFields.h"
#include "ResultRecord.h"
#include "kel/core/HostReset.h"
#include "kel/framework/KelSystem.h"
#include "kel/framework/MetaClass.h"
#include "kel/framework/PluginLoader.h"
#include "kel/framework/Project.h"
#include "kel/framework/ScriptableCreator.h"
#include "kel/framework/TaskManager.h"

namespace storageio_cli {

class ResultsTest : public ::testing::Test {
 protected:
  using CScriptable = kel::framework::CScriptable;

  static void SetUpTestSuite() {
    static const kel::framework::PluginInfo plugin =
        kel::framework::CPluginLoader::Instance().Load(STORAGEIO_PLUGIN_PATH);
    ASSERT_EQ(0, plugin.registerResult);
  }
  void SetUp() override { kel::core::ResetHost(kel::framework::CTaskManager::ClockMode::Virtual); }
  void TearDown() override { kel::core::ResetHost(kel::framework::CTaskManager::ClockMode::Real); }

  static kel::framework::CTaskManager& Loop() { return kel::framework::CTaskManager::Instance(); }
  static CScriptable& Project() { return kel::framework::CProject::GetCurrentActiveInstance(); }

  // An object of a class the host knows by name, named `name` when one is given.
  static CScriptable& Make(const std::string& className, CScriptable* parent, const std::string& name = "") {
    CScriptable* object = kel::framework::CScriptableCreator().Create(
        kel::framework::CMetaClassManager::Instance().GetClass(className), parent, true, true, 0);
    if (object == nullptr) throw std::runtime_error("the host cannot make a " + className);
    if (!name.empty()) object->Set("Name", name);
    return *object;
  }
  // Makes `to` the one object that `from` reaches over the relation (a new worker already uses
  // the default profile).
  static void Relate(CScriptable& from, CScriptable& to, const std::string& relation) {
    const kel::framework::RelationDesc* desc = kel::framework::CMetaClassManager::Instance().GetRelation(relation);
    if (desc == nullptr || !from.SetObjects({&to}, kel::framework::RelationType(desc->id), true)) {
      throw std::runtime_error("cannot relate over " + relation);
    }
  }
  // Sets a statistics field of a live result object by name, in its own type.
  static void SetField(CScriptable& result, const std::string& name, double value) {
    const ResultField& field = ResultFieldList()[ResultFieldIndex(name)];
    if (field.counter) result.Set(field.id, static_cast<unsigned long>(value));
    else result.Set(field.id, value);
  }

  // A record with every field 0 but those given by name (counters as integers).
  static ResultRecord Record(ResultLevel level, const std::string& owner,
                             const std::map<std::string, double>& set = {}) {
    ResultRecord record;
    record.level = level;
    record.owner = owner;
    for (const ResultField& field : ResultFieldList()) {
      const double value = set.count(field.name) != 0 ? set.at(field.name) : 0;
      record.values.push_back(field.counter ? ResultValue(static_cast<std::uint64_t>(value)) : ResultValue(value));
    }
    return record;
  }
  static double Field(const ResultRecord& record, const std::string& name) {
    return NumberAt(record.values, ResultFieldIndex(name));
  }
};

}  // namespace storageio_cli
