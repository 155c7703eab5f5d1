#pragma once
// The plug-in's loggers and its assertion form. Included by each unit: the accessors have
// internal linkage, so every unit caches its own pointer, and all copies of one name reach the
// same host logger.

#include <sstream>
#include <string>

#include "StorageIOTexts.h"
#include "kel/framework/Exceptions.h"
#include "kel/framework/Logger.h"

namespace kel {
namespace storageio {
namespace {

// Developer diagnostics.
[[maybe_unused]] framework::BLLLogger* devLogger() {
  static framework::BLLLogger* logger = framework::BLLLoggerFactory::GetInstance().GetLogger("content.storage.storageio");
  return logger;
}

// The user-visible event log.
[[maybe_unused]] framework::BLLLogger* userLogger() {
  static framework::BLLLogger* logger = framework::BLLLoggerFactory::GetInstance().GetLogger("user.StorageIO");
  return logger;
}

}  // namespace

// Throws CKelLogicError "Assertion Failed: <message> Expression: <expression> File: <file> Line: <line>"
// for `assertion`, raised in `file`; `lineOfCheck` (__LINE__) is the line when the assertion fixes none.
[[noreturn]] inline void ThrowAssertion(const texts::Assertion& assertion, const char* file, int lineOfCheck) {
  std::ostringstream text;
  text << "Assertion Failed: " << assertion.message << " Expression: " << assertion.expression << " File: " << file
       << " Line: " << (assertion.line != texts::kLineOfTheCheck ? assertion.line : lineOfCheck);
  throw framework::CKelLogicError(text.str());
}

}  // namespace storageio
}  // namespace kel

// Writes `text` (anything a string stream takes, `<<`-joined) to `logger` at `level` through its
// `method` (Info, Warn, Error), only when the logger exists and is enabled for the level. The unit
// defines kSourcePath, its source path as logs and assertions show it.
#define STORAGEIO_LOG(logger, level, method, text)                        \
  do {                                                                    \
    kel::framework::BLLLogger* storageioLogger = (logger);               \
    if (storageioLogger != nullptr && storageioLogger->IsEnabledFor(level)) { \
      std::ostringstream storageioLine;                                   \
      storageioLine << text;                                              \
      storageioLogger->method(storageioLine.str(), kSourcePath, __LINE__); \
    }                                                                     \
  } while (false)

#define STORAGEIO_LOG_INFO(logger, text) STORAGEIO_LOG(logger, kel::framework::LOG_LEVEL_INFO, Info, text)
#define STORAGEIO_LOG_WARN(logger, text) STORAGEIO_LOG(logger, kel::framework::LOG_LEVEL_WARN, Warn, text)
#define STORAGEIO_LOG_ERROR(logger, text) STORAGEIO_LOG(logger, kel::framework::LOG_LEVEL_ERROR, Error, text)
