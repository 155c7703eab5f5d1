#pragma once
// CProtocolConfig: a protocol's configuration on an emulated device (abstract class
// "ProtocolConfig"). Its port is its device's affiliated port. It follows its device's active
// flag: deactivating a device deactivates its protocol configurations.

#include <set>
#include <string>

#include "kel/framework/Scriptable.h"

namespace kel {
namespace core {

class CNetworkInterface;
class CPort;

class CProtocolConfig : public framework::CScriptable {
 public:
  static const framework::ClassId& CLASS_ID();

  // The port that runs this configuration (its device's port), or null.
  CPort* GetPort() const;

  // The network interfaces the configuration runs over. Configurations of this host's protocols
  // use no interfaces of the host, so the base has none: null and an unchanged set.
  virtual CNetworkInterface* GetApplyIf() const { return nullptr; }
  virtual void GetApplyIfSet(std::set<CNetworkInterface*>&) const {}

  // Where the configuration runs, for logs and users: "<port>/<device>/<configuration>" (a missing
  // port or device is left out).
  virtual std::string GetRouteDescriptor() const;
  // Called when an interface the configuration uses changes.
  virtual void OnInterfaceUpdate(framework::CScriptable* interfaceObject);
  // The host's protocol start and stop; true when done.
  virtual bool StartProtocol() { return true; }
  virtual bool StopProtocol() { return true; }

  bool OnPropagatingActive(bool parentActive) override;
};

}  // namespace core
}  // namespace kel
