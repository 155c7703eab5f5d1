#include "tm/Message.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "test/TmTestSupport.h"
#include "tm/Tm_exception.h"
#include "tm/Tm_prenamed_struct.h"

namespace {

TEST(MessageTest, GroupsAreSeparateAndReadLikeStructures) {
  Message message;
  message.add_member(TMG_1, "port", static_cast<unsigned char>(3));
  message.add_member(TMG_0, "port", "other");
  message.add_member_and_own(TMG_1, "list", new Tm_array());

  EXPECT_EQ(message.get_member_uint8(TMG_1, "port"), 3);
  EXPECT_STREQ(message.get_member_string(TMG_0, "port"), "other");
  EXPECT_EQ(message.get_member_array(TMG_1, "list")->get_member_count(), 0);
  EXPECT_EQ(failure_of([&] { message.get_member_uint16(TMG_1, "port"); }), "type mismatch: got uint8, expected uint16");
  EXPECT_EQ(failure_of([&] { message.get_member_bool(TMG_1, "absent"); }), "no member 'absent'");
}

TEST(MessageTest, CodesOutsideTheirRangeAreRefused) {
  Message message;
  EXPECT_EQ(failure_of([&] { message.get_group(static_cast<TMG>(2)); }), "no member group 2 (groups are 0 and 1)");
  EXPECT_EQ(failure_of([&] { message.add_member(static_cast<TMG>(-1), "x", 1); }),
            "no member group -1 (groups are 0 and 1)");
  EXPECT_EQ(failure_of([&] { message.set_msg_type(static_cast<Message::TMT>(2)); }),
            "message type 2 is neither request (0) nor response (1)");
}

TEST(MessageTest, TheCatalogCollectsNestedAndOptionallyTopLevelNames) {
  static const char* names[] = {"handle", nullptr};
  Message message;
  auto* record = new Tm_prenamed_struct();
  record->clear(names);
  record->add_member(0, 1u, message.get_send_member_string(TMG_1));
  message.add_member_and_own(TMG_1, "record", record);

  message.create_send_member_string_meta();
  EXPECT_EQ(message.get_send_member_string(TMG_1)->size(), 1);
  message.set_use_send_member_string(true);
  message.create_send_member_string_meta();
  EXPECT_EQ(message.get_send_member_string(TMG_1)->find("record"), 1);

  message.clear_group(TMG_1);
  EXPECT_EQ(message.get_send_member_string(TMG_1)->size(), 0);
  EXPECT_EQ(message.get_group(TMG_1).get_member_count(), 0);
}

TEST(MessageTest, CopiesAreDeepAndEqual) {
  Message original;
  original.set_request_name("BST_1.StartTest");
  auto* inner = new Tm_struct();
  inner->add_member("depth", 4);
  original.add_member_and_own(TMG_1, "inner", inner);

  Message copy(original);
  EXPECT_TRUE(copy.equals(original));
  copy.add_member(TMG_1, "extra", true);
  EXPECT_FALSE(copy.equals(original));

  Message moved(std::move(copy));
  EXPECT_EQ(moved.get_member_struct(TMG_1, "inner")->get_container(), &moved.get_group(TMG_1));
  Message renamed(original);
  renamed.set_request_name("BST_1.StopTest");
  EXPECT_FALSE(renamed.equals(original));
}

}  // namespace
