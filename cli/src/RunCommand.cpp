#include "RunCommand.h"

#include <unistd.h>

#include <chrono>
#include <ctime>
#include <fstream>
#include <memory>
#include <optional>

#include "Console.h"
#include "ExitCodes.h"
#include "ResultFields.h"
#include "ResultTables.h"
#include "ResultsExport.h"
#include "ResultsFollower.h"
#include "RunMonitor.h"
#include "SessionSteps.h"
#include "SignalWatcher.h"
#include "WorkerTargets.h"
#include "kel/core/PortChannels.h"
#include "kel/framework/Exceptions.h"
#include "kel/framework/TaskManager.h"

namespace storageio_cli {

namespace {

using kel::framework::CTaskManager;
using storageio_project::ProjectBuilder;

CTaskManager& Loop() { return CTaskManager::Instance(); }

// How often each port sends its figures: the start command's own rule, from the number of ports.
std::int64_t StatisticsIntervalMs(std::size_t ports) { return ports <= 10 ? static_cast<std::int64_t>(ports) * 1000 : 10000; }

std::string UtcNow() {
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::tm utc{};
  gmtime_r(&now, &utc);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
  return text;
}

std::string HostName() {
  char name[256] = {};
  return gethostname(name, sizeof name - 1) == 0 ? name : "";
}

// The project's read and write errors: every worker's, whatever its profile.
std::uint64_t IoErrors(const std::vector<ResultRecord>& records) {
  std::uint64_t errors = 0;
  for (const ResultRecord& record : records) {
    if (record.level != ResultLevel::Worker) continue;
    errors += static_cast<std::uint64_t>(NumberAt(record.values, ResultFieldIndex("ReadErrors")) +
                                         NumberAt(record.values, ResultFieldIndex("WriteErrors")));
  }
  return errors;
}

const char* StatusOf(RunMonitor::Outcome outcome) {
  switch (outcome) {
    case RunMonitor::Outcome::Completed:
      return "completed";
    case RunMonitor::Outcome::Stopped:
      return "stopped";
    default:
      return "failed";
  }
}

// One run, from the description to the exit code.
class RunSession {
 public:
  RunSession(const RunOptions& options, std::ostream& out, std::ostream& err)
      : m_options(options),
        m_out(out),
        m_err(err),
        m_console(out, isatty(STDOUT_FILENO) == 1),
        m_interruptHandler(std::make_shared<std::function<void()>>([this] { OnInterrupt(); })) {}

  ~RunSession() {
    // Embedded ports and transports stop while the loop and the project they serve still exist.
    kel::core::CPortChannels::Instance().Clear();
  }

  int Run() {
    // Before any other thread starts, so that only the watcher's takes the signals.
    SignalWatcher signals([handler = std::weak_ptr<std::function<void()>>(m_interruptHandler)] {
      Loop().PostFromAnyThread(
          [handler] {
            if (const auto alive = handler.lock()) (*alive)();
          },
          kel::framework::EventKind::Work);
    });
    std::optional<TestDescription> description = LoadDescription(m_options.descriptionPath, m_err);
    if (!description) return kExitRefused;
    m_description = std::move(*description);
    m_plugin = LoadPlugin(m_options.pluginPath, m_options.virtualClock);
    try {
      TestProject::RegisterTransports(m_description);
      m_project.emplace(m_description);
    } catch (const ProjectError& refused) {
      m_err << refused.what() << "\n";
      return kExitRefused;
    }
    const auto connectTimeoutMs = static_cast<std::int64_t>(m_options.connectTimeoutS * 1000);
    if (!ConnectPorts(*m_project, connectTimeoutMs, m_interrupted, m_err)) {
      return m_interrupted ? Stopped() : kExitFailed;
    }
    m_learn = LearnTargets(*m_project);
    if (m_interrupted) return Stopped();
    if (const int refused = Configure(); refused != kExitCompleted) return refused;
    return RunTheTest();
  }

 private:
  // Relates the learned targets, checks what the ports would refuse, applies.
  int Configure() {
    std::vector<std::string> refusals = RelateTargets(*m_project);
    if (refusals.empty()) refusals = PortRefusals(*m_project);
    for (const std::string& refusal : refusals) m_err << refusal << "\n";
    if (!refusals.empty()) return kExitRefused;
    try {
      ProjectBuilder::MakeApply()->Execute(false);
    } catch (const kel::framework::CKelException& refused) {
      m_err << refused.what() << "\n";
      return kExitRefused;
    }
    return kExitCompleted;
  }

  int RunTheTest() {
    RunMonitor::Settings settings;
    settings.showProgress = !m_options.quiet;
    settings.stopTimeoutMs = static_cast<std::int64_t>(m_options.connectTimeoutS * 1000);
    settings.statisticsIntervalMs = StatisticsIntervalMs(m_project->Ports().size());
    m_monitor.emplace(*m_project, m_console, settings);
    m_follower.emplace([this] { OnResults(); });
    const std::vector<kel::framework::Handle> workers = m_project->ActiveWorkerHandles();
    if (!m_options.quiet) {
      m_console.Line("Running " + std::to_string(m_description.test.durationSeconds) + " s on " +
                     std::to_string(m_project->Ports().size()) + " port(s), " + std::to_string(workers.size()) +
                     " worker(s)");
    }
    m_startedAt = UtcNow();
    m_startMs = Loop().NowMs();
    m_follower->SetOrigin(m_startMs);
    m_monitor->Begin();
    ScheduleDisplay();
    ProjectBuilder::MakeStart(workers, m_description.test.durationSeconds, /*learnFirst=*/false)->Execute(false);
    while (!m_monitor->Over()) Loop().RunFor(RunMonitor::kTickMs);
    Loop().Cancel(m_nextDisplay);
    if (m_resultsChanged && !m_options.quiet) ShowLive();
    m_console.KeepBlock();
    return Report(m_monitor->GetOutcome());
  }

