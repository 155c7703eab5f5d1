#include "StorageIOProtocol.h"

#include "StorageWorkerProfile.h"
#include "kel/core/ProtocolModule.h"
#include "kel/framework/Project.h"
#include "kel/framework/ScriptableCreator.h"
#include "test/StorageIOTest.h"

namespace kel {
namespace storageio {
namespace {

using framework::CProject;
using framework::ScriptableVec;

class StorageIOProtocolTest : public StorageIOTest {};

ScriptableVec ProjectProfiles() {
  ScriptableVec profiles;
  CProject::Instance().GetObjects(profiles, CStorageWorkerProfile::CLASS_ID());
  return profiles;
}

TEST_F(StorageIOProtocolTest, AnswersItsIdentityAndTrivialHooks) {
  CStorageIOProtocol* protocol = CStorageIOProtocol::Instance();
  EXPECT_EQ(protocol, CStorageIOProtocol::Instance());
  EXPECT_EQ(0u, protocol->GetId());
  EXPECT_EQ("StorageIO", protocol->GetName());
  EXPECT_EQ("Switching", protocol->GetCategory());
  EXPECT_EQ("Storage", protocol->GetGroupName());
  EXPECT_EQ("BST_1", protocol->GetMsgSetName());
  EXPECT_EQ(0x86002000u, protocol->GetManagedClassId());
  EXPECT_EQ(1, protocol->GetCategoryStartPriority());
  EXPECT_EQ(5, protocol->GetProtocolStartPriority());
  EXPECT_EQ(3, protocol->GetProtocolTransmitOSILayer());
  EXPECT_EQ(3, protocol->GetProtocolOperationOSILayer());
  EXPECT_TRUE(protocol->GetManagedProtocolConfigType().empty());
  EXPECT_EQ(nullptr, protocol->GetStateSubscriptionHandler());
  EXPECT_TRUE(protocol->AddToStateSubscription(nullptr));
  EXPECT_TRUE(protocol->RemoveFromStateSubscription(nullptr));
}

TEST_F(StorageIOProtocolTest, MakesTheDefaultProfileOnceUnderTheProject) {
  CStorageWorkerProfile* profile = CStorageIOProtocol::Instance()->GetDefaultProfile();
  ASSERT_NE(nullptr, profile);
  EXPECT_EQ("DefaultLoadProfile", profile->GetName());
  EXPECT_TRUE(profile->GetBool(0x8600100b));
  EXPECT_EQ(&CProject::Instance(), profile->GetParent());
  EXPECT_EQ(profile, CStorageIOProtocol::Instance()->GetDefaultProfile());
  EXPECT_EQ(1u, ProjectProfiles().size());
}

TEST_F(StorageIOProtocolTest, TakesAnyProfileAsDefaultWithoutChecking) {
  auto* other = static_cast<CStorageWorkerProfile*>(
      framework::CScriptableCreator().Create(CStorageWorkerProfile::CLASS_ID(), &CProject::Instance()));
  CStorageIOProtocol::Instance()->SetDefaultProfile(other);
  EXPECT_EQ(other, CStorageIOProtocol::Instance()->GetDefaultProfile());
  EXPECT_NE("DefaultLoadProfile", other->GetName());
  EXPECT_EQ(1u, ProjectProfiles().size());
}

TEST_F(StorageIOProtocolTest, DeletingTheDefaultProfileMakesANewOneOnDemand) {
  CStorageWorkerProfile* first = CStorageIOProtocol::Instance()->GetDefaultProfile();
  first->MarkDelete(true, true);
  CStorageWorkerProfile* second = CStorageIOProtocol::Instance()->GetDefaultProfile();
  EXPECT_NE(first, second);
  EXPECT_EQ("DefaultLoadProfile", second->GetName());
  EXPECT_EQ(1u, ProjectProfiles().size());
}

TEST_F(StorageIOProtocolTest, ALoadedProfileNamedDefaultLoadProfileBecomesTheDefault) {
  auto* loaded = static_cast<CStorageWorkerProfile*>(
      framework::CScriptableCreator().Create(CStorageWorkerProfile::CLASS_ID(), &CProject::Instance()));
  loaded->Set(framework::prop::Name, std::string("Profile A"));
  loaded->OnLoadCompleted();
  EXPECT_NE(loaded, CStorageIOProtocol::Instance()->GetDefaultProfile()) << "only the name makes a default";

  framework::CKelSystem::Instance().ResetProject();
  loaded = static_cast<CStorageWorkerProfile*>(
      framework::CScriptableCreator().Create(CStorageWorkerProfile::CLASS_ID(), &CProject::Instance()));
  loaded->Set(framework::prop::Name, std::string("DefaultLoadProfile"));
  loaded->OnLoadCompleted();
  EXPECT_EQ(loaded, CStorageIOProtocol::Instance()->GetDefaultProfile());
  EXPECT_EQ(1u, ProjectProfiles().size());
}

TEST_F(StorageIOProtocolTest, DeleteInstanceTwiceIsHarmlessAndInstanceBuildsAFreshOne) {
  CStorageIOProtocol* first = CStorageIOProtocol::Instance();
  CStorageWorkerProfile* firstDefault = first->GetDefaultProfile();
  core::CProtocolModule::Instance().RegisterProtocol(first);
  CStorageIOProtocol::DeleteInstance();
  CStorageIOProtocol::DeleteInstance();
  EXPECT_EQ(nullptr, core::CProtocolModule::Instance().FindProtocol("StorageIO")) << "a destroyed protocol leaves the module";

  CStorageIOProtocol* fresh = CStorageIOProtocol::Instance();
  core::CProtocolModule::Instance().RegisterProtocol(fresh);
  EXPECT_EQ(fresh, core::CProtocolModule::Instance().FindProtocol("StorageIO"));
  // The fresh protocol knows no default profile yet, so it makes another one.
  EXPECT_NE(firstDefault, fresh->GetDefaultProfile());
  EXPECT_EQ(2u, ProjectProfiles().size());
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
