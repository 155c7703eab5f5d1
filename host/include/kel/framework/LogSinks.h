#pragma once

// Log levels, log records, and the sinks records are written to.
//
// Level numbers are the host's own (2 info, 3 error, 4 warning) and do not sort by
// severity. Severity runs debug < info < warn < error; compare levels only through
// IsAtLeastAsSevere, never by number.
//
// Every sink may be written from several threads at once and serialises itself. A sink must
// not log: it is called while a record is being written.

#include <atomic>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

namespace kel::framework {

enum LogLevelType {
  LOG_LEVEL_DEBUG = 1,
  LOG_LEVEL_INFO = 2,
  LOG_LEVEL_ERROR = 3,
  LOG_LEVEL_WARN = 4
};

// A LogLevelType may arrive cast from a number; these tell the enumeration's values apart.
bool IsKnownLogLevel(LogLevelType level) noexcept;
// Throws CKelLogicError "Unknown log level <n>" for a value outside the enumeration.
void CheckLogLevel(LogLevelType level);

// "DEBUG", "INFO", "WARN" or "ERROR". Throws like CheckLogLevel.
const char* LogLevelName(LogLevelType level);

// True when level is as severe as threshold or more. Throws like CheckLogLevel.
bool IsAtLeastAsSevere(LogLevelType level, LogLevelType threshold);

struct LogRecord {
  std::string logger;
  LogLevelType level;
  std::string message;
  std::string file;
  int line;
};

// "<LEVEL> <logger>: <message>", the line every text sink writes.
std::string FormatLogLine(const LogRecord& record);

class LogSink {
 public:
  virtual ~LogSink() = default;
  virtual void Write(const LogRecord& record) = 0;
};

// Writes records at or above its minimum level to standard error, one line each.
class StderrSink : public LogSink {
 public:
  explicit StderrSink(LogLevelType minimumLevel);

  // Throws CKelLogicError for a value outside the enumeration.
  void SetMinimumLevel(LogLevelType minimumLevel);
  LogLevelType GetMinimumLevel() const;

  void Write(const LogRecord& record) override;

 private:
  std::atomic<LogLevelType> minimumLevel_;
  std::mutex writeMutex_;
};

// Appends every record to a file as "YYYY-MM-DD HH:MM:SS.mmm <LEVEL> <logger>: <message>"
// (local time), flushed line by line so a crash loses nothing already logged.
class FileSink : public LogSink {
 public:
  // Throws CKelRunTimeError "Cannot open log file <path>" when the file cannot be opened for
  // appending.
  explicit FileSink(const std::string& path);

  void Write(const LogRecord& record) override;

 private:
  std::mutex writeMutex_;
  std::ofstream file_;
};

// Keeps every record in memory, for tests and tools that read the log back.
class MemorySink : public LogSink {
 public:
  void Write(const LogRecord& record) override;

  std::vector<LogRecord> Records() const;
  // Messages of that logger, in the order they were written.
  std::vector<std::string> Messages(const std::string& logger) const;
  std::vector<std::string> Messages(const std::string& logger, LogLevelType level) const;
  // True when that logger wrote exactly this message.
  bool Contains(const std::string& logger, const std::string& message) const;
  void Clear();

 private:
  mutable std::mutex mutex_;
  std::vector<LogRecord> records_;
};

}  // namespace kel::framework
