#include "kel/framework/Scriptable.h"

#include "../testsupport/HostTestSupport.h"
#include "kel/core/Port.h"
#include "kel/framework/Exceptions.h"
#include "kel/framework/HandleRegistry.h"
#include "kel/framework/HostClassIds.h"

namespace kel::framework::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class ScriptableTest : public HostTest {
 protected:
  // The objects one of the relation getters gives, as handles.
  using Getter = void (CScriptable::*)(ScriptableVec&, ClassId, RelationType) const;
  static std::vector<Handle> Related(const CScriptable& object, RelationType type,
                                     Getter getter = &CScriptable::GetObjects) {
    ScriptableVec out;
    (object.*getter)(out, 0, type);
    return Handles(out);
  }
  static std::vector<Handle> Added(const CScriptable& object, RelationType type) {
    return Related(object, type, &CScriptable::GetAddedObjects);
  }
  static std::vector<Handle> Removed(const CScriptable& object, RelationType type) {
    return Related(object, type, &CScriptable::GetRemovedObjects);
  }

  CHandleRegistry& registry = CHandleRegistry::Instance();
};

// Records the value a change delegate sees, to show it runs after the value is stored.
struct ChangeRecorder {
  void OnChange(CScriptable* object, PropId id) { seen.push_back(object->GetU32(id)); }
  std::vector<std::uint32_t> seen;
};

// ---- States and hooks ----

TEST_F(ScriptableTest, OnlyRealChangesDirtyTheObjectReachDelegatesAndSetTheActivatedState) {
  CTestItem& item = MakeItem();
  item.Set(kCount, 8u);
  EXPECT_EQ(item.GetObjectState(), CScriptable::STATE_CREATED) << "a new object stays new until committed";
  item.Set(kCount, 7u);
  ChangeRecorder recorder;
  const PropertyChangeDelegate delegate(MakeDelegate(&recorder, &ChangeRecorder::OnChange));
  item.RegisterPropertyChangeDelegate(kCount, delegate);
  item.Commit();

  item.Set(kCount, 7u);  // the value it has: no change
  EXPECT_EQ(item.GetObjectState(), CScriptable::STATE_CLEAN);
  item.Set(kCount, 9u);
  EXPECT_EQ(item.GetObjectState(), CScriptable::STATE_MODIFIED);
  item.Set(kRatio, 2.0);
  EXPECT_EQ(recorder.seen, std::vector<std::uint32_t>{9u}) << "only its own property reaches a delegate";

  item.UnregisterPropertyChangeDelegate(kCount, delegate);
  item.Set(kCount, 10u);
  EXPECT_EQ(recorder.seen.size(), 1u);

  item.Set(prop::Active, false);
  EXPECT_EQ(item.GetActivatedState(), 1);
  item.Set(prop::Active, true);
  EXPECT_EQ(item.GetActivatedState(), 0) << "switched back before the commit: nothing to tell the ports";
  item.Set(prop::Active, false);
  item.Commit();
  EXPECT_EQ(item.GetActivatedState(), 0);
}

TEST_F(ScriptableTest, RelationChangesReachBothEndsEachFromItsOwnSide) {
  CTestItem& a = MakeItem();
  CTestItem& b = MakeItem();
  CScriptable::CommitObjects({&a, &b});
  a.relationChanges.clear();
  b.relationChanges.clear();

  ASSERT_TRUE(a.AddObject(b, kTestLink));
  ASSERT_TRUE(b.RemoveObject(a, kTestLink.ReverseDir()));

  EXPECT_THAT(a.relationChanges, ElementsAre(RelationChange{kTestLink, b.GetHandle(), true},
                                             RelationChange{kTestLink, b.GetHandle(), false}));
  EXPECT_THAT(b.relationChanges, ElementsAre(RelationChange{kTestLink.ReverseDir(), a.GetHandle(), true},
                                             RelationChange{kTestLink.ReverseDir(), a.GetHandle(), false}));
  EXPECT_EQ(a.GetObjectState(), CScriptable::STATE_CLEAN);
  EXPECT_EQ(b.GetObjectState(), CScriptable::STATE_CLEAN);
}

