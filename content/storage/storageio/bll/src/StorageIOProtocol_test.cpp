#include "StorageIOProtocol.h"

#include "StorageWorkerProfile.h"
#include "kel/core/ProtocolModule.h"
#include "kel/framework/Project.h"
#include "kel/framework/ScriptableCreator.h"
#include "test/StorageIOTest.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {
namespace {

using framework::CProject;
using framework::ScriptableVec;

class StorageIOProtocolTest : public StorageIOTest {
 protected:
  static std::size_t ProjectProfileCount() {
    ScriptableVec profiles;
    CProject::Instance().GetObjects(profiles, CStorageWorkerProfile::CLASS_ID());
    return profiles.size();
  }
  // A profile made under the project as a loaded project makes it: named, then load completed.
  static CStorageWorkerProfile* LoadProfile(const std::string& name) {
    auto* loaded = static_cast<CStorageWorkerProfile*>(
        framework::CScriptableCreator().Create(CStorageWorkerProfile::CLASS_ID(), &CProject::Instance()));
    loaded->Set(framework::prop::Name, name);
    loaded->OnLoadCompleted();
    return loaded;
  }
};

TEST_F(StorageIOProtocolTest, AnswersItsIdentity) {
  CStorageIOProtocol* protocol = CStorageIOProtocol::Instance();
  EXPECT_EQ("StorageIO", protocol->GetName());
  EXPECT_EQ("Switching", protocol->GetCategory());
  EXPECT_EQ("Storage", protocol->GetGroupName());
  EXPECT_EQ("BST_1", protocol->GetMsgSetName());
  EXPECT_EQ(ids::classes::StorageWorkerConfig, protocol->GetManagedClassId());
  EXPECT_EQ(1, protocol->GetCategoryStartPriority());
  EXPECT_EQ(5, protocol->GetProtocolStartPriority());
}

TEST_F(StorageIOProtocolTest, KeepsOneDefaultProfileUnderTheProjectAndRemakesItWhenDeleted) {
  CStorageWorkerProfile* first = CStorageIOProtocol::Instance()->GetDefaultProfile();
  ASSERT_NE(nullptr, first);
  EXPECT_EQ("DefaultLoadProfile", first->GetName());
  EXPECT_TRUE(first->GetBool(ids::props::StorageWorkerProfile::IsDefaultProfile));
  EXPECT_EQ(&CProject::Instance(), first->GetParent());
  EXPECT_EQ(first, CStorageIOProtocol::Instance()->GetDefaultProfile());

  first->MarkDelete(true, true);
  CStorageWorkerProfile* second = CStorageIOProtocol::Instance()->GetDefaultProfile();
  EXPECT_NE(first, second);
  EXPECT_EQ("DefaultLoadProfile", second->GetName());
  EXPECT_EQ(1u, ProjectProfileCount());

  // Any profile is taken as the default without checking.
  CStorageWorkerProfile* other = LoadProfile("Profile A");
  EXPECT_NE(other, CStorageIOProtocol::Instance()->GetDefaultProfile()) << "only the name makes a loaded default";
  CStorageIOProtocol::Instance()->SetDefaultProfile(other);
  EXPECT_EQ(other, CStorageIOProtocol::Instance()->GetDefaultProfile());
}

TEST_F(StorageIOProtocolTest, ALoadedProfileNamedDefaultLoadProfileBecomesTheDefault) {
  CStorageWorkerProfile* loaded = LoadProfile("DefaultLoadProfile");
  EXPECT_EQ(loaded, CStorageIOProtocol::Instance()->GetDefaultProfile());
  EXPECT_EQ(1u, ProjectProfileCount());
}

TEST_F(StorageIOProtocolTest, DeleteInstanceTwiceIsHarmlessAndInstanceBuildsAFreshOne) {
  CStorageIOProtocol* first = CStorageIOProtocol::Instance();
  CStorageWorkerProfile* firstDefault = first->GetDefaultProfile();
  core::CProtocolModule::Instance().RegisterProtocol(first);
  CStorageIOProtocol::DeleteInstance();
  CStorageIOProtocol::DeleteInstance();
  EXPECT_EQ(nullptr, core::CProtocolModule::Instance().FindProtocol("StorageIO")) << "a destroyed protocol leaves the module";

  CStorageIOProtocol* fresh = CStorageIOProtocol::Instance();
  // The fresh protocol knows no default profile yet, so it makes another one.
  EXPECT_NE(firstDefault, fresh->GetDefaultProfile());
  EXPECT_EQ(2u, ProjectProfileCount());
}

TEST_F(StorageIOProtocolTest, LogCommandFailedErrorAlwaysThrowsAnEmptyCommandError) {
  try {
    CStorageIOProtocol::Instance()->LogCommandFailedError("the reason is not shown");
    FAIL() << "no exception";
  } catch (const framework::CCommandErrorException& e) {
    EXPECT_EQ("", e.GetMessage());
  }
}

}  // namespace
}  // namespace storageio
}  // namespace kel
