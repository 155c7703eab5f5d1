#pragma once
// CResult: base of result objects. Its "result properties" are those declared by the result
// classes (the class chain from Result downwards), not the scriptable ones such as the name.
// Result objects are destroyed as soon as they are marked deleted.

#include <vector>

#include "kel/framework/Scriptable.h"

namespace kel {
namespace framework {

class CResult : public CScriptable {
 public:
  static const ClassId& CLASS_ID();

  // Every result property back to its class default.
  virtual void Clear();
  virtual void Clear(PropId id);
  virtual void Clear(const std::vector<PropId>& ids);
  // Recomputes derived values from the others. Results of this host carry no derived values of
  // their own; a class that has them overrides these.
  virtual void CalcDerived() {}
  virtual void CalcDerived(PropId) {}
  virtual void CalcDerived(const std::vector<PropId>&) {}
  // Results keep one layer of values (no history).
  virtual unsigned GetDataStoreLayerCount() const { return 1; }

  bool OnInit() override { return true; }
};

}  // namespace framework
}  // namespace kel
