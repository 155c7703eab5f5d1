#pragma once
// CStorageProfileResults: the sum over the active workers of one profile; a child of the profile.

#include "StorageBaseResults.h"

namespace kel {
namespace storageio {

class CStorageProfileResults : public CStorageBaseResults {
  STORAGEIO_DECLARE_CLASS()
};

class CStorageProfileResultsCtorDtorHelper : public ScriptableCtorDtor<CStorageProfileResults> {};

}  // namespace storageio
}  // namespace kel
