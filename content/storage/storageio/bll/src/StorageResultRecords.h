#pragma once
// The statistics record of a port and the result objects that hold it: the record's 30 values in
// property order, copying them into a result object, and the plain sums that the roll-up of
// profiles, ports and the project is made of.

#include "StorageBaseResults.h"
#include "kel/framework/ScriptableCreator.h"
#include "msg/bst_1.h"

namespace kel {
namespace storageio {

using ResultRecord = bst_1_bll::StorageBaseResults_s;

// All 30 values back to zero; the record's header is left as it is.
void ZeroValues(ResultRecord& record);
// Writes the 30 values into the result's properties in property order: 8 counters, then 22
// doubles.
void CopyValues(const ResultRecord& record, CStorageBaseResults& result);
// Adds a result object's 30 values into `sum`, field by field: counters as 64-bit integers,
// doubles as doubles. Averages and maxima are summed too, like every other value.
void AddValues(const framework::CScriptable& result, ResultRecord& sum);
// Adds the worker's own result into `sum` when the worker is active and has one.
void AddActiveWorker(const framework::CScriptable& worker, ResultRecord& sum);

// The owner's result object of class R: its first child of that class, made (and related to the
// owner over the result relation) when there is none. Null when it cannot be made.
template <class R>
R* FindOrCreateResult(framework::CScriptable& owner) {
  if (auto* existing = dynamic_cast<R*>(owner.GetObject(R::CLASS_ID(), framework::ParentChild()))) return existing;
  auto* made = dynamic_cast<R*>(framework::CScriptableCreator().Create(R::CLASS_ID(), &owner, true, true, 0));
  if (made != nullptr) owner.AddObject(*made, framework::RelationType(framework::relation::Result));
  return made;
}

}  // namespace storageio
}  // namespace kel
