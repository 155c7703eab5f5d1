// `storageio run`, `learn` and `check` as a user runs them: separate processes on the real clock,
// their output on a pipe, signals sent to them, their exit codes, the files they write.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <fstream>

#include "AgentProcess.h"
#include "ChildProcess.h"
#include "CliProcess.h"

namespace storageio_e2e {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class StorageCliTest : public ::testing::Test {
 protected:
  void SetUp() override {
    m_folder = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "cli_scratch" /
               ::testing::UnitTest::GetInstance()->current_test_info()->name();
    std::filesystem::remove_all(m_folder);
    std::filesystem::create_directories(m_folder);
  }
  void TearDown() override {
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
  }

  std::string Path(const std::string& name) const { return (m_folder / name).string(); }
  std::string Write(const std::string& name, const std::string& text) const {
    std::ofstream(Path(name)) << text;
    return Path(name);
  }
  // One model port with one worker; `test` is the test section's content.
  std::string ModelDescription(const std::string& test) const {
    return Write("model.yaml",
                 "ports:\n"
                 "  - name: sim\n"
                 "    embedded: {engine: model, targets: [{path: disk, size: 1GiB}]}\n"
                 "workers:\n"
                 "  - {name: w, port: sim, targets: [disk], queue_depth: 4}\n"
                 "test: {" + test + "}\n");
  }

  // One agent port with one worker on `target`; `test` is the test section's content.
  std::string AgentDescription(const std::string& endpoint, const std::string& target, const std::string& test) const {
    return Write("agent.yaml",
                 "ports:\n"
                 "  - {name: remote, agent: {endpoint: '" + endpoint + "'}}\n"
                 "workers:\n"
                 "  - {name: w, port: remote, targets: [" + target + "]}\n"
                 "test: {" + test + "}\n");
  }

