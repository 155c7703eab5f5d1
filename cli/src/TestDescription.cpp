#include "TestDescription.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <set>
#include <sstream>

#include "DescriptionFields.h"
#include "YamlDocument.h"
#include "port/engines/ModelEngine.h"

namespace storageio_cli {
namespace {

constexpr std::uint64_t kU32Max = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t kU64Max = std::numeric_limits<std::uint64_t>::max();

// Values read with kU32Max as their maximum.
std::optional<std::uint32_t> AsU32(std::optional<std::uint64_t> value) {
  if (!value) return std::nullopt;
  return static_cast<std::uint32_t>(*value);
}

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

// What workers may rely on about a port they name.
struct KnownPort {
  std::optional<PortKind> kind;  // nullopt: the port says neither or both
  bool complete = false;         // read without errors, so its target list is the whole list
  std::set<std::string> targetPaths;
};

// Reads a whole description, section by section, reporting every problem into `errors`. The
// result is meaningful only when no error was added.
class DescriptionReader {
 public:
  DescriptionReader(std::string workingDirectory, DescriptionErrors& errors)
      : m_workingDirectory(std::move(workingDirectory)), m_errors(errors) {}

  TestDescription Read(const YAML::Node& root) {
    TestDescription description;
    std::optional<MapFields> top = MapFields::Open(root, "", {"ports", "profiles", "workers", "test"}, m_errors);
    if (!top) return description;
    // Ports and profiles first, whatever the order in the file: workers refer to them.
    if (const std::optional<YAML::Node> ports = top->Value("ports")) {
      description.ports = ReadList<PortDescription>(*ports, "ports", true, &DescriptionReader::ReadPort);
    } else {
      top->ReportMissing("ports");
    }
    if (const std::optional<YAML::Node> profiles = top->Value("profiles")) {
      // None is fine: workers without a profile use the project's default.
      description.profiles =
          ReadList<ProfileDescription>(*profiles, "profiles", false, &DescriptionReader::ReadProfile);
    }
    if (const std::optional<YAML::Node> workers = top->Value("workers")) {
      description.workers = ReadList<WorkerDescription>(*workers, "workers", true, &DescriptionReader::ReadWorker);
    } else {
      top->ReportMissing("workers");
    }
    if (const std::optional<YAML::Node> test = top->Value("test")) {
      description.test = ReadTest(*test);
    } else {
      top->ReportMissing("test");
    }
    return description;
  }

 private:
  // Reads every item of the list at `node`; `read` fills one item or reports why it cannot.
  template <typename Item>
  std::vector<Item> ReadList(const YAML::Node& node, const std::string& path, bool atLeastOne,
                             void (DescriptionReader::*read)(const YAML::Node&, const std::string&, Item&)) {
    std::vector<Item> items;
    if (!ExpectList(node, path, atLeastOne, m_errors)) return items;
    for (std::size_t i = 0; i < node.size(); ++i) {
      Item item;
      (this->*read)(node[i], ItemPath(path, i), item);
      items.push_back(std::move(item));
    }
    return items;
  }

  // Records `name` under `names`; reports a name seen before, at the name's value.
  void ClaimName(std::map<std::string, std::string>& names, MapFields& fields, const std::string& name) {
    const auto [first, added] = names.emplace(name, fields.Path());
    if (!added) fields.ReportValue("name", Quoted(name) + " is already the name of " + first->second);
  }

  std::string Resolve(const std::string& path) const {
    return (std::filesystem::path(m_workingDirectory) / path).lexically_normal().string();
  }

