#pragma once
// CStorageBaseResults: the abstract base of the storage result classes. It owns the 30 statistics
// properties (ids::props::StorageBaseResults::BytesRead..ids::props::StorageBaseResults::MaxConnectionLatency): 8 unsigned 64-bit counters, then 22 doubles, in the order
// of the port's statistics record. The concrete classes differ only in class id and owner.

#include "StorageIOClass.h"
#include "kel/framework/Result.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {

class CStorageBaseResults : public framework::CResult {
  STORAGEIO_DECLARE_CLASS()

 public:
  static constexpr framework::PropId kFirstCounter = ids::props::StorageBaseResults::BytesRead;
  static constexpr framework::PropId kLastCounter = ids::props::StorageBaseResults::WriteErrors;
  static constexpr framework::PropId kFirstDouble = ids::props::StorageBaseResults::TotalReadLatency;
  static constexpr framework::PropId kLastDouble = ids::props::StorageBaseResults::MaxConnectionLatency;

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
