#include "kel/framework/ProjectStore.h"

#include <cstdio>
#include <fstream>

#include "kel/core/EmulatedDevice.h"
#include "kel/core/Port.h"
#include "kel/framework/HandleRegistry.h"
#include "kel/framework/KelSystem.h"
#include "../testsupport/HostTestSupport.h"

namespace kel::framework::test {
namespace {

class ProjectStoreTest : public HostTest {
 protected:
  void TearDown() override {
    std::remove(m_path.c_str());
    HostTest::TearDown();
  }
  void Write(const std::string& text) { std::ofstream(m_path) << text; }

  // ctest runs this fixture's tests in parallel processes, so each test needs a file of its own.
  std::string m_path =
      ::testing::TempDir() + ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".yaml";
};

template <class T = CScriptable>
T* Child(const CScriptable& parent, ClassId classId, std::size_t index = 0) {
  ScriptableVec children;
  parent.GetObjects(children, classId);
  return index < children.size() ? dynamic_cast<T*>(children[index]) : nullptr;
}

TEST_F(ProjectStoreTest, ASavedProjectLoadsBackWithItsObjectsPropertiesAndRelations) {
  auto& port = Make<core::CPort>(classid::Port);
  port.Set(core::prop::Location, "tcp://127.0.0.1:7100");
  port.Set(core::prop::ReservedForTesting, true);
  auto& device = Make<core::CEmulatedDevice>(classid::EmulatedDevice);
  device.SetPort(&port);
  CTestItem& first = MakeItem();
  first.Set(kRatio, 0.1);
  first.Set(kLabel, "first \"quoted\" label: with colon");
  first.Set(kTotal, 18446744073709551615UL);
  CTestItem& second = MakeItem(&first);
  ASSERT_TRUE(first.AddObject(second, kTestLink));
  const Handle oldPortHandle = port.GetHandle();
  const std::string portName = port.GetName();

  CProjectStore::Save(m_path);
  EXPECT_EQ(4u, CProjectStore::Load(m_path));  // every object above is destroyed now

  EXPECT_EQ(nullptr, CHandleRegistry::Instance().Find(oldPortHandle)) << "the old project is gone";
  auto* loadedPort = Child<core::CPort>(project(), classid::Port);
  auto* loadedDevice = Child<core::CEmulatedDevice>(project(), classid::EmulatedDevice);
  auto* loadedFirst = Child<CTestItem>(project(), kTestItem);
  ASSERT_TRUE(loadedPort && loadedDevice && loadedFirst);
  EXPECT_EQ("tcp://127.0.0.1:7100", loadedPort->GetLocation());
  EXPECT_TRUE(loadedPort->GetBool(core::prop::ReservedForTesting));
  EXPECT_EQ(portName, loadedPort->GetName());
  EXPECT_EQ(loadedPort, loadedDevice->GetPort());
  EXPECT_EQ(0.1, loadedFirst->GetDouble(kRatio));
  EXPECT_EQ("first \"quoted\" label: with colon", loadedFirst->GetString(kLabel));
  EXPECT_EQ(18446744073709551615UL, loadedFirst->GetU64(kTotal));
  CTestItem* loadedSecond = Child<CTestItem>(*loadedFirst, kTestItem);
  ASSERT_NE(nullptr, loadedSecond);
  EXPECT_TRUE(loadedFirst->ContainsObject(*loadedSecond, kTestLink));
  EXPECT_EQ(CScriptable::STATE_CREATED, loadedFirst->GetObjectState()) << "loaded objects still have to be applied";
  EXPECT_FALSE(CKelSystem::Instance().GetBool(prop::LoadingConfiguration));
}

TEST_F(ProjectStoreTest, ABadFileIsRefusedWholeAndTheProjectStays) {
  CTestItem& kept = MakeItem();
  const std::string header = "format: storageio-project 1\nproject: 1\n";
  const struct {
    std::string body;
    std::string expected;
  } cases[] = {
      {"objects:\n  - {class: 0x7e0ff000, handle: 5, parent: 1}\n", "class 0x7e0ff000 is unknown or abstract"},
      {"objects:\n  - {class: 0x7e001000, handle: 5, parent: 9}\n", "parent 9 comes later or not at all"},
      {"objects:\n  - {class: 0x7e001000, handle: 5, parent: 1, properties: {0x7e001001: lots}}\n",
       "Count: 'lots' is not an unsigned 32-bit number"},
      {"objects:\n  - {class: 0x7e001000, handle: 5, parent: 1, properties: {0x1005: 3}}\n", "has no property 0x1005"},
      {"objects: []\nrelations:\n  - [0x7e000001, 5, 6]\n", "names an object that is not in the file"},
  };
  for (const auto& c : cases) {
    Write(header + c.body);
    const std::string text = ThrownText<CKelRunTimeError>([&] { CProjectStore::Load(m_path); });
    EXPECT_NE(std::string::npos, text.find(m_path)) << text;
    EXPECT_NE(std::string::npos, text.find(c.expected)) << text;
    EXPECT_EQ(&kept, CHandleRegistry::Instance().Find(kept.GetHandle()));
  }
  Write("not: a project\n");
  EXPECT_NE("", ThrownText<CKelRunTimeError>([&] { CProjectStore::Load(m_path); }));
  EXPECT_NE("", ThrownText<CKelRunTimeError>([&] { CProjectStore::Load(m_path + ".missing"); }));
}

}  // namespace
}  // namespace kel::framework::test
