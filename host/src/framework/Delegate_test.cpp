#include "kel/framework/Delegate.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "../testsupport/HostTestSupport.h"

namespace kel::framework {
namespace {

using test::ThrownText;

// Stands for a message type the delegate's user only declares.
struct IncompleteMessage;

class Counter {
 public:
  int Add(int a, int b) { return total += a + b; }
  int Peek(int a, int b) const { return total + a + b; }
  int Sum(int a, int b, int c) const { return a + b + c; }
  int total = 0;
};

class Padding {
 public:
  virtual ~Padding() = default;
  int filler = 7;
};

class Named {
 public:
  virtual ~Named() = default;
  virtual std::string Name(int, int) const { return "base"; }
};

// Named is not the first base, so binding through a Renamed* must adjust the object pointer.
class Renamed : public Padding, public Named {
 public:
  std::string Name(int, int) const override { return "renamed"; }
};

using IntDelegate = FastDelegate2<int, int, int>;

TEST(FastDelegateTest, CallsConstNonConstAndVirtualMembers) {
  Counter counter;
  const Counter& constCounter = counter;
  EXPECT_EQ(IntDelegate(&counter, &Counter::Add)(1, 2), 3);
  EXPECT_EQ(counter.total, 3);
  EXPECT_EQ(IntDelegate(&constCounter, &Counter::Peek)(0, 1), 4);
  static_assert(std::is_same_v<decltype(MakeDelegate(&counter, &Counter::Sum)), FastDelegate3<int, int, int, int>>);
  EXPECT_EQ(MakeDelegate(&constCounter, &Counter::Sum)(1, 2, 3), 6);

  Renamed renamed;
  EXPECT_EQ(MakeDelegate(&renamed, &Named::Name)(0, 0), "renamed");
  EXPECT_EQ(MakeDelegate(static_cast<Named*>(&renamed), &Named::Name)(0, 0), "renamed");
}

TEST(FastDelegateTest, EmptyOrNullDelegatesCannotBeMadeOrCalled) {
  Counter counter;
  IntDelegate bound(&counter, &Counter::Add);
  bound.clear();
  EXPECT_TRUE(bound.empty() && !bound);
  EXPECT_EQ(ThrownText<CKelLogicError>([&] { bound(1, 2); }), "Call of an empty delegate");

  Counter* nobody = nullptr;
  int (Counter::*noFunction)(int, int) = nullptr;
  EXPECT_THROW(IntDelegate(nobody, &Counter::Add), CKelLogicError);
  EXPECT_THROW(IntDelegate(&counter, noFunction), CKelLogicError);
}

TEST(FastDelegateTest, EqualityNeedsSameObjectAndFunctionAndLessIsAStrictWeakOrder) {
  Counter first;
  Counter second;
  const IntDelegate firstAdd(&first, &Counter::Add);
  EXPECT_EQ(firstAdd, MakeDelegate(&first, &Counter::Add));
  EXPECT_NE(firstAdd, IntDelegate(&second, &Counter::Add));
  EXPECT_NE(firstAdd, IntDelegate(&first, &Counter::Peek));

  const std::vector<IntDelegate> all = {IntDelegate(), firstAdd, IntDelegate(&first, &Counter::Peek),
                                        IntDelegate(&second, &Counter::Add), IntDelegate(&second, &Counter::Peek)};
  for (const IntDelegate& a : all) {
    for (const IntDelegate& b : all) {
      EXPECT_EQ(int(a < b) + int(b < a) + int(a == b), 1);  // exactly one holds
      for (const IntDelegate& c : all) {
        EXPECT_TRUE(!(a < b && b < c) || a < c);
      }
    }
  }
}

TEST(DelegateTest, KeepsOneOfEqualDelegatesRefusesEmptyOnesAndCopiesAreValues) {
  Counter counter;
  Delegate<IntDelegate> event;
  EXPECT_THROW(event.Add(IntDelegate()), CKelLogicError);
  EXPECT_THROW(Delegate<IntDelegate>{IntDelegate()}, CKelLogicError);
  event.Add(IntDelegate(&counter, &Counter::Add));
  event.Add(IntDelegate(&counter, &Counter::Add));
  event.Add(IntDelegate(&counter, &Counter::Peek));
  EXPECT_EQ(event.Size(), 2u);
  event(1, 1);
  EXPECT_EQ(counter.total, 2) << "Add ran once";

  Delegate<IntDelegate> copy = event;
  event.Remove(IntDelegate(&counter, &Counter::Add));
  event.Remove(IntDelegate(&counter, &Counter::Add));
  EXPECT_EQ(event.Size(), 1u);
  EXPECT_EQ(copy.Size(), 2u);
  event = copy;
  EXPECT_EQ(event, copy);
}

// Records calls in a shared log, and can change the event it is subscribed to while called.
class Listener {
 public:
  using Event = Delegate<FastDelegate3<unsigned short, IncompleteMessage*, void*, void>>;

  Listener(std::string name, std::vector<std::string>& calls) : name_(std::move(name)), calls_(calls) {}

  Event::FastDelegateType Handler() { return MakeDelegate(this, &Listener::OnEvent); }

  void OnEvent(unsigned short code, IncompleteMessage* message, void* event) {
    calls_.push_back(name_ + ":" + std::to_string(code) + (message == nullptr ? "" : ":msg"));
    auto& subscribed = *static_cast<Event*>(event);
    if (unsubscribeWhenCalled) subscribed.Remove(Handler());
    if (toSubscribe != nullptr) subscribed.Add(toSubscribe->Handler());
  }

  bool unsubscribeWhenCalled = false;
  Listener* toSubscribe = nullptr;

 private:
  std::string name_;
  std::vector<std::string>& calls_;
};

TEST(DelegateTest, HandlersMayRemoveThemselvesOrAddOthersWhileCalled) {
  std::vector<std::string> calls;
  Listener once("once", calls);
  Listener adder("adder", calls);
  Listener late("late", calls);
  once.unsubscribeWhenCalled = true;
  adder.toSubscribe = &late;
  Listener::Event event(once.Handler());
  event.Add(adder.Handler());

  event(1, reinterpret_cast<IncompleteMessage*>(&calls), &event);
  event(2, nullptr, &event);

  EXPECT_EQ(event.Size(), 2u);
  EXPECT_EQ(std::multiset<std::string>(calls.begin(), calls.end()),
            (std::multiset<std::string>{"once:1:msg", "adder:1:msg", "adder:2", "late:2"}));
}

}  // namespace
}  // namespace kel::framework
