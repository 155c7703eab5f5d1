#pragma once
// Value types of the result module: what a handler offers, and what a client subscribes to.

#include <string>
#include <vector>

#include "kel/framework/Types.h"

namespace kel {
namespace core {

using framework::ClassId;

// A result class offered below objects of an owner class.
struct ResultType {
  ClassId ownerClassId = 0;
  ClassId resultClassId = 0;
  bool operator==(const ResultType& o) const {
    return ownerClassId == o.ownerClassId && resultClassId == o.resultClassId;
  }
};

// A client's wish: the result objects of one class below some parent objects (by handle). The
// result module stamps it with the client's subscription id when the client subscribes.
class ResultSubscription {
 public:
  ResultSubscription() = default;
  ResultSubscription(ClassId resultClassId, std::vector<unsigned> parentHandles)
      : m_resultClassId(resultClassId), m_parentHandles(std::move(parentHandles)) {}

  ClassId GetResultClassId() const { return m_resultClassId; }
  const std::vector<unsigned>& GetParentHandles() const { return m_parentHandles; }
  unsigned GetId() const { return m_id; }
  void SetId(unsigned id) { m_id = id; }

 private:
  ClassId m_resultClassId = 0;
  std::vector<unsigned> m_parentHandles;
  unsigned m_id = 0;  // 0: no client (a default-made subscription)
};

// Refers to subscriptions kept elsewhere; the subscriptions must outlive it.
using ResultSubVec = std::vector<const ResultSubscription*>;

// A one-shot request for results (no subscription).
struct ResultSpec {
  ClassId resultClassId = 0;
  std::vector<unsigned> parentHandles;
};

}  // namespace core
}  // namespace kel
