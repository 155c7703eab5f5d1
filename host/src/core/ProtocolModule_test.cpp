#include "kel/core/ProtocolModule.h"

#include <initializer_list>
#include <string>
#include <vector>

#include "../testsupport/HostTestSupport.h"
#include "kel/framework/Exceptions.h"

namespace kel::core {
namespace {

using ::testing::HasSubstr;

class FakeProtocol : public CProtocol {
 public:
  FakeProtocol(std::string name, int categoryPriority = 0, int protocolPriority = 0)
      : m_name(std::move(name)), m_categoryPriority(categoryPriority), m_protocolPriority(protocolPriority) {}

  unsigned GetId() const override { return 1; }
  const std::string& GetName() const override { return m_name; }
  const std::string& GetCategory() const override { return m_name; }
  int GetCategoryStartPriority() const override { return m_categoryPriority; }
  int GetProtocolStartPriority() const override { return m_protocolPriority; }
  void GetManagedProtocolConfig(std::vector<unsigned>&) override {}
  const std::string& GetMsgSetName() const override { return m_name; }

 private:
  std::string m_name;
  int m_categoryPriority;
  int m_protocolPriority;
};

// The module is one per process: every test takes its protocols out again.
class ProtocolModuleTest : public ::testing::Test {
 protected:
  void Register(std::initializer_list<FakeProtocol*> protocols) {
    for (FakeProtocol* protocol : protocols) {
      module.RegisterProtocol(protocol);
      registered.push_back(protocol);
    }
  }
  void TearDown() override {
    for (FakeProtocol* protocol : registered) module.UnregisterProtocol(protocol);
  }
  // The registered protocols in start order, by name.
  std::vector<std::string> StartOrder() const {
    std::vector<std::string> names;
    for (const CProtocol* protocol : module.GetProtocols()) names.push_back(protocol->GetName());
    return names;
  }

  CProtocolModule& module = CProtocolModule::Instance();
  std::vector<FakeProtocol*> registered;
};

TEST_F(ProtocolModuleTest, ANameIsTakenOnceAndStartOrderIsCategoryThenProtocolPriorityThenRegistration) {
  FakeProtocol storage("storage");
  FakeProtocol impostor("storage");
  Register({&storage, &storage});

  EXPECT_EQ(StartOrder(), std::vector<std::string>{"storage"});
  EXPECT_THAT(framework::test::ThrownText<framework::CKelLogicError>([&] { module.RegisterProtocol(&impostor); }),
              HasSubstr("A protocol named storage is already registered"));
  EXPECT_THROW(module.RegisterProtocol(nullptr), framework::CKelLogicError);
  EXPECT_EQ(module.FindProtocol("storage"), &storage);

  module.UnregisterProtocol(&storage);
  EXPECT_EQ(module.FindProtocol("storage"), nullptr);
  module.UnregisterProtocol(&storage);  // unknown by now: ignored

  FakeProtocol late("late", 2, 0);
  FakeProtocol second("second", 1, 5);
  FakeProtocol firstA("firstA", 1, 1);
  FakeProtocol firstB("firstB", 1, 1);
  FakeProtocol early("early", -1, 9);
  Register({&late, &second, &firstA, &firstB, &early});

  EXPECT_EQ(StartOrder(), (std::vector<std::string>{"early", "firstA", "firstB", "second", "late"}));
}

}  // namespace
}  // namespace kel::core
