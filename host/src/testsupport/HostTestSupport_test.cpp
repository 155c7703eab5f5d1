#include "HostTestSupport.h"

#include "kel/core/HostReset.h"
#include "kel/framework/Exceptions.h"
#include "kel/framework/KelSystem.h"
#include "kel/framework/MetaClass.h"

namespace kel::framework::test {

namespace {

const char kTestDataModel[] = R"(
idBlock: 0x7e000000
classes:
  - id: 0x7e001000
    name: TestItem
    base: Scriptable
    properties:
      - {id: 0x7e001001, name: Count, type: u32, default: 7}
      - {id: 0x7e001002, name: Ratio, type: double, default: 0.5}
      - {id: 0x7e001003, name: Label, type: string, default: none}
      - {id: 0x7e001004, name: Total, type: u64}
  - id: 0x7e002000
    name: TestLeaf
    base: TestItem
    properties:
      - {id: 0x7e002001, name: Depth, type: u16, default: 3}
  - {id: 0x7e003000, name: TestConfig, base: ProtocolConfig}
  - id: 0x7e004000
    name: TestResult
    base: Result
    properties:
      - {id: 0x7e004001, name: Frames, type: u64}
  - {id: 0x7e005000, name: TestCommand, base: Command}
  - {id: 0x7e006000, name: TestNoMaker, base: Scriptable}
  - {id: 0x7e007000, name: TestThrowingMaker, base: Scriptable}
  - {id: 0x7e008000, name: TestRefusing, base: TestItem}
relations:
  - {id: 0x7e000001, name: TestLink, source: TestItem, target: TestItem}
  - {id: 0x7e000002, name: TestOwner, source: TestItem, target: TestLeaf, single: true}
  - {id: 0x7e000003, name: TestPeer, source: TestItem, target: TestItem}
)";

class CRefusingItem : public CTestItem {
 public:
  bool OnInit() override {
    CTestItem::OnInit();
    return false;
  }
};

template <class T>
CScriptable* MakeObject() { return new T(); }
CScriptable* MakeNothing() { throw CKelLogicError("TestThrowingMaker cannot be made"); }
void DestroyObject(CScriptable* object) { delete object; }

}  // namespace

std::vector<Handle>& MarkDeleteCalls() {
  static std::vector<Handle> calls;
  return calls;
}

bool CTestItem::OnInit() {
  ++initCalls;
  return true;
}

void CTestItem::OnRelationModified(RelationType type, CScriptable& other, bool added) {
  relationChanges.push_back({type, other.GetHandle(), added});
}

bool CTestCommand::DoRun() {
  if (throwInRun) throw CKelRunTimeError("run broke");
  return runResult;
}

void CTestCommand::OnRunnableStateChange(State from, State to) {
  CCommand::OnRunnableStateChange(from, to);
  states.push_back(to);
}

void LoadTestDataModel() {
  [[maybe_unused]] static const bool loaded = [] {
    CMetaClass::InitMakeDestroyFuncs(kTestItem, MakeObject<CTestItem>, DestroyObject);
    CMetaClass::InitMakeDestroyFuncs(kTestLeaf, MakeObject<CTestItem>, DestroyObject);
    CMetaClass::InitMakeDestroyFuncs(kTestConfig, MakeObject<CTestConfig>, DestroyObject);
    CMetaClass::InitMakeDestroyFuncs(kTestResult, MakeObject<CTestResult>, DestroyObject);
    CMetaClass::InitMakeDestroyFuncs(kTestCommand, MakeObject<CTestCommand>, DestroyObject);
    CMetaClass::InitMakeDestroyFuncs(kTestThrowingMaker, MakeNothing, DestroyObject);
    CMetaClass::InitMakeDestroyFuncs(kTestRefusing, MakeObject<CRefusingItem>, DestroyObject);
    CMetaClassManager& manager = CMetaClassManager::Instance();
    manager.AddDataModelDescription(kTestDataModel, "HostTestSupport");
    manager.ActivateDataModel(kTestBlock);
    const std::vector<std::string> errors = manager.TakeDataModelErrors();
    if (!errors.empty()) throw CKelLogicError(errors.front());
    return true;
  }();
}

void HostTest::SetUp() {
  LoadTestDataModel();
  core::ResetHost(CTaskManager::ClockMode::Virtual);
  MarkDeleteCalls().clear();
}

void HostTest::TearDown() { core::ResetHost(CTaskManager::ClockMode::Real); }

std::vector<Handle> Handles(const ScriptableVec& objects) {
  std::vector<Handle> handles;
  for (const CScriptable* object : objects) handles.push_back(object->GetHandle());
  return handles;
}

}  // namespace kel::framework::test
