#pragma once
// ValidationContext: collects the errors and warnings that protocols find while the host
// validates a configuration before applying it. Any error stops the apply.

#include <string>
#include <vector>

#include "kel/framework/Types.h"

namespace kel {
namespace core {

class ValidationContext {
 public:
  struct Issue {
    std::string location;  // where the problem was found, for the user ("StorageIO Port")
    std::string message;
  };

  // `objectUnderValidation` is the object being validated (a port, the project); not owned.
  explicit ValidationContext(framework::CScriptable* objectUnderValidation = nullptr)
      : m_object(objectUnderValidation) {}

  framework::CScriptable* GetObjectUnderValidation() const { return m_object; }
  void SetObjectUnderValidation(framework::CScriptable* object) { m_object = object; }

  void AddError(const std::string& location, const std::string& message) { m_errors.push_back({location, message}); }
  void AddWarning(const std::string& location, const std::string& message) {
    m_warnings.push_back({location, message});
  }

  bool HasErrors() const { return !m_errors.empty(); }
  const std::vector<Issue>& GetErrors() const { return m_errors; }
  const std::vector<Issue>& GetWarnings() const { return m_warnings; }
  // One line per error: "<location>: <message>".
  std::string ErrorText() const;

 private:
  framework::CScriptable* m_object;
  std::vector<Issue> m_errors;
  std::vector<Issue> m_warnings;
};

}  // namespace core
}  // namespace kel
