#include "kel/rtgcore/BaseProtocol.h"

#include "../testsupport/HostTestSupport.h"
#include "kel/core/EmulatedDevice.h"
#include "kel/core/Port.h"
#include "kel/framework/HostClassIds.h"

namespace kel::rtgcore {
namespace {

using framework::test::kTestConfig;
using framework::test::kTestItem;

class RecordingProtocol : public CBaseProtocol {
 public:
  RecordingProtocol() : CBaseProtocol("Test", "recording", kTestConfig, "TEST_1", nullptr) {}

  unsigned GetId() const override { return 1; }
  const std::string& GetCategory() const override { return GetGroupName(); }
  void ProcessOfflinePort(CPort* port) override { calls.push_back("offline " + port->GetName()); }
  void DeleteAllProtocolObjects(CPort& port) override { calls.push_back("delete all on " + port.GetName()); }

  // The apply cycle's hooks record their call and keep the base's work.
  void ResetAllInternalParams() override {
    calls.push_back("reset");
    CBaseProtocol::ResetAllInternalParams();
  }
  void BuildDeleteObjectMap(const CPort& port, CScriptable* config) override {
    calls.push_back("cache deleted on " + port.GetName());
    CBaseProtocol::BuildDeleteObjectMap(port, config);
  }
  void BuildAddModifyObjectMap(const CPort& port, CScriptable* config) override {
    calls.push_back("cache on " + port.GetName());
    CBaseProtocol::BuildAddModifyObjectMap(port, config);
  }
  void DoValidateInterfaceSetup(ValidationContext&, const CPort& port) override {
    calls.push_back("validate interfaces of " + port.GetName());
  }
  void DoValidatePortGroup(ValidationContext&, const CPort& port) override {
    calls.push_back("validate group of " + port.GetName());
  }
  void ValidateActivePortPhy(ValidationContext&, const CPort& port) override {
    calls.push_back("validate link of " + port.GetName());
  }
  void DoValidatePort(ValidationContext&, const CPort& port) override { calls.push_back("validate " + port.GetName()); }
  void DoValidateProject(ValidationContext&) override { calls.push_back("validate project"); }
  void ProcessGlobalConfigs() override { calls.push_back("globals"); }
  void BuildAndSendDeleteMsg(CPort& port) override { calls.push_back("send deletes to " + port.GetName()); }
  void PostProcessDeletesPerPort(CPort& port) override { calls.push_back("after deletes to " + port.GetName()); }
  void BuildAndSendAddModifyMsg(ObjType kind, CPort& port) override {
    calls.push_back(std::string(kind == OBJ_CREATED ? "send adds" : "send modifications") + " to " + port.GetName());
  }
  void PostProcessCreatesPerPort(CPort& port) override { calls.push_back("after adds to " + port.GetName()); }
  void PostProcessUpdatesPerPort(CPort& port) override { calls.push_back("after modifications to " + port.GetName()); }
  void PostProcessAfterCategory() override { calls.push_back("after every port"); }
  void PostApplyProcessing() override { calls.push_back("after apply"); }

  // One apply as the apply command runs it, deleted objects destroyed at the end.
  void Apply() {
    ValidationContext ctx;
    PrepareApply(ctx);
    SendApply();
    CommitApply(CScriptable::PendingDeletedObjects());
    CScriptable::DestroyDeletedObjects();
  }

  std::vector<std::string> calls;
};

class BaseProtocolTest : public framework::test::HostTest {
 protected:
  CPort& MakePort(const std::string& name) {
    auto& port = Make<CPort>(framework::classid::Port);
    port.Set(framework::prop::Name, name);
    return port;
  }
  // A protocol configuration on a device on `port` (no port: a device without one).
  CScriptable& MakeConfig(CPort* port) {
    auto& device = Make<core::CEmulatedDevice>(framework::classid::EmulatedDevice);
    device.SetPort(port);
    return Make(kTestConfig, &device);
  }
  std::vector<CScriptable*> Cached(const CPort& port, CBaseProtocol::ObjType kind, ClassId classId = kTestConfig) const {
    const CBaseProtocol::ConfigSet* set = protocol.GetConfigsFromCache(port, classId, kind);
    return set ? std::vector<CScriptable*>(set->begin(), set->end()) : std::vector<CScriptable*>{nullptr};
  }

