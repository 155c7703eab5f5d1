#include "tm/Tm_backed_array.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "test/TmTestSupport.h"
#include "tm/Tm_exception.h"

namespace {

using Handles = std::vector<unsigned int>;
using Referencing = Tm_backed_array<Handles::const_iterator>;
using Copying = Tm_copy_backed_array<unsigned int, Handles::const_iterator>;

// Records what item_accept hands over.
class Recorder : public Tm_visitor {
 public:
  void visit_int8(signed char value) override { seen = "int8 " + std::to_string(value); }
  void visit_uint8(unsigned char value) override { seen = "uint8 " + std::to_string(value); }
  void visit_int16(short value) override { seen = "int16 " + std::to_string(value); }
  void visit_uint16(unsigned short value) override { seen = "uint16 " + std::to_string(value); }
  void visit_int32(int value) override { seen = "int32 " + std::to_string(value); }
  void visit_uint32(unsigned int value) override { seen = "uint32 " + std::to_string(value); }
  void visit_int64(long value) override { seen = "int64 " + std::to_string(value); }
  void visit_uint64(unsigned long value) override { seen = "uint64 " + std::to_string(value); }
  void visit_double(double value) override { seen = "double " + std::to_string(value); }
  void visit_bool(bool value) override { seen = value ? "true" : "false"; }
  void visit_string(const char*, std::size_t) override { seen = "string"; }
  void visit_binary(const Tm_binary&) override { seen = "binary"; }
  void visit_struct(const Tm_struct&) override { seen = "struct"; }
  void visit_array(const Tm_array&) override { seen = "array"; }

  std::string seen;
};

TEST(TmBackedArrayTest, ReadsOnlyScalarsOfItsOwnTypeInsideItsBoundsAndRefusesEveryChange) {
  const Handles handles = {7, 8, 9};
  Referencing array(handles.begin(), 3);

  EXPECT_EQ(array.get_member_uint32(2), 9u);
  EXPECT_EQ(failure_of([&] { array.get_member_uint32(3); }), "index 3 out of range [0, 2]");
  EXPECT_EQ(failure_of([&] { array.get_member_uint32(-1); }), "index -1 out of range [0, 2]");
  // No narrowing or widening, and the type is checked before the index.
  EXPECT_EQ(failure_of([&] { array.get_member_uint16(0); }), "type mismatch: got uint32, expected uint16");
  EXPECT_EQ(failure_of([&] { array.get_member_uint64(5); }), "type mismatch: got uint32, expected uint64");
  EXPECT_THROW(array.get_member_int8(0), Tm_type_mismatch_exception);
  EXPECT_THROW(array.get_member_uint32(3), Tm_out_of_range_exception);

  const std::vector<std::pair<std::string, std::function<void()>>> calls = {
      {"reserve", [&] { array.reserve(4); }},
      {"add_member", [&] { array.add_member(true); }},
      {"add_member", [&] { array.add_member(1u); }},
      {"add_member", [&] { array.add_member(1.0); }},
      {"add_member", [&] { array.add_member("text"); }},
      {"add_member_and_own", [&] { array.add_member_and_own(nullptr); }},
      {"clear", [&] { array.clear(); }},
      {"get_member_struct", [&] { array.get_member_struct(0); }},
      {"get_member_message", [&] { array.get_member_message(0); }},
      {"get_member_file", [&] { array.get_member_file(0); }},
      {"get_member_binary", [&] { array.get_member_binary(0); }},
      {"get_member_date", [&] { array.get_member_date(0); }},
      {"get_member_array", [&] { array.get_member_array(0); }},
      {"get_member_string", [&] { array.get_member_string(0); }},
  };
  for (const auto& [operation, call] : calls) {
    EXPECT_EQ(failure_of(call), operation + "() is not supported by backed arrays");
  }
  EXPECT_EQ(array.get_member_count(), 3);
}

TEST(TmBackedArrayTest, TheCopyOutlivesTheVectorTheReferenceFollowsItAndEmptyIsEmpty) {
  auto handles = std::make_unique<Handles>(Handles{4, 5, 6});
  const Copying copy(handles->cbegin(), 3);
  const Referencing reference(handles->cbegin(), 3);
  (*handles)[1] = 50;
  EXPECT_EQ(reference.get_member_uint32(1), 50u);
  handles.reset();
  EXPECT_EQ(copy.get_member_uint32(1), 5u);
  EXPECT_EQ(copy.get_member_uint32(2), 6u);

  const Handles none;  // an empty vector gives an empty array
  EXPECT_EQ(Referencing(none.begin(), 0).get_member_count(), 0);
  EXPECT_EQ(failure_of([&] { Copying(none.begin(), 0).get_member_uint32(0); }), "index 0 out of range [0, -1]");
  EXPECT_EQ(failure_of([&] { Referencing(none.begin(), -1); }), "backed array given a negative count -1");
}

TEST(TmBackedArrayTest, HandsEachElementToTheVisitorOfItsType) {
  const std::vector<signed char> small = {-3};
  const std::vector<unsigned short> ports = {443};
  const std::vector<long> offsets = {-9000000000};
  const unsigned char bytes[] = {0xab, 0xcd};
  Recorder recorder;

  Tm_backed_array<std::vector<signed char>::const_iterator>(small.begin(), 1).item_accept(0, recorder);
  EXPECT_EQ(recorder.seen, "int8 -3");
  Tm_copy_backed_array<unsigned short, std::vector<unsigned short>::const_iterator>(ports.begin(), 1)
      .item_accept(0, recorder);
  EXPECT_EQ(recorder.seen, "uint16 443");
  Tm_backed_array<std::vector<long>::const_iterator>(offsets.begin(), 1).item_accept(0, recorder);
  EXPECT_EQ(recorder.seen, "int64 -9000000000");
  const Tm_copy_backed_array<unsigned char, const unsigned char*> raw(bytes, 2);
  raw.item_accept(1, recorder);
  EXPECT_EQ(recorder.seen, "uint8 205");
  EXPECT_THROW(raw.item_accept(2, recorder), Tm_out_of_range_exception);
}

TEST(TmBackedArrayTest, ClonesIntoAPlainArrayThatEqualsIt) {
  const Handles handles = {1, 2};
  const Referencing backed(handles.begin(), 2);
  const std::unique_ptr<Tm_value> copy(backed.clone());
  auto& plain = dynamic_cast<Tm_array&>(*copy);

  EXPECT_EQ(plain.get_member_uint32(1), 2u);
  EXPECT_TRUE(backed.equals(plain) && plain.equals(backed));
  plain.add_member(3u);
  EXPECT_FALSE(backed.equals(plain));

  Tm_array other_type;  // int32 items are not uint32 items
  other_type.add_member(1);
  other_type.add_member(2);
  EXPECT_FALSE(backed.equals(other_type));
}

}  // namespace
