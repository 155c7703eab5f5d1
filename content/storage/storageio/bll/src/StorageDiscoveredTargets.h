#pragma once
// CStorageDiscoveredTargets: a disk or volume that a port reported when its targets were learned.
// A child of the worker that was found on that port; it only holds properties.

#include "StorageIOClass.h"

namespace kel {
namespace storageio {

class CStorageDiscoveredTargets : public framework::CScriptable {
  STORAGEIO_DECLARE_CLASS()
};

class CStorageDiscoveredTargetsCtorDtorHelper : public ScriptableCtorDtor<CStorageDiscoveredTargets> {};

}  // namespace storageio
}  // namespace kel
