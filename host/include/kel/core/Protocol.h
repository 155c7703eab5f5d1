#pragma once
// CProtocol: what the host's protocol module asks of every protocol. A protocol turns the
// configuration of its classes into messages to the ports, validates it, and follows what runs
// on the ports. Protocols are registered once with CProtocolModule and live for the process.
// Every call comes from the business-layer thread.

#include <string>
#include <vector>

#include "kel/framework/Types.h"

namespace kel {
namespace core {

using framework::ClassId;
class CPort;

// A control request from a user interface (start, stop, establish...) addressed to protocols.
struct ControlMessage {
  std::string command;
  std::vector<unsigned> handles;
};

class CProtocol {
 public:
  virtual ~CProtocol() = default;

  virtual unsigned GetId() const = 0;
  virtual const std::string& GetName() const = 0;
  virtual const std::string& GetCategory() const = 0;
  // Lower numbers start first: categories by category priority, then protocols within one.
  virtual int GetCategoryStartPriority() const { return 0; }
  virtual int GetProtocolStartPriority() const { return 0; }
  virtual void ProcessControlMessage(const ControlMessage*, const std::vector<unsigned>&) {}
  // Handles of the configurations this protocol manages in the active project.
  virtual void GetManagedProtocolConfig(std::vector<unsigned>& handles) = 0;
  // Further configuration classes the protocol manages besides its own; none by default.
  virtual std::vector<ClassId> GetManagedProtocolConfigType() const { return {}; }
  // Sets the protocol's results back to zero (the host's clear-results command).
  virtual void ClearResult() {}
  virtual void StartStopProtocol(bool /*start*/) {}
  virtual void StartStopProtocol(bool /*start*/, const std::vector<unsigned>& /*handles*/) {}
  // Starts or stops the given configurations through their StartProtocol/StopProtocol.
  virtual void StartStopProtocolConfigs(bool start, const std::vector<unsigned>& handles);
  // Protocols without sessions or routes have nothing to establish or advertise.
  virtual void EstablishProtocol(const std::vector<unsigned>& /*handles*/) {}
  virtual void AdvertiseProtocol(const std::vector<unsigned>& /*handles*/) {}
  virtual int GetProtocolTransmitOSILayer() const { return 0; }
  virtual int GetProtocolOperationOSILayer() const { return 0; }
  // Link or session flapping: names of events and the commands that cause them; none by default.
  virtual void GetFlapEvents(std::vector<std::string>& /*events*/) const {}
  virtual void ConfigureFlapCommands(const std::vector<unsigned>& /*handles*/) {}
  virtual void GetFlappableObjectClassIds(std::vector<ClassId>& /*classIds*/) const {}
  // The name of the message set the protocol speaks ("BST_1").
  virtual const std::string& GetMsgSetName() const = 0;
  // A port went offline or came back online; nothing by default.
  virtual void OnPortStatusChange(CPort& /*port*/, bool /*online*/) {}
};

}  // namespace core
}  // namespace kel
