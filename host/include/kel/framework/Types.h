#pragma once
// Value types shared by every part of the host's object model.

#include <cstdint>
#include <vector>

namespace kel {
namespace framework {

class CScriptable;

// A class id holds its class's block in the high bits; the low 12 bits are zero.
using ClassId = std::uint32_t;
// A property id is the declaring class's id plus the property's ordinal (1, 2, ...).
using PropId = std::uint32_t;
using RelationId = std::uint32_t;
// 32-bit object handle given by the handle registry; 0 never names an object.
using Handle = std::uint32_t;

using ScriptableVec = std::vector<CScriptable*>;

// A relation kind passed by value: a relation id plus the direction in which it is walked.
// Forward walks from a relation's source to its targets (parent to children for parent-child).
class RelationType {
 public:
  enum Direction { DIR_FORWARD = 0, DIR_BACKWARD = 1 };

  constexpr RelationType(RelationId id = 0, Direction dir = DIR_FORWARD) : m_id(id), m_dir(dir) {}

  constexpr RelationId GetId() const { return m_id; }
  constexpr Direction GetDirection() const { return m_dir; }
  constexpr bool IsForward() const { return m_dir == DIR_FORWARD; }
  constexpr RelationType ReverseDir() const {
    return RelationType(m_id, m_dir == DIR_FORWARD ? DIR_BACKWARD : DIR_FORWARD);
  }

  constexpr bool operator==(const RelationType& o) const { return m_id == o.m_id && m_dir == o.m_dir; }
  constexpr bool operator!=(const RelationType& o) const { return !(*this == o); }
  constexpr bool operator<(const RelationType& o) const {
    return m_id != o.m_id ? m_id < o.m_id : m_dir < o.m_dir;
  }

 private:
  RelationId m_id;
  Direction m_dir;
};

// Relations and properties that the host itself defines.
namespace relation {
constexpr RelationId ParentChild = 1;   // forward: parent to children
constexpr RelationId Result = 2;        // forward: owner to its result objects
constexpr RelationId AffiliatedPort = 0x1000003;  // forward: emulated device to its port
}  // namespace relation

inline constexpr RelationType ParentChild() { return RelationType(relation::ParentChild); }
inline constexpr RelationType ChildParent() { return RelationType(relation::ParentChild, RelationType::DIR_BACKWARD); }

namespace prop {
constexpr PropId Active = 0x1003;
constexpr PropId Handle = 0x1005;
constexpr PropId Name = 0x1006;
}  // namespace prop

}  // namespace framework
}  // namespace kel
