#include "tm/Tm_struct.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "test/TmTestSupport.h"
#include "tm/Tm_exception.h"
#include "tm/Tm_prenamed_struct.h"

namespace {

TEST(TmStructTest, GettersReturnOnlyTheExactTypeOfAnExistingMember) {
  Tm_struct record;
  record.add_member("count", 5u);
  record.add_member("name", "disk0");
  record.add_member("ratio", 0.5);

  EXPECT_EQ(record.get_member_uint32("count"), 5u);
  EXPECT_STREQ(record.get_member_string("name"), "disk0");
  EXPECT_EQ(failure_of([&] { record.get_member_uint32("missing"); }), "no member 'missing'");
  EXPECT_EQ(failure_of([&] { record.get_member_uint64("count"); }), "type mismatch: got uint32, expected uint64");
  EXPECT_EQ(failure_of([&] { record.get_member_struct("ratio"); }), "type mismatch: got double, expected struct");
  EXPECT_EQ(failure_of([&] { record.get_member_bool(nullptr); }), "member name is null");
  EXPECT_EQ(failure_of([&] { record.add_member(nullptr, 1); }), "member name is null");
  EXPECT_EQ(failure_of([&] { record.add_member("text", static_cast<const char*>(nullptr)); }),
            "add_member() given a null text for 'text'");
  EXPECT_EQ(record.get_member_count(), 3) << "refused adds leave the structure as it was";
}

TEST(TmStructTest, KeepsInsertionOrderReadsInAnyOrderAndFindsTheFirstOfRepeatedNames) {
  Tm_struct record;
  record.add_member("a", 1);
  record.add_member("b", 2);
  record.add_member("a", 3);

  EXPECT_STREQ(record.get_member_name(2), "a");
  EXPECT_EQ(record.get_member_value_type(1), TMV_INT32);
  // In-order reads must not skip to the later "a".
  EXPECT_EQ(record.get_member_int32("a"), 1);
  EXPECT_EQ(record.get_member_int32("b"), 2);
  EXPECT_EQ(record.get_member_int32("a"), 1);
  EXPECT_EQ(record.get_member_int32("b"), 2);  // backwards too
  EXPECT_EQ(record.get_member_index("missing"), -1);
  EXPECT_EQ(record.get_member_index(nullptr), -1);
  EXPECT_EQ(failure_of([&] { record.get_member_name(3); }), "index 3 out of range [0, 2]");
}

TEST(TmStructTest, CopiesAreDeepAndOutliveTheOriginalAndMovesKeepChildrenPointingBack) {
  auto original = std::make_unique<Tm_struct>();
  auto* inner = new Tm_struct();
  inner->add_member(std::string("leaf").c_str(), std::string(40, 'x'));
  original->add_member_and_own("inner", inner);
  original->add_member("flag", true);

  const Tm_struct copy(*original);
  const std::unique_ptr<Tm_value> clone(original->clone());
  original.reset();

  EXPECT_STREQ(copy.get_member_struct("inner")->get_member_string("leaf"), std::string(40, 'x').c_str());
  EXPECT_EQ(copy.get_member_struct("inner")->get_container(), &copy);
  EXPECT_EQ(copy.get_container(), nullptr);
  EXPECT_TRUE(clone->equals(copy));

  Tm_struct source;
  source.add_member_and_own("inner", new Tm_struct());
  const Tm_struct moved(std::move(source));
  EXPECT_EQ(moved.get_member_struct("inner")->get_container(), &moved);
}

TEST(TmStructTest, OwnershipMistakesAreRefused) {
  Tm_struct parent;
  auto* child = new Tm_struct();
  parent.add_member_and_own("child", child);

  Tm_struct other;
  EXPECT_EQ(failure_of([&] { other.add_member_and_own("stolen", child); }),
            "add_member_and_own() given a value that belongs to another container");
  EXPECT_EQ(failure_of([&] { child->add_member_and_own("loop", &parent); }),
            "add_member_and_own() would make a value contain itself");
  EXPECT_EQ(failure_of([&] { parent.add_member_and_own("self", &parent); }),
            "add_member_and_own() would make a value contain itself");
  EXPECT_EQ(failure_of([&] { parent.add_member_and_own("none", nullptr); }), "add_member_and_own() given a null value");
  EXPECT_EQ(parent.get_member_count() + other.get_member_count(), 1);
}

TEST(TmStructTest, EqualityIsDeepAndExact) {
  Tm_struct left;
  Tm_struct right;
  for (Tm_struct* side : {&left, &right}) {
    side->add_member("n", static_cast<short>(1));
    side->add_member("nan", std::numeric_limits<double>::quiet_NaN());
    side->add_member("bytes", Tm_binary(std::vector<unsigned char>{1, 2}));
  }
  EXPECT_TRUE(left.equals(right));
  right.add_member("zero", -0.0);
  left.add_member("zero", 0.0);
  EXPECT_FALSE(left.equals(right)) << "0.0 and -0.0 encode differently";

  Tm_struct wider;
  wider.add_member("n", 1);
  Tm_struct narrow;
  narrow.add_member("n", static_cast<short>(1));
  EXPECT_FALSE(wider.equals(narrow));
  EXPECT_FALSE(wider.equals(Tm_array()));
}

const char* kDiskNames[] = {"handle", "OfSize", "TargetName", nullptr};

TEST(TmPrenamedStructTest, NamesMembersFromItsTableFillsTheCatalogAndRefusesIndexesOutsideIt) {
  Tm_catalog<std::string> catalog;
  Tm_prenamed_struct disk;
  disk.clear(kDiskNames);
  disk.add_member(2, "vol1", &catalog);
  disk.add_member(0, 7u, &catalog);
  disk.add_member(1, 4096UL, nullptr);
  disk.add_member(0, 3u, nullptr);  // a repeated index is found first by name

  EXPECT_EQ(disk.get_member_name(0), kDiskNames[2]) << "the table's text, not a copy";
  EXPECT_EQ(disk.get_member_uint32("handle"), 7u);
  EXPECT_EQ(disk.get_member_uint64("OfSize"), 4096UL);
  EXPECT_EQ(disk.get_member_uint32("handle"), 7u);
  EXPECT_EQ(catalog.size(), 2);
  EXPECT_EQ(catalog.get(0), "TargetName");
  EXPECT_EQ(catalog.find("OfSize"), -1);

  const std::unique_ptr<Tm_value> clone(disk.clone());
  EXPECT_NE(dynamic_cast<Tm_prenamed_struct*>(clone.get()), nullptr);
  EXPECT_TRUE(clone->equals(disk));

  EXPECT_EQ(failure_of([&] { Tm_prenamed_struct().add_member(0, true, nullptr); }), "index 0 out of range [0, -1]");
  EXPECT_EQ(failure_of([&] { disk.add_member(3, true, nullptr); }), "index 3 out of range [0, 2]");
  EXPECT_EQ(failure_of([&] { disk.add_member(-1, 1.0, nullptr); }), "index -1 out of range [0, 2]");
  EXPECT_THROW(disk.add_member_and_own(3, new Tm_struct(), nullptr), Tm_out_of_range_exception);
  EXPECT_EQ(disk.get_member_count(), 4) << "refused members leave the structure as it was";
  EXPECT_EQ(failure_of([&] { disk.clear(nullptr); }), "Tm_prenamed_struct::clear() given a null names table");
}

}  // namespace
