#pragma once
// CStorageDiscoveredTargetResults: the statistics of one discovered target; a child of the target.

#include "StorageBaseResults.h"

namespace kel {
namespace storageio {

class CStorageDiscoveredTargetResults : public CStorageBaseResults {
  STORAGEIO_DECLARE_CLASS()
};

class CStorageDiscoveredTargetResultsCtorDtorHelper : public ScriptableCtorDtor<CStorageDiscoveredTargetResults> {};

}  // namespace storageio
}  // namespace kel
