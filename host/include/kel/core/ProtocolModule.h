#pragma once
// CProtocolModule: the registry of protocols. A plug-in registers its protocol singleton once,
// from its registration entry point; the module does not own it (a protocol lives for the
// process).

#include <string>
#include <vector>

#include "kel/core/NamedRegistry.h"
#include "kel/core/Protocol.h"

namespace kel {
namespace core {

class CProtocolModule {
 public:
  static CProtocolModule& Instance();

  // Registering a protocol that is already registered changes nothing (a plug-in registered
  // twice). Another protocol with the same name throws CKelLogicError; so does null.
  void RegisterProtocol(CProtocol* protocol);
  // Forgets a protocol (one that is being destroyed); unknown ones are ignored.
  void UnregisterProtocol(CProtocol* protocol);

  // Registered protocols in start order: category priority, then protocol priority, then
  // registration order.
  std::vector<CProtocol*> GetProtocols() const;
  // Null when no protocol has that name.
  CProtocol* FindProtocol(const std::string& name) const;

 private:
  NamedRegistry<CProtocol> m_protocols{"protocol"};
};

}  // namespace core
}  // namespace kel
