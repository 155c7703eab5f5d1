#include "tm/Tm_value_container.h"

#include <memory>
#include <string>

#include "tm/Tm_array.h"
#include "tm/Tm_exception.h"
#include "tm/Tm_struct.h"

namespace {

Tm_value_container* container_in(Tm_slot& slot) {
  if (slot.type() == TMV_STRUCT) return slot.structure();
  if (slot.type() == TMV_ARRAY) return slot.array();
  return nullptr;
}

}  // namespace

Tm_slot Tm_value_container::own(Tm_value* value) {
  if (value == nullptr) throw Tm_exception("add_member_and_own() given a null value");
  if (auto* binary = dynamic_cast<Tm_binary*>(value)) return Tm_slot(std::unique_ptr<Tm_binary>(binary));
  if (auto* structure = dynamic_cast<Tm_struct*>(value)) {
    adopt(*structure);
    return Tm_slot(std::unique_ptr<Tm_struct>(structure));
  }
  if (auto* array = dynamic_cast<Tm_array*>(value)) {
    adopt(*array);
    return Tm_slot(std::unique_ptr<Tm_array>(array));
  }
  const std::unique_ptr<Tm_value> refused(value);
  throw Tm_exception("add_member_and_own() takes a binary, structure or array, not a value of type " +
                     tmv_name(value->get_value_type()));
}

void Tm_value_container::adopt_copy(Tm_slot& slot) {
  if (Tm_value_container* child = container_in(slot)) adopt(*child);
}

void Tm_value_container::rebind_moved(Tm_slot& slot) {
  if (Tm_value_container* child = container_in(slot)) child->m_container = this;
}

void Tm_value_container::adopt(Tm_value_container& child) {
  if (child.m_container != nullptr && child.m_container != this) {
    throw Tm_exception("add_member_and_own() given a value that belongs to another container");
  }
  for (const Tm_value_container* ancestor = this; ancestor != nullptr; ancestor = ancestor->m_container) {
    if (ancestor == &child) throw Tm_exception("add_member_and_own() would make a value contain itself");
  }
  child.m_container = this;
}