// An object keeps the first kinds of relation it has at hand and looks further ones up in its
// relation list: every kind is found either way.
TEST_F(ScriptableTest, EveryKindOfRelationIsFoundHoweverManyAnObjectHas) {
  CTestItem& hub = MakeItem();
  CScriptable& child = MakeItem(&hub);
  CScriptable& result = Make(kTestResult, &hub);
  CScriptable& leaf = Make(kTestLeaf);
  std::vector<std::pair<RelationType, CScriptable*>> expected = {
      {ChildParent(), &CProject::Instance()}, {ParentChild(), &child}, {RelationType(relation::Result), &result},
      {kTestOwner, &leaf}};
  for (const RelationType link : {kTestLink, kTestPeer}) {
    CTestItem& to = MakeItem();
    CTestItem& from = MakeItem();
    ASSERT_TRUE(hub.AddObject(to, link));
    ASSERT_TRUE(from.AddObject(hub, link));
    expected.push_back({link, &to});
    expected.push_back({link.ReverseDir(), &from});
  }
  ASSERT_TRUE(hub.AddObject(result, RelationType(relation::Result)));
  ASSERT_TRUE(hub.AddObject(leaf, kTestOwner));
  ASSERT_GT(expected.size(), 6u);
  for (const auto& [type, object] : expected) {
    EXPECT_EQ(hub.GetObject(0, type), object) << type.GetId() << (type.IsForward() ? " forward" : " backward");
  }
  EXPECT_EQ(hub.GetObject(0, RelationType(relation::AffiliatedPort)), nullptr);
}

TEST_F(ScriptableTest, MarkDeleteDetachesTheSubtreeAndDestroysResultsAtOnce) {
  CTestItem& parent = MakeItem();
  CTestItem& item = MakeItem(&parent);
  CTestItem& leaf = Make<CTestItem>(kTestLeaf, &item);
  CScriptable& result = Make(kTestResult, &item);
  CTestItem& peer = MakeItem();
  ASSERT_TRUE(item.AddObject(peer, kTestLink));
  CScriptable::CommitObjects({&parent, &item, &leaf, &peer});
  const Handle itemHandle = item.GetHandle();
  const Handle leafHandle = leaf.GetHandle();
  const Handle resultHandle = result.GetHandle();

  item.MarkDelete(true, true);

  EXPECT_EQ(MarkDeleteCalls(), (std::vector<Handle>{itemHandle, leafHandle, resultHandle}));
  EXPECT_EQ(leaf.GetObjectState(), CScriptable::STATE_DELETED);
  EXPECT_EQ(leaf.GetParent(), nullptr);
  EXPECT_TRUE(Related(parent, ParentChild()).empty());
  EXPECT_TRUE(Related(peer, kTestLink.ReverseDir()).empty());
  EXPECT_EQ(Removed(parent, ParentChild()), std::vector<Handle>{itemHandle});
  EXPECT_EQ(Removed(peer, kTestLink.ReverseDir()), std::vector<Handle>{itemHandle});
  EXPECT_EQ(registry.Find(itemHandle), nullptr);
  EXPECT_EQ(registry.FindIncludingDeleted(itemHandle), &item) << "kept until the apply's commit";
  EXPECT_EQ(registry.FindIncludingDeleted(resultHandle), nullptr) << "results go at once";

  EXPECT_EQ(CScriptable::DestroyDeletedObjects(), 2u);
  EXPECT_EQ(registry.FindIncludingDeleted(itemHandle), nullptr);
  EXPECT_EQ(registry.FindIncludingDeleted(leafHandle), nullptr);
  EXPECT_TRUE(Removed(parent, ParentChild()).empty()) << "a destroyed object is skipped, never dangling";
}

TEST_F(ScriptableTest, DeleteDestroysTheWholeSubtreeAtOnce) {
  CTestItem& item = MakeItem();
  const Handle leafHandle = Make(kTestLeaf, &MakeItem(&item)).GetHandle();
  item.Delete();
  EXPECT_EQ(registry.FindIncludingDeleted(leafHandle), nullptr);
  EXPECT_EQ(MarkDeleteCalls().size(), 3u);
}

// ---- Relations ----

TEST_F(ScriptableTest, AddObjectRefusesInvalidRelationsAndSaysWhy) {
  CTestItem& a = MakeItem();
  CTestItem& b = MakeItem();
  CTestItem& leaf = Make<CTestItem>(kTestLeaf, &a);
  CTestItem& otherLeaf = Make<CTestItem>(kTestLeaf);
  CScriptable& port = Make(framework::classid::Port);
  CTestItem& loose = MakeItem(nullptr);
  CTestItem& looseChild = MakeItem(&loose);
  std::string why;

  EXPECT_FALSE(a.AddObject(a, kTestLink, &why));
  EXPECT_THAT(why, HasSubstr("itself"));
  ASSERT_TRUE(a.AddObject(b, kTestLink));
  EXPECT_FALSE(b.AddObject(a, kTestLink.ReverseDir(), &why));
  EXPECT_THAT(why, HasSubstr("already related"));
  EXPECT_FALSE(b.AddObject(leaf, ParentChild(), &why));
  EXPECT_THAT(why, AllOf(HasSubstr(leaf.GetName()), HasSubstr("already has a parent")));
  EXPECT_FALSE(looseChild.AddObject(loose, ParentChild(), &why));
  EXPECT_THAT(why, HasSubstr("own descendant"));
  EXPECT_FALSE(a.AddObject(port, kTestLink, &why));
  EXPECT_THAT(why, HasSubstr("TestLink cannot lead from TestItem to Port"));
  EXPECT_FALSE(a.AddObject(b, RelationType(0x7e0000ff), &why));
  EXPECT_THAT(why, HasSubstr("Unknown relation"));

  ASSERT_TRUE(a.AddObject(leaf, kTestOwner));
  EXPECT_FALSE(otherLeaf.AddObject(a, kTestOwner.ReverseDir(), &why)) << "the single target is full either way";
  EXPECT_THAT(why, HasSubstr("TestOwner"));

  b.MarkDelete();
  EXPECT_FALSE(a.AddObject(b, kTestOwner, &why));
  EXPECT_THAT(why, HasSubstr("deleted"));

  EXPECT_EQ(Related(a, kTestOwner), Handles({&leaf}));
  EXPECT_EQ(loose.GetParent(), nullptr);
  ReleaseScriptable(&loose);
}

