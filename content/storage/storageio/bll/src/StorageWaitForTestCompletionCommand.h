#pragma once
// CStorageWaitForTestCompletionCommand: a command that scripts can name; running it does what the
// host's base command does. Waiting for a storage test is already done by the start command,
// which returns only when every started port has answered or its wait is spent.

#include "StorageIOClass.h"
#include "kel/framework/Command.h"

namespace kel {
namespace storageio {

class CStorageWaitForTestCompletionCommand : public framework::CCommand {
  STORAGEIO_DECLARE_CLASS()

 protected:
  bool DoReset() override { return true; }
};

class CStorageWaitForTestCompletionCommandCtorDtorHelper
    : public ScriptableCtorDtor<CStorageWaitForTestCompletionCommand> {};

}  // namespace storageio
}  // namespace kel
