// `storageio run`, `check` and the checks before a run, in this process on the host's virtual
// clock with model ports: what the exports hold against the result objects themselves, how a port
// that refuses the test ends the run, and what is refused before anything runs.

#include "RunCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "CheckCommand.h"
#include "ExitCodes.h"
#include "ProjectBuilder.h"
#include "WorkerTargets.h"
#include "kel/core/HostReset.h"
#include "kel/framework/MetaClass.h"
#include "kel/framework/PluginLoader.h"
#include "kel/framework/TaskManager.h"

namespace storageio_cli {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using kel::framework::CScriptable;
using kel::framework::CTaskManager;
using storageio_project::ProjectBuilder;

CTaskManager& Loop() { return CTaskManager::Instance(); }

// Two model ports (two 1 GiB disks and one), a worker on each; `workerOneExtra` ends the worker of
// P1, `test` is the test section's content, `portGroups` goes into each port.
std::string Description(const std::string& workerOneExtra = ", queue_depth: 4", const std::string& test = "duration: 5s",
                        const std::string& portGroups = "") {
  return "ports:\n"
         "  - name: P1\n" + portGroups + "    embedded:\n"
         "      engine: model\n"
         "      targets: [{path: /m/a, size: 1GiB}, {path: /m/b, size: 1GiB}]\n"
         "  - name: P2\n" + portGroups + "    embedded:\n"
         "      engine: model\n"
         "      model: {speed_mbps: 50, latency_ms: 2}\n"
         "      targets: [{path: /m/c, size: 1GiB}]\n"
         "profiles:\n"
         "  - {name: mixed, transfer_size: 8KiB, read_percent: 70, random_percent: 100}\n"
         "workers:\n"
         "  - {name: w1, port: P1, profile: mixed, targets: [/m/a, /m/b]" + workerOneExtra + "}\n"
         "  - {name: w2, port: P2, targets: [/m/c]}\n"
         "test: {" + test + "}\n";
}

class RunCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    kel::core::ResetHost(CTaskManager::ClockMode::Virtual);
    m_folder = std::filesystem::current_path() / ("run_test_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    std::filesystem::remove_all(m_folder);
    std::filesystem::create_directories(m_folder);
  }
  void TearDown() override {
    kel::core::ResetHost(CTaskManager::ClockMode::Real);
    std::filesystem::remove_all(m_folder);
  }

  std::string Write(const std::string& text) {
    const std::string path = (m_folder / "test.yaml").string();
    std::ofstream(path) << text;
    return path;
  }
  RunOptions Options(const std::string& description) {
    RunOptions options;
    options.descriptionPath = Write(description);
    options.pluginPath = STORAGEIO_PLUGIN_PATH;
    options.jsonFile = (m_folder / "results.json").string();
    options.csvFile = (m_folder / "results.csv").string();
    options.virtualClock = true;
    return options;
  }
  int Run(const RunOptions& options) {
    out.str("");
    err.str("");
    return RunTest(options, out, err);
  }
  nlohmann::json Json() const { return nlohmann::json::parse(std::ifstream(m_folder / "results.json")); }
  std::string Csv() const {
    std::stringstream text;
    text << std::ifstream(m_folder / "results.csv").rdbuf();
    return text.str();
  }

  std::filesystem::path m_folder;
  std::ostringstream out;
  std::ostringstream err;
};

TEST_F(RunCommandTest, ACompletedRunExportsExactlyWhatTheResultObjectsHold) {
  ASSERT_EQ(kExitCompleted, Run(Options(Description()))) << err.str();
  EXPECT_THAT(out.str(), HasSubstr("Test on Status on P1: "));
  EXPECT_THAT(out.str(), HasSubstr("Storage test on portP2 has finished."));
  EXPECT_THAT(out.str(), HasSubstr("The Storage test has been completed."));
  EXPECT_THAT(out.str(), HasSubstr("Test completed"));

  const nlohmann::json json = Json();
  EXPECT_EQ("completed", json["status"]);
  EXPECT_EQ(2u, json["ports"].size());
  EXPECT_EQ("inproc://P1", json["ports"][0]["location"]);
  EXPECT_FALSE(json["ports"][0]["lost"].get<bool>());

  // Every result object of the project is in the export, with its 30 values exactly.
  const kel::framework::ScriptableVec results = ProjectBuilder::ObjectsOf("StorageBaseResults");
  ASSERT_EQ(1u + 2u + 2u + 2u + 3u, results.size()) << "project, ports, profiles, workers, targets";
  ASSERT_EQ(results.size(), json["results"].size());
  const auto& properties =
      kel::framework::CMetaClassManager::Instance().GetClass("StorageBaseResults")->GetProperties();
  for (const CScriptable* result : results) {
    const auto exported = std::find_if(json["results"].begin(), json["results"].end(), [&](const nlohmann::json& entry) {
      return entry["owner_handle"] == result->GetParent()->GetHandle() && entry["class"] == result->GetClassName();
    });
    ASSERT_NE(exported, json["results"].end()) << result->GetClassName();
    EXPECT_FALSE((*exported)["deleted"].get<bool>());
    for (const kel::framework::PropertyDesc& property : properties) {
      if (property.type == kel::framework::PropertyType::U64) {
        EXPECT_EQ(result->GetU64(property.id), exported->at("values").at(property.name).get<std::uint64_t>())
            << property.name;
      } else if (property.type == kel::framework::PropertyType::Double) {
        EXPECT_EQ(result->GetDouble(property.id), exported->at("values").at(property.name).get<double>())
            << property.name;
      }
    }
  }
  EXPECT_GT(json["results"][0]["values"]["AllTransactionCount"].get<std::uint64_t>(), 0u);

  // The series: every notification's values, in time order, within the run.
  const nlohmann::json& series = json["series"];
  ASSERT_GE(series.size(), 4u);
  for (std::size_t i = 1; i < series.size(); ++i) EXPECT_LE(series[i - 1]["t_ms"], series[i]["t_ms"]);
  EXPECT_LE(series.back()["t_ms"].get<std::int64_t>(), 10000);

  // One CSV row per result object below its header.
  const std::string csv = Csv();
  EXPECT_EQ(0u, csv.rfind("level,owner,owner_handle,BytesRead,", 0));
  EXPECT_EQ(results.size() + 1, static_cast<std::size_t>(std::count(csv.begin(), csv.end(), '\n')));
}