  void ReadPort(const YAML::Node& node, const std::string& path, PortDescription& port) {
    const std::size_t errorsBefore = m_errors.Count();
    std::optional<MapFields> fields =
        MapFields::Open(node, path, {"name", "embedded", "agent", "port_group"}, m_errors);
    if (!fields) return;
    port.line = node.Mark().line + 1;
    port.name = fields->RequiredString("name").value_or("");
    port.portGroup = fields->OptionalString("port_group");
    KnownPort known;
    const std::optional<YAML::Node> embedded = fields->Value("embedded");
    const std::optional<YAML::Node> agent = fields->Value("agent");
    if (embedded && agent) {
      m_errors.Add(node, path, "must have either embedded or agent, not both");
    } else if (embedded) {
      known.kind = port.kind = PortKind::Embedded;
      ReadEmbedded(*embedded, fields->PathOf("embedded"), port);
    } else if (agent) {
      known.kind = port.kind = PortKind::Agent;
      ReadAgent(*agent, fields->PathOf("agent"), port);
    } else {
      m_errors.Add(node, path, "must have embedded or agent");
    }
    if (port.name.empty()) return;
    ClaimName(m_portNames, *fields, port.name);
    known.complete = m_errors.Count() == errorsBefore;
    for (const TargetDescription& target : port.targets) known.targetPaths.insert(target.path);
    m_ports.emplace(port.name, std::move(known));
  }

  void ReadEmbedded(const YAML::Node& node, const std::string& path, PortDescription& port) {
    std::optional<MapFields> fields = MapFields::Open(node, path, {"engine", "model", "targets"}, m_errors);
    if (!fields) return;
    const std::optional<std::string> engine = fields->RequiredString("engine");
    if (engine == "io_uring") {
      port.engine = EngineKind::IoUring;
    } else if (engine == "model") {
      port.engine = EngineKind::Model;
    } else if (engine) {
      fields->ReportValue("engine", "must be io_uring or model, not " + Quoted(*engine));
    }
    if (const std::optional<YAML::Node> model = fields->Value("model")) {
      if (engine == "model") {
        ReadModel(*model, fields->PathOf("model"), port);
      } else if (engine == "io_uring") {
        fields->ReportValue("model", "applies only to engine model");
      }
    }
    if (const std::optional<YAML::Node> targets = fields->Value("targets")) {
      port.targets = ReadTargets(*targets, fields->PathOf("targets"));
    } else {
      fields->ReportMissing("targets");
    }
  }

  void ReadModel(const YAML::Node& node, const std::string& path, PortDescription& port) {
    std::optional<MapFields> fields = MapFields::Open(node, path, {"speed_mbps", "latency_ms"}, m_errors);
    if (!fields) return;
    port.modelSpeedMBps = fields->OptionalNumber("speed_mbps", 0, true);
    // The model engine refuses shorter latencies: its clock would not move on.
    port.modelLatencyMs = fields->OptionalNumber("latency_ms", storageio_port::ModelEngine::kShortestLatencyMs, false);
  }

  std::vector<TargetDescription> ReadTargets(const YAML::Node& node, const std::string& path) {
    std::vector<TargetDescription> targets;
    if (!ExpectList(node, path, true, m_errors)) return targets;
    std::map<std::string, std::string> paths;
    for (std::size_t i = 0; i < node.size(); ++i) {
      std::optional<MapFields> fields =
          MapFields::Open(node[i], ItemPath(path, i), {"path", "size", "buffered"}, m_errors);
      if (!fields) continue;
      TargetDescription target;
      if (const std::optional<std::string> written = fields->RequiredString("path")) {
        target.path = Resolve(*written);
        const auto [first, added] = paths.emplace(target.path, fields->Path());
        if (!added) fields->ReportValue("path", Quoted(target.path) + " is already the path of " + first->second);
      }
      target.sizeBytes = fields->OptionalSize("size", 1, kU64Max);
      target.buffered = fields->OptionalBool("buffered");
      targets.push_back(std::move(target));
    }
    return targets;
  }

  void ReadAgent(const YAML::Node& node, const std::string& path, PortDescription& port) {
    std::optional<MapFields> fields = MapFields::Open(node, path, {"endpoint", "server_key", "client_key"}, m_errors);
    if (!fields) return;
    port.endpoint = fields->RequiredString("endpoint").value_or("");
    if (const std::optional<std::string> serverKey = fields->OptionalString("server_key")) {
      port.serverKeyFile = Resolve(*serverKey);
    }
    if (const std::optional<std::string> clientKey = fields->OptionalString("client_key")) {
      port.clientKeyFile = Resolve(*clientKey);
    }
  }

