#pragma once
// CStorageStartWorkerCommand: Runs a storage test on the given workers for a duration, optionally learning
// targets and applying the configuration first; it lasts as long as the test.

#include "StorageIOClass.h"
#include "kel/framework/Command.h"

namespace kel {
namespace storageio {

class CStorageStartWorkerCommand : public framework::CCommand {
  STORAGEIO_DECLARE_CLASS()
};

class CStorageStartWorkerCommandCtorDtorHelper : public ScriptableCtorDtor<CStorageStartWorkerCommand> {};

}  // namespace storageio
}  // namespace kel
