#pragma once
// CStorageBaseResults: the abstract base of the storage result classes. It owns the 30 statistics
// properties (0x86008001..0x8600801e): 8 unsigned 64-bit counters, then 22 doubles, in the order
// of the port's statistics record. The concrete classes differ only in class id and owner.

#include "StorageIOClass.h"
#include "kel/framework/Result.h"

namespace kel {
namespace storageio {

class CStorageBaseResults : public framework::CResult {
  STORAGEIO_DECLARE_CLASS()

 public:
  static constexpr framework::PropId kFirstCounter = 0x86008001;
  static constexpr framework::PropId kLastCounter = 0x86008008;
  static constexpr framework::PropId kFirstDouble = 0x86008009;
  static constexpr framework::PropId kLastDouble = 0x8600801e;

  // Sets the 8 counters to 0 and then the 22 doubles to 0.0, each in ascending id order.
  void ResetResults();
};

// The class is abstract: asking the registry for one throws CKelLogicError.
class CStorageBaseResultsCtorDtorHelper {
 public:
  static framework::CScriptable* Ctor();
  static void Dtor(framework::CScriptable* object) { delete object; }
};

}  // namespace storageio
}  // namespace kel
