#pragma once
// The base of every value that exists as an object of its own: binaries, structures and arrays.
// Simple values (numbers, booleans) and texts live inside their container and are reached through
// the container's getters or item_accept.

#include "tm/Tm_types.h"
#include "tm/Tm_visitor.h"

class Tm_value {
 public:
  virtual ~Tm_value() = default;

  virtual TMV get_value_type() const = 0;
  // A deep copy that belongs to the caller and to no container.
  virtual Tm_value* clone() const = 0;
  // Deep equality of type and value. Doubles compare by their bits, so a NaN equals itself and
  // 0.0 differs from -0.0: equal values encode to equal bytes.
  virtual bool equals(const Tm_value& other) const = 0;
  // Hands this value to the visitor's operation for its kind.
  virtual void accept(Tm_visitor& visitor) const = 0;

 protected:
  Tm_value() = default;
  Tm_value(const Tm_value&) = default;
  Tm_value& operator=(const Tm_value&) = default;
};
