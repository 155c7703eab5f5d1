#pragma once

// Callbacks bound to a member function of an object, and ordered sets of them.
//
// FastDelegate2 / FastDelegate3 hold an object pointer and a member function, with no heap
// allocation. They do not own the object: whoever binds a delegate keeps the object alive while
// the delegate can be called. Two delegates are equal when they are bound to the same object
// and the same member function; '<' is a strict weak order so a delegate can key a std::set.
// Binding a null object or a null member function throws CKelLogicError; calling an empty
// (default-constructed or cleared) delegate throws CKelLogicError "Call of an empty delegate".
//
// Delegate<FD> is a value type holding a set of fast delegates, called in set order. The
// parameter types of the bound functions may be incomplete (pointers to them) where the
// delegate is declared.

#include <cstddef>
#include <cstring>
#include <functional>
#include <set>
#include <utility>

#include "kel/framework/Exceptions.h"

namespace kel::framework {

namespace detail {

// The part shared by every fast delegate arity: an object pointer, a member-function pointer
// kept as bytes, and an invoker that knows their real types.
template <class R, class... Params>
class BoundMemberFunction {
 public:
  BoundMemberFunction() noexcept = default;

  template <class X, class Y>
  BoundMemberFunction(Y* object, R (X::*fn)(Params...)) {
    Bind(static_cast<void*>(object), fn, &InvokeMember<Y, decltype(fn)>);
  }

  template <class X, class Y>
  BoundMemberFunction(const Y* object, R (X::*fn)(Params...) const) {
    Bind(const_cast<void*>(static_cast<const void*>(object)), fn,
         &InvokeMember<const Y, decltype(fn)>);
  }

  R operator()(Params... args) const {
    if (invoker_ == nullptr) {
      throw CKelLogicError("Call of an empty delegate");
    }
    return invoker_(object_, functionBytes_, std::forward<Params>(args)...);
  }

  bool empty() const noexcept { return invoker_ == nullptr; }
  explicit operator bool() const noexcept { return invoker_ != nullptr; }

  void clear() noexcept { *this = BoundMemberFunction(); }

  // The object pointer given when binding, as given (not adjusted to the class of the member
  // function); null when empty. For forgetting delegates whose object is going.
  const void* object() const noexcept { return object_; }

  friend bool operator==(const BoundMemberFunction& a, const BoundMemberFunction& b) noexcept {
    return a.object_ == b.object_ && a.invoker_ == b.invoker_ &&
           std::memcmp(a.functionBytes_, b.functionBytes_, kFunctionBytes) == 0;
  }
  friend bool operator!=(const BoundMemberFunction& a, const BoundMemberFunction& b) noexcept {
    return !(a == b);
  }
  friend bool operator<(const BoundMemberFunction& a, const BoundMemberFunction& b) noexcept {
    if (a.object_ != b.object_) {
      return std::less<void*>()(a.object_, b.object_);
    }
    if (a.invoker_ != b.invoker_) {
      return std::less<Invoker>()(a.invoker_, b.invoker_);
    }
    return std::memcmp(a.functionBytes_, b.functionBytes_, kFunctionBytes) < 0;
  }

 private:
  // Two words hold any member-function pointer of the Itanium C++ ABI, virtual or not.
  static constexpr std::size_t kFunctionBytes = 2 * sizeof(void*);

  using Invoker = R (*)(void* object, const unsigned char* functionBytes, Params... args);

  template <class Object, class MemberFunction>
  static R InvokeMember(void* object, const unsigned char* functionBytes, Params... args) {
    MemberFunction fn = nullptr;
    std::memcpy(&fn, functionBytes, sizeof(fn));
    return (static_cast<Object*>(object)->*fn)(std::forward<Params>(args)...);
  }

