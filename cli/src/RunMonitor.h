#pragma once
// RunMonitor: follows a started storage test on the host's event loop and decides when it is over
// and how it ended.
//
// The start command holds the loop while the test runs (it may return early with its time-out
// line, or wait out a long budget for a port that refused or was lost), so everything here runs as
// loop events inside its yields: a tick every kTickMs reads the log lines that arrived, watches
// the ports, and runs the stop command when the run must end early. What the monitor knows comes
// from the plug-in's user log (its texts as they stand), the ports' online state, the result
// updates the caller reports, and the embedded ports' own log lines.
//
// The run is over when
// - the plug-in logs "The Storage test has been completed.": completed (failed when a port was
//   lost or failed on the way, stopped after an interrupt);
// - every port that has not finished is offline: failed;
// - a port shows no progress for kNoProgressMs beyond the statistics interval, outside its layout:
//   failed, after the stop command ended the test on the other ports;
// - the user interrupts: stopped, after the stop command.
// When it is over, the host's waits are abandoned, so the start command returns at once.
//
// Threads: the business-layer thread, except that the log sink may be written from any thread.

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Console.h"
#include "TestProject.h"
#include "kel/framework/LogSinks.h"
#include "kel/framework/TaskManager.h"

namespace storageio_cli {

class RunMonitor {
 public:
  enum class Outcome { Running, Completed, Stopped, Failed };

  static constexpr std::int64_t kTickMs = 100;
  static constexpr std::int64_t kNoProgressMs = 10000;

  struct Settings {
    bool showProgress = true;        // write the plug-in's progress lines
    std::int64_t stopTimeoutMs = 10000;  // how long the stop command may wait for the ports
    std::int64_t statisticsIntervalMs = 1000;  // how often each port sends its figures
  };

  // `project` and `console` must outlive the monitor. Starts reading the logs at once.
  RunMonitor(TestProject& project, Console& console, Settings settings);
  ~RunMonitor();
  RunMonitor(const RunMonitor&) = delete;
  RunMonitor& operator=(const RunMonitor&) = delete;

  // Starts the ticks and the progress watch of every port: call right before the start command.
  void Begin();
  // A result update of a port's objects: a sign of progress for the port named `portName`.
  void NoteResults(const std::string& portName);
  // Ctrl-C: stops the test through the stop command. Later calls do nothing.
  void Interrupt();

  bool Over() const { return m_outcome != Outcome::Running; }
  Outcome GetOutcome() const { return m_outcome; }
  bool Lost(const ProjectPort& port) const;

 private:
  struct PortWatch {
    ProjectPort* port = nullptr;
    std::int64_t lastSignMs = 0;
    bool preparing = false;  // laying out targets, which takes as long as it takes
    std::string lastProgress;
    bool finished = false;
    bool lost = false;
    bool failed = false;
    std::vector<std::string> portLines;  // an embedded port's warnings and errors
  };
  class LogQueue;

  void Tick();
  void Read(const kel::framework::LogRecord& record);
  void ReadUserLine(const std::string& text);
  void WatchPorts();
  void FailPort(PortWatch& watch, std::int64_t silentMs);
  void RunStop();
  void Finish(Outcome outcome);
  PortWatch* WatchOf(const std::string& portName);

  TestProject& m_project;
  Console& m_console;
  const Settings m_settings;
  std::vector<PortWatch> m_watches;
  std::shared_ptr<LogQueue> m_logs;
  kel::framework::EventId m_nextTick = 0;
  bool m_interrupted = false;
  bool m_stopping = false;
  bool m_completionSeen = false;
  Outcome m_outcome = Outcome::Running;
};

}  // namespace storageio_cli
