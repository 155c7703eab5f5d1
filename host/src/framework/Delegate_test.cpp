#include "kel/framework/Delegate.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace kel::framework {
namespace {

// Stands for a message type the delegate's user only declares.
struct IncompleteMessage;

class Counter {
 public:
  int Add(int a, int b) {
    total_ += a + b;
    return total_;
  }
  int Peek(int a, int b) const { return total_ + a + b; }
  int Sum(int a, int b, int c) const { return a + b + c; }
  int Total() const { return total_; }

 private:
  int total_ = 0;
};

class Named {
 public:
  virtual ~Named() = default;
  virtual std::string Name(int, int) const { return "base"; }
};

class Padding {
 public:
  virtual ~Padding() = default;
  int filler = 7;
};

// Named is not the first base, so binding through a Renamed* must adjust the object pointer.
class Renamed : public Padding, public Named {
 public:
  std::string Name(int, int) const override { return "renamed"; }
};

using IntDelegate = FastDelegate2<int, int, int>;

TEST(FastDelegateTest, CallsNonConstAndConstMembers) {
  Counter counter;
  const Counter& constCounter = counter;

  IntDelegate add(&counter, &Counter::Add);
  IntDelegate peekThroughMutable(&counter, &Counter::Peek);
  IntDelegate peekThroughConst(&constCounter, &Counter::Peek);

  EXPECT_EQ(add(1, 2), 3);
  EXPECT_EQ(counter.Total(), 3);
  EXPECT_EQ(peekThroughMutable(10, 0), 13);
  EXPECT_EQ(peekThroughConst(0, 1), 4);
  EXPECT_EQ(MakeDelegate(&constCounter, &Counter::Sum)(1, 2, 3), 6);
}

TEST(FastDelegateTest, CallsVirtualMemberThroughSecondBase) {
  Renamed renamed;
  const auto byDerived = MakeDelegate(&renamed, &Named::Name);
  const auto byBase = MakeDelegate(static_cast<Named*>(&renamed), &Named::Name);

  EXPECT_EQ(byDerived(0, 0), "renamed");
  EXPECT_EQ(byBase(0, 0), "renamed");
}

TEST(FastDelegateTest, MakeDelegateDeducesTheDelegateType) {
  Counter counter;
  static_assert(std::is_same_v<decltype(MakeDelegate(&counter, &Counter::Add)), IntDelegate>);
  static_assert(std::is_same_v<decltype(MakeDelegate(&counter, &Counter::Sum)),
                               FastDelegate3<int, int, int, int>>);
  EXPECT_EQ(MakeDelegate(&counter, &Counter::Add), IntDelegate(&counter, &Counter::Add));
}

TEST(FastDelegateTest, ClearedDelegateIsEmptyAndCallingItThrows) {
  Counter counter;
  IntDelegate bound(&counter, &Counter::Add);
  EXPECT_FALSE(bound.empty());
  EXPECT_TRUE(static_cast<bool>(bound));

  bound.clear();
  EXPECT_TRUE(bound.empty());
  EXPECT_FALSE(static_cast<bool>(bound));
  EXPECT_EQ(bound, IntDelegate());
  try {
    bound(1, 2);
    FAIL() << "expected CKelLogicError";
  } catch (const CKelLogicError& error) {
    EXPECT_STREQ(error.what(), "Call of an empty delegate");
  }
}

TEST(FastDelegateTest, BindingNullObjectOrFunctionThrows) {
  Counter* nobody = nullptr;
  int (Counter::*noFunction)(int, int) = nullptr;
  Counter counter;
  EXPECT_THROW(IntDelegate(nobody, &Counter::Add), CKelLogicError);
  EXPECT_THROW(IntDelegate(&counter, noFunction), CKelLogicError);
}

TEST(FastDelegateTest, EqualityNeedsSameObjectAndSameFunction) {
  Counter first;
  Counter second;
  const IntDelegate firstAdd(&first, &Counter::Add);

  EXPECT_EQ(firstAdd, IntDelegate(&first, &Counter::Add));
  EXPECT_NE(firstAdd, IntDelegate(&second, &Counter::Add));
  EXPECT_NE(firstAdd, IntDelegate(&first, &Counter::Peek));

  IntDelegate copy = firstAdd;
  EXPECT_EQ(copy, firstAdd);
  copy = IntDelegate(&second, &Counter::Peek);
  EXPECT_NE(copy, firstAdd);
}

TEST(FastDelegateTest, LessIsAStrictWeakOrder) {
  Counter first;
  Counter second;
  const std::vector<IntDelegate> all = {
      IntDelegate(), IntDelegate(&first, &Counter::Add), IntDelegate(&first, &Counter::Peek),
      IntDelegate(&second, &Counter::Add), IntDelegate(&second, &Counter::Peek)};

  for (const IntDelegate& a : all) {
    EXPECT_FALSE(a < a);
    for (const IntDelegate& b : all) {
      // Exactly one of a < b, b < a, a == b.
      EXPECT_EQ(int(a < b) + int(b < a) + int(a == b), 1);
      for (const IntDelegate& c : all) {
        if (a < b && b < c) {
          EXPECT_TRUE(a < c);
        }
      }
    }
  }
}

TEST(DelegateTest, AddKeepsOneOfEqualDelegates) {
  Counter counter;
  Delegate<IntDelegate> event;
  event.Add(IntDelegate(&counter, &Counter::Add));
  event.Add(IntDelegate(&counter, &Counter::Add));
  event.Add(IntDelegate(&counter, &Counter::Peek));
  EXPECT_EQ(event.Size(), 2u);

  event(1, 1);
  EXPECT_EQ(counter.Total(), 2);  // Add ran once

  event.Remove(IntDelegate(&counter, &Counter::Add));
  event.Remove(IntDelegate(&counter, &Counter::Add));
  EXPECT_EQ(event.Size(), 1u);
  event.Clear();
  EXPECT_TRUE(event.Empty());
}

TEST(DelegateTest, AddingAnEmptyDelegateThrows) {
  Delegate<IntDelegate> event;
  EXPECT_THROW(event.Add(IntDelegate()), CKelLogicError);
  EXPECT_THROW(Delegate<IntDelegate>{IntDelegate()}, CKelLogicError);
  EXPECT_TRUE(event.Empty());
}

// Records calls in a shared log, and can change the event it is subscribed to while called.
class Listener {
 public:
  using Event = Delegate<FastDelegate3<unsigned short, IncompleteMessage*, void*, void>>;

