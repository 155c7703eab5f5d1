#include "tm/Tm_wire.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "test/TmTestSupport.h"
#include "tm/Tm_backed_array.h"
#include "tm/Tm_exception.h"
#include "tm/Tm_interned_name.h"
#include "tm/Tm_prenamed_struct.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// Room after a cut-short message: the decoder refuses arrays that declare more items than the
// input has bytes before it looks at them, and these tests are about later checks.
Bytes with_room(const Bytes& bytes) { return bytes + Bytes(32, 0); }

const std::string kAccepted = "no exception";

// The text of the Tm_exception that refused the bytes, or kAccepted.
std::string decode_outcome(const Bytes& bytes) { return failure_of([&] { tm_decode(bytes); }); }

const char* kRecordNames[] = {"handle", "rate", "TargetName", nullptr};

// A message with a value of every kind: the ten simple types, texts, binaries, structures,
// arrays of structures and arrays of scalars (plain, referencing and copying).
struct Every_kind {
  std::vector<unsigned int> handles = {10, 20, 30};
  std::vector<unsigned char> raw = {0, 255};
  Message message;

  explicit Every_kind(bool catalog) {
    message.set_request_name("BST_1.Everything");
    message.set_msg_type(TMT_RESPONSE);
    message.add_member(TMG_1, "int8", static_cast<signed char>(-128));
    message.add_member(TMG_1, "uint8", static_cast<unsigned char>(255));
    message.add_member(TMG_1, "int16", static_cast<short>(-32768));
    message.add_member(TMG_1, "uint16", static_cast<unsigned short>(65535));
    message.add_member(TMG_1, "int32", std::numeric_limits<int>::min());
    message.add_member(TMG_1, "uint32", std::numeric_limits<unsigned int>::max());
    message.add_member(TMG_1, "int64", std::numeric_limits<long>::min());
    message.add_member(TMG_1, "uint64", std::numeric_limits<unsigned long>::max());
    message.add_member(TMG_1, "double", 3.0);  // integral: must stay a double
    message.add_member(TMG_1, "negative zero", -0.0);
    message.add_member(TMG_1, "nan", std::numeric_limits<double>::quiet_NaN());
    message.add_member(TMG_1, "infinity", -std::numeric_limits<double>::infinity());
    message.add_member(TMG_1, "bool", true);
    message.add_member(TMG_1, "short text", "");
    static const char long_text[] = "with a NUL \0 inside, and long enough for the heap";
    message.add_member(TMG_1, "long text", std::string(long_text, sizeof long_text - 1));
    message.get_group(TMG_1).add_member("binary", Tm_binary(std::vector<unsigned char>{0, 1, 2}));
    message.add_member_and_own(TMG_1, "empty binary", new Tm_binary(nullptr, 0));
    message.add_member_and_own(TMG_1, "empty struct", new Tm_struct());
    message.add_member_and_own(TMG_1, "empty array", new Tm_array());

    Tm_catalog<std::string>* names = catalog ? message.get_send_member_string(TMG_1) : nullptr;
    auto* records = new Tm_array();
    for (unsigned int i = 0; i < 3; ++i) {
      auto* record = new Tm_prenamed_struct();
      record->clear(kRecordNames);
      record->add_member(0, i, names);
      record->add_member(1, i * 1.5, names);
      record->add_member(2, "target " + std::to_string(i), names);
      records->add_member_and_own(record);
    }
    message.add_member_and_own(TMG_1, "records", records);

    auto* mixed = new Tm_array();
    mixed->add_member(static_cast<short>(-2));
    mixed->add_member("text");
    mixed->add_member_and_own(new Tm_backed_array<std::vector<unsigned int>::const_iterator>(handles.begin(), 3));
    mixed->add_member(false);
    message.add_member_and_own(TMG_1, "mixed", mixed);
    message.add_member_and_own(
        TMG_1, "copied",
        new Tm_copy_backed_array<unsigned int, std::vector<unsigned int>::const_iterator>(handles.begin(), 3));
    message.add_member_and_own(TMG_1, "raw", new Tm_backed_array<const unsigned char*>(raw.data(), 2));

    message.add_member(TMG_0, "group zero", 1L);
    message.set_use_send_member_string(catalog);
    if (catalog) message.create_send_member_string_meta();
  }
};

class TmWireRoundTripTest : public ::testing::TestWithParam<bool> {};

TEST_P(TmWireRoundTripTest, EveryValueComesBackWithItsExactType) {
  Every_kind built(GetParam());
  const Bytes bytes = tm_encode(built.message);
  Message decoded = tm_decode(bytes);

  EXPECT_TRUE(decoded.equals(built.message));  // deep and type-exact

  EXPECT_EQ(decoded.get_use_send_member_string(), GetParam());
  EXPECT_EQ(decoded.get_send_member_string(TMG_1)->size(), built.message.get_send_member_string(TMG_1)->size());
  EXPECT_EQ(tm_encode(decoded), bytes) << "a decoded message, catalog included, encodes to the same bytes";
}

