#pragma once
// A storage test as an engineer describes it in a YAML file: ports and their targets, access
// profiles, workers, and how long the test runs. The loader checks the whole description and
// turns it into plain values, or into every problem it found, each with its line and column.
//
// Values the file leaves out stay empty (std::nullopt) so that whoever builds the test applies
// the defaults of the data model; only the display interval has a default here.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace storageio_cli {

struct TargetDescription {
  std::string path;  // absolute and lexically normal
  std::optional<std::uint64_t> sizeBytes;
  std::optional<bool> buffered;
};

enum class PortKind { Embedded, Agent };
enum class EngineKind { IoUring, Model };

struct PortDescription {
  std::string name;
  PortKind kind = PortKind::Embedded;
  // Embedded ports only.
  EngineKind engine = EngineKind::IoUring;
  std::optional<double> modelSpeedMBps;  // engine Model only
  std::optional<double> modelLatencyMs;  // engine Model only
  std::vector<TargetDescription> targets;
  // Agent ports only; key files are absolute and lexically normal.
  std::string endpoint;
  std::optional<std::string> serverKeyFile;
  std::optional<std::string> clientKeyFile;
  // Ports naming the same group share one test module.
  std::optional<std::string> portGroup;
  int line = 0;  // where the port starts in the file, for messages about it later
};

struct ProfileDescription {
  std::string name;
  std::optional<std::uint32_t> transferSize;
  std::optional<std::uint32_t> readPercent;
  std::optional<std::uint32_t> randomPercent;
  std::optional<std::uint32_t> transferDelayMs;
  std::optional<std::uint32_t> burstLength;
  std::optional<std::uint32_t> align;      // bytes; 0 aligns on the target's sector size
  std::optional<std::uint32_t> replySize;  // present: replies of this size are enabled
};

struct WorkerDescription {
  std::string name;
  std::string port;
  std::optional<std::string> profile;  // absent: the project's default profile
  // As the port reports them: for an embedded port its targets' absolute paths, for an agent
  // the names exactly as written.
  std::vector<std::string> targets;
  std::optional<std::uint32_t> queueDepth;
  std::optional<std::uint64_t> startSector;
  std::optional<std::uint64_t> sectors;                    // 0: to the end of the target
  std::optional<std::uint32_t> transactionsPerConnection;  // present: connection rate enabled
  bool active = true;
};

struct TestSettings {
  std::uint32_t durationSeconds = 0;
  std::uint32_t displayIntervalMs = 1000;
};

struct TestDescription {
  std::vector<PortDescription> ports;
  std::vector<ProfileDescription> profiles;
  std::vector<WorkerDescription> workers;
  TestSettings test;
};

struct DescriptionError {
  std::string file;
  int line = 0;    // 1-based
  int column = 0;  // 1-based
  // Where in the description, e.g. "workers[0].queue_depth"; "(document)" for the file as a
  // whole (syntax, anchors, an empty file) and "(file)" when it cannot be read.
  std::string key;
  std::string what;

  // "FILE:LINE:COLUMN: key: what", the form editors and terminals link to the place.
  std::string Text() const;
};

// Exactly one of the two is filled: a description when `errors` is empty, none otherwise.
struct LoadResult {
  std::optional<TestDescription> description;
  std::vector<DescriptionError> errors;
};

// Reads a description from `text`. `fileName` only labels the errors. Relative target and key
// file paths resolve against `workingDirectory`, which should be absolute; the file system is
// not touched. Never throws: every problem, including a YAML syntax error, anchors and aliases
// (refused so that a small file cannot expand into a huge one) and unexpected failures of the
// YAML library, comes back in `errors`.
LoadResult LoadTestDescription(const std::string& text, const std::string& fileName,
                               const std::string& workingDirectory);

// Reads the file at `path` and loads it as above, with the process's current directory as the
// working directory. A file that cannot be read gives one error. Never throws.
LoadResult LoadTestDescriptionFile(const std::string& path);

}  // namespace storageio_cli
