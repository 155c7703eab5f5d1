#include "kel/framework/Command.h"

#include <memory>

#include "../testsupport/HostTestSupport.h"
#include "kel/framework/Exceptions.h"
#include "kel/framework/HostClassIds.h"
#include "kel/framework/Logger.h"
#include "kel/framework/ScriptableLocator.h"
#include "kel/framework/TaskManager.h"

namespace kel::framework::test {
namespace {

using States = std::vector<unsigned>;

class CommandTest : public HostTest {
 protected:
  CTestCommand& MakeCommand() { return Make<CTestCommand>(kTestCommand); }

  CTaskManager& tasks = CTaskManager::Instance();
};

TEST_F(CommandTest, ExecuteValidatesRunsAndCompletes) {
  CTestCommand& command = MakeCommand();
  command.Execute(false);
  EXPECT_EQ(command.states, (States{CRunnable::STATE_VALIDATING, CRunnable::STATE_RUNNING, 5}));
  EXPECT_EQ(command.GetU32(prop::RunnableState), 5u);

  command.Execute(false);
  EXPECT_EQ(command.states.size(), 6u) << "a completed command runs again";
  EXPECT_TRUE(command.Reset());
  EXPECT_EQ(command.GetRunnableState(), CRunnable::STATE_INIT);

  auto& plain = Make<CCommand>(classid::Command);
  plain.Execute(false);
  EXPECT_EQ(plain.GetRunnableState(), CRunnable::STATE_COMPLETED);
}

TEST_F(CommandTest, FailedValidationOrRunEndsFailed) {
  CTestCommand& command = MakeCommand();
  command.valid = false;
  EXPECT_EQ(ThrownText<CCommandErrorException>([&] { command.Execute(false); }),
            "Validation failed: " + command.GetName());
  EXPECT_EQ(command.states, (States{CRunnable::STATE_VALIDATING, CRunnable::STATE_FAILED}));

  command.valid = true;
  command.runResult = false;
  command.Execute(false);
  EXPECT_EQ(command.GetRunnableState(), CRunnable::STATE_FAILED);

  command.throwInRun = true;
  command.states.clear();
  EXPECT_EQ(ThrownText<CKelRunTimeError>([&] { command.Execute(false); }), "run broke");
  EXPECT_EQ(command.states, (States{CRunnable::STATE_VALIDATING, CRunnable::STATE_RUNNING, CRunnable::STATE_FAILED}));
}

TEST_F(CommandTest, QueuedExecuteRunsOnTheLoopAndLogsFailures) {
  CTestCommand& command = MakeCommand();
  CTestCommand& failing = MakeCommand();
  failing.throwInRun = true;
  CTestCommand& deleted = MakeCommand();
  auto log = std::make_shared<MemorySink>();
  BLLLoggerFactory::GetInstance().AddSink(log);

  command.Execute(true);
  failing.Execute(true);
  deleted.Execute(true);
  deleted.MarkDelete();
  EXPECT_EQ(command.GetRunnableState(), CRunnable::STATE_INIT);
  ::testing::internal::CaptureStderr();  // the expected error stays off the terminal
  tasks.RunUntilIdle();
  ::testing::internal::GetCapturedStderr();
  BLLLoggerFactory::GetInstance().RemoveSink(log);

  EXPECT_EQ(command.GetRunnableState(), CRunnable::STATE_COMPLETED);
  EXPECT_EQ(failing.GetRunnableState(), CRunnable::STATE_FAILED);
  EXPECT_TRUE(log->Contains("kel.host", failing.GetName() + " failed: run broke"));
  EXPECT_TRUE(deleted.states.empty()) << "deleted before its turn came";
}

TEST_F(CommandTest, InputHandlesGiveEachObjectOnceAndSkipUnknownHandles) {
  CScriptable& device = Make(classid::EmulatedDevice);
  CScriptable& active = Make(kTestConfig, &device);
  CScriptable& inactive = Make(kTestConfig, &device);
  inactive.Set(prop::Active, false);
  CScriptable& loose = Make(kTestConfig);
  CScriptable& gone = Make(kTestConfig);
  gone.MarkDelete();

  const std::vector<unsigned> handles{loose.GetHandle(), device.GetHandle(), 0xfffffff0u, gone.GetHandle(),
                                      active.GetHandle(), loose.GetHandle()};
  ScriptableVec all;
  CCommand::ProcessInputHandleVec(kTestConfig, handles, all, FILTER_NONE);
  EXPECT_EQ(Handles(all), Handles({&loose, &active, &inactive}));

  ScriptableVec activeOnly{&loose};
  CCommand::ProcessInputHandleVec(kTestConfig, {device.GetHandle()}, activeOnly, FILTER_INACTIVE_LEAVES);
  EXPECT_EQ(Handles(activeOnly), Handles({&loose, &active}));
}

}  // namespace
}  // namespace kel::framework::test
