#pragma once
// CScriptableCreator: the one way objects of the model are made.

#include "kel/framework/MetaClass.h"
#include "kel/framework/Types.h"

namespace kel {
namespace framework {

class CScriptable;

// A short-lived creator; hold one on the stack and call Create.
class CScriptableCreator {
 public:
  // Makes an object of the class under `parent` (null: no parent) and returns it; the model owns
  // it. In order: the class's make function, the class defaults, a handle, the automatic name
  // (when autoName), the parent-child relation, then OnInit (when runInit).
  //   handle: 0 gives the next free handle; another value asks for that handle (loading a saved
  //           project), and a handle in use throws CKelLogicError.
  // Returns null when the class is unknown, has no make function, or OnInit returns false (the
  // object is destroyed again). Exceptions of the make function (making an abstract class) and of
  // OnInit propagate; an object made before OnInit threw is destroyed first.
  CScriptable* Create(ClassId classId, CScriptable* parent, bool runInit = true, bool autoName = true,
                      unsigned handle = 0);
  CScriptable* Create(CMetaClass* meta, CScriptable* parent, bool runInit = true, bool autoName = true,
                      unsigned handle = 0);
};

}  // namespace framework
}  // namespace kel
