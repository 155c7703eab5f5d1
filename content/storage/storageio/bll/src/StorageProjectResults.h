#pragma once
// CStorageProjectResults: the sum over every profile's results; a child of the project.

#include "StorageBaseResults.h"

namespace kel {
namespace storageio {

class CStorageProjectResults : public CStorageBaseResults {
  STORAGEIO_DECLARE_CLASS()
};

class CStorageProjectResultsCtorDtorHelper : public ScriptableCtorDtor<CStorageProjectResults> {};

}  // namespace storageio
}  // namespace kel
