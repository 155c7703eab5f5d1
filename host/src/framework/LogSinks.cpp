#include "kel/framework/LogSinks.h"

#include <chrono>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string>

#include "kel/framework/Exceptions.h"

namespace kel::framework {

namespace {

[[noreturn]] void ThrowUnknownLevel(LogLevelType level) {
  throw CKelLogicError("Unknown log level " + std::to_string(static_cast<int>(level)));
}

int Severity(LogLevelType level) {
  switch (level) {
    case LOG_LEVEL_DEBUG:
      return 0;
    case LOG_LEVEL_INFO:
      return 1;
    case LOG_LEVEL_WARN:
      return 2;
    case LOG_LEVEL_ERROR:
      return 3;
  }
  ThrowUnknownLevel(level);
}

std::string LocalTimestamp() {
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto milliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm local{};
  localtime_r(&seconds, &local);
  std::ostringstream text;
  text << std::put_time(&local, "%Y-%m-%d %H:%M:%S") << '.' << std::setw(3) << std::setfill('0')
       << milliseconds;
  return text.str();
}

}  // namespace

bool IsKnownLogLevel(LogLevelType level) noexcept {
  return level == LOG_LEVEL_DEBUG || level == LOG_LEVEL_INFO || level == LOG_LEVEL_WARN ||
         level == LOG_LEVEL_ERROR;
}

void CheckLogLevel(LogLevelType level) {
  if (!IsKnownLogLevel(level)) {
    ThrowUnknownLevel(level);
  }
}

const char* LogLevelName(LogLevelType level) {
  switch (level) {
    case LOG_LEVEL_DEBUG:
      return "DEBUG";
    case LOG_LEVEL_INFO:
      return "INFO";
    case LOG_LEVEL_WARN:
      return "WARN";
    case LOG_LEVEL_ERROR:
      return "ERROR";
  }
  ThrowUnknownLevel(level);
}

bool IsAtLeastAsSevere(LogLevelType level, LogLevelType threshold) {
  return Severity(level) >= Severity(threshold);
}

std::string FormatLogLine(const LogRecord& record) {
  return std::string(LogLevelName(record.level)) + ' ' + record.logger + ": " + record.message;
}

StderrSink::StderrSink(LogLevelType minimumLevel) : minimumLevel_(LOG_LEVEL_WARN) {
  SetMinimumLevel(minimumLevel);
}

void StderrSink::SetMinimumLevel(LogLevelType minimumLevel) {
  CheckLogLevel(minimumLevel);
  minimumLevel_.store(minimumLevel);
}

LogLevelType StderrSink::GetMinimumLevel() const { return minimumLevel_.load(); }

void StderrSink::Write(const LogRecord& record) {
  if (!IsAtLeastAsSevere(record.level, minimumLevel_.load())) {
    return;
  }
  const std::string line = FormatLogLine(record) + '\n';
  std::lock_guard<std::mutex> lock(writeMutex_);
  std::cerr << line << std::flush;
}

FileSink::FileSink(const std::string& path) : file_(path, std::ios::out | std::ios::app) {
  if (!file_.is_open()) {
    throw CKelRunTimeError("Cannot open log file " + path);
  }
}

void FileSink::Write(const LogRecord& record) {
  const std::string line = LocalTimestamp() + ' ' + FormatLogLine(record) + '\n';
  std::lock_guard<std::mutex> lock(writeMutex_);
  file_ << line << std::flush;
}

void MemorySink::Write(const LogRecord& record) {
  std::lock_guard<std::mutex> lock(mutex_);
  records_.push_back(record);
}

std::vector<LogRecord> MemorySink::Records() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return records_;
}

std::vector<std::string> MemorySink::Messages(const std::string& logger) const {
  std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::string> messages;
  for (const LogRecord& record : records_) {
    if (record.logger == logger) {
      messages.push_back(record.message);
    }
  }
  return messages;
}

std::vector<std::string> MemorySink::Messages(const std::string& logger, LogLevelType level) const {
  std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::string> messages;
  for (const LogRecord& record : records_) {
    if (record.logger == logger && record.level == level) {
      messages.push_back(record.message);
    }
  }
  return messages;
}

bool MemorySink::Contains(const std::string& logger, const std::string& message) const {
  std::lock_guard<std::mutex> lock(mutex_);
  for (const LogRecord& record : records_) {
    if (record.logger == logger && record.message == message) {
      return true;
    }
  }
  return false;
}

void MemorySink::Clear() {
  std::lock_guard<std::mutex> lock(mutex_);
  records_.clear();
}

}  // namespace kel::framework
