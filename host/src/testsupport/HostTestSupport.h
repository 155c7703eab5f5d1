#pragma once
// Test classes, their data model and a fixture shared by the host's object-model tests.
//
// The test data model owns id block 0x7e000000 (tests that load data models of their own use
// other blocks). HostTest::SetUp loads it once per process and starts every test on an empty
// project; TearDown resets the project again, so objects made below the project never outlive a
// test. Objects a test makes without a parent are the test's to release (ReleaseScriptable).

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "kel/core/ProtocolConfig.h"
#include "kel/framework/Command.h"
#include "kel/framework/HostClassIds.h"  // tests built on this make host classes too
#include "kel/framework/Project.h"
#include "kel/framework/Result.h"
#include "kel/framework/ScriptableCreator.h"

namespace kel::framework::test {

constexpr unsigned kTestBlock = 0x7e000000;

constexpr ClassId kTestItem = 0x7e001000;           // base Scriptable; C++ CTestItem
constexpr ClassId kTestLeaf = 0x7e002000;           // base TestItem; C++ CTestItem
constexpr ClassId kTestConfig = 0x7e003000;         // base ProtocolConfig; C++ CTestConfig
constexpr ClassId kTestResult = 0x7e004000;         // base Result; C++ CTestResult
constexpr ClassId kTestCommand = 0x7e005000;        // base Command; C++ CTestCommand
constexpr ClassId kTestNoMaker = 0x7e006000;        // described, but no make function registered
constexpr ClassId kTestThrowingMaker = 0x7e007000;  // its make function throws CKelLogicError
constexpr ClassId kTestRefusing = 0x7e008000;       // base TestItem; OnInit returns false
constexpr ClassId kUnknownClass = 0x7e0ff000;       // described nowhere

constexpr PropId kCount = 0x7e001001;  // u32 of TestItem, default 7
constexpr PropId kRatio = 0x7e001002;  // double, default 0.5
constexpr PropId kLabel = 0x7e001003;  // string, default "none"
constexpr PropId kTotal = 0x7e001004;  // u64, default 0
constexpr PropId kDepth = 0x7e002001;  // u16 of TestLeaf, default 3

// TestLink: TestItem -> TestItem, any number. TestOwner: TestItem -> TestLeaf, one target at most.
constexpr RelationType kTestLink(0x7e000001);
constexpr RelationType kTestOwner(0x7e000002);
constexpr RelationType kTestPeer(0x7e000003);

// Handles of test objects whose OnMarkDelete ran, in call order; HostTest::SetUp empties it.
std::vector<Handle>& MarkDeleteCalls();

struct RelationChange {
  RelationType type;
  Handle other;
  bool added;
  bool operator==(const RelationChange& o) const { return type == o.type && other == o.other && added == o.added; }
};

// A Base that records its OnMarkDelete calls in MarkDeleteCalls.
template <class Base>
class CMarkDeleteRecorder : public Base {
 public:
  bool OnMarkDelete() override {
    MarkDeleteCalls().push_back(this->GetHandle());
    return true;
  }
};
using CTestConfig = CMarkDeleteRecorder<core::CProtocolConfig>;
using CTestResult = CMarkDeleteRecorder<CResult>;

class CTestItem : public CMarkDeleteRecorder<CScriptable> {
 public:
  int initCalls = 0;
  std::vector<RelationChange> relationChanges;

  bool OnInit() override;
  void OnRelationModified(RelationType type, CScriptable& other, bool added) override;
};

// A command whose validation and run the test decides; it records every state it moves to.
class CTestCommand : public CCommand {
 public:
  bool valid = true;
  bool runResult = true;
  bool throwInRun = false;  // DoRun throws CKelRunTimeError("run broke")
  std::vector<unsigned> states;

 protected:
  bool DoRunnableValidate() override { return valid; }
  bool DoRun() override;
  void OnRunnableStateChange(State from, State to) override;
};

// Loads the test data model and registers the test classes' make functions (once per process).
// Throws CKelLogicError with the data model's errors when it cannot be loaded.
void LoadTestDataModel();

class HostTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  static CProject& project() { return CProject::Instance(); }

  // Makes an object of the class under `parent` (the project when omitted) and returns it as T;
  // throws std::logic_error when the creator returns null or the object is not a T.
  template <class T = CScriptable>
  T& Make(ClassId classId, CScriptable* parent = &CProject::Instance()) {
    auto* object = dynamic_cast<T*>(CScriptableCreator().Create(classId, parent));
    if (object == nullptr) throw std::logic_error("cannot make an object of class " + std::to_string(classId));
    return *object;
  }
  CTestItem& MakeItem(CScriptable* parent = &CProject::Instance()) { return Make<CTestItem>(kTestItem, parent); }
};

// Objects as their handles, so failed comparisons print readably.
std::vector<Handle> Handles(const ScriptableVec& objects);

// The text of the E that `action` throws; records a test failure and returns "" when it throws
// nothing or something else.
template <class E, class Action>
std::string ThrownText(Action action) {
  try {
    action();
  } catch (const E& error) {
    return error.what();
  } catch (const std::exception& error) {
    ADD_FAILURE() << "threw another exception: " << error.what();
    return "";
  }
  ADD_FAILURE() << "threw nothing";
  return "";
}

}  // namespace kel::framework::test
