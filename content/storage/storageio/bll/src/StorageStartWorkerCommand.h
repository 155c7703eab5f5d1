#pragma once
// CStorageStartWorkerCommand: runs a storage test on the given workers. It optionally learns the
// ports' targets, relates them to the workers and applies the configuration first; clears the
// previous results; registers, per port, for the test-status and statistics notifications; sends
// "BST_1.StartTest" with the port's workers and the duration; marks the ports as running; and
// yields until every port has answered the start request (a port answers when its workers have
// finished) or its wait is spent. It never fails: problems are log lines.

#include <cstdint>
#include <set>

#include "OutstandingPorts.h"
#include "StorageIOClass.h"
#include "kel/core/RpcManager.h"
#include "kel/framework/Command.h"
#include "kel/framework/HandleCollection.h"
#include "StorageIODataModelIds.h"

namespace kel {
namespace storageio {

class CStorageStartWorkerCommand : public framework::CCommand {
  STORAGEIO_DECLARE_CLASS()

 public:
  CStorageStartWorkerCommand();

  // The workers to start (property ids::props::StorageStartWorkerCommand::HostList).
  framework::HandleCollection GetHostList();
  const framework::HandleCollection GetHostList() const;

  // Marks every storage result object of the active project for deletion.
  void ClearResults() const;
  // A port's answer to "BST_1.StartTest"; `cookie` carries its handle.
  void ParseResponseStartTargets(unsigned short code, Message* response, void* cookie);

  bool Validate() override { return true; }

 protected:
  bool DoRun() override;
  bool DoReset() override { return true; }

 private:
  core::RpcDelegate m_responseDelegate;
  OutstandingPorts m_outstanding;
};

class CStorageStartWorkerCommandCtorDtorHelper : public ScriptableCtorDtor<CStorageStartWorkerCommand> {};

}  // namespace storageio
}  // namespace kel
