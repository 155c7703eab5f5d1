#pragma once
// CScriptableLocator: finds objects of a class below a root object.

#include "kel/framework/Types.h"

namespace kel {
namespace framework {

enum LocatorFilter : unsigned {
  FILTER_NONE = 0,
  FILTER_INACTIVE_LEAVES = 0x1,  // skip objects that are themselves inactive
  FILTER_INACTIVE_ROOTS = 0x2,   // skip objects with an inactive ancestor (the root included)
};

class CScriptableLocator {
 public:
  static CScriptableLocator& Instance();

  // Appends to `out` every object of the class (or a subclass) strictly below `root` over the
  // parent-child relation, depth first in child order, filtered by `filter` (LocatorFilter bits).
  // `out` is not cleared first. A null root finds nothing.
  void GetObjectsEx(ScriptableVec& out, ClassId classId, const CScriptable* root, unsigned filter) const;
};

}  // namespace framework
}  // namespace kel