  RecordingProtocol protocol;
  using Objects = std::vector<CScriptable*>;
  const Objects none{nullptr};  // what Cached gives when the kind has no set
};

TEST_F(BaseProtocolTest, CacheKeepsEachObjectUnderItsLatestKindPerPort) {
  CPort& port = MakePort("p");
  CPort& otherPort = MakePort("q");
  CScriptable& created = MakeConfig(&port);
  CScriptable& deleted = MakeConfig(&port);
  CScriptable& clean = MakeConfig(&port);
  CScriptable& local = MakeConfig(&port);

  protocol.InsertIntoCache(CScriptable::STATE_CREATED, &port, &created);
  protocol.InsertIntoCache(CScriptable::STATE_DELETED, &port, &deleted);
  protocol.InsertIntoCache(CScriptable::STATE_CLEAN, &port, &clean);
  protocol.InsertIntoCache(CScriptable::STATE_MODIFIED, &otherPort, &created);
  protocol.InsertIntoCache(CScriptable::STATE_DELETED_LOCAL, &port, &local);
  EXPECT_EQ(Cached(port, CBaseProtocol::OBJ_CREATED), Objects{&created});
  EXPECT_EQ(Cached(port, CBaseProtocol::OBJ_DELETED), Objects{&deleted});
  EXPECT_EQ(Cached(port, CBaseProtocol::OBJ_CLEAN), Objects{&clean});
  EXPECT_EQ(Cached(port, CBaseProtocol::OBJ_MODIFIED), none) << "Deleted_Local is never cached";
  EXPECT_EQ(Cached(otherPort, CBaseProtocol::OBJ_MODIFIED), Objects{&created});
  EXPECT_EQ(Cached(port, CBaseProtocol::OBJ_CREATED, kTestItem), none) << "sets are per class";

  protocol.InsertIntoCache(CScriptable::STATE_MODIFIED, &port, &created);
  EXPECT_EQ(Cached(port, CBaseProtocol::OBJ_CREATED), Objects{}) << "the later kind replaces the earlier";
  EXPECT_EQ(Cached(port, CBaseProtocol::OBJ_MODIFIED), Objects{&created});
  EXPECT_EQ(Cached(otherPort, CBaseProtocol::OBJ_MODIFIED), Objects{&created});

  otherPort.Delete();  // a port may go between two applies; the cache still answers for the others
  EXPECT_EQ(Cached(port, CBaseProtocol::OBJ_MODIFIED), Objects{&created});

  protocol.GetDirtyVec().push_back(&created);
  protocol.ResetAllInternalParams();
  EXPECT_EQ(Cached(port, CBaseProtocol::OBJ_MODIFIED), none);
  EXPECT_TRUE(protocol.GetDirtyVec().empty());
}

TEST_F(BaseProtocolTest, AddModifyMapCachesActiveConfigsAndKeepsChangedOnesDirty) {
  CPort& port = MakePort("p");
  CScriptable& fresh = MakeConfig(&port);
  CScriptable& clean = MakeConfig(&port);
  clean.Commit();
  CScriptable& inactive = MakeConfig(&port);
  inactive.Set(framework::prop::Active, false);
  CScriptable& onInactiveDevice = MakeConfig(&port);
  onInactiveDevice.GetParent()->Set(framework::prop::Active, false);
  onInactiveDevice.Set(framework::prop::Active, true);

  for (CScriptable* config : {&fresh, &clean, &inactive, &onInactiveDevice}) {
    protocol.BuildAddModifyObjectMap(port, config);
  }

  EXPECT_EQ(Cached(port, CBaseProtocol::OBJ_CREATED), Objects{&fresh});
  EXPECT_EQ(Cached(port, CBaseProtocol::OBJ_CLEAN), Objects{&clean});
  EXPECT_EQ(protocol.GetDirtyVec(), Objects{&fresh});
}

TEST_F(BaseProtocolTest, PortMapGroupsConfigsByPortInHandleOrder) {
  CPort& first = MakePort("first");
  CPort& second = MakePort("second");
  CScriptable& onSecond = MakeConfig(&second);
  CScriptable& onFirst = MakeConfig(&first);
  CScriptable& alsoOnSecond = MakeConfig(&second);
  CScriptable& portless = MakeConfig(nullptr);
  CScriptable& notAConfig = Make(kTestItem);

  PortCfgVecMap map;
  protocol.BuildPortCfgVecMap({&onSecond, &portless, &onFirst, &notAConfig, &alsoOnSecond}, map);

  ASSERT_EQ(map.size(), 2u);
  EXPECT_EQ(map.begin()->first, &first);
  EXPECT_EQ(map.begin()->second, Objects{&onFirst});
  EXPECT_EQ(map.rbegin()->first, &second);
  EXPECT_EQ(map.rbegin()->second, (Objects{&onSecond, &alsoOnSecond}));
}

TEST_F(BaseProtocolTest, PortStatusChangesReachTheirHooks) {
  CPort& port = MakePort("p");
  protocol.OnPortStatusChange(port, false);
  protocol.OnPortStatusChange(port, true);
  EXPECT_EQ(protocol.calls, (std::vector<std::string>{"offline p", "delete all on p"}));
}

TEST_F(BaseProtocolTest, AnApplyCallsItsHooksPortByPortInCycleOrder) {
  CPort& a = MakePort("a");
  CPort& b = MakePort("b");
  CScriptable& leaving = MakeConfig(&a);
  MakeConfig(&b);
  protocol.Apply();
  leaving.MarkDelete();
  protocol.calls.clear();

  protocol.Apply();

  EXPECT_EQ(protocol.calls, (std::vector<std::string>{
                                "reset",
                                "cache deleted on a",
                                "cache on b",
                                "validate interfaces of a",
                                "validate group of a",
                                "validate link of a",
                                "validate a",
                                "validate interfaces of b",
                                "validate group of b",
                                "validate link of b",
                                "validate b",
                                "validate project",
                                "globals",
                                "send deletes to a",
                                "after deletes to a",
                                "send adds to a",
                                "after adds to a",
                                "send modifications to a",
                                "after modifications to a",
                                "send deletes to b",
                                "after deletes to b",
                                "send adds to b",
                                "after adds to b",
                                "send modifications to b",
                                "after modifications to b",
                                "after every port",
                                "after apply",
                            }));
}

}  // namespace
}  // namespace kel::rtgcore