INSTANTIATE_TEST_SUITE_P(CatalogOffAndOn, TmWireRoundTripTest, ::testing::Bool());

TEST(TmWireTest, DecodedValuesOutliveTheBytesAndSurviveCopies) {
  Message message;
  message.add_member(TMG_1, "a", 1);
  message.add_member(TMG_1, "a", 2);  // repeated names are allowed from the wire
  auto* inner = new Tm_struct();
  inner->add_member("name", "value");
  inner->add_member("path", "/dev/disk/by-id/wwn-0x5000c50010000000");  // too long to sit in its slot
  message.add_member_and_own(TMG_1, "inner", inner);

  auto bytes = std::make_unique<Bytes>(tm_encode(message));
  auto decoded = std::make_unique<Message>(tm_decode(*bytes));
  bytes.reset();
  EXPECT_EQ(decoded->get_member_int32(TMG_1, "a"), 1);
  EXPECT_EQ(decoded->get_member_int32(TMG_1, "a"), 1);

  const std::unique_ptr<Tm_value> clone(decoded->get_member_struct(TMG_1, "inner")->clone());
  const Message copy(*decoded);
  decoded.reset();
  EXPECT_STREQ(static_cast<const Tm_struct&>(*clone).get_member_string("name"), "value");
  EXPECT_STREQ(static_cast<const Tm_struct&>(*clone).get_member_string("path"),
               "/dev/disk/by-id/wwn-0x5000c50010000000");
  EXPECT_TRUE(copy.equals(message));
}

TEST(TmWireTest, DecodedNamesAreTheInternedCopiesWhereThereAreAny) {
  const char* interned = tm_intern_name("interned member");
  EXPECT_EQ(tm_intern_name(std::string("interned member")), interned);
  Message message;
  message.add_member(TMG_1, "interned member", 1);
  message.add_member(TMG_1, "wire-only member", 2);

  const Message decoded = tm_decode(tm_encode(message));
  const Tm_struct& members = decoded.get_group(TMG_1);
  EXPECT_EQ(members.get_member_name(0), interned);
  EXPECT_EQ(tm_find_interned_name("wire-only member"), nullptr) << "decoding must not grow the pool";
  EXPECT_EQ(members.get_member_int32("wire-only member"), 2);
}

// Hand-made pieces of messages: a request with no name and the catalog off; a group with no
// members; a group whose only member, "a", is an array, which is to follow.
const Bytes kHead = {0x96, 0x01, 0x00, 0xa0, 0xc2};
const Bytes kEmptyGroup = {0x94, 0xc0, 0x90, 0x91, 0x90, 0x92, 0x00, 0xc4, 0x00};
const Bytes kGroupWithArrayA = {0x94, 0xc0, 0x91, 0xa1, 'a', 0x91, 0x92, 0x00, 0x0d, 0x93, 0x00, 0xc4, 0x00};

// A message whose member "a" is an array holding arrays `depth` levels deep.
Bytes nested_arrays(int depth) {
  Bytes bytes = kHead + kEmptyGroup + kGroupWithArrayA;
  for (int level = 1; level < depth; ++level) bytes.insert(bytes.end(), {0x93, 0xc4, 0x01, 0x0d, 0xc4, 0x00});
  return bytes + Bytes{0x92, 0xc4, 0x00, 0xc4, 0x00};
}

TEST(TmWireTest, NestingIsLimitedBothWays) {
  // The message, its group and its members take three levels.
  EXPECT_EQ(decode_outcome(nested_arrays(61)), kAccepted);
  EXPECT_EQ(decode_outcome(nested_arrays(62)), "wire: nesting deeper than 64");
  EXPECT_EQ(decode_outcome(nested_arrays(10000)), "wire: nesting deeper than 64");

  Message deep;
  auto* array = new Tm_array();
  deep.add_member_and_own(TMG_1, "a", array);
  for (int level = 1; level < 62; ++level) {
    auto* inner = new Tm_array();
    array->add_member_and_own(inner);
    array = inner;
  }
  EXPECT_EQ(failure_of([&] { tm_encode(deep); }), "wire: nesting deeper than 64");
}

