#include "kel/core/ClearResultsCommand.h"

#include <string>
#include <vector>

#include "../testsupport/HostTestSupport.h"
#include "kel/core/ProtocolModule.h"
#include "kel/framework/Exceptions.h"
#include "kel/framework/ScriptableAutoPtr.h"

namespace kel::core {
namespace {

using ::testing::ElementsAre;

// Writes its name into a shared journal when asked to clear; `refuse` makes it throw instead.
class ClearingProtocol : public CProtocol {
 public:
  ClearingProtocol(std::string name, int priority, std::vector<std::string>& journal)
      : m_name(std::move(name)), m_priority(priority), m_journal(journal) {}

  bool refuse = false;

  unsigned GetId() const override { return 1; }
  const std::string& GetName() const override { return m_name; }
  const std::string& GetCategory() const override { return m_name; }
  int GetCategoryStartPriority() const override { return m_priority; }
  void GetManagedProtocolConfig(std::vector<unsigned>&) override {}
  const std::string& GetMsgSetName() const override { return m_name; }
  void ClearResult() override {
    if (refuse) throw framework::CKelRunTimeError(m_name + " cannot clear");
    m_journal.push_back(m_name);
  }

 private:
  std::string m_name;
  int m_priority;
  std::vector<std::string>& m_journal;
};

class ClearResultsCommandTest : public framework::test::HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    CProtocolModule::Instance().RegisterProtocol(&m_late);
    CProtocolModule::Instance().RegisterProtocol(&m_early);
  }
  void TearDown() override {
    CProtocolModule::Instance().UnregisterProtocol(&m_late);
    CProtocolModule::Instance().UnregisterProtocol(&m_early);
    HostTest::TearDown();
  }

  // The command as a user makes it: by class, through the registry.
  static framework::CScriptableAutoPtr<CClearResultsCommand> MakeCommand() {
    return framework::CScriptableAutoPtr<CClearResultsCommand>(dynamic_cast<CClearResultsCommand*>(
        framework::CScriptableCreator().Create(CClearResultsCommand::CLASS_ID(), nullptr)));
  }

  std::vector<std::string> m_journal;
  ClearingProtocol m_late{"late", 2, m_journal};
  ClearingProtocol m_early{"early", 1, m_journal};
};

TEST_F(ClearResultsCommandTest, AsksEveryProtocolInStartOrderAndCompletes) {
  auto command = MakeCommand();
  ASSERT_NE(nullptr, command.get());
  EXPECT_EQ("ClearResultsCommand", command->GetClassName());
  EXPECT_TRUE(command->IsTypeOf(framework::CCommand::CLASS_ID()));
  command->Execute(false);
  EXPECT_THAT(m_journal, ElementsAre("early", "late"));
  EXPECT_EQ(framework::CRunnable::STATE_COMPLETED, command->GetRunnableState());
}

TEST_F(ClearResultsCommandTest, AProtocolThatThrowsFailsTheRunAndLaterOnesAreNotAsked) {
  m_early.refuse = true;
  auto command = MakeCommand();
  EXPECT_EQ("early cannot clear",
            framework::test::ThrownText<framework::CKelRunTimeError>([&] { command->Execute(false); }));
  EXPECT_TRUE(m_journal.empty());
  EXPECT_EQ(framework::CRunnable::STATE_FAILED, command->GetRunnableState());
}

}  // namespace
}  // namespace kel::core
