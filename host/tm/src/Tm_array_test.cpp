#include "tm/Tm_array.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "test/TmTestSupport.h"
#include "tm/Tm_exception.h"
#include "tm/Tm_struct.h"

namespace {

TEST(TmArrayTest, ReadsEachItemWithItsExactType) {
  Tm_array array;
  array.reserve(3);
  array.add_member(static_cast<unsigned short>(80));
  array.add_member(std::string(30, 'L'));  // longer than a slot keeps inline
  array.add_member_and_own(new Tm_struct());

  EXPECT_EQ(array.get_member_count(), 3);
  EXPECT_EQ(array.get_member_uint16(0), 80);
  EXPECT_EQ(array.get_member_string(1), std::string(30, 'L'));
  EXPECT_EQ(array.get_member_struct(2)->get_container(), &array);
  EXPECT_EQ(failure_of([&] { array.get_member_int32(0); }), "type mismatch: got uint16, expected int32");
  EXPECT_EQ(failure_of([&] { array.get_member_array(2); }), "type mismatch: got struct, expected array");
  EXPECT_EQ(failure_of([&] { array.get_member_value_type(3); }), "index 3 out of range [0, 2]");
  EXPECT_EQ(failure_of([&] { array.reserve(-1); }), "reserve() given a negative count -1");
  EXPECT_EQ(failure_of([&] { array.add_member(static_cast<const char*>(nullptr)); }), "add_member() given a null text");
}

TEST(TmArrayTest, KindsOfValueThisLibraryLacksAreRefused) {
  Tm_array array;
  array.add_member(1);
  EXPECT_EQ(failure_of([&] { array.get_member_message(0); }),
            "get_member_message() has no values in this message library");
  EXPECT_EQ(failure_of([&] { array.get_member_file(0); }), "get_member_file() has no values in this message library");
  EXPECT_EQ(failure_of([&] { array.get_member_date(0); }), "get_member_date() has no values in this message library");
}

TEST(TmArrayTest, ValuesOfOtherKindsCannotBeOwned) {
  // A value kind foreign to this library: the array refuses it and frees it.
  class Foreign : public Tm_value {
   public:
    TMV get_value_type() const override { return TMV_INT32; }
    Tm_value* clone() const override { return new Foreign(); }
    bool equals(const Tm_value&) const override { return false; }
    void accept(Tm_visitor&) const override {}
  };
  Tm_array array;
  EXPECT_EQ(failure_of([&] { array.add_member_and_own(new Foreign()); }),
            "add_member_and_own() takes a binary, structure or array, not a value of type int32");
  EXPECT_EQ(array.get_member_count(), 0);
}

TEST(TmArrayTest, ClonesDeeplyAndClearsToEmpty) {
  Tm_array array;
  auto* inner = new Tm_array();
  inner->add_member(true);
  array.add_member_and_own(inner);
  array.add_member_and_own(new Tm_binary(std::vector<unsigned char>{9}));

  const std::unique_ptr<Tm_value> copy(array.clone());
  array.clear();
  EXPECT_EQ(array.get_member_count(), 0);
  const auto& cloned = dynamic_cast<const Tm_array&>(*copy);
  EXPECT_TRUE(cloned.get_member_array(0)->get_member_bool(0));
  EXPECT_EQ(cloned.get_member_binary(1).data()[0], 9);
  EXPECT_EQ(cloned.get_member_array(0)->get_container(), &cloned);
}

}  // namespace
