#pragma once
// A log sink that shows the user log ("user.*" loggers) on a terminal, one line per record.

#include <mutex>
#include <ostream>

#include "kel/framework/LogSinks.h"

namespace storageio_cli {

class UserLogPrinter : public kel::framework::LogSink {
 public:
  explicit UserLogPrinter(std::ostream& out) : m_out(out) {}
  void Write(const kel::framework::LogRecord& record) override {
    if (record.logger.rfind("user.", 0) != 0) return;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_out << "  [" << kel::framework::LogLevelName(record.level) << "] " << record.message << "\n";
  }

 private:
  std::ostream& m_out;
  std::mutex m_mutex;
};

}  // namespace storageio_cli
