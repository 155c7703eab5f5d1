#pragma once

// The host's exception family. Every error the host or a plug-in raises on purpose is a
// CKelException, so a caller that only wants the text can catch that one type.
//
// Contract: constructing an exception with writeToLog = true also writes its text to the
// developer log "kel.host" at error level (whether it appears depends on that logger's level
// and the sinks). Constructors throw only what allocating the text may throw.

#include <exception>
#include <string>

namespace kel::framework {

class CKelException : public std::exception {
 public:
  explicit CKelException(const std::string& message, bool writeToLog = false);

  const char* what() const noexcept override;
  const std::string& GetMessage() const noexcept;

 private:
  std::string message_;
};

// A programming or model error: the caller broke a rule it could have checked.
class CKelLogicError : public CKelException {
 public:
  explicit CKelLogicError(const std::string& message, bool writeToLog = false);
};

// A failure only found while running: a file that cannot be opened, a lost peer, ...
class CKelRunTimeError : public CKelException {
 public:
  explicit CKelRunTimeError(const std::string& message, bool writeToLog = false);
};

// A command failed; its text is shown to the user as the command's result.
class CCommandErrorException : public CKelException {
 public:
  explicit CCommandErrorException(const std::string& message, bool writeToLog = false);
};

}  // namespace kel::framework