  std::filesystem::path m_folder;
};

TEST_F(StorageCliTest, ARunOnAPipeAppendsItsLiveTableAndEndsWithTheResults) {
  CliProcess run({"run", ModelDescription("duration: 2s, display_interval: 500ms")}, Path("err.txt"));
  ASSERT_EQ(0, run.WaitForExit(30000)) << run.Errors();
  const std::string output = run.Output();
  EXPECT_THAT(output, HasSubstr("Test on Status on sim: "));
  EXPECT_THAT(output, HasSubstr("The Storage test has been completed."));
  EXPECT_GE(std::count(output.begin(), output.end(), '\n'), 20);
  EXPECT_THAT(output, HasSubstr("t=1s"));
  EXPECT_THAT(output, Not(HasSubstr("\x1b["))) << "a pipe gets no terminal control sequences";
  EXPECT_THAT(output, HasSubstr("Test completed"));
}

TEST_F(StorageCliTest, CtrlCStopsTheTestWritesTheResultsAndExits130) {
  CliProcess run({"run", ModelDescription("duration: 60s"), "--json", Path("out.json"), "--csv", Path("out.csv")},
                 Path("err.txt"));
  ASSERT_TRUE(run.WaitForOutput("t=", 20000)) << run.Output() << run.Errors();
  run.Signal(SIGINT);
  ASSERT_EQ(130, run.WaitForExit(20000)) << run.Output() << run.Errors();
  EXPECT_THAT(run.Output(), HasSubstr("Test stopped"));
  EXPECT_THAT(ReadText(Path("out.json")), HasSubstr("\"status\": \"stopped\""));
  EXPECT_THAT(ReadText(Path("out.csv")), HasSubstr("worker,w,"));
}

TEST_F(StorageCliTest, APortThatDoesNotAnswerFailsTheRunBeforeAnythingRuns) {
  const std::string description = Write("far.yaml",
                                        "ports:\n"
                                        "  - {name: far, agent: {endpoint: 'tcp://127.0.0.1:9'}}\n"
                                        "workers:\n"
                                        "  - {name: w, port: far, targets: [/data/disk]}\n"
                                        "test: {duration: 5s}\n");
  CliProcess run({"run", description, "--connect-timeout", "1"}, Path("err.txt"));
  EXPECT_EQ(1, run.WaitForExit(20000));
  EXPECT_THAT(run.Errors(), HasSubstr("far: tcp://127.0.0.1:9 does not answer"));
  EXPECT_THAT(run.Output(), Not(HasSubstr("Test on Status")));
}

TEST_F(StorageCliTest, ALostAgentFailsTheRunAndItsResultsAreKeptAsDeleted) {
  AgentProcess agent({"--engine", "model", "--target", "disk0:1GiB", "--warmup-ms", "50"}, Path("agent.log"));
  const std::string description = AgentDescription(agent.Endpoint(), "disk0", "duration: 60s");
  CliProcess run({"run", description, "--json", Path("out.json")}, Path("err.txt"));
  ASSERT_TRUE(run.WaitForOutput("t=", 20000)) << run.Output() << run.Errors();
  agent.Signal(SIGKILL);
  ASSERT_EQ(1, run.WaitForExit(30000)) << run.Output() << run.Errors();
  EXPECT_THAT(run.Output(), HasSubstr("remote: lost:"));
  const std::string json = ReadText(Path("out.json"));
  EXPECT_THAT(json, HasSubstr("\"status\": \"failed\""));
  EXPECT_THAT(json, HasSubstr("\"lost\": true"));
  EXPECT_THAT(json, HasSubstr("\"deleted\": true"));
}

TEST_F(StorageCliTest, ATargetTheAgentDoesNotReportIsRefusedWithWhatItReports) {
  AgentProcess agent({"--engine", "model", "--target", "disk0:1GiB"}, Path("agent.log"));
  const std::string description = AgentDescription(agent.Endpoint(), "disk9", "duration: 5s");
  CliProcess run({"run", description}, Path("err.txt"));
  EXPECT_EQ(2, run.WaitForExit(20000)) << run.Output();
  EXPECT_THAT(run.Errors(), HasSubstr("worker w: port remote reports no target disk9; it reports disk0"));
}

TEST_F(StorageCliTest, ABadDescriptionIsRefusedWithEveryErrorAndItsPlace) {
  const std::string description = Write("bad.yaml",
                                        "ports:\n"
                                        "  - {name: sim, embedded: {engine: model, targets: [{path: d, size: 1GiB}]}}\n"
                                        "workers:\n"
                                        "  - {name: w, port: nowhere, targets: [d], queue_depth: 0}\n"
                                        "test: {duration: 5s, colour: red}\n");
  CliProcess run({"run", description}, Path("err.txt"));
  EXPECT_EQ(2, run.WaitForExit(20000));
  EXPECT_THAT(run.Errors(), HasSubstr(description + ":4:"));
  EXPECT_THAT(run.Errors(), HasSubstr("workers[0].port: no port is named \"nowhere\""));
  EXPECT_THAT(run.Errors(), HasSubstr("workers[0].queue_depth:"));
  EXPECT_THAT(run.Errors(), HasSubstr(description + ":5:22: test.colour: is not a key here"));
}

TEST_F(StorageCliTest, LearnShowsWhatEachPortReports) {
  CliProcess learn({"learn", ModelDescription("duration: 5s")}, Path("err.txt"));
  ASSERT_EQ(0, learn.WaitForExit(20000)) << learn.Errors();
  EXPECT_THAT(learn.Output(), HasSubstr("sim (inproc://sim)"));
  // A relative target path resolves against the working directory.
  EXPECT_THAT(learn.Output(), HasSubstr((std::filesystem::current_path() / "disk").string() + " "));
  EXPECT_THAT(learn.Output(), HasSubstr("logical disk   sector   512  1073741824 bytes"));
}

TEST_F(StorageCliTest, EveryExampleChecks) {
  for (const char* example : {"quickstart", "mixed", "two-agents", "model"}) {
    CliProcess check({"check", std::string(STORAGEIO_EXAMPLES_DIR "/") + example + ".yaml"}, Path("err.txt"));
    EXPECT_EQ(0, check.WaitForExit(20000)) << example << ": " << check.Errors();
  }
}

}  // namespace
}  // namespace storageio_e2e