TEST(TmWireTest, MalformedLayoutsAreNamed) {
  const Bytes valid = kHead + kEmptyGroup + kEmptyGroup;
  ASSERT_EQ(decode_outcome(valid), kAccepted);

  EXPECT_EQ(decode_outcome({}), "wire: truncated message");
  EXPECT_EQ(decode_outcome({0xc1}), "wire: byte 0 does not start a msgpack value");
  EXPECT_EQ(decode_outcome(valid + Bytes{0x00}), "wire: the message ends at byte 23 of 24");
  EXPECT_EQ(decode_outcome({0x80}), "wire: expected a message (array of 6), found a map");
  EXPECT_EQ(decode_outcome(with_room({0x95})), "wire: a message is an array of 6 items, found 5");
  EXPECT_EQ(decode_outcome(with_room({0x96, 0x02})), "wire: unsupported format version 2");
  EXPECT_EQ(decode_outcome(with_room({0x96, 0x01, 0x05})),
            "wire: message type 5 is neither request (0) nor response (1)");
  EXPECT_EQ(decode_outcome(with_room({0x96, 0x01, 0x00, 0xc0})), "wire: expected the request name (text), found nil");
  EXPECT_EQ(decode_outcome({0xdd, 0xff, 0xff, 0xff, 0xff}),
            "wire: an array declares 4294967295 items, more than the message's bytes can hold");

  // Names and shapes.
  EXPECT_EQ(decode_outcome(with_room(kHead + Bytes{0x94, 0xc0, 0x91, 0xa1, 'a', 0x91, 0x92, 0x07, 0x00})),
            "wire: shape 0 refers to name 7 outside the name table (size 1)");
  EXPECT_EQ(decode_outcome(with_room(kHead + Bytes{0x94, 0xc0, 0x91, 0xa1, 'a', 0x91, 0x92, 0x00, 0x2a})),
            "wire: shape 0 has unknown value type 42");
  EXPECT_EQ(decode_outcome(with_room(kHead + Bytes{0x94, 0xc0, 0x92, 0xa1, 'a', 0xa1, 'a'})),
            "wire: the group lists the name 'a' twice");
  EXPECT_EQ(decode_outcome(with_room(kHead + Bytes{0x94, 0x02, 0x91, 0xa1, 'a', 0x90})),
            "wire: catalog size 2 exceeds the name table (size 1)");
  EXPECT_EQ(decode_outcome(with_room(kHead + kEmptyGroup + Bytes{0x94, 0xc0, 0x90, 0x91, 0x90, 0x92, 0x01})),
            "wire: shape 1 outside the shape table (size 1)");

  // Values: a row of the wrong size, a bool of 2, a value of the wrong kind, an unknown item type.
  EXPECT_EQ(decode_outcome(
                with_room(kHead + kEmptyGroup + Bytes{0x94, 0xc0, 0x90, 0x91, 0x90, 0x92, 0x00, 0xc4, 0x01, 0x00})),
            "wire: row size 1, expected 0");
  const Bytes group_with_bool_a = {0x94, 0xc0, 0x91, 0xa1, 'a', 0x91, 0x92, 0x00, 0x09, 0x92, 0x00};
  EXPECT_EQ(decode_outcome(with_room(kHead + kEmptyGroup + group_with_bool_a + Bytes{0xc4, 0x01, 0x02})),
            "wire: a bool is 0 or 1, found 2");
  const Bytes group_with_string_a = {0x94, 0xc0, 0x91, 0xa1, 'a', 0x91, 0x92, 0x00, 0x0a, 0x93, 0x00, 0xc4, 0x00};
  EXPECT_EQ(decode_outcome(with_room(kHead + kEmptyGroup + group_with_string_a + Bytes{0xc4, 0x00})),
            "wire: expected a string value, found a binary");
  EXPECT_EQ(decode_outcome(with_room(kHead + kEmptyGroup + kGroupWithArrayA + Bytes{0x80})),
            "wire: expected an array value, found a map");
  EXPECT_EQ(
      decode_outcome(with_room(kHead + kEmptyGroup + kGroupWithArrayA + Bytes{0x92, 0xc4, 0x01, 0x13, 0xc4, 0x00})),
      "wire: array item 0 has unknown value type 19");
}

TEST(TmWireTest, EveryTruncationIsRefused) {
  const Bytes bytes = tm_encode(Every_kind(true).message);
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_NE(decode_outcome(cut), kAccepted) << "cut at " << length;
  }
}

// Decodes, and when the bytes are accepted, checks that the message survives another round trip.
void expect_refused_or_stable(const Bytes& bytes) {
  try {
    const Message decoded = tm_decode(bytes);
    EXPECT_TRUE(tm_decode(tm_encode(decoded)).equals(decoded));
  } catch (const Tm_exception&) {
  }
}

// Random bytes are the wire decoder fuzz target's job; flipped bits reach every check here.
TEST(TmWireTest, FlippedBytesAreRefusedOrDecodeToAStableMessage) {
  const Bytes bytes = tm_encode(Every_kind(false).message);
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    for (const unsigned char mask : {0x01, 0x10, 0x80, 0xff}) {
      Bytes flipped = bytes;
      flipped[at] ^= mask;
      expect_refused_or_stable(flipped);
    }
  }
}

}  // namespace
