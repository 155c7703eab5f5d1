#include "kel/framework/ScriptableLocator.h"

#include "../testsupport/HostTestSupport.h"

namespace kel::framework::test {
namespace {

// root
// ├─ a
// │  ├─ a1 (inactive)
// │  │  └─ a1x
// │  └─ a2 (a TestLeaf)
// └─ b (inactive)
//    └─ b1
class ScriptableLocatorTest : public HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    root = &Named("root", &project());
    CScriptable& a = Named("a", root);
    CScriptable& a1 = Named("a1", &a);
    Named("a1x", &a1);
    Named("a2", &a, kTestLeaf);
    CScriptable& b = Named("b", root);
    Named("b1", &b);
    a1.Set(prop::Active, false);
    b.Set(prop::Active, false);
  }

  CScriptable& Named(const std::string& name, CScriptable* parent, ClassId classId = kTestItem) {
    CScriptable& object = Make(classId, parent);
    object.Set(prop::Name, name);
    return object;
  }

  std::vector<std::string> Find(unsigned filter, ClassId classId = kTestItem) const {
    ScriptableVec found;
    CScriptableLocator::Instance().GetObjectsEx(found, classId, root, filter);
    std::vector<std::string> names;
    for (const CScriptable* object : found) names.push_back(object->GetName());
    return names;
  }

  using Names = std::vector<std::string>;
  CScriptable* root = nullptr;
};

TEST_F(ScriptableLocatorTest, WalksDepthFirstStrictlyBelowTheRootFiltersInactiveObjectsAndAppends) {
  EXPECT_EQ(Find(FILTER_NONE), (Names{"a", "a1", "a1x", "a2", "b", "b1"}));
  EXPECT_EQ(Find(FILTER_INACTIVE_LEAVES), (Names{"a", "a1x", "a2", "b1"}));
  EXPECT_EQ(Find(FILTER_INACTIVE_ROOTS), (Names{"a", "a1", "a2", "b"}));
  EXPECT_EQ(Find(FILTER_INACTIVE_LEAVES | FILTER_INACTIVE_ROOTS), (Names{"a", "a2"}));
  EXPECT_EQ(Find(FILTER_NONE, kTestLeaf), (Names{"a2"}));

  ScriptableVec found{root};
  CScriptableLocator::Instance().GetObjectsEx(found, kTestItem, nullptr, FILTER_NONE);
  CScriptableLocator::Instance().GetObjectsEx(found, kTestLeaf, root, FILTER_NONE);
  ASSERT_EQ(found.size(), 2u) << "appends to the output and finds nothing below null";
  EXPECT_EQ(found[1]->GetName(), "a2");
}

TEST_F(ScriptableLocatorTest, InactiveRootHidesEverythingOnlyWhenRootsAreFiltered) {
  root->Set(prop::Active, false);
  EXPECT_EQ(Find(FILTER_INACTIVE_ROOTS), Names{});
  EXPECT_EQ(Find(FILTER_INACTIVE_LEAVES), (Names{"a", "a1x", "a2", "b1"}));
  EXPECT_EQ(Find(FILTER_NONE).size(), 6u);
}

}  // namespace
}  // namespace kel::framework::test
