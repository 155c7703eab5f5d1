#include "kel/framework/PropertyValue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>

#include "../testsupport/HostTestSupport.h"
#include "kel/framework/Exceptions.h"
#include "kel/framework/ValueSlot.h"

namespace kel::framework::test {
namespace {

using ::testing::HasSubstr;

TEST(PropertyValueTest, TextRoundTripsExactly) {
  for (double value : {0.1, 1.0 / 3.0, -2.5e-300, 5e-324, DBL_MAX, -0.0, 1e21}) {
    const double back = std::get<double>(FromText(PropertyType::Double, ToText(value)));
    EXPECT_EQ(std::memcmp(&back, &value, sizeof value), 0) << ToText(value);
  }
  const std::uint64_t u64Max = std::numeric_limits<std::uint64_t>::max();
  EXPECT_EQ(ToText(u64Max), "18446744073709551615");
  EXPECT_EQ(FromText(PropertyType::U64, "18446744073709551615"), PropertyValue(u64Max));
  EXPECT_EQ(ToText(HandleList{1, 4294967295u, 7}), "1 4294967295 7");
  EXPECT_EQ(FromText(PropertyType::Handles, " 1  4294967295 7 "), PropertyValue(HandleList{1, 4294967295u, 7}));
  EXPECT_EQ(FromText(PropertyType::Handles, ""), PropertyValue(HandleList{}));
  EXPECT_EQ(FromText(PropertyType::String, " two words "), PropertyValue(std::string(" two words ")));
  EXPECT_EQ(ToText(true), "true");
  EXPECT_EQ(FromText(PropertyType::Bool, "0"), PropertyValue(false));
}

TEST(PropertyValueTest, NumbersAreDecimalOrHex) {
  EXPECT_EQ(FromText(PropertyType::U8, "0xff"), PropertyValue(std::uint8_t{255}));
  EXPECT_EQ(FromText(PropertyType::U16, "0X10"), PropertyValue(std::uint16_t{16}));
  EXPECT_EQ(FromText(PropertyType::U32, "010"), PropertyValue(std::uint32_t{10})) << "a leading zero is not octal";
  EXPECT_EQ(FromText(PropertyType::U32, "09"), PropertyValue(std::uint32_t{9}));
  EXPECT_EQ(FromText(PropertyType::Handles, "0x10 010"), PropertyValue(HandleList{16, 10}));
}

TEST(PropertyValueTest, BadTextSaysWhatWasExpected) {
  struct Case {
    PropertyType type;
    const char* text;
    const char* error;
  };
  for (const Case& c : {Case{PropertyType::U8, "256", "'256' is not an unsigned 8-bit number"},
                        Case{PropertyType::U16, "65536", "'65536' is not an unsigned 16-bit number"},
                        Case{PropertyType::U32, "-1", "'-1' is not an unsigned 32-bit number"},
                        Case{PropertyType::U32, "12abc", "'12abc' is not an unsigned 32-bit number"},
                        Case{PropertyType::U32, "", "'' is not an unsigned 32-bit number"},
                        Case{PropertyType::U32, "0x", "'0x' is not an unsigned 32-bit number"},
                        Case{PropertyType::U64, "18446744073709551616",
                             "'18446744073709551616' is not an unsigned 64-bit number"},
                        Case{PropertyType::Bool, "yes", "'yes' is not a bool (true or false)"},
                        Case{PropertyType::Double, "1.5x", "'1.5x' is not a number"},
                        Case{PropertyType::Double, "", "'' is not a number"},
                        Case{PropertyType::Handles, "1 x", "'x' is not an object handle"}}) {
    EXPECT_EQ(ThrownText<CKelRunTimeError>([&] { FromText(c.type, c.text); }), c.error)
        << PropertyTypeName(c.type) << " '" << c.text << "'";
  }
  EXPECT_THAT(ThrownText<CKelLogicError>([] { ParsePropertyType("float"); }), HasSubstr("'float'"));
  EXPECT_EQ(ParsePropertyType("handles"), PropertyType::Handles);
}

// Objects keep their values in slots: every type comes back as it went in, texts and handle lists
// are copied deeply, and a moved-from slot is left with nothing to free.
TEST(PropertyValueTest, SlotsKeepEveryTypeAndCopyDeeply) {
  const std::vector<PropertyValue> values = {std::uint8_t{200}, std::uint16_t{60000}, std::uint32_t{4000000000u},
                                             std::uint64_t{1} << 60, true, -0.5, std::string(40, 'x'),
                                             HandleList{3, 1, 2}};
  for (const PropertyValue& value : values) {
    CValueSlot slot(value);
    EXPECT_EQ(slot.Type(), TypeOf(value));
    EXPECT_EQ(slot.ToValue(), value);
    EXPECT_TRUE(slot.Equals(value));
    CValueSlot copy(slot);
    copy.Assign(ZeroValue(TypeOf(value)));
    EXPECT_EQ(slot.ToValue(), value) << "a copy stands alone";
    EXPECT_FALSE(slot.Equals(copy.ToValue()));
    CValueSlot moved(std::move(slot));
    EXPECT_EQ(moved.ToValue(), value);
  }
  CValueSlot text(std::string("abc"));
  *text.GetIf<std::string>() += "d";
  EXPECT_EQ(text.ToValue(), PropertyValue(std::string("abcd")));
  EXPECT_EQ(text.GetIf<double>(), nullptr);
}

}  // namespace
}  // namespace kel::framework::test