TEST_F(RunCommandTest, APortThatRefusesTheTestFailsTheRunWhichStopsTheOthersAndSaysWhy) {
  // Above what a port takes in flight: only the port knows its limit, so only the port refuses.
  const RunOptions options = Options(Description(", queue_depth: 100000", "duration: 60s"));
  EXPECT_EQ(kExitFailed, Run(options)) << err.str();
  EXPECT_THAT(out.str(), HasSubstr("P1: failed: no progress for"));
  EXPECT_THAT(out.str(), HasSubstr("P1: Refused BST_1.StartTest:"));
  EXPECT_THAT(out.str(), HasSubstr("Storage test on portP2 has finished.")) << "the stop command ended P2";
  EXPECT_LT(Loop().NowMs(), 40000) << "the run did not wait for the start command's budget";
  EXPECT_EQ("failed", Json()["status"]);
}

TEST_F(RunCommandTest, WhatAPortWouldRefuseIsRefusedBeforeAnythingRuns) {
  EXPECT_EQ(kExitRefused, Run(Options(Description(", disk_range: {start_sector: 2097152}"))));
  EXPECT_THAT(err.str(), HasSubstr("worker w1 on target /m/a: start sector 2097152 lies at or past the end"));
  EXPECT_THAT(err.str(), HasSubstr("worker w1 on target /m/b: start sector 2097152"));
  EXPECT_THAT(out.str(), Not(HasSubstr("Test on Status")));

  EXPECT_EQ(kExitRefused, Run(Options(Description(", queue_depth: 4", "duration: 5s", "    port_group: shared\n"))));
  EXPECT_THAT(err.str(), HasSubstr("Only one port per port group may be used for storage IO"));

  EXPECT_EQ(kExitRefused, Run(Options("ports: []\n")));
  EXPECT_THAT(err.str(), HasSubstr("test.yaml:1:"));
}

TEST_F(RunCommandTest, CheckGivesThePluginsVerdictWithoutReachingAnyPort) {
  EXPECT_EQ(kExitCompleted, CheckDescription(Write(Description()), STORAGEIO_PLUGIN_PATH, out, err)) << err.str();
  EXPECT_THAT(out.str(), HasSubstr("valid (2 port(s), 1 profile(s), 2 worker(s))"));
  kel::core::ResetHost(CTaskManager::ClockMode::Virtual);
  EXPECT_EQ(kExitRefused, CheckDescription(Write(Description(", queue_depth: 4", "duration: 5s", "    port_group: shared\n")),
                                           STORAGEIO_PLUGIN_PATH, out, err));
  EXPECT_THAT(err.str(), HasSubstr("the following ports are in conflict: P1, P2"));
}

TEST(WorkerTargetsTest, RefusalsOfNameEachRuleAPortEnforces) {
  TargetLoadFigures load;
  load.transferSize = 4096;
  load.targetSectors = 1000;
  load.sectorSize = 512;
  EXPECT_TRUE(RefusalsOf(load).empty());

  TargetLoadFigures zero = load;
  zero.transferSize = 0;
  EXPECT_THAT(RefusalsOf(zero), ::testing::ElementsAre("the transfer size is 0"));

  TargetLoadFigures narrow = load;
  narrow.startSector = 995;  // 5 sectors left: 2560 bytes
  EXPECT_THAT(RefusalsOf(narrow),
              ::testing::ElementsAre("the disk range of 5 sectors cannot hold one transfer of 4096 bytes"));
  narrow.startSector = 0;
  narrow.sectors = 7;
  EXPECT_EQ(1u, RefusalsOf(narrow).size()) << "a range given in sectors is clipped the same way";

  TargetLoadFigures odd = load;
  odd.transferSize = 1000;
  odd.alignment = 100;
  EXPECT_EQ(2u, RefusalsOf(odd).size()) << "direct I/O needs whole sectors";
  odd.direct = false;
  EXPECT_TRUE(RefusalsOf(odd).empty()) << "buffered I/O does not";
}

}  // namespace
}  // namespace storageio_cli
