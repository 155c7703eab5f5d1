#pragma once
// CKelSystem: the root object of the model (class "System"). The project is its child.

#include "kel/framework/Scriptable.h"

namespace kel {
namespace framework {

namespace prop {
constexpr PropId SimulationMode = 0x200b;         // every port counts as reserved for testing
constexpr PropId LoadingConfiguration = 0x200f;   // a saved configuration is being loaded
}  // namespace prop

class CKelSystem : public CScriptable {
 public:
  static const ClassId& CLASS_ID();
  // The system object, made on first use; it lives for the process.
  static CKelSystem& Instance();

  bool IsSingleton() const override { return true; }

  // Host side: raised by the configuration loader for the time of a load.
  void SetLoadingConfiguration(bool loading) { StoreValue(prop::LoadingConfiguration, loading); }

  // Destroys the current project with everything below it (each object's OnMarkDelete runs
  // first) and makes a new, empty one. Used when a saved configuration is loaded and by tests.
  void ResetProject();
};

}  // namespace framework
}  // namespace kel