  void ReadProfile(const YAML::Node& node, const std::string& path, ProfileDescription& profile) {
    std::optional<MapFields> fields = MapFields::Open(node, path,
                                                      {"name", "transfer_size", "read_percent", "random_percent",
                                                       "transfer_delay_ms", "burst_length", "align", "reply_size"},
                                                      m_errors);
    if (!fields) return;
    profile.name = fields->RequiredString("name").value_or("");
    if (!profile.name.empty()) ClaimName(m_profileNames, *fields, profile.name);
    profile.transferSize = AsU32(fields->OptionalSize("transfer_size", 1, kU32Max));
    profile.readPercent = AsU32(fields->OptionalWhole("read_percent", 0, 100));
    profile.randomPercent = AsU32(fields->OptionalWhole("random_percent", 0, 100));
    profile.transferDelayMs = AsU32(fields->OptionalWhole("transfer_delay_ms", 0, kU32Max));
    profile.burstLength = AsU32(fields->OptionalWhole("burst_length", 1, kU32Max));
    profile.align = AsU32(fields->OptionalSizeOrFalse("align", 1, kU32Max));
    profile.replySize = AsU32(fields->OptionalSize("reply_size", 1, kU32Max));
  }

  void ReadWorker(const YAML::Node& node, const std::string& path, WorkerDescription& worker) {
    std::optional<MapFields> fields = MapFields::Open(
        node, path, {"name", "port", "profile", "targets", "queue_depth", "disk_range", "connection_rate", "active"},
        m_errors);
    if (!fields) return;
    worker.name = fields->RequiredString("name").value_or("");
    if (!worker.name.empty()) ClaimName(m_workerNames, *fields, worker.name);
    worker.port = fields->RequiredString("port").value_or("");
    const auto port = m_ports.find(worker.port);
    if (!worker.port.empty() && port == m_ports.end()) {
      fields->ReportValue("port", "no port is named " + Quoted(worker.port));
    }
    worker.profile = fields->OptionalString("profile");
    if (worker.profile && m_profileNames.count(*worker.profile) == 0) {
      fields->ReportValue("profile", "no profile is named " + Quoted(*worker.profile));
    }
    if (const std::optional<YAML::Node> targets = fields->Value("targets")) {
      const KnownPort* known = port == m_ports.end() ? nullptr : &port->second;
      worker.targets = ReadWorkerTargets(*targets, fields->PathOf("targets"), worker.port, known);
    } else {
      fields->ReportMissing("targets");
    }
    worker.queueDepth = AsU32(fields->OptionalWhole("queue_depth", 1, kU32Max));
    if (const std::optional<YAML::Node> range = fields->Value("disk_range")) {
      std::optional<MapFields> rangeFields =
          MapFields::Open(*range, fields->PathOf("disk_range"), {"start_sector", "sectors"}, m_errors);
      if (rangeFields) {
        worker.startSector = rangeFields->OptionalWhole("start_sector", 0, kU64Max);
        worker.sectors = rangeFields->OptionalWhole("sectors", 0, kU64Max);
      }
    }
    if (const std::optional<YAML::Node> rate = fields->Value("connection_rate")) {
      std::optional<MapFields> rateFields =
          MapFields::Open(*rate, fields->PathOf("connection_rate"), {"transactions_per_connection"}, m_errors);
      if (rateFields) {
        worker.transactionsPerConnection = AsU32(rateFields->RequiredWhole("transactions_per_connection", 1, kU32Max));
      }
    }
    worker.active = fields->OptionalBool("active").value_or(true);
  }

