#pragma once
// CStorageStopWorkerCommand: Stops the storage test on every port that runs one.

#include "StorageIOClass.h"
#include "kel/framework/Command.h"

namespace kel {
namespace storageio {

class CStorageStopWorkerCommand : public framework::CCommand {
  STORAGEIO_DECLARE_CLASS()
};

class CStorageStopWorkerCommandCtorDtorHelper : public ScriptableCtorDtor<CStorageStopWorkerCommand> {};

}  // namespace storageio
}  // namespace kel
