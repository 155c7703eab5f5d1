#include "tm/Tm_catalog.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(TmCatalogTest, NumbersDistinctEntriesInTheOrderTheyCame) {
  Tm_catalog<std::string> catalog;
  EXPECT_EQ(catalog.add("rate"), 0);
  EXPECT_EQ(catalog.add("size"), 1);
  EXPECT_EQ(catalog.add("rate"), 0);
  EXPECT_EQ(catalog.size(), 2);
  EXPECT_EQ(catalog.find("size"), 1);
  EXPECT_EQ(catalog.find("other"), -1);
  EXPECT_EQ(catalog.get(1), "size");
  EXPECT_THROW(catalog.get(2), Tm_out_of_range_exception);
  EXPECT_THROW(catalog.get(-1), Tm_out_of_range_exception);
  catalog.clear();
  EXPECT_EQ(catalog.size(), 0);
  EXPECT_EQ(catalog.add("size"), 0);
}

}  // namespace
