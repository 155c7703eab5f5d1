#include "kel/framework/Exceptions.h"

#include "kel/framework/Logger.h"

namespace kel::framework {

CKelException::CKelException(const std::string& message, bool writeToLog) : message_(message) {
  if (writeToLog) {
    // The throw site is not known here; the text itself has to say where it came from.
    BLLLoggerFactory::GetInstance().GetLogger("kel.host")->Error(message_, "", 0);
  }
}

const char* CKelException::what() const noexcept { return message_.c_str(); }

const std::string& CKelException::GetMessage() const noexcept { return message_; }

CKelLogicError::CKelLogicError(const std::string& message, bool writeToLog)
    : CKelException(message, writeToLog) {}

CKelRunTimeError::CKelRunTimeError(const std::string& message, bool writeToLog)
    : CKelException(message, writeToLog) {}

CCommandErrorException::CCommandErrorException(const std::string& message, bool writeToLog)
    : CKelException(message, writeToLog) {}

}  // namespace kel::framework
