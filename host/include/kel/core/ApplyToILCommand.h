#pragma once
// CApplyToILCommand: applies the configuration of every registered protocol to the ports
// (class "ApplyToILCommand").
//
// The run, for all protocols together: each prepares (clears its cache and dirty vector, caches
// every port's configurations, validates every port and then the project); any validation error
// fails the command with CCommandErrorException listing the errors, and nothing is sent or
// committed. Otherwise each protocol sends (global configurations, then per port deletes, adds,
// updates), each commits exactly its dirty vector, and the deleted objects are destroyed.
// An exception from a protocol ends the run with nothing committed.

#include "kel/framework/Command.h"

namespace kel {
namespace core {

class CApplyToILCommand : public framework::CCommand {
 public:
  static const framework::ClassId& CLASS_ID();
  static framework::CMetaClass* GetMetaClassStatic();

  // The warnings of the last run (offline ports, say), one per line; empty when there were none.
  const std::string& GetWarnings() const { return m_warnings; }

 protected:
  bool DoRun() override;

 private:
  std::string m_warnings;
};

}  // namespace core
}  // namespace kel
