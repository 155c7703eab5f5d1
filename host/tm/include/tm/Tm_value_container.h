#pragma once
// The base of structures and arrays: a value that holds values and knows the container that owns
// it. A container takes ownership of a structure or array only if that value is not owned yet (or
// was built for it) and taking it would not make a value contain itself; otherwise the adding call
// throws Tm_exception and leaves the value to its owner, so an ownership mistake never ends in a
// double free or a cycle. Any other failure of add_member_and_own (a null or foreign value, a
// refused name or index) still takes the value, and frees it.

#include "tm/Tm_slot.h"
#include "tm/Tm_value.h"

class Tm_value_container : public Tm_value {
 public:
  // The container that owns this one; null for a top-level value.
  Tm_value_container* get_container() const { return m_container; }

 protected:
  explicit Tm_value_container(Tm_value_container* container) : m_container(container) {}
  // A copy is a value of its own: it belongs to no container until one adopts it.
  Tm_value_container(const Tm_value_container&) : Tm_value(), m_container(nullptr) {}
  Tm_value_container& operator=(const Tm_value_container&) { return *this; }

  // A slot holding value, a binary, structure or array, for this container's add_member_and_own.
  // Throws Tm_exception when value is null or of another kind (deleting it), or when this
  // container may not own it (leaving it to its owner).
  Tm_slot own(Tm_value* value);
  // Makes this container the owner of a structure or array in a freshly copied slot.
  void adopt_copy(Tm_slot& slot);
  // Re-points a structure or array in slot to this container after the container moved in memory.
  void rebind_moved(Tm_slot& slot);

 private:
  void adopt(Tm_value_container& child);

  Tm_value_container* m_container;
};
