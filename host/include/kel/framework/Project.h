#pragma once
// CProject: the test project (class "Project"), the one child of the system object. Ports,
// emulated devices, protocol configurations and results live below it.

#include "kel/framework/Scriptable.h"

namespace kel {
namespace framework {

class CProject : public CScriptable {
 public:
  static const ClassId& CLASS_ID();
  // The project, made under the system object on first use.
  static CProject& Instance();
  // The project that owns the configuration; this host has one project at a time.
  static CProject& GetCurrentActiveInstance() { return Instance(); }

  bool IsSingleton() const override { return true; }
};

}  // namespace framework
}  // namespace kel
