#pragma once
// CCommandStatusManager: which commands a user may run on which object. A user interface greys
// out a command class for an object whose status is disabled; a command is enabled until
// someone says otherwise.

#include <map>
#include <utility>

#include "kel/framework/Types.h"

namespace kel {
namespace framework {

class CCommandStatusManager {
 public:
  static CCommandStatusManager& Instance();

  void SetCommandStatus(Handle object, ClassId command, bool enabled);
  // True unless SetCommandStatus disabled the command for the object.
  bool GetCommandStatus(Handle object, ClassId command) const;
  // Forgets every status (a new project).
  void Clear() { m_status.clear(); }

 private:
  std::map<std::pair<Handle, ClassId>, bool> m_status;
};

}  // namespace framework
}  // namespace kel
