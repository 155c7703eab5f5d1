#pragma once
// CResultLocator: finds the result objects that a subscription covers, for one handler.

#include "kel/core/ResultTypes.h"

namespace kel {
namespace core {

class CResultLocator {
 public:
  virtual ~CResultLocator() = default;

  // Appends the result objects that `subscription` covers; `out` is not cleared first.
  virtual void GetResultParents(const ResultSubscription& subscription, framework::ScriptableVec& out) const = 0;
  // Appends the ports an object belongs to: a port itself, a device's affiliated port, or the
  // port of the nearest ancestor that has one.
  virtual void GetPortsForObj(const framework::CScriptable* object, framework::ScriptableVec& ports) const;
};

}  // namespace core
}  // namespace kel