TEST_F(ScriptableTest, AddedAndRemovedListsHoldTheChangesSinceTheLastCommit) {
  CTestItem& a = MakeItem();
  CTestItem& b = MakeItem();
  CTestItem& c = MakeItem();
  CTestItem& d = MakeItem();
  ASSERT_TRUE(a.AddObject(b, kTestLink));
  a.Commit();

  ASSERT_TRUE(a.AddObject(c, kTestLink));
  ASSERT_TRUE(a.AddObject(d, kTestLink));
  ASSERT_TRUE(a.RemoveObject(d, kTestLink));
  ASSERT_TRUE(a.RemoveObject(b, kTestLink));
  EXPECT_FALSE(a.RemoveObject(d, kTestLink)) << "no longer related";
  EXPECT_EQ(Added(a, kTestLink), Handles({&c}));
  EXPECT_EQ(Removed(a, kTestLink), Handles({&d, &b})) << "an added object that goes is reported removed";
  EXPECT_EQ(Added(c, kTestLink.ReverseDir()), Handles({&a}));

  ASSERT_TRUE(a.AddObject(b, kTestLink));
  EXPECT_EQ(Removed(a, kTestLink), Handles({&d})) << "b, removed and added back, changed nothing";
  a.Commit();
  EXPECT_TRUE(Added(a, kTestLink).empty());
  EXPECT_EQ(Related(a, kTestLink), Handles({&c, &b}));
}

TEST_F(ScriptableTest, SetObjectsReplacesOrExtendsTheRelation) {
  CTestItem& a = MakeItem();
  CTestItem& b = MakeItem();
  CTestItem& c = MakeItem();
  CTestItem& d = MakeItem();
  CScriptable& port = Make(framework::classid::Port);

  EXPECT_TRUE(a.SetObjects({&b, &c}, kTestLink));
  EXPECT_EQ(Related(a, kTestLink), Handles({&b, &c}));
  EXPECT_TRUE(a.SetObjects({&d, &b}, kTestLink));
  EXPECT_EQ(Related(a, kTestLink), Handles({&d, &b})) << "the given order, kept objects included";
  EXPECT_EQ(Related(c, kTestLink.ReverseDir()), std::vector<Handle>{});

  EXPECT_FALSE(a.SetObjects({&port, &c, &b}, kTestLink, false)) << "a port cannot be linked";
  EXPECT_EQ(Related(a, kTestLink), Handles({&d, &b, &c}));
}

// ---- Properties ----

TEST_F(ScriptableTest, TypedAndNamedAccessRejectWrongTypesUnknownPropertiesAndReadOnlyOnes) {
  CTestItem& item = MakeItem();
  const Handle handle = item.GetHandle();

  EXPECT_THAT(ThrownText<CKelLogicError>([&] { item.GetBool(kCount); }),
              AllOf(HasSubstr("Count"), HasSubstr("TestItem"), HasSubstr("u32, not bool")));
  EXPECT_THAT(ThrownText<CKelLogicError>([&] { item.Set(kCount, "3"); }),
              AllOf(HasSubstr("Count"), HasSubstr("TestItem"), HasSubstr("not string")));
  EXPECT_THAT(ThrownText<CKelLogicError>([&] { item.GetU16(kDepth); }),
              AllOf(HasSubstr("0x7e002001"), HasSubstr("TestItem")));
  EXPECT_THAT(ThrownText<CKelLogicError>([&] { item.Set(prop::Handle, handle + 1); }),
              AllOf(HasSubstr("Handle"), HasSubstr("read-only")));
  EXPECT_THAT(ThrownText<CKelLogicError>([&] { item.Set("Handle", std::to_string(handle + 1)); }),
              HasSubstr("read-only"));
  EXPECT_EQ(item.GetHandle(), handle);

  item.Set("Count", "0x10");
  item.Set("Total", "18446744073709551615");
  EXPECT_EQ(item.GetU32(kCount), 16u);
  EXPECT_EQ(item.Get("Total"), "18446744073709551615");
  EXPECT_THAT(ThrownText<CKelRunTimeError>([&] { item.Set("Count", "many"); }),
              AllOf(HasSubstr("Count"), HasSubstr(item.GetName()), HasSubstr("'many' is not an unsigned 32-bit")));
  EXPECT_EQ(item.GetU32(kCount), 16u);
  EXPECT_THAT(ThrownText<CKelLogicError>([&] { item.Set("Colour", "red"); }),
              AllOf(HasSubstr("TestItem"), HasSubstr("'Colour'")));
}

