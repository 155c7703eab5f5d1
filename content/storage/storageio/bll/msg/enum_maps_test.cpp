// The enum maps are the wire's dictionary: their rows, values and order must be exactly those the
// firmware uses, including bit patterns above INT_MAX and maps whose order is not numeric.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "msg/BST_1.h"
#include "msg/IFSETUP_1.h"
#include "msg/Stats_1.h"
#include "msg/ifSetup_1.h"
#include "msg/result_1.h"

namespace {

using Rows = std::vector<std::pair<unsigned int, std::string>>;

Rows rows_of(const tm_enum_map* map) {
  Rows rows;
  for (; map->name != nullptr; ++map) {
    rows.emplace_back(static_cast<unsigned int>(map->value), map->name);
  }
  return rows;
}

TEST(EnumMaps, BST_1EnumsEndWithAMaxRowOnePastTheLastValue) {
  EXPECT_EQ(rows_of(BST_1_bll::em_StatusCode_t), (Rows{{0, "Success"}, {1, "Failure"}, {2, "Max"}}));
  EXPECT_EQ(rows_of(BST_1_bll::em_TestStatus_t),
            (Rows{{0, "PreppingDisks"}, {1, "StartingTest"}, {2, "BeginningIO"}, {3, "RecordingIO"},
                  {4, "Done25Percent"}, {5, "Done50Percent"}, {6, "Done75Percent"},
                  {7, "Done100Percent"}, {8, "Max"}}));
  EXPECT_EQ(rows_of(BST_1_bll::em_TestActionCode_t),
            (Rows{{0, "StartTest"}, {1, "BeginIo"}, {2, "RecordOn"}, {3, "RecordOff"}, {4, "StopTest"},
                  {5, "Max"}}));
  EXPECT_EQ(rows_of(BST_1_bll::em_DiskActionCode_t),
            (Rows{{0, "PrepareDisk"}, {1, "StopPrepareDisk"}, {2, "Max"}}));
}

TEST(EnumMaps, SharedSetMapsHaveNoMaxRow) {
  EXPECT_EQ(rows_of(result_1_bll::em_EnumResultState),
            (Rows{{0, "RESULT_INIT"}, {1, "RESULT_ACTIVE"}, {2, "RESULT_INACTIVE"}}));
  EXPECT_EQ(tms_string_to_enum("Max", IFSETUP_1_bll::em_InterfaceTypeList_t), -1);
  EXPECT_EQ(rows_of(IFSETUP_1_bll::em_InterfaceTypeList_t).size(), 21u);
}

TEST(EnumMaps, TargetTypesAreBitPatternsWithPhysicalBeforeLogical) {
  EXPECT_EQ(rows_of(bst_1_bll::em_EnumTargetType),
            (Rows{{0x80000000u, "GenericType"},
                  {0x40000000u, "ActiveType"},
                  {0x88000000u, "GenericDiskType"},
                  {0x8C000000u, "PhysicalDiskType"},
                  {0x8A000000u, "LogicalDiskType"},
                  {0u, "InvalidType"}}));
  EXPECT_EQ(static_cast<unsigned int>(bst_1_bll::EnumTargetType::LogicalDiskType), 0x8A000000u);
  // The map carries the patterns in an int; the names convert both ways all the same.
  EXPECT_STREQ(tms_enum_to_string(static_cast<int>(0x8C000000u), bst_1_bll::em_EnumTargetType),
               "PhysicalDiskType");
  EXPECT_EQ(static_cast<unsigned int>(tms_string_to_enum("InvalidType", bst_1_bll::em_EnumTargetType)), 0u);
}

TEST(EnumMaps, PppAndHdlcCarryProtocolNumbersInListedOrder) {
  EXPECT_EQ(rows_of(ifSetup_1_bll::em_EnumPppProtocolId),
            (Rows{{0x0057, "PPP_PROTOCOL_ID_IPV6"}, {0x0021, "PPP_PROTOCOL_ID_IPV4"}, {0x0281, "PPP_PROTOCOL_ID_MPLS"}}));
  EXPECT_EQ(rows_of(ifSetup_1_bll::em_EnumHdlcProtocolType),
            (Rows{{0x0800, "HDLC_PROTOCOL_TYPE_IPV4"}, {0x86DD, "HDLC_PROTOCOL_TYPE_IPV6"},
                  {0x8847, "HDLC_PROTOCOL_TYPE_MPLS"}}));
  EXPECT_EQ(rows_of(ifSetup_1_bll::em_EnumLearningGatewayState).at(1),
            (std::pair<unsigned int, std::string>{3, "RESOLVE_IN_PROGRESS"}));
}

TEST(EnumMaps, OptionTypesAreSingleBitFlags) {
  using IFSETUP_1_bll::ifSetupOptionType_t;
  EXPECT_EQ(rows_of(IFSETUP_1_bll::em_ifSetupOptionType_t),
            (Rows{{1, "DONTCREATEVIF"}, {2, "APPLYGATEWAYMAC"}, {4, "SETARPNOEXPIRE"}}));
  const int both = static_cast<int>(ifSetupOptionType_t::DONTCREATEVIF) |
                   static_cast<int>(ifSetupOptionType_t::APPLYGATEWAYMAC);
  // A combination is no enumerator of its own.
  EXPECT_EQ(tms_enum_to_string(both, IFSETUP_1_bll::em_ifSetupOptionType_t), nullptr);
}

TEST(EnumMaps, EnumeratorsThatAreMacrosKeepTheirWireName) {
  EXPECT_EQ(static_cast<int>(Stats_1_bll::columnVal_t::NULL_), 11);
  EXPECT_STREQ(tms_enum_to_string(11, Stats_1_bll::em_columnVal_t), "NULL");
}

}  // namespace
