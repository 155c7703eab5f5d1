#pragma once
// CStorageLearnTargetsCommand: asks each given port which disks and volumes it reaches and records
// them as discovered targets under the storage worker found on each of the port's devices. All
// ports are asked at once; the command then yields until every port has answered successfully or
// its wait is spent (50 yields of 5 s per port, 1,500 at most). Nothing here fails the command:
// problems are log lines and the run goes on.

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

class CStorageLearnTargetsCommand : public framework::CCommand {
  STORAGEIO_DECLARE_CLASS()

 public:
  CStorageLearnTargetsCommand();

  // The ports to learn on (property ids::props::StorageLearnTargetsCommand::PortList).
  framework::HandleCollection GetPortList();
  const framework::HandleCollection GetPortList() const;

  // A port's answer; `cookie` carries its handle. Only a "Success" answer from a port that still
  // exists takes the port off the outstanding set.
  void ParseResponseLearnTargets(unsigned short code, Message* response, void* cookie);

 protected:
  bool DoRun() override;
  bool DoReset() override { return true; }

 private:
  core::RpcDelegate m_responseDelegate;
  // Ports asked and not yet answered successfully; kept across runs of this command object.
  OutstandingPorts m_outstanding;
};

class CStorageLearnTargetsCommandCtorDtorHelper : public ScriptableCtorDtor<CStorageLearnTargetsCommand> {};

}  // namespace storageio
}  // namespace kel