  template <class MemberFunction>
  void Bind(void* object, MemberFunction fn, Invoker invoker) {
    static_assert(sizeof(MemberFunction) <= kFunctionBytes,
                  "member-function pointer does not fit the delegate's storage");
    if (object == nullptr) {
      throw CKelLogicError("Delegate bound to a null object");
    }
    if (fn == nullptr) {
      throw CKelLogicError("Delegate bound to a null member function");
    }
    object_ = object;
    invoker_ = invoker;
    std::memcpy(functionBytes_, &fn, sizeof(fn));
  }

  void* object_ = nullptr;
  Invoker invoker_ = nullptr;
  // Zero beyond sizeof(fn), so comparing all bytes compares just the bound function.
  unsigned char functionBytes_[kFunctionBytes] = {};
};

}  // namespace detail

template <class P1, class P2, class R>
class FastDelegate2 : public detail::BoundMemberFunction<R, P1, P2> {
 public:
  using detail::BoundMemberFunction<R, P1, P2>::BoundMemberFunction;
};

template <class P1, class P2, class P3, class R>
class FastDelegate3 : public detail::BoundMemberFunction<R, P1, P2, P3> {
 public:
  using detail::BoundMemberFunction<R, P1, P2, P3>::BoundMemberFunction;
};

template <class X, class Y, class P1, class P2, class R>
FastDelegate2<P1, P2, R> MakeDelegate(Y* object, R (X::*fn)(P1, P2)) {
  return FastDelegate2<P1, P2, R>(object, fn);
}

template <class X, class Y, class P1, class P2, class R>
FastDelegate2<P1, P2, R> MakeDelegate(const Y* object, R (X::*fn)(P1, P2) const) {
  return FastDelegate2<P1, P2, R>(object, fn);
}

template <class X, class Y, class P1, class P2, class P3, class R>
FastDelegate3<P1, P2, P3, R> MakeDelegate(Y* object, R (X::*fn)(P1, P2, P3)) {
  return FastDelegate3<P1, P2, P3, R>(object, fn);
}

template <class X, class Y, class P1, class P2, class P3, class R>
FastDelegate3<P1, P2, P3, R> MakeDelegate(const Y* object, R (X::*fn)(P1, P2, P3) const) {
  return FastDelegate3<P1, P2, P3, R>(object, fn);
}

// A set of fast delegates, all called by one call. Adding a delegate already in the set
// changes nothing; removing one that is not there changes nothing. Adding an empty fast
// delegate throws CKelLogicError.
template <class FD>
class Delegate {
 public:
  using FastDelegateType = FD;

  Delegate() = default;
  explicit Delegate(const FD& fastDelegate) { Add(fastDelegate); }

  void Add(const FD& fastDelegate) {
    if (fastDelegate.empty()) {
      throw CKelLogicError("Adding an empty delegate");
    }
    members_.insert(fastDelegate);
  }
  void Remove(const FD& fastDelegate) { members_.erase(fastDelegate); }
  // Removes every member whose object() `isGone` is true for; returns how many went.
  template <class Predicate>
  std::size_t RemoveBoundTo(Predicate isGone) {
    std::size_t removed = 0;
    for (auto it = members_.begin(); it != members_.end();) {
      if (isGone(it->object())) {
        it = members_.erase(it);
        ++removed;
      } else {
        ++it;
      }
    }
    return removed;
  }

  bool Empty() const noexcept { return members_.empty(); }
  std::size_t Size() const noexcept { return members_.size(); }
  void Clear() noexcept { members_.clear(); }

  // Calls every member present when the call starts, in set order. A handler may add or
  // remove members (its own too): the change applies from the next call on. Exceptions from a
  // handler propagate and the remaining members are not called.
  template <class... Args>
  void operator()(Args&&... args) const {
    const std::set<FD> snapshot = members_;
    for (const FD& member : snapshot) {
      member(args...);
    }
  }

  friend bool operator==(const Delegate& a, const Delegate& b) { return a.members_ == b.members_; }
  friend bool operator!=(const Delegate& a, const Delegate& b) { return !(a == b); }

 private:
  std::set<FD> members_;
};

}  // namespace kel::framework
