#pragma once

// Named developer loggers and the factory that owns them and their sinks.
//
// Loggers are created by the factory on first request and live until the process ends, so a
// BLLLogger* may be kept anywhere, also in a plug-in. The factory is one per process, shared by
// the host and every plug-in. All calls are thread-safe: transports log from their own threads.
//
// At start the factory writes to one StderrSink whose minimum level is warning.

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "kel/framework/LogSinks.h"

namespace kel::framework {

class BLLLoggerFactory;

class BLLLogger {
 public:
  BLLLogger(const BLLLogger&) = delete;
  BLLLogger& operator=(const BLLLogger&) = delete;

  const std::string& GetName() const;

  // By severity (see LogSinks.h), not by level number. False for a value outside the
  // enumeration.
  bool IsEnabledFor(LogLevelType level) const;
  // Enables threshold and every more severe level; the default threshold is info. Throws
  // CKelLogicError for a value outside the enumeration.
  void SetLevel(LogLevelType threshold);

  // Each writes one record to every sink of the factory when its level is enabled, and does
  // nothing otherwise. file may be null.
  void Debug(const std::string& message, const char* file, int line);
  void Info(const std::string& message, const char* file, int line);
  void Warn(const std::string& message, const char* file, int line);
  void Error(const std::string& message, const char* file, int line);

 private:
  friend class BLLLoggerFactory;
  BLLLogger(std::string name, BLLLoggerFactory& factory);

  void Write(LogLevelType level, const std::string& message, const char* file, int line);

  const std::string name_;
  BLLLoggerFactory& factory_;
  std::atomic<LogLevelType> threshold_;
};

class BLLLoggerFactory {
 public:
  static BLLLoggerFactory& GetInstance();

  BLLLoggerFactory(const BLLLoggerFactory&) = delete;
  BLLLoggerFactory& operator=(const BLLLoggerFactory&) = delete;

  // The same pointer for the same name, for the life of the process.
  BLLLogger* GetLogger(const std::string& name);

  // Adding a sink already present changes nothing. A null sink throws CKelLogicError.
  void AddSink(std::shared_ptr<LogSink> sink);
  // Removing a sink that is not present changes nothing. A record being written while the
  // sink is removed may still reach it.
  void RemoveSink(const std::shared_ptr<LogSink>& sink);
  void ClearSinks();

  // Minimum level of the standard-error sink the factory starts with, also after it was
  // removed (it then takes effect only if it is added again). Throws CKelLogicError for a
  // value outside the enumeration.
  void SetStderrThreshold(LogLevelType minimumLevel);

 private:
  friend class BLLLogger;
  BLLLoggerFactory();

  void Write(const LogRecord& record);

  std::mutex mutex_;
  std::map<std::string, std::unique_ptr<BLLLogger>> loggers_;
  std::vector<std::shared_ptr<LogSink>> sinks_;
  const std::shared_ptr<StderrSink> stderrSink_;
};

}  // namespace kel::framework
