#include "tm/Tm_enum_map.h"

#include <gtest/gtest.h>

#include "tm/Tm_exception.h"

namespace {

const tm_enum_map em_status[] = {{0, "Success"}, {1, "Failure"}, {1, "Failed"}, {2, "Max"}, {0, nullptr}};

TEST(TmEnumMapTest, TranslatesBothWaysThroughTheFirstMatchingRow) {
  EXPECT_STREQ(tms_enum_to_string(1, em_status), "Failure");
  EXPECT_STREQ(tms_enum_to_string(2, em_status), "Max");
  EXPECT_EQ(tms_enum_to_string(7, em_status), nullptr);
  EXPECT_EQ(tms_string_to_enum("Failed", em_status), 1);
  EXPECT_EQ(tms_string_to_enum("Success", em_status), 0);
}

TEST(TmEnumMapTest, UnknownAndNullNamesGiveMinusOne) {
  EXPECT_EQ(tms_string_to_enum("success", em_status), -1);
  EXPECT_EQ(tms_string_to_enum("", em_status), -1);
  EXPECT_EQ(tms_string_to_enum(nullptr, em_status), -1);
  EXPECT_THROW(tms_string_to_enum("Success", nullptr), Tm_exception);
  EXPECT_THROW(tms_enum_to_string(0, nullptr), Tm_exception);
}

}  // namespace