TEST_F(ScriptableTest, ResetDefaultsKeepsNameHandleAndHostMaintainedValues) {
  CTestItem& item = MakeItem();
  item.Set(prop::Name, "mine");
  item.Set(kCount, 1u);
  auto& port = Make<core::CPort>(framework::classid::Port);
  port.SetOnline(true);
  port.Set(core::prop::ReservedForTesting, true);

  item.ResetDefaults();
  port.ResetDefaults();

  EXPECT_EQ(item.GetName(), "mine");
  EXPECT_EQ(item.GetU32(kCount), 7u);
  EXPECT_FALSE(port.GetBool(core::prop::ReservedForTesting));
  EXPECT_TRUE(port.IsOnline()) << "the port monitor's verdict is not a setting";
}

// ---- Classes and active flags ----

TEST_F(ScriptableTest, ClassChecksFollowTheClassChain) {
  CTestItem& item = MakeItem();
  CTestItem& leaf = Make<CTestItem>(kTestLeaf, &item);
  CScriptable& config = Make(kTestConfig, &item);

  EXPECT_TRUE(leaf.IsTypeOf(framework::classid::Scriptable));
  EXPECT_FALSE(item.IsTypeOf(kTestLeaf));
  EXPECT_EQ(leaf.GetDouble(kRatio), 0.5) << "inherited property with its default";

  ScriptableVec items;
  item.GetObjects(items, kTestItem);
  EXPECT_EQ(Handles(items), Handles({&leaf}));
  EXPECT_EQ(item.GetObject("ProtocolConfig"), &config);
}

TEST_F(ScriptableTest, ProtocolConfigsFollowTheirDeviceActiveFlagPlainChildrenDoNot) {
  CScriptable& device = Make(framework::classid::EmulatedDevice);
  CScriptable& config = Make(kTestConfig, &device);
  CTestItem& plain = MakeItem(&device);
  CScriptable& nestedConfig = Make(kTestConfig, &plain);

  device.Set(prop::Active, false);
  EXPECT_FALSE(config.GetActive());
  EXPECT_TRUE(plain.GetActive());
  EXPECT_TRUE(nestedConfig.GetActive()) << "follows its own parent, which kept its flag";

  device.Set(prop::Active, true);
  EXPECT_TRUE(config.GetActive());
  plain.Set(prop::Active, false);
  EXPECT_FALSE(nestedConfig.GetActive());
}

// ---- Cloning ----

TEST_F(ScriptableTest, CloneCopiesPropertiesChildrenAndOtherRelationsButNeverBelowItself) {
  CTestItem& source = MakeItem();
  source.Set(kCount, 3u);
  source.Set(prop::Active, false);
  CTestItem& leaf = Make<CTestItem>(kTestLeaf, &source);
  leaf.Set(kDepth, static_cast<unsigned short>(9));
  Make(kTestResult, &source);
  CTestItem& peer = MakeItem();
  ASSERT_TRUE(source.AddObject(peer, kTestLink));
  CTestItem& target = MakeItem();

  auto* copy = dynamic_cast<CTestItem*>(source.Clone(&target));

  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->GetParent(), &target);
  EXPECT_NE(copy->GetName(), source.GetName());
  EXPECT_EQ(copy->GetU32(kCount), 3u);
  EXPECT_EQ(copy->initCalls, 1);
  ScriptableVec children;
  copy->GetObjects(children);
  ASSERT_EQ(children.size(), 1u) << "results are not cloned";
  EXPECT_EQ(children[0]->GetU16(kDepth), 9u);
  EXPECT_EQ(Related(*copy, kTestLink), Handles({&peer}));
  EXPECT_EQ(Related(source, kTestLink), Handles({&peer}));

  const std::size_t objects = registry.Size();
  EXPECT_THAT(ThrownText<CKelLogicError>([&] { source.Clone(&source); }), HasSubstr(source.GetName()));
  EXPECT_THAT(ThrownText<CKelLogicError>([&] { source.Clone(&leaf); }), HasSubstr("below itself"));
  EXPECT_EQ(registry.Size(), objects);
}

}  // namespace
}  // namespace kel::framework::test
