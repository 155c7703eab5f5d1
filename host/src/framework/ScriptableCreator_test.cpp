#include "kel/framework/ScriptableCreator.h"

#include <memory>
#include <regex>

#include "../testsupport/HostTestSupport.h"
#include "kel/framework/Exceptions.h"
#include "kel/framework/HandleRegistry.h"
#include "kel/framework/HostClassIds.h"
#include "kel/framework/Logger.h"

namespace kel::framework::test {
namespace {

using ::testing::HasSubstr;

class ScriptableCreatorTest : public HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    BLLLoggerFactory::GetInstance().AddSink(log);
    objectsBefore = registry.Size();
  }
  void TearDown() override {
    BLLLoggerFactory::GetInstance().RemoveSink(log);
    HostTest::TearDown();
  }

  CScriptable* Create(ClassId classId, CScriptable* parent, bool runInit = true, bool autoName = true,
                      unsigned handle = 0) {
    return CScriptableCreator().Create(classId, parent, runInit, autoName, handle);
  }
  std::size_t ProjectChildren() const {
    ScriptableVec children;
    project().GetObjects(children);
    return children.size();
  }

  CHandleRegistry& registry = CHandleRegistry::Instance();
  std::shared_ptr<MemorySink> log = std::make_shared<MemorySink>();
  std::size_t objectsBefore = 0;
};

TEST_F(ScriptableCreatorTest, ClassesThatCannotBeMadeGiveNullAndLeaveNothing) {
  EXPECT_EQ(Create(kUnknownClass, &project()), nullptr);
  ::testing::internal::CaptureStderr();  // the expected warning stays off the terminal
  EXPECT_EQ(Create(kTestNoMaker, &project()), nullptr);
  ::testing::internal::GetCapturedStderr();
  EXPECT_TRUE(log->Contains("kel.host", "Cannot create an object of class TestNoMaker: no make function is registered"));

  EXPECT_EQ(Create(kTestRefusing, &project()), nullptr) << "OnInit said no";
  EXPECT_THAT(ThrownText<CKelLogicError>([&] { Create(kTestThrowingMaker, &project()); }),
              HasSubstr("TestThrowingMaker cannot be made"));

  EXPECT_EQ(registry.Size(), objectsBefore);
  EXPECT_EQ(ProjectChildren(), 0u);
  ScriptableVec added;
  project().GetAddedObjects(added, 0, ParentChild());
  EXPECT_TRUE(added.empty());
}

TEST_F(ScriptableCreatorTest, AWantedHandleIsGivenWhenFreeAndRefusedWhenInUse) {
  // The registry's table and, beyond it, its map.
  const Handle dense = MakeItem().GetHandle() + 1000;
  for (const Handle wanted : {dense, CHandleRegistry::kDenseHandles + 1000}) {
    SCOPED_TRACE(wanted);
    CScriptable* loaded = Create(kTestItem, &project(), true, true, wanted);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->GetHandle(), wanted);
    EXPECT_EQ(registry.Find(wanted), loaded);
    EXPECT_THAT(ThrownText<CKelLogicError>([&] { Create(kTestItem, &project(), true, true, wanted); }),
                HasSubstr("Handle " + std::to_string(wanted) + " is already in use"));
    CTestItem& later = MakeItem();
    EXPECT_GT(later.GetHandle(), wanted) << "later handles stay clear of the loaded one";
    EXPECT_EQ(registry.Find(later.GetHandle()), &later);
  }
  EXPECT_EQ(ProjectChildren(), 5u);
}

TEST_F(ScriptableCreatorTest, CreatingBelowADeletedParentThrowsAndLeavesNothing) {
  CTestItem& parent = MakeItem();
  parent.MarkDelete();
  const std::size_t objects = registry.Size();
  EXPECT_THAT(ThrownText<CKelLogicError>([&] { Create(kTestItem, &parent); }),
              HasSubstr("Cannot create TestItem under " + parent.GetName()));
  EXPECT_EQ(registry.Size(), objects);
}

TEST_F(ScriptableCreatorTest, NamesObjectsAfterTheirClassWithACountPerClass) {
  const std::regex autoName("TestItem ([0-9]+)");
  std::smatch first;
  std::smatch second;
  const std::string firstName = MakeItem().GetName();
  const std::string secondName = MakeItem().GetName();
  ASSERT_TRUE(std::regex_match(firstName, first, autoName)) << firstName;
  ASSERT_TRUE(std::regex_match(secondName, second, autoName)) << secondName;
  EXPECT_EQ(std::stoul(second[1]), std::stoul(first[1]) + 1);
  EXPECT_TRUE(std::regex_match(Make(classid::Port).GetName(), std::regex("Port [0-9]+")));

  auto* plain = dynamic_cast<CTestItem*>(Create(kTestItem, &project(), false, false));
  ASSERT_NE(plain, nullptr);
  EXPECT_EQ(plain->GetName(), "");
  EXPECT_EQ(plain->initCalls, 0);
}

}  // namespace
}  // namespace kel::framework::test
