#include "StorageResultRecords.h"

#include "StorageWorkerResults.h"
#include "msg/bst_1_statistics.h"

namespace kel {
namespace storageio {

using bst_1_bll::kCounterFields;
using bst_1_bll::kDoubleFields;

void ZeroValues(ResultRecord& record) {
  for (unsigned long ResultRecord::*field : kCounterFields) record.*field = 0;
  for (double ResultRecord::*field : kDoubleFields) record.*field = 0.0;
}

void CopyValues(const ResultRecord& record, CStorageBaseResults& result) {
  framework::PropId id = CStorageBaseResults::kFirstCounter;
  for (unsigned long ResultRecord::*field : kCounterFields) result.Set(id++, record.*field);
  for (double ResultRecord::*field : kDoubleFields) result.Set(id++, record.*field);
}

void AddValues(const framework::CScriptable& result, ResultRecord& sum) {
  framework::PropId id = CStorageBaseResults::kFirstCounter;
  for (unsigned long ResultRecord::*field : kCounterFields) sum.*field += result.GetU64(id++);
  for (double ResultRecord::*field : kDoubleFields) sum.*field += result.GetDouble(id++);
}

void AddActiveWorker(const framework::CScriptable& worker, ResultRecord& sum) {
  if (!worker.GetActive()) return;
  if (const framework::CScriptable* result = worker.GetObject(CStorageWorkerResults::CLASS_ID(), framework::ParentChild())) {
    AddValues(*result, sum);
  }
}

}  // namespace storageio
}  // namespace kel
