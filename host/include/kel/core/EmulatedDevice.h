#pragma once
// CEmulatedDevice: an emulated host on a port (class "EmulatedDevice"), a child of the project.
// Its port is the one object over the AffiliatedPort relation; protocol configurations (a
// storage worker, for one) are its children.

#include "kel/framework/Scriptable.h"

namespace kel {
namespace core {

class CPort;

class CEmulatedDevice : public framework::CScriptable {
 public:
  static const framework::ClassId& CLASS_ID();

  // The affiliated port, or null.
  CPort* GetPort() const;
  // Moves the device to `port` (null: no port).
  void SetPort(CPort* port);
};

}  // namespace core
}  // namespace kel
