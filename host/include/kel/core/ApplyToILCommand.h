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
//
// With ValidateOnly set, the run stops after the validation: a refused configuration fails as
// above, an accepted one succeeds with nothing sent and nothing committed (so no port needs to
// be reached). The protocols' caches keep what they prepared until their next apply.

#include "kel/framework/Command.h"

namespace kel {
namespace core {

namespace prop {
constexpr framework::PropId ValidateOnly = 0x1031001;  // bool
}  // namespace prop

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
