#include "RunMonitor.h"

#include <algorithm>

#include "ProjectBuilder.h"
#include "kel/framework/Logger.h"

namespace storageio_cli {

namespace {

using kel::framework::CTaskManager;

// The plug-in's user log lines that tell how the test goes, as the plug-in writes them.
const std::string kProgressLead = "Test on Status on ";
const std::string kFinishedLead = "Storage test on port";
const std::string kFinishedTail = " has finished.";
const std::string kCompleted = "The Storage test has been completed.";
const std::string kPreparing = "Preparing Disks";

// The embedded ports' own log, each line led by the port's endpoint.
const std::string kPortLogger = "storageio.port";
constexpr std::size_t kPortLinesKept = 8;

CTaskManager& Loop() { return CTaskManager::Instance(); }

bool StartsWith(const std::string& text, const std::string& lead) { return text.compare(0, lead.size(), lead) == 0; }

}  // namespace

// Log records may come from any thread (an embedded port's I/O threads log too); the monitor
// reads them on its ticks.
class RunMonitor::LogQueue : public kel::framework::LogSink {
 public:
  void Write(const kel::framework::LogRecord& record) override {
    const bool wanted = StartsWith(record.logger, "user.") ||
                        (record.logger == kPortLogger && record.level != kel::framework::LOG_LEVEL_INFO &&
                         record.level != kel::framework::LOG_LEVEL_DEBUG);
    if (!wanted) return;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_records.push_back(record);
  }
  std::vector<kel::framework::LogRecord> Take() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return std::move(m_records);
  }

 private:
  std::mutex m_mutex;
  std::vector<kel::framework::LogRecord> m_records;
};

RunMonitor::RunMonitor(TestProject& project, Console& console, Settings settings)
    : m_project(project), m_console(console), m_settings(settings), m_logs(std::make_shared<LogQueue>()) {
  for (ProjectPort& port : m_project.Ports()) {
    PortWatch watch;
    watch.port = &port;
    m_watches.push_back(watch);
  }
  kel::framework::BLLLoggerFactory::GetInstance().AddSink(m_logs);
}

RunMonitor::~RunMonitor() {
  Loop().Cancel(m_nextTick);
  kel::framework::BLLLoggerFactory::GetInstance().RemoveSink(m_logs);
}

void RunMonitor::Begin() {
  const std::int64_t now = Loop().NowMs();
  for (PortWatch& watch : m_watches) watch.lastSignMs = now;
  m_nextTick = Loop().PostAfter(kTickMs, [this] { Tick(); });
}

bool RunMonitor::Lost(const ProjectPort& port) const {
  for (const PortWatch& watch : m_watches) {
    if (watch.port == &port) return watch.lost;
  }
  return false;
}

RunMonitor::PortWatch* RunMonitor::WatchOf(const std::string& portName) {
  for (PortWatch& watch : m_watches) {
    if (watch.port->description->name == portName) return &watch;
  }
  return nullptr;
}

void RunMonitor::NoteResults(const std::string& portName) {
  if (PortWatch* watch = WatchOf(portName)) watch->lastSignMs = Loop().NowMs();
}

void RunMonitor::Tick() {
  // The next tick is due before anything here runs the stop command, whose waits deliver it.
  m_nextTick = Loop().PostAfter(kTickMs, [this] { Tick(); });
  for (const kel::framework::LogRecord& record : m_logs->Take()) Read(record);
  if (Over()) return;
  if (m_completionSeen) {
    const bool failed = std::any_of(m_watches.begin(), m_watches.end(),
                                    [](const PortWatch& watch) { return watch.lost || watch.failed; });
    Finish(m_interrupted ? Outcome::Stopped : failed ? Outcome::Failed : Outcome::Completed);
    return;
  }
  if (!m_stopping) WatchPorts();
}

void RunMonitor::Read(const kel::framework::LogRecord& record) {
  if (record.logger != kPortLogger) {
    ReadUserLine(record.message);
    return;
  }
  for (PortWatch& watch : m_watches) {
    const std::string lead = watch.port->location + ": ";
    if (!StartsWith(record.message, lead)) continue;
    watch.portLines.push_back(record.message.substr(lead.size()));
    if (watch.portLines.size() > kPortLinesKept) watch.portLines.erase(watch.portLines.begin());
  }
}

void RunMonitor::ReadUserLine(const std::string& text) {
  bool repeated = false;
  if (text == kCompleted) m_completionSeen = true;
  for (PortWatch& watch : m_watches) {
    const std::string& name = watch.port->description->name;
    if (text == kFinishedLead + name + kFinishedTail) {
      watch.finished = true;
    } else if (StartsWith(text, kProgressLead + name + ": ")) {
      watch.lastSignMs = Loop().NowMs();
      watch.preparing = StartsWith(text, kProgressLead + name + ": " + kPreparing);
      // A port reports its phase on every interval; a phase is worth a line once.
      repeated = text == watch.lastProgress;
      watch.lastProgress = text;
    }
  }
  if (m_settings.showProgress && !repeated) m_console.Line(text);
}

void RunMonitor::WatchPorts() {
  const std::int64_t now = Loop().NowMs();
  const std::int64_t limitMs = kNoProgressMs + m_settings.statisticsIntervalMs;
  bool anyRunning = false;
  bool anyLost = false;
  for (PortWatch& watch : m_watches) {
    if (watch.finished || watch.lost || watch.failed) {
      anyLost = anyLost || watch.lost;
      continue;
    }
    if (!watch.port->port->IsOnline()) {
      watch.lost = true;
      anyLost = true;
      m_console.Line(watch.port->description->name + ": lost: " + watch.port->location + " no longer answers");
      continue;
    }
    anyRunning = true;
    if (watch.preparing) {
      watch.lastSignMs = now;
    } else if (now - watch.lastSignMs > limitMs) {
      FailPort(watch, now - watch.lastSignMs);
      return;
    }
  }
  if (anyLost && !anyRunning) Finish(Outcome::Failed);
}

void RunMonitor::FailPort(PortWatch& watch, std::int64_t silentMs) {
  watch.failed = true;
  const std::string& name = watch.port->description->name;
  m_console.Line(name + ": failed: no progress for " + std::to_string(silentMs / 1000) + " s");
  if (watch.port->description->kind == PortKind::Embedded) {
    for (const std::string& line : watch.portLines) m_console.Line(name + ": " + line);
  } else {
    m_console.Line(name + ": the agent at " + watch.port->location + " logs why");
  }
  RunStop();
  Finish(Outcome::Failed);
}

void RunMonitor::Interrupt() {
  if (m_interrupted || Over()) return;
  m_interrupted = true;
  m_console.Line("Stopping the test (Ctrl-C again to quit at once)");
  RunStop();
  Finish(Outcome::Stopped);
}

void RunMonitor::RunStop() {
  if (m_stopping) return;
  m_stopping = true;
  // A lost port never answers; the stop command would wait out its whole budget for it.
  const kel::framework::EventId giveUp = Loop().PostAfter(m_settings.stopTimeoutMs, [] { Loop().AbandonWaits(); });
  storageio_project::ProjectBuilder::MakeStop()->Execute(false);
  Loop().Cancel(giveUp);
  for (const kel::framework::LogRecord& record : m_logs->Take()) Read(record);
}

void RunMonitor::Finish(Outcome outcome) {
  if (Over()) return;
  m_outcome = outcome;
  Loop().Cancel(m_nextTick);
  // The start command may still be waiting for a port that will not answer.
  Loop().AbandonWaits();
}

}  // namespace storageio_cli
