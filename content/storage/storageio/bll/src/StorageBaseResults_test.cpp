#include "StorageBaseResults.h"

#include "StorageDiscoveredTargetResults.h"
#include "StoragePortResults.h"
#include "StorageProfileResults.h"
#include "StorageProjectResults.h"
#include "StorageWorkerConfig.h"
#include "StorageWorkerResults.h"
#include "kel/framework/Project.h"
#include "kel/framework/ScriptableCreator.h"
#include "test/StorageIOTest.h"

namespace kel {
namespace storageio {
namespace {

using framework::CScriptableCreator;
using framework::PropId;

class StorageBaseResultsTest : public StorageIOTest {};

TEST_F(StorageBaseResultsTest, TheAbstractBaseCannotBeMade) {
  try {
    CScriptableCreator().Create(CStorageBaseResults::CLASS_ID(), &framework::CProject::Instance());
    FAIL() << "no exception";
  } catch (const framework::CKelLogicError& e) {
    EXPECT_EQ("Trying to create an abstract class : CStorageBaseResults", e.GetMessage());
  }
  CStorageBaseResultsCtorDtorHelper::Dtor(nullptr);
  CStorageWorkerResultsCtorDtorHelper::Dtor(nullptr);
}

TEST_F(StorageBaseResultsTest, EveryResultClassIsConcreteAndResetZeroesItInPlace) {
  for (framework::ClassId id : {CStorageDiscoveredTargetResults::CLASS_ID(), CStorageWorkerResults::CLASS_ID(),
                                CStorageProfileResults::CLASS_ID(), CStoragePortResults::CLASS_ID(),
                                CStorageProjectResults::CLASS_ID()}) {
    auto* result = dynamic_cast<CStorageBaseResults*>(CScriptableCreator().Create(id, &framework::CProject::Instance()));
    ASSERT_NE(nullptr, result) << std::hex << id;
    EXPECT_FALSE(result->IsSingleton());
  }

  framework::CScriptable* worker = CScriptableCreator().Create(CStorageWorkerConfig::CLASS_ID(), &framework::CProject::Instance());
  auto* result = static_cast<CStorageWorkerResults*>(CScriptableCreator().Create(CStorageWorkerResults::CLASS_ID(), worker));
  for (PropId p = CStorageBaseResults::kFirstCounter; p <= CStorageBaseResults::kLastCounter; ++p) result->Set(p, 7UL);
  for (PropId p = CStorageBaseResults::kFirstDouble; p <= CStorageBaseResults::kLastDouble; ++p) result->Set(p, 2.5);
  result->ResetResults();
  EXPECT_EQ(worker, result->GetParent());
  for (PropId p = CStorageBaseResults::kFirstCounter; p <= CStorageBaseResults::kLastCounter; ++p) {
    EXPECT_EQ(0u, result->GetU64(p)) << std::hex << p;
  }
  for (PropId p = CStorageBaseResults::kFirstDouble; p <= CStorageBaseResults::kLastDouble; ++p) {
    EXPECT_EQ(0.0, result->GetDouble(p)) << std::hex << p;
  }
}

}  // namespace
}  // namespace storageio
}  // namespace kel