  // Target names as `port` reports them. An embedded port reports its targets' resolved paths,
  // so names resolve the same way and must be among them; an agent's targets are known only once
  // it is reached, so its names stay as written. `port` is null when no port is named `portName`.
  std::vector<std::string> ReadWorkerTargets(const YAML::Node& node, const std::string& path,
                                             const std::string& portName, const KnownPort* port) {
    std::vector<std::string> names;
    if (!ExpectList(node, path, true, m_errors)) return names;
    const bool embedded = port && port->kind == PortKind::Embedded;
    std::map<std::string, std::string> listed;
    for (std::size_t i = 0; i < node.size(); ++i) {
      const YAML::Node& item = node[i];
      const std::string itemPath = ItemPath(path, i);
      if (!item.IsScalar() || item.Scalar().empty()) {
        m_errors.Add(item, itemPath, "must be a target name, not " + DescribeNode(item));
        continue;
      }
      const std::string name = embedded ? Resolve(item.Scalar()) : item.Scalar();
      if (embedded && port->complete && port->targetPaths.count(name) == 0) {
        m_errors.Add(item, itemPath, Quoted(item.Scalar()) + " is not a target of port " + Quoted(portName));
      }
      const auto [first, added] = listed.emplace(name, itemPath);
      if (!added) m_errors.Add(item, itemPath, Quoted(item.Scalar()) + " is already listed at " + first->second);
      names.push_back(name);
    }
    return names;
  }

  TestSettings ReadTest(const YAML::Node& node) {
    TestSettings settings;
    std::optional<MapFields> fields = MapFields::Open(node, "test", {"duration", "display_interval"}, m_errors);
    if (!fields) return settings;
    settings.durationSeconds =
        static_cast<std::uint32_t>(fields->RequiredDurationMs("duration", kU32Max * 1000, /*wholeSeconds=*/true).value_or(0) / 1000);
    if (const std::optional<std::uint64_t> interval = fields->OptionalDurationMs("display_interval", kU32Max)) {
      settings.displayIntervalMs = static_cast<std::uint32_t>(*interval);
    }
    return settings;
  }

  std::string m_workingDirectory;
  DescriptionErrors& m_errors;
  std::map<std::string, KnownPort> m_ports;
  // Name -> the path of the entry that has it first, for messages about a second one.
  std::map<std::string, std::string> m_portNames;
  std::map<std::string, std::string> m_profileNames;
  std::map<std::string, std::string> m_workerNames;
};

}  // namespace

std::string DescriptionError::Text() const {
  return file + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " + key + ": " + what;
}

LoadResult LoadTestDescription(const std::string& text, const std::string& fileName,
                               const std::string& workingDirectory) {
  DescriptionErrors errors(fileName);
  LoadResult result;
  // yaml-cpp may throw from almost any call; whatever escapes is one more error, never a crash.
  try {
    if (const std::optional<YAML::Node> root = ParseSingleDocument(text, errors)) {
      result.description = DescriptionReader(workingDirectory, errors).Read(*root);
    }
  } catch (const std::exception& failure) {
    errors.Add(YAML::Mark::null_mark(), "(document)", std::string("cannot be read: ") + failure.what());
  } catch (...) {
    errors.Add(YAML::Mark::null_mark(), "(document)", "cannot be read");
  }
  result.errors = errors.Take();
  // In file order, as an engineer fixes them; sections are read in an order of their own.
  std::stable_sort(result.errors.begin(), result.errors.end(),
                   [](const DescriptionError& a, const DescriptionError& b) {
                     return a.line != b.line ? a.line < b.line : a.column < b.column;
                   });
  if (!result.errors.empty()) result.description.reset();
  return result;
}

LoadResult LoadTestDescriptionFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::error_code notAFolder;
  // A folder opens like a file and then reads as nothing; a failed open leaves its reason in errno.
  const int openFailure = errno != 0 ? errno : EIO;
  const int failure = !file ? openFailure : std::filesystem::is_directory(path, notAFolder) ? EISDIR : 0;
  if (failure != 0) {
    return {std::nullopt, {{path, 1, 1, "(file)", std::string("cannot be read: ") + std::strerror(failure)}}};
  }
  std::ostringstream text;
  text << file.rdbuf();
  // Without a current directory (removed under the process) relative paths simply stay relative.
  std::error_code noDirectory;
  const std::filesystem::path workingDirectory = std::filesystem::current_path(noDirectory);
  return LoadTestDescription(text.str(), path, workingDirectory.string());
}

}  // namespace storageio_cli
