#pragma once
// CStorageLearnTargetsCommand: Asks the given ports which disks and volumes they reach and records them as
// discovered targets under the storage worker found on each port.

#include "StorageIOClass.h"
#include "kel/framework/Command.h"

namespace kel {
namespace storageio {

class CStorageLearnTargetsCommand : public framework::CCommand {
  STORAGEIO_DECLARE_CLASS()
};

class CStorageLearnTargetsCommandCtorDtorHelper : public ScriptableCtorDtor<CStorageLearnTargetsCommand> {};

}  // namespace storageio
}  // namespace kel
