#pragma once
// CStoragePortResults: the sum over the active workers on one port; a child of the port.

#include "StorageBaseResults.h"

namespace kel {
namespace storageio {

class CStoragePortResults : public CStorageBaseResults {
  STORAGEIO_DECLARE_CLASS()
};

class CStoragePortResultsCtorDtorHelper : public ScriptableCtorDtor<CStoragePortResults> {};

}  // namespace storageio
}  // namespace kel
