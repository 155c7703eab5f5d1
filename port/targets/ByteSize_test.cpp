#include "port/targets/ByteSize.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "port/targets/test/TargetsTest.h"

namespace storageio_port {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

std::string RefusalOf(const std::string& text) {
  return test::ThrownText<std::invalid_argument>([&] { ParseByteSize(text); });
}

TEST(ByteSize, PlainNumbersAreBytes) {
  EXPECT_EQ(ParseByteSize("0"), 0u);
  EXPECT_EQ(ParseByteSize("4096"), 4096u);
  EXPECT_EQ(ParseByteSize("18446744073709551615"), 18446744073709551615u);
}

TEST(ByteSize, BinaryUnitsArePowersOf1024WhateverTheLetterCase) {
  EXPECT_EQ(ParseByteSize("1K"), 1024u);
  EXPECT_EQ(ParseByteSize("1k"), 1024u);
  EXPECT_EQ(ParseByteSize("1KiB"), 1024u);
  EXPECT_EQ(ParseByteSize("64MiB"), 64u << 20);
  EXPECT_EQ(ParseByteSize("64m"), 64u << 20);
  EXPECT_EQ(ParseByteSize("10G"), 10ull << 30);
  EXPECT_EQ(ParseByteSize("10giB"), 10ull << 30);
  EXPECT_EQ(ParseByteSize("2TiB"), 2ull << 40);
  EXPECT_EQ(ParseByteSize("16777215TiB"), 16777215ull << 40);
}

TEST(ByteSize, DecimalUnitsArePowersOf1000) {
  EXPECT_EQ(ParseByteSize("1KB"), 1000u);
  EXPECT_EQ(ParseByteSize("4kB"), 4000u);
  EXPECT_EQ(ParseByteSize("500MB"), 500'000'000u);
  EXPECT_EQ(ParseByteSize("10GB"), 10'000'000'000u);
  EXPECT_EQ(ParseByteSize("3TB"), 3'000'000'000'000u);
}

TEST(ByteSize, RefusalsNameTheTextAndWhatIsWrong) {
  EXPECT_THAT(RefusalOf(""), HasSubstr("empty"));
  EXPECT_THAT(RefusalOf("G"), AllOf(HasSubstr("'G'"), HasSubstr("does not start with a number")));
  EXPECT_THAT(RefusalOf("-1"), HasSubstr("does not start with a number"));
  EXPECT_THAT(RefusalOf(" 1"), HasSubstr("does not start with a number"));
  EXPECT_THAT(RefusalOf("1.5G"), AllOf(HasSubstr("'1.5G'"), HasSubstr("'.5G' is not a unit")));
  EXPECT_THAT(RefusalOf("1 K"), HasSubstr("' K' is not a unit"));
  EXPECT_THAT(RefusalOf("1PiB"), HasSubstr("'PiB' is not a unit"));
  EXPECT_THAT(RefusalOf("1KIB"), HasSubstr("'KIB' is not a unit"));
  EXPECT_THAT(RefusalOf("1Kb"), HasSubstr("'Kb' is not a unit"));
  EXPECT_THAT(RefusalOf("18446744073709551616"), HasSubstr("larger than 2^64 - 1 bytes"));
  EXPECT_THAT(RefusalOf("16777216TiB"), HasSubstr("larger than 2^64 - 1 bytes"));
  EXPECT_THAT(RefusalOf("18446744073709552KB"), HasSubstr("larger than 2^64 - 1 bytes"));
}

}  // namespace
}  // namespace storageio_port
