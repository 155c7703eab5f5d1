#include "TestDescription.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace storageio_cli {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

const char* const kWorkingDirectory = "/work/tests";

const char* const kExample = R"(ports:
  - name: local
    embedded:
      engine: io_uring
      targets:
        - path: scratch.bin
          size: 256MiB
          buffered: false
  - name: far
    agent:
      endpoint: tcp://10.0.0.7:7100
      server_key: agent.key.pub
      client_key: /etc/storageio/host.key
    port_group: 2
profiles:
  - name: random-read
    transfer_size: 4KiB
    read_percent: 100
    random_percent: 100
    transfer_delay_ms: 0
    burst_length: 1
    align: 4KiB
    reply_size: 4KiB
workers:
  - name: w1
    port: local
    profile: random-read
    targets: [scratch.bin]
    queue_depth: 16
    disk_range: {start_sector: 0, sectors: 0}
    connection_rate: {transactions_per_connection: 64}
    active: true
test:
  duration: 10s
  display_interval: 1s
)";

// Small and valid; the error rows below each change one thing in it.
const char* const kBase = R"(ports:
  - name: local
    embedded:
      engine: io_uring
      targets:
        - path: a.bin
          size: 1MiB
profiles:
  - name: p
    transfer_size: 4KiB
workers:
  - name: w
    port: local
    profile: p
    targets: [a.bin]
    queue_depth: 16
test:
  duration: 10s
)";

LoadResult Load(const std::string& text) { return LoadTestDescription(text, "t.yaml", kWorkingDirectory); }

std::vector<std::string> Texts(const LoadResult& result) {
  std::vector<std::string> texts;
  for (const DescriptionError& error : result.errors) texts.push_back(error.Text());
  return texts;
}

// `text` with its first `from` replaced by `to`.
std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

std::string BaseWith(const std::string& from, const std::string& to) { return Replaced(kBase, from, to); }

TEST(TestDescription, ExampleLoadsWithEveryValue) {
  const LoadResult result = Load(kExample);
  ASSERT_THAT(Texts(result), ElementsAre());
  ASSERT_TRUE(result.description);
  const TestDescription& description = *result.description;

  ASSERT_EQ(description.ports.size(), 2u);
  const PortDescription& local = description.ports[0];
  EXPECT_EQ(local.name, "local");
  EXPECT_EQ(local.kind, PortKind::Embedded);
  EXPECT_EQ(local.engine, EngineKind::IoUring);
  EXPECT_EQ(local.line, 2);
  ASSERT_EQ(local.targets.size(), 1u);
  EXPECT_EQ(local.targets[0].path, "/work/tests/scratch.bin");
  EXPECT_EQ(local.targets[0].sizeBytes, 256u << 20);
  EXPECT_EQ(local.targets[0].buffered, false);
  EXPECT_EQ(local.portGroup, std::nullopt);

  const PortDescription& far = description.ports[1];
  EXPECT_EQ(far.kind, PortKind::Agent);
  EXPECT_EQ(far.endpoint, "tcp://10.0.0.7:7100");
  EXPECT_EQ(far.serverKeyFile, "/work/tests/agent.key.pub");
  EXPECT_EQ(far.clientKeyFile, "/etc/storageio/host.key");
  EXPECT_EQ(far.portGroup, "2");
  EXPECT_EQ(far.line, 9);
  EXPECT_TRUE(far.targets.empty());

  ASSERT_EQ(description.profiles.size(), 1u);
  const ProfileDescription& profile = description.profiles[0];
  EXPECT_EQ(profile.name, "random-read");
  EXPECT_EQ(profile.transferSize, 4096u);
  EXPECT_EQ(profile.readPercent, 100u);
  EXPECT_EQ(profile.randomPercent, 100u);
  EXPECT_EQ(profile.transferDelayMs, 0u);
  EXPECT_EQ(profile.burstLength, 1u);
  EXPECT_EQ(profile.align, 4096u);
  EXPECT_EQ(profile.replySize, 4096u);

  ASSERT_EQ(description.workers.size(), 1u);
  const WorkerDescription& worker = description.workers[0];
  EXPECT_EQ(worker.name, "w1");
  EXPECT_EQ(worker.port, "local");
  EXPECT_EQ(worker.profile, "random-read");
  // As the embedded port will report it: the target's resolved path.
  EXPECT_THAT(worker.targets, ElementsAre("/work/tests/scratch.bin"));
  EXPECT_EQ(worker.queueDepth, 16u);
  EXPECT_EQ(worker.startSector, 0u);
  EXPECT_EQ(worker.sectors, 0u);
  EXPECT_EQ(worker.transactionsPerConnection, 64u);
  EXPECT_TRUE(worker.active);

  EXPECT_EQ(description.test.durationSeconds, 10u);
  EXPECT_EQ(description.test.displayIntervalMs, 1000u);
}

