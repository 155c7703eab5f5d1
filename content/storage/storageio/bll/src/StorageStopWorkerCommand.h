#pragma once
// CStorageStopWorkerCommand: stops the storage test on every port the protocol records as
// running one. It sends "BST_1.StopTest" to each, yields until every port has answered or its
// wait is spent, ends the test on each port that answered successfully, and finally re-enables
// the start and learn commands. Ports that did not answer stay outstanding for the next run.

#include <cstdint>
#include <set>

#include "OutstandingPorts.h"
#include "StorageIOClass.h"
#include "kel/core/RpcManager.h"
#include "kel/framework/Command.h"

namespace kel {
namespace storageio {

class CStorageStopWorkerCommand : public framework::CCommand {
  STORAGEIO_DECLARE_CLASS()

 public:
  CStorageStopWorkerCommand();

  // A port's answer to "BST_1.StopTest"; `cookie` carries its handle.
  void ParseResponseStopTargets(unsigned short code, Message* response, void* cookie);

 protected:
  bool DoRun() override;
  bool DoReset() override { return true; }

 private:
  core::RpcDelegate m_responseDelegate;
  // Not emptied at the start of a run: ports that did not answer last time are waited for again.
  OutstandingPorts m_outstanding;
};

class CStorageStopWorkerCommandCtorDtorHelper : public ScriptableCtorDtor<CStorageStopWorkerCommand> {};

}  // namespace storageio
}  // namespace kel