  void OnResults() {
    // Every new point of the series is a sign of progress for its port.
    const std::vector<SeriesPoint>& series = m_follower->Series();
    for (; m_seriesSeen < series.size(); ++m_seriesSeen) {
      const SeriesPoint& point = series[m_seriesSeen];
      if (point.level == ResultLevel::Port) m_monitor->NoteResults(point.owner);
    }
    m_resultsChanged = true;
  }

  void ScheduleDisplay() {
    m_nextDisplay = Loop().PostAfter(m_description.test.displayIntervalMs, [this] {
      ScheduleDisplay();
      if (m_resultsChanged && !m_options.quiet) ShowLive();
    });
  }

  void ShowLive() {
    m_resultsChanged = false;
    m_console.Block(LiveTableLines(m_follower->Records(), Loop().NowMs() - m_startMs,
                                   m_options.color && m_console.IsTerminal()));
  }

  void OnInterrupt() {
    m_interrupted = true;
    if (m_monitor) {
      m_monitor->Interrupt();
    } else {
      // Before the test starts: end whatever waits (learn) and stop there.
      Loop().AbandonWaits();
    }
  }

  int Stopped() {
    m_err << "Stopped before the test started\n";
    WriteExports("stopped");
    return kExitStopped;
  }

  int Report(RunMonitor::Outcome outcome) {
    WriteResultTables(m_out, m_follower->Records());
    const std::uint64_t errors = IoErrors(m_follower->Records());
    const char* status = StatusOf(outcome);
    m_out << "\nTest " << status;
    if (errors != 0) m_out << " with " << errors << " I/O error(s)";
    m_out << "\n";
    if (!WriteExports(status)) return kExitFailed;
    switch (outcome) {
      case RunMonitor::Outcome::Completed:
        return errors != 0 && m_options.failOnErrors ? kExitFailed : kExitCompleted;
      case RunMonitor::Outcome::Stopped:
        return kExitStopped;
      default:
        return kExitFailed;
    }
  }

  // Writes the JSON and CSV files asked for; false, after saying why, when one cannot be written.
  bool WriteExports(const std::string& status) {
    const std::vector<ResultRecord> none;
    const std::vector<SeriesPoint> noSeries;
    const std::vector<ResultRecord>& records = m_follower ? m_follower->Records() : none;
    const std::vector<SeriesPoint>& series = m_follower ? m_follower->Series() : noSeries;
    bool written = true;
    if (!m_options.jsonFile.empty()) {
      written = WriteFile(m_options.jsonFile, [&](std::ostream& file) {
                  WriteJson(file, Summary(status), records, series);
                }) && written;
    }
    if (!m_options.csvFile.empty()) {
      written = WriteFile(m_options.csvFile, [&](std::ostream& file) { WriteCsv(file, records); }) && written;
    }
    return written;
  }

  template <class Writer>
  bool WriteFile(const std::string& path, Writer write) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (file) write(file);
    file.close();
    if (file) return true;
    m_err << path << ": cannot be written\n";
    return false;
  }

  RunSummary Summary(const std::string& status) const {
    RunSummary summary;
    summary.version = m_plugin.version;
    summary.host = HostName();
    summary.description = m_options.descriptionPath;
    summary.startedAt = m_startedAt.empty() ? UtcNow() : m_startedAt;
    summary.durationS = m_startedAt.empty() ? 0 : static_cast<double>(Loop().NowMs() - m_startMs) / 1000;
    summary.status = status;
    if (m_project) {
      for (const ProjectPort& port : m_project->Ports()) {
        summary.ports.push_back({port.description->name, port.location, m_monitor && m_monitor->Lost(port)});
      }
    }
    return summary;
  }

  const RunOptions& m_options;
  std::ostream& m_out;
  std::ostream& m_err;
  Console m_console;
  std::shared_ptr<std::function<void()>> m_interruptHandler;
  bool m_interrupted = false;
  TestDescription m_description;
  kel::framework::PluginInfo m_plugin;
  std::optional<TestProject> m_project;
  ProjectBuilder::Command m_learn;
  std::optional<RunMonitor> m_monitor;
  std::optional<ResultsFollower> m_follower;
  std::size_t m_seriesSeen = 0;
  bool m_resultsChanged = false;
  kel::framework::EventId m_nextDisplay = 0;
  std::string m_startedAt;
  std::int64_t m_startMs = 0;
};

}  // namespace

int RunTest(const RunOptions& options, std::ostream& out, std::ostream& err) {
  return RunSession(options, out, err).Run();
}

}  // namespace storageio_cli