TEST(TestDescription, AbsentValuesStayAbsentForTheDataModelDefaults) {
  const LoadResult result = Load(R"(ports:
  - name: m
    embedded:
      engine: model
      targets: [{path: ../disks/./d0}]
  - name: far
    agent: {endpoint: "tcp://127.0.0.1:7100"}
workers:
  - {name: a, port: m, targets: [../disks/d0]}
  - {name: b, port: far, targets: [nvme0n1], active: false}
test: {duration: 2m}
)");
  ASSERT_THAT(Texts(result), ElementsAre());
  const TestDescription& description = *result.description;
  const PortDescription& model = description.ports[0];
  EXPECT_EQ(model.engine, EngineKind::Model);
  EXPECT_EQ(model.modelSpeedMBps, std::nullopt);
  EXPECT_EQ(model.modelLatencyMs, std::nullopt);
  EXPECT_EQ(model.targets[0].path, "/work/disks/d0");
  EXPECT_EQ(model.targets[0].sizeBytes, std::nullopt);
  EXPECT_EQ(model.targets[0].buffered, std::nullopt);
  EXPECT_EQ(description.ports[1].serverKeyFile, std::nullopt);
  EXPECT_EQ(description.ports[1].clientKeyFile, std::nullopt);
  EXPECT_TRUE(description.profiles.empty());

  const WorkerDescription& onModel = description.workers[0];
  EXPECT_EQ(onModel.profile, std::nullopt);
  EXPECT_EQ(onModel.queueDepth, std::nullopt);
  EXPECT_EQ(onModel.startSector, std::nullopt);
  EXPECT_EQ(onModel.sectors, std::nullopt);
  EXPECT_EQ(onModel.transactionsPerConnection, std::nullopt);
  EXPECT_TRUE(onModel.active);
  EXPECT_THAT(onModel.targets, ElementsAre("/work/disks/d0"));
  // An agent's targets are known only once it is reached: names pass as written.
  EXPECT_THAT(description.workers[1].targets, ElementsAre("nvme0n1"));
  EXPECT_FALSE(description.workers[1].active);

  EXPECT_EQ(description.test.durationSeconds, 120u);
  EXPECT_EQ(description.test.displayIntervalMs, 1000u);
}

