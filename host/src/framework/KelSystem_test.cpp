#include "kel/framework/KelSystem.h"

#include "../testsupport/HostTestSupport.h"
#include "kel/framework/HandleRegistry.h"
#include "kel/framework/HostClassIds.h"

namespace kel::framework::test {
namespace {

using KelSystemTest = HostTest;

TEST_F(KelSystemTest, ResetProjectDestroysTheOldProjectWithItsObjects) {
  CKelSystem& system = CKelSystem::Instance();
  CProject& oldProject = project();
  CTestItem& item = MakeItem();
  CTestItem& leaf = Make<CTestItem>(kTestLeaf, &item);
  const std::vector<Handle> old = Handles({&oldProject, &item, &leaf});

  system.ResetProject();

  EXPECT_EQ(MarkDeleteCalls(), (std::vector<Handle>{old[1], old[2]}));
  for (Handle handle : old) EXPECT_EQ(CHandleRegistry::Instance().FindIncludingDeleted(handle), nullptr) << handle;
  CProject& newProject = CProject::Instance();
  EXPECT_EQ(newProject.GetParent(), &system);
  ScriptableVec projects;
  system.GetObjects(projects, classid::Project);
  EXPECT_EQ(Handles(projects), Handles({&newProject}));
  EXPECT_EQ(newProject.GetObjectState(), CScriptable::STATE_CLEAN);
  EXPECT_EQ(CScriptable::PendingDeletedCount(), 0u);
}

}  // namespace
}  // namespace kel::framework::test