  Listener(std::string name, std::vector<std::string>& calls)
      : name_(std::move(name)), calls_(calls) {}

  Event::FastDelegateType Handler() { return MakeDelegate(this, &Listener::OnEvent); }

  void OnEvent(unsigned short code, IncompleteMessage* message, void* event) {
    calls_.push_back(name_ + ":" + std::to_string(code) + (message == nullptr ? "" : ":msg"));
    auto& subscribed = *static_cast<Event*>(event);
    if (unsubscribeWhenCalled_) {
      subscribed.Remove(Handler());
    }
    if (toSubscribe_ != nullptr) {
      subscribed.Add(toSubscribe_->Handler());
    }
  }

  bool unsubscribeWhenCalled_ = false;
  Listener* toSubscribe_ = nullptr;

 private:
  std::string name_;
  std::vector<std::string>& calls_;
};

TEST(DelegateTest, CallsEveryMemberWithTheArguments) {
  std::vector<std::string> calls;
  Listener a("a", calls);
  Listener b("b", calls);
  Listener::Event event(a.Handler());
  event.Add(b.Handler());

  auto* message = reinterpret_cast<IncompleteMessage*>(&calls);
  event(7, message, &event);

  // Set order: by object pointer first.
  const std::vector<std::string> expected = std::less<const void*>()(&a, &b)
                                                ? std::vector<std::string>{"a:7:msg", "b:7:msg"}
                                                : std::vector<std::string>{"b:7:msg", "a:7:msg"};
  EXPECT_EQ(calls, expected);
}

TEST(DelegateTest, HandlerMayRemoveItselfWhileCalled) {
  std::vector<std::string> calls;
  Listener once("once", calls);
  Listener always("always", calls);
  once.unsubscribeWhenCalled_ = true;
  Listener::Event event(once.Handler());
  event.Add(always.Handler());

  event(1, nullptr, &event);
  event(2, nullptr, &event);

  EXPECT_EQ(event.Size(), 1u);
  std::multiset<std::string> called(calls.begin(), calls.end());
  EXPECT_EQ(called, (std::multiset<std::string>{"once:1", "always:1", "always:2"}));
}

TEST(DelegateTest, HandlerAddedWhileCalledRunsFromTheNextCall) {
  std::vector<std::string> calls;
  Listener late("late", calls);
  Listener adder("adder", calls);
  adder.toSubscribe_ = &late;
  Listener::Event event(adder.Handler());

  event(1, nullptr, &event);
  event(2, nullptr, &event);

  std::multiset<std::string> called(calls.begin(), calls.end());
  EXPECT_EQ(called, (std::multiset<std::string>{"adder:1", "adder:2", "late:2"}));
}

TEST(DelegateTest, CopiesAreIndependentValues) {
  Counter counter;
  Delegate<IntDelegate> original(IntDelegate(&counter, &Counter::Add));
  Delegate<IntDelegate> copy = original;
  EXPECT_EQ(copy, original);

  copy.Add(IntDelegate(&counter, &Counter::Peek));
  EXPECT_NE(copy, original);
  EXPECT_EQ(original.Size(), 1u);

  original = copy;
  EXPECT_EQ(original, copy);
}

}  // namespace
}  // namespace kel::framework