TEST(TestDescription, ValueFormsThatAreAccepted) {
  const LoadResult result =
      Load(BaseWith("    transfer_size: 4KiB\n", "    transfer_size: 512\n    align: false\n    reply_size: 1KB\n") +
           "  display_interval: 250\n");
  ASSERT_THAT(Texts(result), ElementsAre());
  const ProfileDescription& profile = result.description->profiles[0];
  EXPECT_EQ(profile.transferSize, 512u);
  EXPECT_EQ(profile.align, 0u);
  EXPECT_EQ(profile.replySize, 1000u);
  // A bare number is seconds, for the display interval as for the duration.
  EXPECT_EQ(result.description->test.displayIntervalMs, 250'000u);

  const LoadResult hours = Load(BaseWith("duration: 10s", "duration: 1h"));
  ASSERT_THAT(Texts(hours), ElementsAre());
  EXPECT_EQ(hours.description->test.durationSeconds, 3600u);
}

struct BadDescription {
  const char* what;
  std::string text;
  std::vector<std::string> errors;
};

class BadDescriptions : public ::testing::TestWithParam<BadDescription> {};

TEST_P(BadDescriptions, ReportEveryProblemAtItsPlace) {
  const LoadResult result = Load(GetParam().text);
  EXPECT_THAT(Texts(result), ElementsAreArray(GetParam().errors)) << GetParam().text;
  EXPECT_FALSE(result.description);
}

const std::string kWorkerKeys = "name, port, profile, targets, queue_depth, disk_range, connection_rate or active";
const std::string kUnits = "K, KiB, M, MiB, G, GiB, T, TiB, KB, MB, GB or TB";

INSTANTIATE_TEST_SUITE_P(
    TestDescription, BadDescriptions,
    ::testing::Values(
        // Keys.
        BadDescription{"unknown key",
                       BaseWith("queue_depth: 16", "queue_dept: 16"),
                       {"t.yaml:16:5: workers[0].queue_dept: is not a key here (use " + kWorkerKeys + ")"}},
        BadDescription{"unknown top-level key",
                       std::string(kBase) + "extra: 1\n",
                       {"t.yaml:19:1: extra: is not a key here (use ports, profiles, workers or test)"}},
        BadDescription{"key given twice",
                       BaseWith("queue_depth: 16", "queue_depth: 16\n    queue_depth: 8"),
                       {"t.yaml:17:5: workers[0].queue_depth: is given twice"}},
        BadDescription{"missing worker name",
                       BaseWith("  - name: w\n    port: local", "  - port: local"),
                       {"t.yaml:12:5: workers[0].name: is missing"}},
        BadDescription{
            "missing worker port", BaseWith("    port: local\n", ""), {"t.yaml:12:5: workers[0].port: is missing"}},
        BadDescription{"missing engine",
                       BaseWith("      engine: io_uring\n", ""),
                       {"t.yaml:4:7: ports[0].embedded.engine: is missing"}},
        BadDescription{"missing duration",
                       BaseWith("duration: 10s", "display_interval: 1s"),
                       {"t.yaml:18:3: test.duration: is missing"}},
        BadDescription{"missing test", BaseWith("test:\n  duration: 10s\n", ""), {"t.yaml:1:1: test: is missing"}},
        // Types.
        BadDescription{"text for a number",
                       BaseWith("queue_depth: 16", "queue_depth: sixteen"),
                       {"t.yaml:16:18: workers[0].queue_depth: must be a whole number, not \"sixteen\""}},
        BadDescription{"fraction for a count",
                       BaseWith("queue_depth: 16", "queue_depth: 1.5"),
                       {"t.yaml:16:18: workers[0].queue_depth: must be a whole number, not \"1.5\""}},
        BadDescription{"quoted number",
                       BaseWith("queue_depth: 16", "queue_depth: \"16\""),
                       {"t.yaml:16:18: workers[0].queue_depth: must be a whole number, not \"16\""}},
        BadDescription{"list for a map",
                       BaseWith("test:\n  duration: 10s", "test: [10s]"),
                       {"t.yaml:17:7: test: must be a map, not a list"}},
        BadDescription{"map for a list",
                       BaseWith("targets: [a.bin]", "targets: {a.bin: 1}"),
                       {"t.yaml:15:14: workers[0].targets: must be a list, not a map"}},
        BadDescription{"list for a text",
                       BaseWith("profile: p", "profile: [p]"),
                       {"t.yaml:14:14: workers[0].profile: must be a text, not a list"}},
        BadDescription{"yes for a boolean",
                       BaseWith("size: 1MiB", "size: 1MiB\n          buffered: yes"),
                       {"t.yaml:8:21: ports[0].embedded.targets[0].buffered: must be true or false, not \"yes\""}},
        BadDescription{"true for an alignment",
                       BaseWith("transfer_size: 4KiB", "align: true"),
                       {"t.yaml:10:12: profiles[0].align: must be a size or false, not true"}},
        BadDescription{"unknown engine",
                       BaseWith("engine: io_uring", "engine: spdk"),
                       {"t.yaml:4:15: ports[0].embedded.engine: must be io_uring or model, not \"spdk\""}},
        // Ranges.
        BadDescription{"percentage over 100",
                       BaseWith("transfer_size: 4KiB", "read_percent: 101"),
                       {"t.yaml:10:19: profiles[0].read_percent: must be at most 100, not 101"}},
        BadDescription{"transfer size of 0",
                       BaseWith("transfer_size: 4KiB", "transfer_size: 0"),
                       {"t.yaml:10:20: profiles[0].transfer_size: must be at least 1 byte, not 0"}},
        BadDescription{"transfer size beyond 32 bits",
                       BaseWith("transfer_size: 4KiB", "transfer_size: 4GiB"),
                       {"t.yaml:10:20: profiles[0].transfer_size: must be at most 4294967295 bytes, not 4GiB"}},
        BadDescription{"queue depth of 0",
                       BaseWith("queue_depth: 16", "queue_depth: 0"),
                       {"t.yaml:16:18: workers[0].queue_depth: must be at least 1, not 0"}},
        BadDescription{"negative number",
                       BaseWith("queue_depth: 16", "queue_depth: -3"),
                       {"t.yaml:16:18: workers[0].queue_depth: must be at least 1, not -3"}},
        BadDescription{
            "huge number",
            BaseWith("queue_depth: 16", "queue_depth: 99999999999999999999999"),
            {"t.yaml:16:18: workers[0].queue_depth: must be at most 4294967295, not 99999999999999999999999"}},
        BadDescription{
            "size that does not parse",
            BaseWith("size: 1MiB", "size: 1QB"),
            {"t.yaml:7:17: ports[0].embedded.targets[0].size: '1QB' is not a byte size: 'QB' is not a unit (use " +
             kUnits + ")"}},
        BadDescription{"duration that does not parse",
                       BaseWith("duration: 10s", "duration: soon"),
                       {"t.yaml:18:13: test.duration: must be a duration such as 10, 10s, 5m, 1h or 500ms, not \"soon\""}},
        BadDescription{"duration of 0",
                       BaseWith("duration: 10s", "duration: 0m"),
                       {"t.yaml:18:13: test.duration: must be whole seconds, at least 1s, not 0m"}},
        BadDescription{"duration of a part of a second",
                       BaseWith("duration: 10s", "duration: 1500ms"),
                       {"t.yaml:18:13: test.duration: must be whole seconds, at least 1s, not 1500ms"}},
        BadDescription{"duration beyond 32 bits of seconds",
                       BaseWith("duration: 10s", "duration: 99999999999999999999h"),
                       {"t.yaml:18:13: test.duration: must be at most 4294967295s, not 99999999999999999999h"}},
        BadDescription{"display interval beyond 32 bits of milliseconds",
                       std::string(kBase) + "  display_interval: 1200h\n",
                       {"t.yaml:19:21: test.display_interval: must be at most 4294967s, not 1200h"}},
        BadDescription{"model latency under the engine's shortest",
                       BaseWith("engine: io_uring", "engine: model\n      model: {speed_mbps: 10, latency_ms: 0}"),
                       {"t.yaml:5:43: ports[0].embedded.model.latency_ms: must be at least 0.001, not 0"}},
        BadDescription{"model on io_uring",
                       BaseWith("engine: io_uring", "engine: io_uring\n      model: {speed_mbps: 1}"),
                       {"t.yaml:5:14: ports[0].embedded.model: applies only to engine model"}},
        BadDescription{"no workers",
                       BaseWith("workers:\n  - name: w\n    port: local\n    profile: p\n    targets: [a.bin]\n"
                                "    queue_depth: 16\n",
                                "workers: []\n"),
                       {"t.yaml:11:10: workers: must list at least one entry"}},
        // Names and references.
        BadDescription{"duplicate port",
                       BaseWith("profiles:", "  - name: local\n    agent: {endpoint: \"tcp://h:1\"}\nprofiles:"),
                       {"t.yaml:8:11: ports[1].name: \"local\" is already the name of ports[0]"}},
        BadDescription{"duplicate profile",
                       BaseWith("workers:", "  - name: p\nworkers:"),
                       {"t.yaml:11:11: profiles[1].name: \"p\" is already the name of profiles[0]"}},
        BadDescription{"duplicate worker",
                       BaseWith("test:", "  - {name: w, port: local, targets: [a.bin]}\ntest:"),
                       {"t.yaml:17:12: workers[1].name: \"w\" is already the name of workers[0]"}},
        BadDescription{"duplicate target of a port",
                       BaseWith("size: 1MiB", "size: 1MiB\n        - path: ./a.bin"),
                       {"t.yaml:8:17: ports[0].embedded.targets[1].path: \"/work/tests/a.bin\" is already the path of "
                        "ports[0].embedded.targets[0]"}},
        BadDescription{"dangling port",
                       BaseWith("port: local", "port: remote"),
                       {"t.yaml:13:11: workers[0].port: no port is named \"remote\""}},
        BadDescription{"dangling profile",
                       BaseWith("profile: p", "profile: q"),
                       {"t.yaml:14:14: workers[0].profile: no profile is named \"q\""}},
        BadDescription{"target the port does not have",
                       BaseWith("[a.bin]", "[a.bin, b.bin]"),
                       {"t.yaml:15:22: workers[0].targets[1]: \"b.bin\" is not a target of port \"local\""}},
        BadDescription{"target listed twice by a worker",
                       BaseWith("[a.bin]", "[a.bin, ./a.bin]"),
                       {"t.yaml:15:22: workers[0].targets[1]: \"./a.bin\" is already listed at workers[0].targets[0]"}},
        BadDescription{"both embedded and agent",
                       BaseWith("    embedded:", "    agent: {endpoint: \"tcp://h:1\"}\n    embedded:"),
                       {"t.yaml:2:5: ports[0]: must have either embedded or agent, not both"}},
        BadDescription{"neither embedded nor agent",
                       BaseWith("    embedded:\n      engine: io_uring\n      targets:\n        - path: a.bin\n"
                                "          size: 1MiB\n",
                                "    port_group: g\n"),
                       {"t.yaml:2:5: ports[0]: must have embedded or agent"}},
        // The document as a whole.
        BadDescription{"empty document", "", {"t.yaml:1:1: (document): is empty"}},
        BadDescription{"only a comment", "# nothing yet\n", {"t.yaml:1:1: (document): is empty"}},
        BadDescription{"a scalar", "just words", {"t.yaml:1:1: (document): must be a map, not \"just words\""}},
        BadDescription{"a list", "- ports", {"t.yaml:1:1: (document): must be a map, not a list"}},
        BadDescription{"deep nesting", std::string(100'000, '['), {"t.yaml:1:1: (document): nests too deeply"}},
        BadDescription{"two documents",
                       std::string(kBase) + "---\nports: []\n",
                       {"t.yaml:19:1: (document): holds a second document; a description is one document"}}),
    [](const ::testing::TestParamInfo<BadDescription>& info) {
      std::string name;
      for (const char c : std::string(info.param.what)) name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
      return name;
    });

TEST(TestDescription, ThreeProblemsGiveThreeLinesInFileOrder) {
  const std::string text = Replaced(Replaced(BaseWith("queue_depth: 16", "queue_depth: 0"), "profile: p", "profile: q"),
                                    "transfer_size: 4KiB", "transfer_size: 4KiX");
  EXPECT_THAT(
      Texts(Load(text)),
      ElementsAre("t.yaml:10:20: profiles[0].transfer_size: '4KiX' is not a byte size: 'KiX' is not a unit (use " +
                      kUnits + ")",
                  "t.yaml:14:14: workers[0].profile: no profile is named \"q\"",
                  "t.yaml:16:18: workers[0].queue_depth: must be at least 1, not 0"));
}

TEST(TestDescription, SyntaxErrorIsOneErrorFromTheParser) {
  const LoadResult result = Load("ports: [a, b\nworkers: {}\n");
  EXPECT_THAT(Texts(result), ElementsAre("t.yaml:2:8: (document): end of sequence flow not found"));
  EXPECT_FALSE(result.description);
}

TEST(TestDescription, AnchorsAndAliasesAreRefusedEachAtItsPlace) {
  const LoadResult result =
      Load(Replaced(BaseWith("  - name: local", "  - name: &port local"), "port: local", "port: *port"));
  EXPECT_THAT(Texts(result),
              ElementsAre("t.yaml:2:11: (document): anchors (&name) are not allowed; write the value out",
                          "t.yaml:13:11: (document): aliases (*name) are not allowed; write the value out"));
  EXPECT_FALSE(result.description);

  // An anchor on a whole map, merged elsewhere: the way one line repeats a large subtree.
  const LoadResult merged = Load("test: &t {duration: 1}\nports: [{<<: *t}]\n");
  EXPECT_THAT(Texts(merged),
              ElementsAre("t.yaml:1:7: (document): anchors (&name) are not allowed; write the value out",
                          "t.yaml:2:14: (document): aliases (*name) are not allowed; write the value out"));
}

TEST(TestDescription, HostileInputGivesErrorsNeverACrash) {
  const std::vector<std::string> inputs = {
      std::string("\0\xff\xfe\x01ports", 9),
      std::string(100'000, '['),
      std::string(100'000, '{'),
      [] {
        std::string deep;
        for (int i = 0; i < 2100; ++i) deep += std::string(static_cast<std::size_t>(i), ' ') + "- \n";
        return deep;
      }(),
      "&a [*a]",
      "*undefined",
      "? [a]\n: b\n",
      "ports: !!binary aGVsbG8=\n",
      "%YAML 1.2\n---\n",
      "test: {duration: 99999999999999999999999999999h}\n",
      std::string(1 << 20, 'x'),
      "\t\tports:\n\t- x",
      "\xef\xbb\xbfports: [\"\\uD800\"]\n",
  };
  for (const std::string& input : inputs) {
    const LoadResult result = Load(input);
    EXPECT_FALSE(result.errors.empty()) << input.substr(0, 60);
    EXPECT_FALSE(result.description) << input.substr(0, 60);
  }
}

// The example with bytes changed at random, the same way on every run: whatever the damage, the
// result is a description or errors, never both, never neither.
TEST(TestDescription, DamagedExamplesGiveADescriptionOrErrors) {
  std::mt19937 random(20240611);
  const std::string example = kExample;
  const char replacements[] = "\0\n\t :-[]{},&*!|>'\"#%@`?0123456789abcdef\xff";
  const std::string bytes(replacements, sizeof replacements - 1);
  for (int round = 0; round < 3000; ++round) {
    std::string text = example;
    const int changes = 1 + static_cast<int>(random() % 4);
    for (int i = 0; i < changes; ++i) {
      text[random() % text.size()] = bytes[random() % bytes.size()];
    }
    const LoadResult result = Load(text);
    ASSERT_NE(result.errors.empty(), !result.description.has_value()) << text;
  }
}

TEST(TestDescriptionFile, LoadsAFileWithPathsFromTheCurrentDirectory) {
  const std::filesystem::path file = std::filesystem::path(::testing::TempDir()) / "description_test.yaml";
  std::ofstream(file) << kExample;
  const LoadResult result = LoadTestDescriptionFile(file.string());
  std::filesystem::remove(file);
  ASSERT_THAT(Texts(result), ElementsAre());
  EXPECT_EQ(result.description->ports[0].targets[0].path,
            (std::filesystem::current_path() / "scratch.bin").lexically_normal().string());
}

TEST(TestDescriptionFile, AFileThatCannotBeReadIsOneError) {
  const std::string missing = ::testing::TempDir() + "/no/such/description.yaml";
  EXPECT_THAT(Texts(LoadTestDescriptionFile(missing)),
              ElementsAre(missing + ":1:1: (file): cannot be read: No such file or directory"));
  const std::string folder = ::testing::TempDir();
  EXPECT_THAT(Texts(LoadTestDescriptionFile(folder)),
              ElementsAre(folder + ":1:1: (file): cannot be read: Is a directory"));
}

}  // namespace
}  // namespace storageio_cli
