#include "kel/framework/Logger.h"

#include <algorithm>
#include <utility>

#include "kel/framework/Exceptions.h"

namespace kel::framework {

BLLLogger::BLLLogger(std::string name, BLLLoggerFactory& factory)
    : name_(std::move(name)), factory_(factory), threshold_(LOG_LEVEL_INFO) {}

const std::string& BLLLogger::GetName() const { return name_; }

bool BLLLogger::IsEnabledFor(LogLevelType level) const {
  return IsKnownLogLevel(level) && IsAtLeastAsSevere(level, threshold_.load());
}

void BLLLogger::SetLevel(LogLevelType threshold) {
  CheckLogLevel(threshold);
  threshold_.store(threshold);
}

void BLLLogger::Debug(const std::string& message, const char* file, int line) {
  Write(LOG_LEVEL_DEBUG, message, file, line);
}

void BLLLogger::Info(const std::string& message, const char* file, int line) {
  Write(LOG_LEVEL_INFO, message, file, line);
}

void BLLLogger::Warn(const std::string& message, const char* file, int line) {
  Write(LOG_LEVEL_WARN, message, file, line);
}

void BLLLogger::Error(const std::string& message, const char* file, int line) {
  Write(LOG_LEVEL_ERROR, message, file, line);
}

void BLLLogger::Write(LogLevelType level, const std::string& message, const char* file, int line) {
  if (!IsEnabledFor(level)) {
    return;
  }
  factory_.Write(LogRecord{name_, level, message, file == nullptr ? "" : file, line});
}

BLLLoggerFactory& BLLLoggerFactory::GetInstance() {
  // Never destroyed: code running during process exit (static destructors, plug-in unloading)
  // may still log.
  static BLLLoggerFactory* const instance = new BLLLoggerFactory();
  return *instance;
}

BLLLoggerFactory::BLLLoggerFactory()
    : sinks_{}, stderrSink_(std::make_shared<StderrSink>(LOG_LEVEL_WARN)) {
  sinks_.push_back(stderrSink_);
}

BLLLogger* BLLLoggerFactory::GetLogger(const std::string& name) {
  std::lock_guard<std::mutex> lock(mutex_);
  std::unique_ptr<BLLLogger>& logger = loggers_[name];
  if (!logger) {
    logger.reset(new BLLLogger(name, *this));
  }
  return logger.get();
}

void BLLLoggerFactory::AddSink(std::shared_ptr<LogSink> sink) {
  if (!sink) {
    throw CKelLogicError("Cannot add a null log sink");
  }
  std::lock_guard<std::mutex> lock(mutex_);
  if (std::find(sinks_.begin(), sinks_.end(), sink) == sinks_.end()) {
    sinks_.push_back(std::move(sink));
  }
}

void BLLLoggerFactory::RemoveSink(const std::shared_ptr<LogSink>& sink) {
  std::lock_guard<std::mutex> lock(mutex_);
  sinks_.erase(std::remove(sinks_.begin(), sinks_.end(), sink), sinks_.end());
}

void BLLLoggerFactory::ClearSinks() {
  std::lock_guard<std::mutex> lock(mutex_);
  sinks_.clear();
}

void BLLLoggerFactory::SetStderrThreshold(LogLevelType minimumLevel) {
  stderrSink_->SetMinimumLevel(minimumLevel);
}

void BLLLoggerFactory::Write(const LogRecord& record) {
  // Sinks are written outside the lock so a slow sink does not hold up loggers that are only
  // looking up a logger or changing sinks; each sink serialises itself.
  std::vector<std::shared_ptr<LogSink>> sinks;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    sinks = sinks_;
  }
  for (const std::shared_ptr<LogSink>& sink : sinks) {
    sink->Write(record);
  }
}

}  // namespace kel::framework
