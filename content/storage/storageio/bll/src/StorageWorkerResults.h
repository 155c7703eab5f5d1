#pragma once
// CStorageWorkerResults: the statistics of one worker; a child of the worker.

#include "StorageBaseResults.h"

namespace kel {
namespace storageio {

class CStorageWorkerResults : public CStorageBaseResults {
  STORAGEIO_DECLARE_CLASS()
};

class CStorageWorkerResultsCtorDtorHelper : public ScriptableCtorDtor<CStorageWorkerResults> {};

}  // namespace storageio
}  // namespace kel
