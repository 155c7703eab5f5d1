#include "kel/framework/ScriptableLocator.h"

#include "kel/framework/Scriptable.h"

namespace kel {
namespace framework {

namespace {

void Walk(const CScriptable& node, ClassId classId, unsigned filter, bool underInactive, ScriptableVec& out) {
  ScriptableVec children;
  node.GetObjects(children);
  for (CScriptable* child : children) {
    const bool active = child->GetActive();
    const bool skipLeaf = (filter & FILTER_INACTIVE_LEAVES) != 0 && !active;
    const bool skipRoot = (filter & FILTER_INACTIVE_ROOTS) != 0 && underInactive;
    if (child->IsTypeOf(classId) && !skipLeaf && !skipRoot) out.push_back(child);
    Walk(*child, classId, filter, underInactive || !active, out);
  }
}

}  // namespace

CScriptableLocator& CScriptableLocator::Instance() {
  static CScriptableLocator instance;
  return instance;
}

void CScriptableLocator::GetObjectsEx(ScriptableVec& out, ClassId classId, const CScriptable* root,
                                      unsigned filter) const {
  if (root != nullptr) Walk(*root, classId, filter, !root->GetActive(), out);
}

}  // namespace framework
}  // namespace kel
